// SPDX-License-Identifier: Apache-2.0
#include "Cells.h"

#include "tests/support/SmallStack.h"

#include <vexil/platform/Error.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <random>
#include <utility>

namespace platform = vexil::platform;

namespace foreign {

namespace {

/// Runs on a thread of its own, which remembers nothing that classes have answered before. A small
/// stack makes the thread cheap and finds code that recurses.
template <class Body>
void onFreshThread(const Body& body) {
  test::runOnSmallStack(body);
}

enum class End : unsigned char { returned, refused, thrown };

/// Performs an operation. Throws whatever else the operation throws.
End perform(const std::function<void()>& operation) {
  try {
    operation();
  } catch (const Thrown&) {
    return End::thrown;
  } catch (const platform::RangeError&) {
    return End::refused;
  } catch (const platform::InvalidArgument&) {
    return End::refused;
  }
  return End::returned;
}

/// Whether an exception out of the foreign code is logged and does not come through.
bool isLogged(const Cell& cell) {
  return cell.row->operation->logsExceptions || cell.site == Site::outlineCallback;
}

/// What is wrong after an operation with an action in it. Empty when nothing is.
std::string problemOf(const Cell& cell, World& world) {
  std::function<void()> operation = cell.row->operation->prepare(world);
  Hook::act(cell.site, cell.call, cell.repetitions, [&] { perform(*cell.action, world); });
  struct Stop {
    ~Stop() { Hook::stop(); }
  };
  End end{};
  try {
    const Stop stop;
    end = perform(operation);
  } catch (const std::exception& error) {
    return std::string("ended with an exception that nobody expects: ") + error.what();
  }
  operation = nullptr;  // lets go of the arguments
  if (Hook::acted() == 0) {
    return "the foreign code was not called, though it was when calls were counted";
  }
  if (cell.action->throws && isLogged(cell)) {
    return end == End::thrown ? "an exception of the host came through that is to be logged"
                              : world.verify().value_or("");
  }
  // If two exceptions are thrown, one comes through.
  const bool isAnother = end == End::refused && cell.row->isRefused;
  if (cell.action->throws && end != End::thrown && !isAnother) {
    return std::string("the exception of the host did not come through: the operation ") +
           (end == End::returned ? "returned" : "threw another one");
  }
  return world.verify().value_or("");
}

}  // namespace

std::string Cell::name() const {
  std::string text = row->operation->name + " | " + row->scene.name() + " | ";
  text += nameOf(site);
  text += " | ";
  text += action->name;
  text += " | call " + std::to_string(call) + " of " +
          std::to_string(row->calls[static_cast<std::size_t>(site)]);
  return text + (repetitions == 0 ? "" : " and after");
}

Row rowOf(const Operation& operation, const Scene& scene) {
  Row row{&operation, scene, {}, false, {}};
  onFreshThread([&] {
    World world(scene);
    {
      const auto body = operation.prepare(world);
      Hook::count();
      row.isRefused = perform(body) == End::refused;
      row.calls = Hook::counts();
      Hook::stop();
    }
    row.problem = world.verify().value_or("");
  });
  return row;
}

std::vector<Row> rowsOf(const Operation& operation) {
  std::vector<Row> rows;
  rows.reserve(operation.scenes.size());
  for (const Scene& scene : operation.scenes) {
    rows.push_back(rowOf(operation, scene));
  }
  return rows;
}

namespace {

/// Adds the cells of a site and an action in one row. The action runs at the first call, at a
/// middle one, at the last, or at the first and those that follow. `isWanted` decides on each of
/// the four.
template <class IsWanted>
void addCells(std::vector<Cell>& cells, const Row& row, Site site, const Action& action,
              const IsWanted& isWanted) {
  const std::size_t calls = row.calls[static_cast<std::size_t>(site)];
  if (calls == 0 || (action.throws && isDestructor(site)) ||
      (action.isOfOutlines && !row.scene.isOutlined)) {
    return;
  }
  const std::size_t middle = (calls + 1) / 2;
  const auto add = [&](std::size_t when, std::size_t call, std::size_t repetitions) {
    if (isWanted(when)) {
      cells.push_back({&row, site, &action, call, repetitions});
    }
  };
  add(0, 1, 0);
  if (middle > 1) {
    add(1, middle, 0);
  }
  if (calls > middle) {
    add(2, calls, 0);
  }
  if (!action.throws) {
    add(3, 1, 2);
  }
}

}  // namespace

bool isReached(const std::vector<Row>& rows, Site site) {
  return std::ranges::any_of(
      rows, [&](const Row& row) { return row.calls[static_cast<std::size_t>(site)] > 0; });
}

std::vector<Cell> cellsOf(const std::vector<Row>& rows) {
  std::vector<Cell> cells;
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < siteCount; ++i) {
      for (const Action& action : actions()) {
        addCells(cells, row, Site{static_cast<unsigned char>(i)}, action,
                 [](std::size_t /*when*/) { return true; });
      }
    }
  }
  return cells;
}

namespace {

/// The rows in which an action may run at a site.
std::vector<const Row*> rowsFor(const Action& action, Site site, const std::vector<Row>& rows) {
  std::vector<const Row*> all;
  for (const Row& row : rows) {
    if (row.calls[static_cast<std::size_t>(site)] > 0 &&
        (row.scene.isOutlined || !action.isOfOutlines)) {
      all.push_back(&row);
    }
  }
  return all;
}

}  // namespace

std::vector<Cell> tableOf(const std::vector<Row>& rows, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<Cell> cells;
  for (std::size_t i = 0; i < siteCount; ++i) {
    const Site site{static_cast<unsigned char>(i)};
    for (const Action& action : actions()) {
      const std::vector<const Row*> reaching = rowsFor(action, site, rows);
      // So that the table stays about as long, an action of outlines has one of the four cells.
      const std::size_t first = action.isOfOutlines ? random() % 4 : 0;
      const std::size_t end = action.isOfOutlines ? first + 1 : 4;
      for (std::size_t when = first; when < end && !reaching.empty(); ++when) {
        const Row& row = *reaching[random() % reaching.size()];
        addCells(cells, row, site, action, [when](std::size_t asked) { return asked == when; });
      }
    }
  }
  return cells;
}

Outcome run(const Cell& cell) {
  Outcome outcome;
  try {
    onFreshThread([&] {
      World world(cell.row->scene);
      outcome.problem = problemOf(cell, world);
      outcome.neededRemedy = world.neededRemedy();
    });
  } catch (const std::exception& error) {
    outcome.problem =
        std::string("ended with an exception in the refresh afterwards: ") + error.what();
  }
  return outcome;
}

}  // namespace foreign
