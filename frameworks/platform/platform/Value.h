// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/Key.h>
#include <platform/Object.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

/// An instant: seconds since 2001-01-01 00:00:00 UTC, negative before.
struct Date {
  double seconds = 0;
};

class RecordShape;

namespace detail {
struct Bytes;
struct Container;
struct Shape;
}  // namespace detail

/// Whatever a record can hold, and a record itself: an immutable value, shared when it is copied.
///
/// A value is absent, the null marker, a boolean, an integer (-2^63 to 2^64-1), a real, a string,
/// data, a date, an array, a dictionary, or a reference to an object. Copying one copies 24 bytes
/// and at most counts a reference: strings of up to 23 bytes stand in the value itself, everything
/// larger is shared. Values can be read, copied and dropped on any number of threads; assigning to
/// one `Value` while another thread reads it is a race, as with any other type.
///
/// Equality (`==`) is by content and looks at types only where it must: numbers and booleans are
/// equal when their numeric values are, exactly (1, 1.0 and true are; 2^53+1 and 9007199254740992.0
/// are not); NaN equals NaN; dates are equal by instant, strings by their bytes without
/// normalisation, containers element by element, objects as `Object::isEqual` of the left one says.
/// Values that share their storage are equal without a look inside. `hash` agrees.
///
/// None of the operations recurses deeper than a constant, however deep a value is nested; where
/// one asks an object, the object's own operation may. Equality and hash look but once at a part
/// that a value holds in many places.
///
///     const Value event = Value::dictionary({{"name", "Backup"}, {"enabled", true}});
///     event["name"].string();   // "Backup"
///     event["domain"];          // absent
///     Value("text")["name"];    // absent: only dictionaries have keys
class Value {
 public:
  enum class Kind : std::uint8_t {
    absent,
    null,
    boolean,
    integer,
    real,
    string,
    data,
    date,
    array,
    dictionary,
    object,
  };

  /// Absent.
  Value() noexcept : _tag(tagAbsent) {}

  /// The marker that stands for an absent value where something must stand.
  static Value null() noexcept { return Value(tagNull); }

  // Implicit, so that records can be written down as they read.
  // NOLINTBEGIN(google-explicit-constructor)
  Value(std::same_as<bool> auto boolean) noexcept : _tag(tagBoolean) {
    store(static_cast<std::int64_t>(boolean));
  }
  template <std::integral Integer>
    requires(!std::same_as<Integer, bool> && !std::same_as<Integer, char>)
  Value(Integer integer) noexcept : _tag(tagInteger) {
    if constexpr (sizeof(Integer) == sizeof(std::uint64_t) && std::unsigned_integral<Integer>) {
      _tag = integer > static_cast<std::uint64_t>(INT64_MAX) ? tagLargeInteger : tagInteger;
      store(static_cast<std::uint64_t>(integer));
    } else {
      store(static_cast<std::int64_t>(integer));
    }
  }
  /// A lone character is neither text nor number.
  Value(std::same_as<char> auto) = delete;
  Value(double real) noexcept : _tag(tagReal) { store(real); }
  Value(Date date) noexcept : _tag(tagDate) { store(date.seconds); }
  Value(std::string_view text);
  Value(const char* text) : Value(std::string_view(text)) {}
  Value(const std::string& text) : Value(std::string_view(text)) {}
  /// A reference to an object, which is kept alive; absent when the pointer is empty.
  Value(std::shared_ptr<Object> object) noexcept;
  template <std::derived_from<Object> T>
  Value(const std::shared_ptr<T>& object) noexcept
      : Value(std::static_pointer_cast<Object>(object)) {}
  // NOLINTEND(google-explicit-constructor)

  static Value data(std::span<const std::byte> bytes);

  /// An array of the values given, absent ones included.
  static Value array(std::vector<Value> elements);
  static Value array(std::initializer_list<Value> elements);
  /// An array of `elements`, moved from.
  static Value array(std::span<Value> elements);

  /// An array of references to the objects of any range of shared pointers.
  template <class Objects>
  static Value arrayOfObjects(const Objects& objects);

  /// A dictionary with the entries in the order given. An absent value makes no entry; of two
  /// entries of one key the later value stands, at the place of the earlier.
  static Value dictionary(std::vector<std::pair<Key, Value>> entries);
  static Value dictionary(std::initializer_list<std::pair<Key, Value>> entries);

  Value(const Value& other) noexcept : _tag(other._tag) {
    if (_tag < tagString) {
      std::memcpy(_storage, other._storage, sizeof _storage);
    } else {
      share(other);
    }
  }
  Value(Value&& other) noexcept : _tag(other._tag) { take(other); }
  Value& operator=(const Value& other) noexcept { return *this = Value(other); }
  Value& operator=(Value&& other) noexcept {
    if (this != &other) {
      // The old content goes last: letting go of it can run an object's destructor, and that may
      // look at this very value.
      const Value old(std::move(*this));
      _tag = other._tag;
      take(other);
    }
    return *this;
  }
  ~Value() {
    if (_tag >= tagString) {
      drop();
    }
  }

  [[nodiscard]] Kind kind() const noexcept;
  [[nodiscard]] bool isAbsent() const noexcept { return _tag == tagAbsent; }
  [[nodiscard]] bool isNull() const noexcept { return _tag == tagNull; }
  [[nodiscard]] bool isString() const noexcept { return _tag <= maxInline || _tag == tagString; }
  /// A boolean, an integer or a real.
  [[nodiscard]] bool isNumber() const noexcept { return _tag >= tagBoolean && _tag <= tagReal; }
  [[nodiscard]] bool isArray() const noexcept { return _tag == tagArray; }
  [[nodiscard]] bool isDictionary() const noexcept { return _tag == tagDictionary; }
  [[nodiscard]] bool isObject() const noexcept { return _tag == tagObject; }

  /// The boolean reading: of a boolean or a number whether it is other than zero, as NaN is; false
  /// of everything else.
  [[nodiscard]] bool booleanReading() const noexcept;

  /// The boolean, integer, real or date itself; absent of any other kind. An integer above
  /// 2^63-1 is given by `unsignedInteger` alone, a negative one by `integer` alone.
  [[nodiscard]] std::optional<bool> boolean() const noexcept;
  [[nodiscard]] std::optional<std::int64_t> integer() const noexcept;
  [[nodiscard]] std::optional<std::uint64_t> unsignedInteger() const noexcept;
  [[nodiscard]] std::optional<double> real() const noexcept;
  [[nodiscard]] std::optional<Date> date() const noexcept;

  /// The characters, UTF-8, of a string; empty of any other kind. They live as long as this value
  /// is neither assigned to nor moved from.
  [[nodiscard]] std::string_view string() const noexcept;

  /// The bytes of data, the elements of an array, the keys of a dictionary and its values in the
  /// same order; empty of any other kind. They live as long as a value that shares them.
  [[nodiscard]] std::span<const std::byte> bytes() const noexcept;
  [[nodiscard]] std::span<const Value> elements() const noexcept;
  [[nodiscard]] std::span<const Key> keys() const noexcept;
  [[nodiscard]] std::span<const Value> values() const noexcept;

  /// The object referred to; empty of any other kind.
  [[nodiscard]] const std::shared_ptr<Object>& object() const noexcept;

  /// The value under a key of a dictionary; absent when there is none, and of any other kind.
  [[nodiscard]] const Value& operator[](const Key& key) const noexcept;
  [[nodiscard]] const Value& operator[](std::string_view key) const noexcept;
  [[nodiscard]] const Value& operator[](const std::string& key) const noexcept {
    return (*this)[std::string_view(key)];
  }
  [[nodiscard]] const Value& operator[](const char* key) const noexcept {
    return (*this)[std::string_view(key)];
  }

  /// Whether both share their storage, so that they are equal without a look inside: true of
  /// copies of one container, of references to one object, never of plain numbers and short
  /// strings.
  [[nodiscard]] bool sharesStorageWith(const Value& other) const noexcept;

  friend bool operator==(const Value& a, const Value& b) {
    return a._tag == b._tag && a._tag <= maxInline
               ? std::memcmp(a._storage, b._storage, a._tag) == 0
               : equal(a, b);
  }

  [[nodiscard]] std::size_t hash() const;

  /// Natural comparison, for sorting: absent first, then null, then booleans and numbers by
  /// numeric value with NaN before the others, strings by code point, dates by instant with NaN
  /// first, data by bytes. Arrays, dictionaries and objects come last, in this order, and are
  /// equivalent among themselves. It is a weak order of all values, so any input can be sorted.
  [[nodiscard]] std::weak_ordering compare(const Value& other) const noexcept;

  /// A text for people and logs: strings quoted, `(null)` for absent.
  [[nodiscard]] std::string description() const;

  /// The value within a text: a string as it stands, everything else as its description.
  [[nodiscard]] std::string displayText() const {
    return isString() ? std::string(string()) : description();
  }

 private:
  friend class RecordShape;

  // Up to `maxInline` the tag is the length of a string that stands in the value; from `tagString`
  // on the value holds a reference.
  static constexpr std::uint8_t maxInline = 23;
  enum Tag : std::uint8_t {
    tagAbsent = maxInline + 1,
    tagNull,
    tagBoolean,
    tagInteger,
    tagLargeInteger,
    tagReal,
    tagDate,
    tagString,
    tagData,
    tagArray,
    tagDictionary,
    tagObject,
  };

  explicit Value(Tag tag) noexcept : _tag(tag) {}
  Value(Tag tag, const void* shared) noexcept : _tag(tag) { store(shared); }

  template <class T>
  void store(T payload) noexcept {
    static_assert(sizeof payload <= sizeof _storage);
    std::memcpy(_storage, &payload, sizeof payload);
  }
  template <class T>
  [[nodiscard]] T load() const noexcept {
    T payload;
    std::memcpy(&payload, _storage, sizeof payload);
    return payload;
  }
  [[nodiscard]] std::shared_ptr<Object>& objectSlot() noexcept {
    return *std::launder(reinterpret_cast<std::shared_ptr<Object>*>(_storage));
  }
  [[nodiscard]] const std::shared_ptr<Object>& objectSlot() const noexcept {
    return *std::launder(reinterpret_cast<const std::shared_ptr<Object>*>(_storage));
  }

  /// Moves the content of `other`, whose tag has been copied already, and leaves it absent.
  void take(Value& other) noexcept {
    if (_tag == tagObject) {
      new (static_cast<void*>(_storage)) std::shared_ptr<Object>(std::move(other.objectSlot()));
      other.objectSlot().~shared_ptr();
    } else {
      std::memcpy(_storage, other._storage, sizeof _storage);
    }
    other._tag = tagAbsent;
  }
  void share(const Value& other) noexcept;
  void drop() noexcept;
  [[nodiscard]] std::weak_ordering compareNumber(const Value& other) const noexcept;
  [[nodiscard]] std::size_t hashOfNumber() const noexcept;
  [[nodiscard]] std::size_t hash(int depth) const;
  struct Comparison;
  static bool equal(const Value& a, const Value& b);
  static bool equalButFor(const Value& a, const Value& b, int depth, Comparison& comparison);

  alignas(8) std::byte _storage[maxInline];
  std::uint8_t _tag;
};

/// The keys of many records, looked up once: the quick way to build them.
///
///     static const RecordShape shape({"id", "name"});
///     Value record = shape.record({id, name});   // as Value::dictionary({{"id", id}, ...})
class RecordShape {
 public:
  /// The keys, in the order in which records give their values. Raises `InvalidArgument` when one
  /// occurs twice.
  // NOLINTNEXTLINE(google-explicit-constructor): a list of keys is not a shape by itself
  explicit RecordShape(std::initializer_list<Key> keys);
  explicit RecordShape(std::span<const Key> keys);
  RecordShape(const RecordShape& other) noexcept;
  RecordShape& operator=(RecordShape other) noexcept {
    std::swap(_shape, other._shape);
    return *this;
  }
  ~RecordShape();

  /// A dictionary of these keys and `values`, moved from. Raises `InvalidArgument` when there are
  /// more or fewer values than keys. An absent value makes no entry.
  [[nodiscard]] Value record(std::span<Value> values) const;
  [[nodiscard]] Value record(std::initializer_list<Value> values) const;

 private:
  const detail::Shape* _shape;
};

template <class Objects>
Value Value::arrayOfObjects(const Objects& objects) {
  std::vector<Value> elements;
  elements.reserve(std::size(objects));
  for (const auto& object : objects) {
    elements.emplace_back(object);
  }
  return array(std::move(elements));
}

}  // namespace platform

template <>
struct std::hash<platform::Value> {
  std::size_t operator()(const platform::Value& value) const { return value.hash(); }
};
