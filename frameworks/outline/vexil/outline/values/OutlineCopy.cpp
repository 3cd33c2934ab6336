// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/OutlineCopy.h>
#include <vexil/outline/rows/RowStateFields.h>
#include <vexil/outline/values/RowText.h>
#include <vexil/outline/values/ValueText.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/detail/Hash.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace vexil {

using platform::RangeError;

namespace {

void require(bool fits, const char* fault) {
  if (!fits) {
    throw RangeError(std::string("the step does not fit: ") + fault);
  }
}

/// Makes room for more elements, so that adding them cannot throw. Grows as adding would.
template <class Elements>
void makeRoom(Elements& elements, std::size_t count) {
  if (elements.capacity() - elements.size() < count) {
    elements.reserve(std::max(elements.size() + count, 2 * elements.capacity()));
  }
}

auto at(std::vector<RowNumber>& children, std::size_t index) {
  return children.begin() + static_cast<std::ptrdiff_t>(index);
}

}  // namespace

std::size_t OutlineCopy::HashOfNumber::operator()(RowNumber number) const noexcept {
  return platform::detail::hashOfInteger(number);
}

/// Applies steps to a copy. It keeps what they take out until it ends itself: the objects that
/// records hold may run a host's code when they go, and that may do anything with the copy.
class OutlineCopy::Application {
 public:
  explicit Application(Rows& rows) : _rows(rows) {}

  // Each first finds out whether the step fits and makes room. What follows does not throw.
  void apply(const OutlineStep& step) {
    require(step.count > 0, "it has no rows");
    switch (step.kind) {
      case OutlineStep::Kind::removed:
        return remove(step);
      case OutlineStep::Kind::inserted:
        return insert(step);
      case OutlineStep::Kind::moved:
        return step.parent == step.newParent ? moveWithin(step) : moveToOther(step);
      case OutlineStep::Kind::changed:
        return change(step);
    }
  }

 private:
  Row& row(RowNumber number) {
    const auto found = _rows.find(number);
    require(found != _rows.end(), "there is no such row");
    return found->second;
  }

  /// The children of the parent, among which the step's range lies.
  std::vector<RowNumber>& childrenInRange(const OutlineStep& step) {
    std::vector<RowNumber>& children = row(step.parent).children;
    require(step.first <= children.size() && step.count <= children.size() - step.first,
            "there are no such children");
    return children;
  }

  /// The same, if they are `step.rows`.
  std::vector<RowNumber>& childrenNamedBy(const OutlineStep& step) {
    std::vector<RowNumber>& children = childrenInRange(step);
    require(std::ranges::equal(step.rows.begin(), step.rows.end(), at(children, step.first),
                               at(children, step.first + step.count), {}, &RowState::number),
            "a row is not the one that it names");
    return children;
  }

  void remove(const OutlineStep& step) {
    std::vector<RowNumber>& children = childrenNamedBy(step);
    const auto begin = at(children, step.first);
    const auto end = at(children, step.first + step.count);
    std::vector<RowNumber> gone(begin, end);
    for (std::size_t i = 0; i < gone.size(); ++i) {
      const Row& next = _rows.at(gone[i]);
      gone.insert(gone.end(), next.children.begin(), next.children.end());
    }
    makeRoom(_removed, gone.size());

    children.erase(begin, end);
    for (const RowNumber number : gone) {
      _removed.push_back(_rows.extract(number));
    }
  }

  /// Makes rows of the inserted ones. Returns the numbers of those that have no row above them.
  std::vector<RowNumber> makeRows(const OutlineStep& step, Rows& made) {
    struct Open {
      RowNumber number;
      std::size_t missing;  // how many of its children are to come
    };
    std::vector<RowNumber> first;
    std::vector<Open> open;
    for (const InsertedRow& row : step.inserted) {
      const RowNumber number = row.state.number();
      const RowNumber parent = open.empty() ? step.parent : open.back().number;
      const bool isNew =
          !_rows.contains(number) && made.emplace(number, Row{row.state, parent, {}}).second;
      require(isNew, "a number is taken");
      if (open.empty()) {
        first.push_back(number);
      } else {
        made.at(parent).children.push_back(number);
        --open.back().missing;
      }
      open.push_back({number, row.childCount});
      while (!open.empty() && open.back().missing == 0) {
        open.pop_back();
      }
    }
    require(open.empty() && first.size() == step.count, "it has other rows than it counts");
    return first;
  }

  void insert(const OutlineStep& step) {
    std::vector<RowNumber>& children = row(step.parent).children;
    require(step.first <= children.size(), "there is no such index");
    Rows made;
    const std::vector<RowNumber> first = makeRows(step, made);
    makeRoom(children, first.size());
    const std::size_t count = _rows.size() + made.size();
    if (static_cast<float>(count) >
        static_cast<float>(_rows.bucket_count()) * _rows.max_load_factor()) {
      _rows.reserve(2 * count);
    }

    children.insert(at(children, step.first), first.begin(), first.end());
    _rows.merge(made);
  }

  void moveWithin(const OutlineStep& step) {
    std::vector<RowNumber>& children = childrenNamedBy(step);
    require(step.newFirst <= children.size() - step.count, "there is no such index");
    require(step.newOccurrences.empty() && step.above.empty() && step.newAbove.empty(),
            "it moves to another parent and does not");

    const std::size_t first = std::min(step.first, step.newFirst);
    const std::size_t last = std::max(step.first, step.newFirst) + step.count;
    const std::size_t middle = step.first < step.newFirst ? step.first + step.count : step.first;
    std::rotate(at(children, first), at(children, middle), at(children, last));
  }

  void moveToOther(const OutlineStep& step) {
    std::vector<RowNumber>& children = childrenNamedBy(step);
    std::vector<RowNumber>& others = row(step.newParent).children;
    require(step.newFirst <= others.size(), "there is no such index");
    require(step.newOccurrences.size() == step.count, "it has other rows than it counts");
    requireRowsAbove(step.above, step.parent);
    requireRowsAbove(step.newAbove, step.newParent);
    requireNotInto(step);
    const auto begin = at(children, step.first);
    const auto end = at(children, step.first + step.count);
    std::vector<RowState> states;
    states.reserve(step.count);
    for (std::size_t i = 0; i < step.count; ++i) {
      states.push_back(detail::RowStateFields::withOccurrence(
          _rows.at(begin[static_cast<std::ptrdiff_t>(i)]).state, step.newOccurrences[i]));
    }
    makeRoom(others, step.count);
    makeRoom(_replaced, step.count);

    for (std::size_t i = 0; i < step.count; ++i) {
      Row& moved = _rows.find(step.rows[i].number())->second;
      moved.parent = step.newParent;
      replace(moved.state, std::move(states[i]));
    }
    others.insert(at(others, step.newFirst), begin, end);
    children.erase(begin, end);
  }

  /// Checks that `above` are the rows from the first level down to `parent`.
  void requireRowsAbove(const std::vector<RowState>& above, RowNumber parent) {
    RowNumber number = parent;
    for (auto next = above.rbegin(); next != above.rend(); ++next) {
      require(number != 0 && next->number() == number, "other rows are above");
      number = row(number).parent;
    }
    require(number == 0, "other rows are above");
  }

  /// Checks that the new parent is not one of the rows that move, nor below one.
  void requireNotInto(const OutlineStep& step) {
    for (RowNumber number = step.newParent; number != 0; number = row(number).parent) {
      require(row(number).parent != step.parent ||
                  std::ranges::find(step.rows, number, &RowState::number) == step.rows.end(),
              "a row would move into itself");
    }
  }

  void change(const OutlineStep& step) {
    const std::vector<RowNumber>& children = childrenInRange(step);
    require(step.changes.size() == step.count, "it has other rows than it counts");
    for (std::size_t i = 0; i < step.count; ++i) {
      const RowNumber number = children[step.first + i];
      require(step.changes[i].before.number() == number && step.changes[i].after.number() == number,
              "a row is not the one that it names");
    }
    makeRoom(_replaced, step.count);

    for (const RowChange& change : step.changes) {
      replace(_rows.find(change.after.number())->second.state, RowState(change.after));
    }
  }

  void replace(RowState& state, RowState fresh) {
    std::swap(state, fresh);
    _replaced.push_back(std::move(fresh));
  }

  Rows& _rows;
  std::vector<Rows::node_type> _removed;
  std::vector<RowState> _replaced;
};

OutlineCopy::OutlineCopy() {
  _rows.try_emplace(0);
}

void OutlineCopy::apply(const OutlineUpdate& update) {
  Application application(_rows);
  for (const OutlineStep& step : update.steps()) {
    application.apply(step);
  }
}

void OutlineCopy::apply(const OutlineStep& step) {
  Application(_rows).apply(step);
}

const OutlineCopy::Row& OutlineCopy::row(RowNumber number) const {
  const auto found = _rows.find(number);
  if (found == _rows.end()) {
    throw RangeError("there is no row " + std::to_string(number));
  }
  return found->second;
}

const RowState& OutlineCopy::state(RowNumber row) const {
  return this->row(row).state;
}

RowNumber OutlineCopy::parent(RowNumber row) const {
  return this->row(row).parent;
}

const std::vector<RowNumber>& OutlineCopy::children(RowNumber row) const {
  return this->row(row).children;
}

std::string OutlineCopy::description() const {
  struct Open {
    const std::vector<RowNumber>* children;
    std::size_t next = 0;
  };
  std::string text;
  std::vector<Open> open = {{&children(0)}};
  while (!open.empty()) {
    Open& innermost = open.back();
    if (innermost.next == innermost.children->size()) {
      open.pop_back();
      continue;
    }
    const Row& next = row((*innermost.children)[innermost.next++]);
    text += text.empty() ? "" : "\n";
    text += detail::indentation(open.size() - 1);
    text += detail::textOfWholeRow(next.state, detail::textOfValue);
    open.push_back({&next.children});
  }
  return text;
}

}  // namespace vexil
