// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Key.h>
#include <vexil/platform/Object.h>

#include <algorithm>
#include <array>
#include <bit>
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

namespace vexil::platform {

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
  Value() noexcept : Value(tagAbsent) {}

  /// The marker that stands for an absent value where something must stand.
  static Value null() noexcept { return Value(tagNull); }

  // Implicit, so that records can be written down as they read.
  // NOLINTBEGIN(google-explicit-constructor)
  Value(std::same_as<bool> auto boolean) noexcept : Value(tagBoolean) {
    store(static_cast<std::int64_t>(boolean));
  }
  template <std::integral Integer>
    requires(!std::same_as<Integer, bool> && !std::same_as<Integer, char>)
  Value(Integer integer) noexcept : Value(tagInteger) {
    if constexpr (sizeof(Integer) == sizeof(std::uint64_t) && std::unsigned_integral<Integer>) {
      _tag = integer > static_cast<std::uint64_t>(INT64_MAX) ? tagLargeInteger : tagInteger;
      store(static_cast<std::uint64_t>(integer));
    } else {
      store(static_cast<std::int64_t>(integer));
    }
  }
  /// A lone character is neither text nor number.
  Value(std::same_as<char> auto) = delete;
  Value(double real) noexcept : Value(tagReal) { store(real); }
  Value(Date date) noexcept : Value(tagDate) { store(date.seconds); }
  Value(std::string_view text);
  Value(const char* text) : Value(std::string_view(text)) {}
  Value(const std::string& text) : Value(std::string_view(text)) {}
  /// A reference to an object, which is kept alive; absent when the pointer is empty.
  Value(std::shared_ptr<Object> object) noexcept : Value(tagAbsent) {
    if (object) {
      new (static_cast<void*>(_storage)) std::shared_ptr<Object>(std::move(object));
      _tag = tagObject;
    }
  }
  template <std::derived_from<Object> T>
  Value(const std::shared_ptr<T>& object) noexcept : Value(tagAbsent) {
    if (object) {
      new (static_cast<void*>(_storage)) std::shared_ptr<Object>(object);
      _tag = tagObject;
    }
  }
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

  Value(const Value& other) noexcept {
    copyBits(other);
    if (_tag >= tagString) {
      share(other);
    }
  }
  Value(Value&& other) noexcept { take(other); }
  Value& operator=(const Value& other) noexcept { return *this = Value(other); }
  Value& operator=(Value&& other) noexcept {
    if (this == &other) {
      return *this;
    }
    if (_tag < tagString) {
      take(other);
    } else {
      // The old content goes last: letting go of it can run an object's destructor, and that may
      // look at this very value.
      const Value old(std::move(*this));
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

  /// The first 24 bytes of a string, with zeros behind its end, as numbers that compare as the
  /// bytes do: what decides most comparisons of strings when many are sorted. Zeros of any other
  /// kind.
  [[nodiscard]] std::array<std::uint64_t, 3> textPrefix() const noexcept;

  /// The bytes of data, the elements of an array, the keys of a dictionary and its values in the
  /// same order; empty of any other kind. They live as long as a value that shares them.
  [[nodiscard]] std::span<const std::byte> bytes() const noexcept;
  [[nodiscard]] std::span<const Value> elements() const noexcept;
  [[nodiscard]] std::span<const Key> keys() const noexcept;
  [[nodiscard]] std::span<const Value> values() const noexcept;

  /// The object referred to; empty of any other kind.
  [[nodiscard]] const std::shared_ptr<Object>& object() const noexcept {
    return _tag == tagObject ? objectSlot() : noObject();
  }

  /// The value under a key of a dictionary; absent when there is none, and of any other kind.
  [[nodiscard]] const Value& operator[](const Key& key) const noexcept;
  [[nodiscard]] const Value& operator[](std::string_view key) const noexcept;
  [[nodiscard]] const Value& operator[](const std::string& key) const noexcept {
    return (*this)[std::string_view(key)];
  }
  [[nodiscard]] const Value& operator[](const char* key) const noexcept {
    return (*this)[std::string_view(key)];
  }

  /// Begins to fetch from memory what the value shares, and of a dictionary what its values share:
  /// for loops that will look at it some turns later.
  void prefetch(std::size_t lines = 3) const noexcept;
  void prefetchParts() const noexcept;

  /// A number that whoever holds many dictionaries may leave on one, such as its place among them,
  /// to find it again. All who share the dictionary share the number, and anybody may overwrite it,
  /// so it says nothing until it is verified. 0 at first. Only of a dictionary.
  [[nodiscard]] std::uint32_t hint() const noexcept;
  void noteHint(std::uint32_t hint) const noexcept;

  /// Whether both share their storage, so that they are equal without a look inside: true of
  /// copies of one container, of references to one object, never of plain numbers and short
  /// strings.
  [[nodiscard]] bool sharesStorageWith(const Value& other) const noexcept;

  friend void swap(Value& a, Value& b) noexcept {
    if (a._tag == tagObject || b._tag == tagObject) {
      Value other;
      other.take(a);
      a.take(b);
      b.take(other);
      return;
    }
    alignas(8) std::byte bits[sizeof(Value)];
    std::memcpy(bits, static_cast<const void*>(&a), sizeof bits);
    a.copyBits(b);
    std::memcpy(static_cast<void*>(&b), bits, sizeof bits);
  }

  friend bool operator==(const Value& a, const Value& b) {
    // Whatever has the same bits is equal, NaN too; of short strings nothing else is.
    return a.hasBitsOf(b) || ((a._tag > maxInline || b._tag > maxInline) && equal(a, b));
  }

  /// Whether the two are equal, where that shows without asking an object, so that the answer holds
  /// for good and no foreign code runs. Nothing where all is equal but for objects that would have
  /// to be asked: a difference anywhere is an answer, even behind them.
  [[nodiscard]] std::optional<bool> plainlyEquals(const Value& other) const {
    const std::optional<bool> answer = plainlyEqualsAtOnce(other);
    return answer ? answer : equalWithoutAsking(*this, other);
  }
  /// The same where it shows from a few dozen parts; nothing otherwise. For loops that have another
  /// way to go on.
  [[nodiscard]] std::optional<bool> plainlyEqualsAtOnce(const Value& other) const {
    int parts = 64;
    return hasBitsOf(other) ? std::optional(true) : equalAtOnce(*this, other, parts);
  }

  /// A number that equal values share. It takes in all that the value holds, however deep; objects
  /// are asked for theirs.
  [[nodiscard]] std::size_t hash() const {
    return _tag <= maxInline ? detail::hashOfShortText(word(0), word(1), word(2)) : hashOfOther();
  }
  /// The same, for a loop over many short texts that makes the keys once.
  [[nodiscard]] std::size_t hash(const detail::HashKeys& keys) const {
    return _tag <= maxInline ? detail::hashOfShortText(word(0), word(1), word(2), keys)
                             : hashOfOther();
  }

  /// The hash, where no object must be asked for its own; nothing otherwise. No foreign code runs.
  [[nodiscard]] std::optional<std::size_t> plainHash() const;

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
  friend class ArrayMaker;
  friend class FieldReader;
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

  // All bytes that a value does not need are zero, so that its bits tell much about its equality.
  explicit Value(Tag tag) noexcept : _storage{}, _tag(tag) {}
  Value(Tag tag, const void* shared) noexcept : Value(tag) { store(shared); }

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
  // Word by word, as compilers take the three together by way of the stack.
  [[nodiscard]] std::uint64_t word(std::size_t index) const noexcept {
    std::uint64_t word = 0;
    static_assert(3 * sizeof word == sizeof(Value));
    std::memcpy(&word, reinterpret_cast<const char*>(this) + index * sizeof word, sizeof word);
    return word;
  }
  [[nodiscard]] bool hasBitsOf(const Value& other) const noexcept {
    return ((word(0) ^ other.word(0)) | (word(1) ^ other.word(1)) | (word(2) ^ other.word(2))) == 0;
  }
  void copyBits(const Value& other) noexcept {
    std::memcpy(static_cast<void*>(this), static_cast<const void*>(&other), sizeof *this);
  }
  [[nodiscard]] std::shared_ptr<Object>& objectSlot() noexcept {
    return *std::launder(reinterpret_cast<std::shared_ptr<Object>*>(_storage));
  }
  [[nodiscard]] const std::shared_ptr<Object>& objectSlot() const noexcept {
    return *std::launder(reinterpret_cast<const std::shared_ptr<Object>*>(_storage));
  }

  [[nodiscard]] static const std::shared_ptr<Object>& noObject() noexcept;

  /// Moves the content of `other`, and leaves it absent. What is here counts for nothing.
  void take(Value& other) noexcept {
    copyBits(other);
    if (_tag == tagObject) {
      new (static_cast<void*>(_storage)) std::shared_ptr<Object>(std::move(other.objectSlot()));
      other.objectSlot().~shared_ptr();
    }
    new (static_cast<void*>(&other)) Value();
  }
  void share(const Value& other) noexcept;
  void drop() noexcept;
  [[nodiscard]] std::weak_ordering compareNumber(const Value& other) const noexcept;
  [[nodiscard]] std::size_t hashOfOther() const;
  [[nodiscard]] std::size_t hashOfLeaf() const noexcept;
  class Hashing;
  class Comparison;
  static bool equal(const Value& a, const Value& b);
  static bool areEqualLeaves(const Value& a, const Value& b) noexcept;
  static std::optional<bool> equalLeavesAtOnce(const Value& a, const Value& b) noexcept;
  static std::optional<bool> equalWithoutAsking(const Value& a, const Value& b);
  static std::optional<bool> equalAtOnce(const Value& a, const Value& b, int& parts);
  static std::optional<bool> equalAtOnce(const detail::Container& left,
                                         const detail::Container& right, int& parts);

  alignas(8) std::byte _storage[maxInline];
  std::uint8_t _tag;
};

/// An array that is filled in any order, where its length is known beforehand.
///
///     ArrayMaker sorted(records.size());
///     sorted.set(place, record);       // absent until it is set
///     Value list = sorted.take();
class ArrayMaker {
 public:
  explicit ArrayMaker(std::size_t count);

  [[nodiscard]] const Value& operator[](std::size_t index) const noexcept { return _values[index]; }
  [[nodiscard]] Value take(std::size_t index) noexcept { return std::move(_values[index]); }

  template <class V>
  void set(std::size_t index, V&& value) noexcept {
    std::destroy_at(&_values[index]);
    std::construct_at(&_values[index], std::forward<V>(value));
  }

  /// The array; nothing may be set afterwards.
  [[nodiscard]] Value take() noexcept { return std::move(_array); }

 private:
  Value _array;
  std::span<Value> _values;
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
    _shape.swap(other._shape);
    return *this;
  }
  ~RecordShape();

  /// A dictionary of these keys and `values`, moved from. Raises `InvalidArgument` when there are
  /// more or fewer values than keys. An absent value makes no entry.
  [[nodiscard]] Value record(std::span<Value> values) const;
  [[nodiscard]] Value record(std::initializer_list<Value> values) const;

 private:
  void checkCount(std::size_t count) const;

  detail::Reference<detail::Shape> _shape;
};

template <class Objects>
Value Value::arrayOfObjects(const Objects& objects) {
  ArrayMaker array(std::size(objects));
  std::size_t next = 0;
  for (const auto& object : objects) {
    array.set(next++, Value(object));
  }
  return array.take();
}

}  // namespace vexil::platform

// What a value shares, for the operations that must cost no call.
#include <vexil/platform/detail/ValueStorage.h>

namespace vexil::platform {

/// Reads one field of many records: as `record[key]`, and quicker where neighbours are alike.
class FieldReader {
 public:
  explicit FieldReader(Key key) : _key(std::move(key)) {}

  [[nodiscard]] const Value& operator()(const Value& record) noexcept {
    if (record._tag != Value::tagDictionary) {
      return record[_key];
    }
    const auto& container = *record.load<const detail::Container*>();
    if (container.shape != _shape) {
      _shape = container.shape;
      _position = container.shape->find(_key);
    }
    return _position < container.shape->count ? container.values()[_position] : absent();
  }

 private:
  static const Value& absent() noexcept;

  Key _key;
  // Not held: an address that stands for other keys by now must still be looked up anew, so the
  // reader lives no longer than the records it reads.
  const detail::Shape* _shape = nullptr;
  std::uint32_t _position = 0;
};

inline std::span<const Value> Value::elements() const noexcept {
  return _tag == tagArray ? load<const detail::Container*>()->values() : std::span<const Value>();
}

inline std::string_view Value::string() const noexcept {
  if (_tag <= maxInline) {
    return {reinterpret_cast<const char*>(_storage), _tag};
  }
  return _tag == tagString ? load<const detail::Bytes*>()->text() : std::string_view();
}

inline std::array<std::uint64_t, 3> Value::textPrefix() const noexcept {
  std::array<std::uint64_t, 3> words{};
  if (_tag <= maxInline) {
    words = {word(0), word(1), word(2)};
  } else if (_tag == tagString) {
    const std::string_view text = string();
    std::memcpy(words.data(), text.data(), std::min(text.size(), sizeof words));
  }
  if constexpr (std::endian::native == std::endian::little) {
    for (std::uint64_t& word : words) {
      word = __builtin_bswap64(word);
    }
  }
  if (_tag <= maxInline) {
    words[2] &= ~std::uint64_t{0xFF};  // where the tag stands
  }
  return words;
}

inline bool Value::sharesStorageWith(const Value& other) const noexcept {
  return _tag >= tagString && _tag == other._tag && word(0) == other.word(0);  // their addresses
}

inline void Value::prefetch(std::size_t lines) const noexcept {
  constexpr std::size_t line = 64;
  if (_tag >= tagString && _tag != tagObject) {
    const auto* shared = load<const char*>();
    for (std::size_t i = 0; i < lines; ++i) {
      __builtin_prefetch(shared + i * line);
    }
  }
}

inline void Value::prefetchParts() const noexcept {
  constexpr std::size_t many = 16;
  const std::span<const Value> parts = values();
  for (const Value& part : parts.first(std::min(parts.size(), many))) {
    part.prefetch();
  }
}

inline std::span<const Value> Value::values() const noexcept {
  return _tag == tagDictionary ? load<const detail::Container*>()->values()
                               : std::span<const Value>();
}

inline std::uint32_t Value::hint() const noexcept {
  return load<const detail::Container*>()->hint.load(std::memory_order_relaxed);
}

inline void Value::noteHint(std::uint32_t hint) const noexcept {
  load<const detail::Container*>()->hint.store(hint, std::memory_order_relaxed);
}

inline void Value::share(const Value& other) noexcept {
  if (_tag == tagObject) {
    new (static_cast<void*>(_storage)) std::shared_ptr<Object>(other.objectSlot());
  } else {
    load<const detail::RefCount*>()->retain();  // the first of whatever is shared
  }
}

}  // namespace vexil::platform

template <>
struct std::hash<vexil::platform::Value> {
  std::size_t operator()(const vexil::platform::Value& value) const { return value.hash(); }
};
