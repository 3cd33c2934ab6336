// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/values/Storable.h>
#include <vexil/platform/RecordShape.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

namespace vexil {

using detail::storable;
using platform::RecordShape;
using platform::Value;

namespace {

constexpr std::uint64_t mostRows = std::numeric_limits<std::size_t>::max();
constexpr std::uint64_t lastRowNumber = (std::uint64_t{1} << 40) - 1;  // what a RowState holds

struct KindName {
  OutlineStep::Kind kind;
  std::string_view name;
};
constexpr std::array<KindName, 4> kindNames{{{OutlineStep::Kind::removed, "removed"},
                                             {OutlineStep::Kind::inserted, "inserted"},
                                             {OutlineStep::Kind::moved, "moved"},
                                             {OutlineStep::Kind::changed, "changed"}}};

// --- writing

Value unless(bool isDefault, Value value) {
  return isDefault ? Value() : std::move(value);
}

template <class Elements, class ValueOf>
Value arrayOf(const Elements& elements, ValueOf&& valueOf) {
  platform::ArrayMaker array(elements.size());
  for (std::size_t i = 0; i < elements.size(); ++i) {
    array.set(i, valueOf(elements[i]));
  }
  return array.take();
}

/// An array, or nothing in place of an empty one.
template <class Elements, class ValueOf>
Value listOf(const Elements& elements, ValueOf&& valueOf) {
  return elements.empty() ? Value() : arrayOf(elements, valueOf);
}

Value valueOfRow(const RowState& row) {
  static const RecordShape shape({"number", "id", "occurrence", "label", "class", "supportsEnabled",
                                  "enabled", "group", "expandable", "object"});
  const auto flag = [](bool isSet) { return unless(!isSet, true); };
  const std::string name = row.className();
  return shape.record({row.number(), storable(row.uniqueID()),
                       unless(row.occurrence() == 0, row.occurrence()), storable(row.label()),
                       unless(name.empty(), storable(name)), flag(row.supportsEnabled()),
                       flag(row.enabled()), flag(row.isGroup()), flag(row.isExpandable()),
                       storable(row.representedObject())});
}

Value valueOfInserted(const InsertedRow& row) {
  static const RecordShape shape({"row", "children"});
  return shape.record({valueOfRow(row.state), unless(row.childCount == 0, row.childCount)});
}

Value valueOfChange(const RowChange& change) {
  static const RecordShape shape({"before", "after"});
  return shape.record({valueOfRow(change.before), valueOfRow(change.after)});
}

Value valueOfStep(const OutlineStep& step) {
  static const RecordShape shape({"kind", "parent", "first", "count", "rowCount", "newParent",
                                  "newFirst", "inserted", "rows", "newOccurrences", "above",
                                  "newAbove", "changes"});
  return shape.record(
      {kindNames[static_cast<std::size_t>(step.kind)].name, step.parent, step.first, step.count,
       step.rowCount, unless(step.newParent == 0, step.newParent),
       unless(step.newFirst == 0, step.newFirst), listOf(step.inserted, valueOfInserted),
       listOf(step.rows, valueOfRow),
       listOf(step.newOccurrences, [](std::uint32_t occurrence) { return Value(occurrence); }),
       listOf(step.above, valueOfRow), listOf(step.newAbove, valueOfRow),
       listOf(step.changes, valueOfChange)});
}

// --- reading

/// Reads the parts of an update. What is of the wrong type or out of range reads as nothing, and is
/// noted.
class Reader {
 public:
  [[nodiscard]] bool foundFault() const noexcept { return _foundFault; }

  std::uint64_t number(const Value& value, std::uint64_t most) {
    const std::optional<std::uint64_t> number = value.unsignedInteger();
    return require(number && *number <= most) ? *number : 0;
  }
  std::size_t size(const Value& value) { return static_cast<std::size_t>(number(value, mostRows)); }

  OutlineStep step(const Value& value) {
    OutlineStep step{.kind = kind(value["kind"]),
                     .parent = number(value["parent"], lastRowNumber),
                     .first = size(value["first"]),
                     .count = size(value["count"]),
                     .newParent = numberIfAny(value["newParent"], lastRowNumber),
                     .newFirst = sizeIfAny(value["newFirst"]),
                     .rowCount = size(value["rowCount"])};
    require(step.count > 0);
    readList(value["inserted"], step.inserted, &Reader::inserted);
    readList(value["rows"], step.rows, &Reader::row);
    readList(value["newOccurrences"], step.newOccurrences, &Reader::occurrence);
    readList(value["above"], step.above, &Reader::row);
    readList(value["newAbove"], step.newAbove, &Reader::row);
    readList(value["changes"], step.changes, &Reader::change);
    return step;
  }

  template <class Element>
  void readList(const Value& list, std::vector<Element>& elements,
                Element (Reader::*read)(const Value&)) {
    require(list.isAbsent() || list.isArray());
    elements.reserve(list.elements().size());
    for (const Value& element : list.elements()) {
      elements.push_back((this->*read)(element));
      if (_foundFault) {
        return;
      }
    }
  }

  bool require(bool isRight) {
    _foundFault = _foundFault || !isRight;
    return isRight;
  }

 private:
  std::uint64_t numberIfAny(const Value& value, std::uint64_t most) {
    return value.isAbsent() ? 0 : number(value, most);
  }
  std::size_t sizeIfAny(const Value& value) { return value.isAbsent() ? 0 : size(value); }

  OutlineStep::Kind kind(const Value& value) {
    for (const KindName& kind : kindNames) {
      if (value.isString() && value.string() == kind.name) {
        return kind.kind;
      }
    }
    require(false);
    return OutlineStep::Kind::changed;
  }

  bool flag(const Value& value) {
    return !value.isAbsent() && require(value.boolean().has_value()) && *value.boolean();
  }

  std::uint32_t occurrence(const Value& value) {
    return static_cast<std::uint32_t>(number(value, std::numeric_limits<std::uint32_t>::max()));
  }

  RowState row(const Value& value) {
    const Value& name = value["class"];
    require(name.isAbsent() || name.isString());
    return RowState(RowState::Parts{
        .number = number(value["number"], lastRowNumber),
        .uniqueID = value["id"],
        .occurrence = value["occurrence"].isAbsent() ? 0 : occurrence(value["occurrence"]),
        .label = value["label"],
        .representedObject = value["object"],
        .className = std::string(name.string()),
        .supportsEnabled = flag(value["supportsEnabled"]),
        .enabled = flag(value["enabled"]),
        .isGroup = flag(value["group"]),
        .isExpandable = flag(value["expandable"])});
  }

  InsertedRow inserted(const Value& value) {
    return {row(value["row"]), sizeIfAny(value["children"])};
  }

  RowChange change(const Value& value) { return {row(value["before"]), row(value["after"])}; }

  bool _foundFault = false;
};

}  // namespace

Value OutlineUpdate::propertyList() const {
  static const RecordShape shape({"rowsAfterwards", "steps"});
  return shape.record({_rowsAfterwards, arrayOf(_steps, valueOfStep)});
}

std::optional<OutlineUpdate> OutlineUpdate::fromPropertyList(const Value& propertyList) {
  Reader reader;
  const std::size_t rowsAfterwards = reader.size(propertyList["rowsAfterwards"]);
  reader.require(propertyList["steps"].isArray());
  std::vector<OutlineStep> steps;
  reader.readList(propertyList["steps"], steps, &Reader::step);
  if (reader.foundFault()) {
    return std::nullopt;
  }
  return OutlineUpdate(std::move(steps), rowsAfterwards);
}

}  // namespace vexil
