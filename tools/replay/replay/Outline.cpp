// SPDX-License-Identifier: Apache-2.0
#include <replay/Constants.h>
#include <replay/InternalError.h>
#include <replay/Outline.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace platform = vexil::platform;

namespace replay {

using platform::Key;
using platform::Value;
using vexil::OutlineCopy;
using vexil::OutlineRow;
using vexil::OutlineStep;
using vexil::OutlineUpdate;
using vexil::RowNumber;
using vexil::RowState;

namespace {

/// The row with constants as keys of its record replaced by their names. An update prints the keys
/// of records as they are.
RowState withNamedKeys(const RowState& row) {
  const Value& record = row.representedObject();
  const auto isNamed = [](const Key& key) { return nameOfRecordKey(key.text()) != key.text(); };
  if (std::ranges::none_of(record.keys(), isNamed)) {
    return row;
  }
  std::vector<std::pair<Key, Value>> entries;
  for (std::size_t index = 0; index < record.keys().size(); ++index) {
    entries.emplace_back(nameOfRecordKey(record.keys()[index].text()), record.values()[index]);
  }
  return RowState({.number = row.number(),
                   .uniqueID = row.uniqueID(),
                   .occurrence = row.occurrence(),
                   .label = row.label(),
                   .representedObject = Value::dictionary(std::move(entries)),
                   .className = row.className(),
                   .supportsEnabled = row.supportsEnabled(),
                   .enabled = row.enabled(),
                   .isGroup = row.isGroup(),
                   .isExpandable = row.isExpandable()});
}

OutlineUpdate withNamedKeys(const OutlineUpdate& update) {
  std::vector<OutlineStep> steps = update.steps();
  for (OutlineStep& step : steps) {
    for (vexil::RowChange& change : step.changes) {
      change = {withNamedKeys(change.before), withNamedKeys(change.after)};
    }
  }
  return {std::move(steps), update.rowsAfterwards()};
}

/// Whether the copy has this row, and below it the children that it has.
bool agreeOn(const OutlineRow& row, const OutlineCopy& copy) {
  if (!copy.contains(row.number()) || copy.state(row.number()) != row.state()) {
    return false;
  }
  const std::vector<RowNumber>& children = copy.children(row.number());
  if (children.size() != row.childCount()) {
    return false;
  }
  for (std::size_t index = 0; index < children.size(); ++index) {
    if (children[index] != row.child(index)->number() ||
        copy.parent(children[index]) != row.number()) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool agree(const vexil::Outline& outline, const OutlineCopy& copy) {
  std::size_t rows = 0;
  std::vector<const OutlineRow*> open = {&outline.top()};
  while (!open.empty()) {
    const OutlineRow& row = *open.back();
    open.pop_back();
    if (!agreeOn(row, copy)) {
      return false;
    }
    rows += row.isTop() ? 0U : 1U;
    for (std::size_t index = 0; index < row.childCount(); ++index) {
      open.push_back(row.child(index));
    }
  }
  return rows == outline.rowCount() && rows == copy.rowCount();
}

vexil::OutlineOptions Outline::optionsOf(bool followsProperties, const std::string& name,
                                         const std::shared_ptr<Transcript>& transcript) {
  return {.followsProperties = followsProperties,
          .outOfDate = [transcript, line = "outOfDate " + name] { transcript->line(line); }};
}

void Outline::update() {
  const OutlineUpdate update = _outline.update();
  _transcript->lines(printed(update));
  try {
    _copy.apply(update);
  } catch (const platform::RangeError& error) {
    throw InternalError("the copy of outline " + _name + " cannot follow it: " + error.what());
  }
  requireAgreement();
}

void Outline::printRows() const {
  requireAgreement();
  struct Open {
    const std::vector<RowNumber>* children;
    std::size_t next = 0;
  };
  constexpr std::size_t deepest = 64;  // as in all texts of rows
  std::vector<Open> open = {{&_copy.children(0)}};
  while (!open.empty()) {
    Open& innermost = open.back();
    if (innermost.next == innermost.children->size()) {
      open.pop_back();
      continue;
    }
    const RowNumber row = (*innermost.children)[innermost.next++];
    const std::size_t depth = std::min(open.size() - 1, deepest);
    _transcript->line(std::string(2 * depth, ' ') + printed(_copy.state(row)));
    open.push_back({&_copy.children(row)});
  }
}

std::string Outline::printed(const OutlineUpdate& update) const {
  return withNamedKeys(update).description(
      [this](const Value& value) { return _transcript->printer().value(value); });
}

/// Prints the row as the only one that an update inserts. That is a line with two spaces before it.
std::string Outline::printed(const RowState& row) const {
  OutlineStep step;
  step.kind = OutlineStep::Kind::inserted;
  step.count = 1;
  step.rowCount = 1;
  step.inserted = {{row, 0}};
  const std::string text = printed(OutlineUpdate({std::move(step)}, 1));
  return text.substr(text.rfind('\n') + 3);
}

void Outline::requireAgreement() const {
  if (!agree(_outline, _copy)) {
    throw InternalError("the copy of outline " + _name + " has other rows:\n" +
                        _copy.description());
  }
}

}  // namespace replay
