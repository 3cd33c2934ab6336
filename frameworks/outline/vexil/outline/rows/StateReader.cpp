// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/items/ItemFields.h>
#include <vexil/outline/rows/QuietLog.h>
#include <vexil/outline/rows/StateReader.h>
#include <vexil/platform/Key.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <span>
#include <typeinfo>
#include <utility>

namespace vexil::detail {

using platform::Key;
using platform::Value;

namespace {

/// What a getter returns. When it throws, that is logged, and the answer is absent or false. Only
/// that there is no memory passes on: the next update may have some.
template <class Getter>
auto asked(const KRAVTWVItemVexil& item, const char* what, const Getter& getter)
    -> decltype(getter()) {
  try {
    return getter();
  } catch (const std::bad_alloc&) {
    throw;
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

/// Interned when one of them is first used: by then the host's own constants are linked.
struct EventKeys {
  Key identifier{kTWEventUniqueID};
  Key name{kTWEventName};
  Key enabled{kTWEventEnabled};
};

const EventKeys& eventKeys() {
  static const EventKeys keys;
  return keys;
}

/// The position of a key, or the number of keys. `guess` is where it stood in another record.
std::size_t positionOf(const Key& key, std::span<const Key> keys, std::size_t& guess) noexcept {
  if (guess < keys.size() && keys[guess] == key) {
    return guess;
  }
  const auto at = static_cast<std::size_t>(std::ranges::find(keys, key) - keys.begin());
  guess = at < keys.size() ? at : guess;
  return at;
}

}  // namespace

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
  const std::size_t identifier = positionOf(eventKeys().identifier, keys, _identifier);
  const std::size_t name = positionOf(eventKeys().name, keys, _name);
  const std::size_t enabled = positionOf(eventKeys().enabled, keys, _enabled);
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

namespace {

std::uint8_t flagsOf(const KRAVTWVItemVexil& item) {
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
  return static_cast<std::uint8_t>(flags);
}

}  // namespace

bool StateReader::isStillLike(const KRAVTWVItemVexil& item, const RowState& before) {
  const std::type_info& type = typeid(item);
  const bool followsFromRecord =
      type == typeid(KRAVTWVDomainVexil) || type == typeid(KRAVTWVQueuedTriggerVexil) ||
      type == typeid(KRAVTWVActiveEventVexil) || type == typeid(KRAVTWVOnDemandVexil);
  return followsFromRecord && type == RowStateFields::type(before) &&
         before.representedObject().plainlyEquals(ItemFields::representedObject(item)) == true;
}

RowState StateReader::readAgain(const KRAVTWVItemVexil& item, const RowState& before) const {
  return RowStateFields::withObject(before, ItemFields::representedObject(item), flagsOf(item));
}

RowState StateReader::readByAsking(const KRAVTWVItemVexil& item) const {
  Value object = item.representedObject();
  Value identifier = asked(item, "uniqueID", [&] { return item.uniqueID(); });
  Value label = asked(item, "label", [&] { return item.label(); });
  const std::uint8_t flags = flagsOf(item);
  const Field identifierField = fieldOf(identifier, object);
  const Field labelField = fieldOf(label, object);
  RowDetails::Content content{.type = &typeid(item)};
  if (identifierField == RowStateFields::isStored) {
    content.identifier = std::move(identifier);
  }
  if (labelField == RowStateFields::isStored) {
    content.label = std::move(label);
  }
  return RowStateFields::make(std::move(object), RowDetails::make(std::move(content)), flags,
                              identifierField, labelField);
}

}  // namespace vexil::detail
