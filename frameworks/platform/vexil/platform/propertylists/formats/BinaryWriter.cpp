// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/propertylists/PropertyListBuilder.h>
#include <vexil/platform/propertylists/PropertyListWriting.h>
#include <vexil/platform/propertylists/formats/BinaryBytes.h>
#include <vexil/platform/texts/TextEncoding.h>

#include <unicode/utf8.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

namespace vexil::platform {

namespace {

using Code = PropertyListError::Code;

constexpr std::size_t headerSize = 8;
constexpr std::size_t trailerSize = 32;

/// The smallest of the sizes 1, 2, 4 and 8 that can hold a number.
std::size_t sizeOf(std::uint64_t number) {
  return number < 0x100 ? 1 : number < 0x10000 ? 2 : number >> 32 == 0 ? 4 : 8;
}

/// Writes the last `size` bytes of a number and returns the position behind them. `size` is 1, 2, 4
/// or 8.
std::byte* put(std::byte* to, std::uint64_t number, std::size_t size) {
  switch (size) {
    case 1:
      return detail::putNumber<1>(to, number);
    case 2:
      return detail::putNumber<2>(to, number);
    case 4:
      return detail::putNumber<4>(to, number);
    default:
      return detail::putNumber<8>(to, number);
  }
}

std::byte* put(std::byte* to, std::string_view bytes) {
  if (!bytes.empty()) {
    std::memcpy(to, bytes.data(), bytes.size());
  }
  return to + bytes.size();
}

/// Writes an integer that is not negative.
std::byte* putInteger(std::byte* to, std::uint64_t number) {
  const std::size_t size = sizeOf(number);
  *to = static_cast<std::byte>(0x10 | std::countr_zero(size));
  return put(to + 1, number, size);
}

constexpr std::size_t mostForMarker = 10;

/// Writes the marker of an object and its length.
std::byte* putMarker(std::byte* to, unsigned kind, std::uint64_t length) {
  constexpr std::uint64_t longer = 15;
  *to = static_cast<std::byte>(kind | std::min(length, longer));
  return length < longer ? to + 1 : putInteger(to + 1, length);
}

std::size_t sizeOfMarker(std::uint64_t length) {
  return length < 15 ? 1 : 2 + sizeOf(length);
}

/// A buffer that grows. The caller writes behind its end.
class Buffer {
 public:
  [[nodiscard]] std::size_t size() const { return _size; }
  [[nodiscard]] const std::byte* data() const { return _bytes.get(); }

  /// Returns the end of the buffer, with room for `count` bytes behind it.
  std::byte* room(std::size_t count) {
    if (count > _capacity - _size) {
      const std::size_t capacity = std::max({2 * _capacity, _size + count, std::size_t{1024}});
      auto larger = std::make_unique_for_overwrite<std::byte[]>(capacity);
      if (_size > 0) {
        std::memcpy(larger.get(), _bytes.get(), _size);
      }
      _bytes = std::move(larger);
      _capacity = capacity;
    }
    return _bytes.get() + _size;
  }
  void endAt(const std::byte* end) { _size = static_cast<std::size_t>(end - _bytes.get()); }

 private:
  std::unique_ptr<std::byte[]> _bytes;
  std::size_t _size = 0;
  std::size_t _capacity = 0;
};

/// Writes one value. First it writes all leaves as they will stand in the file, and notes which
/// containers stand between them and what these refer to. The size of a reference is known only
/// when all objects are. Two leaves are the same when their bytes are.
class BinaryWriter {
 public:
  PropertyListResult<std::vector<std::byte>> write(const Value& root) {
    if (!flatten(root)) {
      return std::move(*_error);
    }
    return file();
  }

 private:
  struct Container {
    std::uint32_t index;
    std::uint32_t count;  // of elements or of entries
    bool isDictionary;
  };

  /// A place in the table of leaves.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t index = none;
  };

  // Shorter strings and data are compared as quickly as they are looked up by address.
  static constexpr std::size_t leastShared = 128;

  static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

  bool fail(Code code, std::string_view message) {
    _error = detail::errorAt(_open, code, message);
    return false;
  }

  bool flatten(const Value& root);
  bool add(const Value& value, std::uint32_t& index);
  bool addContainer(const Value& value, std::uint32_t& index);
  bool addKeys(std::span<const Key> keys, std::size_t firstReference);
  bool addInteger(const Value& value, std::uint32_t& index);
  bool addReal(unsigned marker, double real, std::uint32_t& index);
  template <class Contents>
  bool addLong(const Contents& contents, std::uint32_t& index);
  bool addContents(std::span<const std::byte> bytes, std::uint32_t& index);
  bool addContents(std::string_view text, std::uint32_t& index);
  bool addUTF16(std::string_view text, std::uint32_t& index);
  bool addLeaf(const std::byte* end, std::uint32_t& index);
  bool addObject(std::uint32_t& index);
  void growSlots();
  [[nodiscard]] std::vector<std::byte> file() const;
  template <std::size_t size>
  std::byte* putReferences(std::byte* to, std::span<const std::uint32_t> references) const;

  Buffer _leaves;
  std::vector<std::size_t> _positions;  // for each object: how many bytes of leaves stand before it
  std::vector<Container> _containers;
  std::vector<std::uint32_t> _references;  // of all containers, in their order
  std::size_t _containerSizes = 0;         // of all containers, without references
  std::vector<Slot> _slots;                // their number is a power of two; at most half are taken
  std::size_t _leafCount = 0;
  detail::AddressTable<std::uint32_t> _shared;  // the indexes of containers and of long leaves
  detail::AddressTable<std::size_t>
      _keys;  // for each shape: where its first references to keys are
  std::vector<detail::OpenContainer> _open;
  std::vector<std::size_t>
      _firstReferences;  // for each open container: the first one to its contents
  std::optional<PropertyListError> _error;
};

bool BinaryWriter::flatten(const Value& root) {
  std::uint32_t index = 0;
  if (!add(root, index)) {
    return false;
  }
  while (!_open.empty()) {
    detail::OpenContainer& open = _open.back();
    if (open.next == open.contents.size()) {
      _open.pop_back();
      _firstReferences.pop_back();
      continue;
    }
    const std::size_t at = open.next++;
    const std::size_t reference = _firstReferences.back() + at;
    if (!add(open.contents[at], index)) {
      return false;
    }
    _references[reference] = index;
  }
  return true;
}

/// Gives a value its index. A container that had none is open afterwards.
bool BinaryWriter::add(const Value& value, std::uint32_t& index) {
  switch (value.kind()) {
    case Value::Kind::string:
      return value.string().size() < leastShared ? addContents(value.string(), index)
                                                 : addLong(value.string(), index);
    case Value::Kind::integer:
      return addInteger(value, index);
    case Value::Kind::boolean:
      return addLeaf(put(_leaves.room(1), *value.boolean() ? 0x09 : 0x08, 1), index);
    case Value::Kind::real:
      return addReal(0x23, *value.real(), index);
    case Value::Kind::date:
      if (!std::isfinite(value.date()->seconds)) {
        return fail(Code::badDate, "a date that is not finite");
      }
      return addReal(0x33, value.date()->seconds, index);
    case Value::Kind::data:
      return value.bytes().size() < leastShared ? addContents(value.bytes(), index)
                                                : addLong(value.bytes(), index);
    case Value::Kind::array:
    case Value::Kind::dictionary:
      return addContainer(value, index);
    default:
      return fail(Code::notAPropertyList, detail::nameOfForeign(value));
  }
}

bool BinaryWriter::addContainer(const Value& value, std::uint32_t& index) {
  const bool isDictionary = value.isDictionary();
  const auto contents = isDictionary ? value.values() : value.elements();
  const auto [known, isNew] = _shared.find(contents.data());
  if (!isNew) {
    index = known;
    return true;
  }
  if (!addObject(index)) {
    return false;
  }
  known = index;
  const auto count = static_cast<std::uint32_t>(contents.size());
  const std::size_t first = _references.size();
  const std::size_t firstContent = first + (isDictionary ? count : 0);
  _references.resize(firstContent + count);
  _containers.push_back({index, count, isDictionary});
  _containerSizes += sizeOfMarker(count);
  _open.emplace_back(value);
  _firstReferences.push_back(firstContent);
  return !isDictionary || addKeys(value.keys(), first);
}

bool BinaryWriter::addKeys(std::span<const Key> keys, std::size_t firstReference) {
  const auto [known, isNew] = _keys.find(keys.data());
  const auto references = _references.begin() + static_cast<std::ptrdiff_t>(firstReference);
  if (!isNew) {
    std::copy_n(_references.begin() + static_cast<std::ptrdiff_t>(known), keys.size(), references);
    return true;
  }
  known = firstReference;
  for (std::size_t at = 0; at < keys.size(); ++at) {
    _open.back().next = at + 1;  // so that an error's path names the key
    if (!addContents(keys[at].text(), references[static_cast<std::ptrdiff_t>(at)])) {
      return _error->code == Code::badEncoding &&
             fail(Code::badEncoding, "a key that is not well-formed UTF-8");
    }
  }
  _open.back().next = 0;
  return true;
}

bool BinaryWriter::addInteger(const Value& value, std::uint32_t& index) {
  std::byte* const to = _leaves.room(1 + 16);
  if (const auto number = value.unsignedInteger(); !number) {
    *to = std::byte{0x13};
    return addLeaf(put(to + 1, static_cast<std::uint64_t>(*value.integer()), 8), index);
  } else if (*number >> 63 == 0) {
    return addLeaf(putInteger(to, *number), index);
  } else {
    *to = std::byte{0x14};
    return addLeaf(put(put(to + 1, 0, 8), *number, 8), index);
  }
}

/// Adds a real or a date.
bool BinaryWriter::addReal(unsigned marker, double real, std::uint32_t& index) {
  std::byte* const to = _leaves.room(1 + 8);
  *to = static_cast<std::byte>(marker);
  return addLeaf(put(to + 1, std::bit_cast<std::uint64_t>(real), 8), index);
}

/// Adds a string or data that is so long that values share it. Does not look inside when it was
/// added before.
template <class Contents>
bool BinaryWriter::addLong(const Contents& contents, std::uint32_t& index) {
  const auto [known, isNew] = _shared.find(contents.data());
  if (isNew) {
    if (!addContents(contents, index)) {
      return false;
    }
    known = index;
  }
  index = known;
  return true;
}

bool BinaryWriter::addContents(std::span<const std::byte> bytes, std::uint32_t& index) {
  std::byte* const to = putMarker(_leaves.room(mostForMarker + bytes.size()), 0x40, bytes.size());
  return addLeaf(put(to, {reinterpret_cast<const char*>(bytes.data()), bytes.size()}), index);
}

bool BinaryWriter::addContents(std::string_view text, std::uint32_t& index) {
  if (!detail::isASCII(text)) {
    return addUTF16(text, index);
  }
  std::byte* const to = putMarker(_leaves.room(mostForMarker + text.size()), 0x50, text.size());
  return addLeaf(put(to, text), index);
}

bool BinaryWriter::addUTF16(std::string_view text, std::uint32_t& index) {
  // In well-formed text, every byte other than a continuation byte begins a character. Characters
  // of four bytes have two units, others one.
  std::size_t units = 0;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    units += ((byte & 0xC0) == 0x80 ? 0U : 1U) + (byte >= 0xF0 ? 1U : 0U);
  }
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::byte* to = putMarker(_leaves.room(mostForMarker + 2 * units), 0x60, units);
  for (std::size_t at = 0; at < text.size();) {
    UChar32 character = 0;
    U8_NEXT(bytes, at, text.size(), character);
    if (character < 0) {
      return fail(Code::badEncoding, "a string that is not well-formed UTF-8");
    }
    const auto point = static_cast<std::uint32_t>(character);
    if (point < 0x10000) {
      to = put(to, point, 2);
    } else {
      to = put(to, 0xD7C0 + (point >> 10), 2);
      to = put(to, 0xDC00 + (point & 0x3FF), 2);
    }
  }
  return addLeaf(to, index);
}

/// Makes a leaf of the bytes from the end of `_leaves` to `end`, and gives it its index. When the
/// same leaf is there already, drops the bytes and gives the index of that one.
bool BinaryWriter::addLeaf(const std::byte* end, std::uint32_t& index) {
  if (2 * (_leafCount + 1) > _slots.size()) {
    growSlots();
  }
  const std::size_t start = _leaves.size();
  const std::byte* const leaf = _leaves.data() + start;
  const auto size = static_cast<std::size_t>(end - leaf);
  const std::uint32_t hash = detail::hashOf({leaf, size});
  std::size_t at = hash & (_slots.size() - 1);
  for (; _slots[at].index != none; at = (at + 1) & (_slots.size() - 1)) {
    // The bytes of a leaf say how long it is, so no leaf is the beginning of another.
    if (_slots[at].hash == hash &&
        std::memcmp(_leaves.data() + _positions[_slots[at].index], leaf, size) == 0) {
      index = _slots[at].index;
      return true;
    }
  }
  if (!addObject(index)) {
    return false;
  }
  _leaves.endAt(end);
  _slots[at] = {hash, index};
  ++_leafCount;
  return true;
}

bool BinaryWriter::addObject(std::uint32_t& index) {
  if (_positions.size() == none) {
    return fail(Code::tooLong, "more than 2^32-1 objects");
  }
  index = static_cast<std::uint32_t>(_positions.size());
  _positions.push_back(_leaves.size());
  return true;
}

void BinaryWriter::growSlots() {
  std::vector<Slot> old(std::max<std::size_t>(64, _slots.size() * 2));
  old.swap(_slots);
  for (const Slot& slot : old) {
    if (slot.index != none) {
      std::size_t at = slot.hash & (_slots.size() - 1);
      while (_slots[at].index != none) {
        at = (at + 1) & (_slots.size() - 1);
      }
      _slots[at] = slot;
    }
  }
}

template <std::size_t size>
std::byte* BinaryWriter::putReferences(std::byte* to,
                                       std::span<const std::uint32_t> references) const {
  for (const std::uint32_t reference : references) {
    to = detail::putNumber<size>(to, reference);
  }
  return to;
}

std::vector<std::byte> BinaryWriter::file() const {
  const std::size_t count = _positions.size();
  const std::size_t referenceSize = sizeOf(count);
  const std::size_t table =
      headerSize + _leaves.size() + _containerSizes + _references.size() * referenceSize;
  const std::size_t offsetSize = sizeOf(table);
  std::vector<std::byte> file(table + count * offsetSize + trailerSize);
  std::byte* to = put(file.data(), "bplist00");
  std::byte* offset = file.data() + table;
  std::size_t object = 0;
  std::size_t leaf = 0;
  // Writes the leaves up to an object, and their offsets.
  const auto putLeaves = [&](std::size_t end, std::size_t position) {
    const auto before = static_cast<std::size_t>(to - file.data()) - leaf;
    for (; object < end; ++object) {
      offset = put(offset, before + _positions[object], offsetSize);
    }
    if (position > leaf) {  // `data()` may be null when there are no leaves
      std::memcpy(to, _leaves.data() + leaf, position - leaf);
    }
    to += position - leaf;
    leaf = position;
  };
  auto references = std::span(_references);
  for (const Container& container : _containers) {
    putLeaves(container.index, _positions[container.index]);
    offset = put(offset, static_cast<std::size_t>(to - file.data()), offsetSize);
    ++object;
    to = putMarker(to, container.isDictionary ? 0xD0 : 0xA0, container.count);
    const std::size_t own = container.count * (container.isDictionary ? 2 : 1);
    to = referenceSize == 1   ? putReferences<1>(to, references.first(own))
         : referenceSize == 2 ? putReferences<2>(to, references.first(own))
                              : putReferences<4>(to, references.first(own));
    references = references.subspan(own);
  }
  putLeaves(count, _leaves.size());
  to = std::fill_n(offset, 6, std::byte{0});
  to = put(to, offsetSize, 1);
  to = put(to, referenceSize, 1);
  to = put(to, count, 8);
  to = put(to, 0, 8);
  put(to, table, 8);
  return file;
}

}  // namespace

PropertyListResult<std::vector<std::byte>> writeBinaryPropertyList(const Value& value) {
  return BinaryWriter().write(value);
}

}  // namespace vexil::platform
