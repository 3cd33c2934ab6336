// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/items/ItemFields.h>
#include <vexil/outline/rows/QuietLog.h>
#include <vexil/outline/rows/StateReader.h>

#include <algorithm>
#include <typeinfo>
#include <utility>

namespace vexil::detail {

using platform::Key;
using platform::Value;

namespace {

/// What a getter returns. When it throws, that is logged, and the answer is absent or false.
template <class Getter>
auto asked(const KRAVTWVItemVexil& item, const char* what, const Getter& getter)
    -> decltype(getter()) {
  try {
    return getter();
  } catch (...) {
    logCaughtException(item.className() + ": " + what);
  }
  return {};
}

/// Whether one can stand for the other: not only equal, as 1 and true are, but of one kind.
bool areTheSame(const Value& a, const Value& b) {
  return a.kind() == b.kind() && a.plainlyEquals(b) == true;
}

/// Where a value stands in the represented object.
RowStateFields::Field fieldOf(const Value& value, const Value& object) {
  if (value.isAbsent()) {
    return RowStateFields::nowhere;
  }
  if (areTheSame(value, object)) {
    return RowStateFields::isObject;
  }
  const auto values = object.values();
  const auto end = values.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(
                                        values.size(), RowStateFields::lastPosition + 1));
  const auto found =
      std::find_if(values.begin(), end, [&](const Value& part) { return areTheSame(value, part); });
  return found == end ? RowStateFields::isStored
                      : static_cast<RowStateFields::Field>(found - values.begin());
}

}  // namespace

StateReader::StateReader()
    : _identifier{Key(kTWEventUniqueID)},
      _name{Key(kTWEventName)},
      _enabled{Key(kTWEventEnabled)} {}

std::size_t StateReader::Guess::in(std::span<const Key> keys) noexcept {
  if (position < keys.size() && keys[position] == key) {
    return position;
  }
  const auto found = std::ranges::find(keys, key);
  const auto at = static_cast<std::size_t>(found - keys.begin());
  if (at < keys.size()) {
    position = at;
  }
  return at;
}

bool StateReader::mayRunForeignCode(const KRAVTWVItemVexil& item) {
  return !ItemFields::isOwnKind(item);
}

RowState StateReader::read(const KRAVTWVItemVexil& item) {
  const bool isPlain =
      ItemFields::isPlainEvent(item) &&
      ItemFields::representedObject(item).keys().size() <= RowStateFields::lastPosition;
  return isPlain ? readPlainEvent(ItemFields::representedObject(item)) : readByAsking(item);
}

RowState StateReader::readPlainEvent(const Value& record) {
  const auto keys = record.keys();
  const std::size_t identifier = _identifier.in(keys);
  const std::size_t name = _name.in(keys);
  const std::size_t enabled = _enabled.in(keys);
  const auto field = [&](std::size_t position) {
    return position < keys.size() ? static_cast<Field>(position) : RowStateFields::nowhere;
  };
  unsigned flags = RowStateFields::flagPlainEvent | RowStateFields::flagSupportsEnabled;
  if (enabled < keys.size() && record.values()[enabled].booleanReading()) {
    flags |= RowStateFields::flagEnabled;
  }
  return RowStateFields::make(record, nullptr, static_cast<std::uint8_t>(flags), field(identifier),
                              field(name));
}

RowState StateReader::readByAsking(const KRAVTWVItemVexil& item) const {
  Value object = item.representedObject();
  Value identifier = asked(item, "uniqueID", [&] { return item.uniqueID(); });
  Value label = asked(item, "label", [&] { return item.label(); });
  unsigned flags = 0;
  const auto setIf = [&](bool isSet, RowStateFields::Flag flag) {
    flags |= isSet ? static_cast<unsigned>(flag) : 0U;
  };
  setIf(asked(item, "supportsEnabled", [&] { return item.supportsEnabled(); }),
        RowStateFields::flagSupportsEnabled);
  setIf(asked(item, "enabled", [&] { return item.enabled(); }), RowStateFields::flagEnabled);
  setIf(asked(item, "isGroup", [&] { return item.isGroup(); }), RowStateFields::flagGroup);
  setIf(asked(item, "isExpandable", [&] { return item.isExpandable(); }),
        RowStateFields::flagExpandable);
  const Field identifierField = fieldOf(identifier, object);
  const Field labelField = fieldOf(label, object);
  RowDetails::Content content{.type = &typeid(item)};
  if (identifierField == RowStateFields::isStored) {
    content.identifier = std::move(identifier);
  }
  if (labelField == RowStateFields::isStored) {
    content.label = std::move(label);
  }
  return RowStateFields::make(std::move(object), RowDetails::make(std::move(content)),
                              static_cast<std::uint8_t>(flags), identifierField, labelField);
}

}  // namespace vexil::detail
