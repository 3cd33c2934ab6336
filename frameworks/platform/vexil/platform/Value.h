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

/// A value that a record can hold, or a record itself. A value is immutable. Its copies share it.
///
/// A value is absent, the null marker, a boolean, an integer (-2^63 to 2^64-1), a real, a string,
/// data, a date, an array, a dictionary, or a reference to an object. Copying a value copies 24
/// bytes and counts at most one reference: a string of up to 23 bytes stands in the value itself,
/// and anything larger is shared. Any number of threads may read, copy and drop values. Assigning
/// to one `Value` while another thread reads it is a race, as with any other type.
///
/// Equality (`==`) compares contents:
/// - Numbers and booleans are equal when their numeric values are exactly equal: 1, 1.0 and true
///   are, 2^53+1 and 9007199254740992.0 are not. NaN equals NaN. Any other value equals only values
///   of its own kind.
/// - Dates are equal when they are the same instant, strings when their bytes are the same, without
///   normalisation, and containers when all their elements are equal. The order of a dictionary's
///   keys does not matter.
/// - Objects are equal when `Object::isEqual` of the left one says so.
/// - Values that share their storage are equal. Nothing in them is compared.
///
/// Equal values have equal hashes.
///
/// Recursion stops at a constant depth in every operation, however deep a value is nested. Only the
/// operation of an object that is asked may recurse. Equality and hash look only once at a part
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

  /// The marker that stands for an absent value in places that need a value.
  static Value null() noexcept { return Value(tagNull); }

  // Implicit, so that code can write records as plain lists of values.
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
  /// A single character is neither text nor a number.
  Value(std::same_as<char> auto) = delete;
  Value(double real) noexcept : Value(tagReal) { store(real); }
  Value(Date date) noexcept : Value(tagDate) { store(date.seconds); }
  Value(std::string_view text);
  Value(const char* text) : Value(std::string_view(text)) {}
  Value(const std::string& text) : Value(std::string_view(text)) {}
  /// A reference to an object, which the value keeps alive. Absent when the pointer is empty.
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

  /// An array of the values given. Absent ones stay in it.
  static Value array(std::vector<Value> elements);
  static Value array(std::initializer_list<Value> elements);
  /// An array of `elements`. The values are moved out of them.
  static Value array(std::span<Value> elements);

  /// An array of references to the objects of a range of shared pointers.
  template <class Objects>
  static Value arrayOfObjects(const Objects& objects);

  /// A dictionary with the entries in the order given. An absent value makes no entry. When a key
  /// is given twice, the later value stands at the place of the earlier one.
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
      // The old content goes last. Dropping it can run an object's destructor, which may look at
      // this very value.
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

  /// This value read as a boolean: true for a boolean or number that is not zero, NaN included;
  /// false for any other kind.
  [[nodiscard]] bool booleanReading() const noexcept;

  /// The boolean, integer, real or date; absent when the value is of another kind. Only
  /// `unsignedInteger` returns an integer above 2^63-1, only `integer` a negative one.
  [[nodiscard]] std::optional<bool> boolean() const noexcept;
  [[nodiscard]] std::optional<std::int64_t> integer() const noexcept;
  [[nodiscard]] std::optional<std::uint64_t> unsignedInteger() const noexcept;
  [[nodiscard]] std::optional<double> real() const noexcept;
  [[nodiscard]] std::optional<Date> date() const noexcept;

  /// The characters of a string in UTF-8; empty when the value is of another kind. They live until
  /// this value is assigned to, moved from or destroyed.
  [[nodiscard]] std::string_view string() const noexcept;

  /// The first 24 bytes of a string as numbers that compare as the bytes do, filled up with zeros.
  /// They decide most comparisons when many strings are sorted. Zeros when the value is of another
  /// kind.
  [[nodiscard]] std::array<std::uint64_t, 3> textPrefix() const noexcept;

  /// The bytes of data, the elements of an array, the keys of a dictionary, and its values in the
  /// same order; empty when the value is of another kind. They live as long as any value that
  /// shares them.
  [[nodiscard]] std::span<const std::byte> bytes() const noexcept;
  [[nodiscard]] std::span<const Value> elements() const noexcept;
  [[nodiscard]] std::span<const Key> keys() const noexcept;
  [[nodiscard]] std::span<const Value> values() const noexcept;

  /// The object referred to; empty when the value is of another kind.
  [[nodiscard]] const std::shared_ptr<Object>& object() const noexcept {
    return _tag == tagObject ? objectSlot() : noObject();
  }

  /// The value under a key of a dictionary; absent when the key is missing or this is no
  /// dictionary.
  [[nodiscard]] const Value& operator[](const Key& key) const noexcept;
  [[nodiscard]] const Value& operator[](std::string_view key) const noexcept;
  [[nodiscard]] const Value& operator[](const std::string& key) const noexcept {
    return (*this)[std::string_view(key)];
  }
  [[nodiscard]] const Value& operator[](const char* key) const noexcept {
    return (*this)[std::string_view(key)];
  }

  /// Starts to load into the cache what the value shares, and for `prefetchParts` what the values
  /// of a dictionary share. For loops that will look at the value some turns later.
  void prefetch(std::size_t lines = 3) const noexcept;
  void prefetchParts() const noexcept;

  /// A number that code with many dictionaries can leave on one to find it again, such as its
  /// index. All copies of the dictionary share the number and anyone may overwrite it, so the
  /// reader must verify what it says. It starts as 0. Call these on dictionaries only.
  [[nodiscard]] std::uint32_t hint() const noexcept;
  void noteHint(std::uint32_t hint) const noexcept;

  /// Whether both share their storage, and so are equal without a comparison. True for copies of
  /// one container and references to one object. Never true for plain numbers and short strings.
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
    // The same bits mean equal, for NaN too. Two short strings are equal only then.
    return a.hasBitsOf(b) || ((a._tag > maxInline || b._tag > maxInline) && equal(a, b));
  }

  /// Whether the two are equal, when that can be told without asking an object: the answer then
  /// holds for good, and no foreign code runs. Returns nothing when only objects that must be asked
  /// are left to decide. A difference anywhere is an answer, even behind such objects.
  [[nodiscard]] std::optional<bool> plainlyEquals(const Value& other) const {
    const std::optional<bool> answer = plainlyEqualsAtOnce(other);
    return answer ? answer : equalWithoutAsking(*this, other);
  }
  /// The same, but returns nothing also when a few dozen parts do not decide. For loops that have
  /// another way to go on.
  [[nodiscard]] std::optional<bool> plainlyEqualsAtOnce(const Value& other) const {
    int parts = 64;
    return hasBitsOf(other) ? std::optional(true) : equalAtOnce(*this, other, parts);
  }

  /// A number that is the same for equal values. It takes in all that the value holds, however
  /// deep. It asks objects for their hash.
  [[nodiscard]] std::size_t hash() const {
    return _tag <= maxInline ? detail::hashOfShortText(word(0), word(1), word(2)) : hashOfOther();
  }
  /// The same, for a loop over many short texts: the caller makes the keys once.
  [[nodiscard]] std::size_t hash(const detail::HashKeys& keys) const {
    return _tag <= maxInline ? detail::hashOfShortText(word(0), word(1), word(2), keys)
                             : hashOfOther();
  }

  /// The hash; nothing when an object must be asked for its own. No foreign code runs.
  [[nodiscard]] std::optional<std::size_t> plainHash() const;

  /// The natural order, for sorting: absent first, then null, then booleans and numbers by numeric
  /// value with NaN before the others, strings by code point, dates by instant with NaN first, data
  /// by bytes. Arrays, dictionaries and objects come last, in this order; two arrays count as
  /// equivalent, and so do two dictionaries and two objects. It is a weak order of all values, so
  /// any input can be sorted.
  [[nodiscard]] std::weak_ordering compare(const Value& other) const noexcept;

  /// A text for people and logs: strings quoted, `(null)` for absent.
  [[nodiscard]] std::string description() const;

  /// The text that stands for the value within another text: the characters of a string, the
  /// description of any other value.
  [[nodiscard]] std::string displayText() const {
    return isString() ? std::string(string()) : description();
  }

 private:
  friend class ArrayMaker;
  friend class FieldReader;
  friend class RecordShape;

  // A tag of at most `maxInline` is the length of a string that stands in the value. From
  // `tagString` on the value holds a reference.
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

  // All bytes that a value does not need are zero, so that equal bits mean equal values.
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
  // Word by word, because compilers load all three together through the stack.
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
  static const Value& absent() noexcept;

  /// Moves the content of `other` here and leaves `other` absent. Overwrites this value without
  /// dropping it.
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

/// Fills an array in any order, when its length is known beforehand.
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

  /// Returns the array. The caller must not set anything afterwards.
  [[nodiscard]] Value take() noexcept { return std::move(_array); }

 private:
  Value _array;
  std::span<Value> _values;
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

// Stands here because inline operations need to know what a value shares.
#include <vexil/platform/detail/ValueStorage.h>

namespace vexil::platform {

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
    words[2] &= ~std::uint64_t{0xFF};  // without the tag
  }
  return words;
}

inline bool Value::sharesStorageWith(const Value& other) const noexcept {
  return _tag >= tagString && _tag == other._tag && word(0) == other.word(0);  // the addresses
}

// Always inlined, as every function that only prefetches: GCC takes a call of it for one without
// effect and drops it.
[[gnu::always_inline]] inline void Value::prefetch(std::size_t lines) const noexcept {
  constexpr std::size_t line = 64;
  if (_tag >= tagString && _tag != tagObject) {
    const auto* shared = load<const char*>();
    for (std::size_t i = 0; i < lines; ++i) {
      __builtin_prefetch(shared + i * line);
    }
  }
}

[[gnu::always_inline]] inline void Value::prefetchParts() const noexcept {
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
    load<const detail::RefCount*>()->retain();  // all that is shared begins with its count
  }
}

}  // namespace vexil::platform

template <>
struct std::hash<vexil::platform::Value> {
  std::size_t operator()(const vexil::platform::Value& value) const { return value.hash(); }
};
