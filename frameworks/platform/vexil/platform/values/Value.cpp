// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <unordered_map>

namespace vexil::platform {

using detail::Bytes;
using detail::Container;
using detail::Shape;

Value::Value(std::string_view text) : Value(tagAbsent) {
  if (text.size() <= maxInline) {
    _tag = static_cast<std::uint8_t>(text.size());
    if (!text.empty()) {
      std::memcpy(_storage, text.data(), text.size());
    }
  } else {
    store(Bytes::make(text.data(), text.size()));
    _tag = tagString;
  }
}

Value Value::data(std::span<const std::byte> bytes) {
  return {tagData, Bytes::make(bytes.data(), bytes.size())};
}

Value Value::array(std::vector<Value> elements) {
  return array(std::span(elements));
}

Value Value::array(std::span<Value> elements) {
  Container* container = Container::makeRaw(elements.size());
  std::uninitialized_move(elements.begin(), elements.end(), container->first());
  return {tagArray, container};
}

Value Value::array(std::initializer_list<Value> elements) {
  Container* container = Container::makeRaw(elements.size());
  std::uninitialized_copy(elements.begin(), elements.end(), container->first());
  return {tagArray, container};
}

ArrayMaker::ArrayMaker(std::size_t count)
    : _array(Value::tagArray, Container::makeAbsent(count)),
      _values(_array.load<Container*>()->values()) {}

namespace {

/// Leaves one entry for each key, with the last value given for it, and removes the entries whose
/// value is absent.
void settle(std::vector<std::pair<Key, Value>>& entries) {
  std::unordered_map<Key, std::size_t> positions;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].second.isAbsent()) {
      continue;
    }
    const auto [known, isNew] = positions.try_emplace(entries[i].first, kept);
    if (!isNew) {
      entries[known->second].second = std::move(entries[i].second);
    } else {
      if (kept != i) {
        entries[kept] = std::move(entries[i]);
      }
      ++kept;
    }
  }
  entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(kept), entries.end());
}

/// Whether `settle` would change nothing. Quadratic, for the few entries of a usual record; false
/// when there are many.
bool isSettled(const std::vector<std::pair<Key, Value>>& entries) {
  constexpr std::size_t few = 16;
  if (entries.size() > few) {
    return false;
  }
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].second.isAbsent()) {
      return false;
    }
    for (std::size_t j = 0; j < i; ++j) {
      if (entries[j].first == entries[i].first) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace

Value Value::dictionary(std::vector<std::pair<Key, Value>> entries) {
  if (!isSettled(entries)) {
    settle(entries);
  }
  std::vector<Key> keys;
  keys.reserve(entries.size());
  for (const auto& entry : entries) {
    keys.push_back(entry.first);
  }
  Container* container = Container::makeRaw(entries.size(), Shape::intern(keys));
  for (std::size_t i = 0; i < entries.size(); ++i) {
    new (container->first() + i) Value(std::move(entries[i].second));
  }
  return {tagDictionary, container};
}

Value Value::dictionary(std::initializer_list<std::pair<Key, Value>> entries) {
  return dictionary(std::vector<std::pair<Key, Value>>(entries));
}

void Value::drop() noexcept {
  if (_tag == tagObject) {
    if (objectSlot().use_count() == 1) {
      releaseWithoutRecursion(std::move(objectSlot()));
    }
    objectSlot().~shared_ptr();
  } else if (load<const detail::RefCount*>()->release()) {
    if (_tag == tagString || _tag == tagData) {
      Bytes::discard(load<const Bytes*>());
    } else {
      Container::discard(load<Container*>());
    }
  }
}

Value::Kind Value::kind() const noexcept {
  switch (_tag) {
    case tagAbsent:
      return Kind::absent;
    case tagNull:
      return Kind::null;
    case tagBoolean:
      return Kind::boolean;
    case tagInteger:
    case tagLargeInteger:
      return Kind::integer;
    case tagReal:
      return Kind::real;
    case tagDate:
      return Kind::date;
    case tagData:
      return Kind::data;
    case tagArray:
      return Kind::array;
    case tagDictionary:
      return Kind::dictionary;
    case tagObject:
      return Kind::object;
    default:
      return Kind::string;
  }
}

bool Value::booleanReading() const noexcept {
  return _tag == tagReal ? load<double>() != 0 : isNumber() && load<std::int64_t>() != 0;
}

std::optional<bool> Value::boolean() const noexcept {
  return _tag == tagBoolean ? std::optional(load<std::int64_t>() != 0) : std::nullopt;
}

std::optional<std::int64_t> Value::integer() const noexcept {
  return _tag == tagInteger ? std::optional(load<std::int64_t>()) : std::nullopt;
}

std::optional<std::uint64_t> Value::unsignedInteger() const noexcept {
  return _tag == tagLargeInteger || (_tag == tagInteger && load<std::int64_t>() >= 0)
             ? std::optional(load<std::uint64_t>())
             : std::nullopt;
}

std::optional<double> Value::real() const noexcept {
  return _tag == tagReal ? std::optional(load<double>()) : std::nullopt;
}

std::optional<Date> Value::date() const noexcept {
  return _tag == tagDate ? std::optional(Date{load<double>()}) : std::nullopt;
}

std::span<const std::byte> Value::bytes() const noexcept {
  return _tag == tagData ? std::as_bytes(std::span(load<const Bytes*>()->text()))
                         : std::span<const std::byte>();
}

std::span<const Key> Value::keys() const noexcept {
  return _tag == tagDictionary ? load<Container*>()->shape->keys() : std::span<const Key>();
}

const std::shared_ptr<Object>& Value::noObject() noexcept {
  static const std::shared_ptr<Object> none;
  return none;
}

const Value& Value::absent() noexcept {
  static const Value absent;
  return absent;
}

const Value& Value::operator[](const Key& key) const noexcept {
  if (_tag != tagDictionary) {
    return absent();
  }
  const Container& container = *load<Container*>();
  const std::uint32_t position = container.shape->find(key);
  return position < container.shape->count ? container.values()[position] : absent();
}

const Value& Value::operator[](std::string_view key) const noexcept {
  if (_tag != tagDictionary) {
    return absent();
  }
  const Container& container = *load<Container*>();
  const std::uint32_t position = container.shape->find(key);
  return position < container.shape->count ? container.values()[position] : absent();
}

}  // namespace vexil::platform
