// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/RecordShape.h>
#include <vexil/platform/propertylists/PropertyListBuilder.h>
#include <vexil/platform/propertylists/formats/BinaryBytes.h>
#include <vexil/platform/texts/TextEncoding.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace vexil::platform {

namespace {

using Code = PropertyListError::Code;

constexpr std::size_t headerSize = 8;
constexpr std::size_t trailerSize = 32;

/// Whether `size` bytes hold every number up to and including `number`.
bool holds(std::size_t size, std::uint64_t number) {
  return size >= 8 || (number >> (8 * size)) == 0;
}

/// Reads one file. Each object is read once, when it is first referred to. Further references to
/// its index share its value.
class BinaryReader {
 public:
  BinaryReader(std::span<const std::byte> bytes, const PropertyListLimits& limits)
      : _bytes(bytes), _depth(limits.depth), _budget(detail::budgetOf(limits, bytes.size())) {}

  PropertyListResult<Value> read() {
    if (!readHeader() || !readTrailer() || !readObjects()) {
      return std::move(*_error);
    }
    return std::move(_objects[_root].value);
  }

 private:
  struct Object {
    Value value;               // absent until all of it has been read
    std::uint32_t number = 0;  // for a container: its index in `_extents`, plus 1; for a leaf
                               // that has been read: how many objects it counts as
    std::uint32_t key = 0;     // its index in `_keys`, plus 1; 0 when it has none
  };

  /// How large a container is.
  struct Extent {
    std::uint64_t expanded;  // how many objects it has when each reference counts
    std::uint32_t height;    // how many levels of containers it has
  };

  /// A container whose contents are being read.
  struct Open {
    std::size_t index;
    std::size_t offset;      // the offset of its marker
    std::size_t references;  // the offset of its references
    std::size_t count;       // the number of its references; a dictionary has two for each entry
    std::size_t keys;        // how many of them refer to keys
    std::size_t firstValue;  // where its contents begin in `_contents`
    std::size_t next = 0;    // the next reference to follow
    Extent contents = {};
  };

  /// The keys of a dictionary that was read, to recognise the next one with the same references.
  struct KnownKeys {
    std::size_t references = 0;
    std::size_t count = 0;
    std::uint64_t expanded = 0;
    Value example;
    std::optional<RecordShape> shape;
  };

  struct Length {
    std::size_t contents;  // the offset of the contents
    std::uint64_t count;
  };

  bool fail(Code code, std::size_t offset, std::string message) {
    _error = PropertyListError{code, std::move(message), offset};
    return false;
  }

  /// A number of 1 to 8 bytes that ends before or with the trailer. Then eight bytes are always
  /// there, and it is quick to read all of them and drop the rest.
  [[nodiscard]] std::uint64_t number(std::size_t offset, std::size_t size) const {
    return detail::numberOfEightAt(_bytes.data() + offset) >> (64 - 8 * size);
  }
  [[nodiscard]] unsigned byteAt(std::size_t offset) const {
    return std::to_integer<unsigned>(_bytes[offset]);
  }
  [[nodiscard]] std::size_t offsetOf(std::size_t index) const {
    return static_cast<std::size_t>(number(_table + index * _offsetSize, _offsetSize));
  }
  [[nodiscard]] std::size_t placeOf(const Open& open, std::size_t reference) const {
    return open.references + reference * _referenceSize;
  }
  [[nodiscard]] std::size_t indexAt(std::size_t offset) const {
    return static_cast<std::size_t>(number(offset, _referenceSize));
  }

  bool readHeader();
  bool readTrailer();
  bool readObjects();
  bool begin(std::size_t index);
  bool advance();
  bool take(Open& open, std::size_t offset, const Object& content);
  bool finish();
  bool finishDictionary(const Open& open, std::span<Value> values);
  KnownKeys& knownKeys(const Open& open);
  [[nodiscard]] bool areKeysOf(const KnownKeys& known, const Open& open) const;
  bool readLength(std::size_t offset, std::size_t unit, Length& length);
  bool charge(std::size_t offset, std::size_t end);
  bool readScalar(std::size_t offset, Object& object);
  bool readInteger(std::size_t offset, Value& value);
  bool readReal(std::size_t offset, Value& value);
  bool readBytes(std::size_t offset, Object& object);
  bool readContainer(std::size_t offset, std::size_t index);

  std::span<const std::byte> _bytes;
  std::size_t _depth;
  std::uint64_t _budget;
  std::size_t _offsetSize = 0;
  std::size_t _referenceSize = 0;
  std::size_t _table = 0;
  std::size_t _root = 0;
  std::size_t _unclaimed = 0;    // bytes between header and table that no object has claimed yet
  std::vector<Object> _objects;  // fewer than 2^32
  std::vector<Extent> _extents;
  std::vector<Open> _open;
  std::vector<Value> _contents;  // of all open containers, as far as they were read
  std::vector<Key> _keys;
  std::vector<Key> _keysOfDictionary;
  std::array<KnownKeys, 64> _knownKeys;
  detail::DictionaryMaker _dictionaries;
  std::optional<PropertyListError> _error;
};

bool BinaryReader::readHeader() {
  const std::string_view text = detail::textOf(_bytes);
  if (!text.starts_with("bplist00")) {
    return fail(Code::badHeader, 0,
                text.starts_with("bplist") && text.size() >= headerSize
                    ? "a binary property list of another version than 00"
                    : "a binary property list begins with bplist00");
  }
  if (_bytes.size() < headerSize + 2 + trailerSize) {
    return fail(Code::badHeader, _bytes.size(), "too short for a binary property list");
  }
  return true;
}

bool BinaryReader::readTrailer() {
  const std::size_t trailer = _bytes.size() - trailerSize;
  _offsetSize = byteAt(trailer + 6);
  _referenceSize = byteAt(trailer + 7);
  const std::uint64_t count = number(trailer + 8, 8);
  const std::uint64_t root = number(trailer + 16, 8);
  const std::uint64_t table = number(trailer + 24, 8);
  if (_offsetSize < 1 || _offsetSize > 8) {
    return fail(Code::badTrailer, trailer + 6, "the size of offsets is not 1 to 8 bytes");
  }
  if (_referenceSize < 1 || _referenceSize > 8) {
    return fail(Code::badTrailer, trailer + 7, "the size of references is not 1 to 8 bytes");
  }
  if (table <= headerSize || table >= trailer) {
    return fail(Code::badTrailer, trailer + 24,
                "the offset table is not between the objects and "
                "the trailer");
  }
  if (!holds(_offsetSize, table)) {
    return fail(Code::badTrailer, trailer + 6, "the size of offsets is too small for the file");
  }
  const std::uint64_t tableSize = trailer - table;
  if (tableSize % _offsetSize != 0 || tableSize / _offsetSize != count) {
    return fail(Code::badTrailer, trailer + 8,
                "the offset table has another size than the number of objects demands");
  }
  // Each object has at least one byte, so memory for this many is in proportion to the input.
  if (count > table - headerSize) {
    return fail(Code::badTrailer, trailer + 8, "there are more objects than bytes for them");
  }
  if (count > std::numeric_limits<std::uint32_t>::max()) {
    return fail(Code::tooLong, trailer + 8, "there are more than 2^32-1 objects");
  }
  if (!holds(_referenceSize, count)) {
    return fail(Code::badTrailer, trailer + 7,
                "the size of references is too small for the number of objects");
  }
  if (root >= count) {
    return fail(Code::badTrailer, trailer + 16, "the root is not one of the objects");
  }
  _table = static_cast<std::size_t>(table);
  _root = static_cast<std::size_t>(root);
  _unclaimed = _table - headerSize;
  for (std::size_t index = 0; index < count; ++index) {
    const std::uint64_t offset = number(_table + index * _offsetSize, _offsetSize);
    if (offset < headerSize || offset >= table) {
      return fail(Code::badOffset, _table + index * _offsetSize,
                  "the offset of object " + std::to_string(index) + " is not within the objects");
    }
  }
  _objects.resize(static_cast<std::size_t>(count));
  return true;
}

bool BinaryReader::readObjects() {
  if (!begin(_root)) {
    return false;
  }
  while (!_open.empty()) {
    if (!advance()) {
      return false;
    }
  }
  return true;
}

/// Follows the references of the innermost container until one opens another container, or ends the
/// container.
bool BinaryReader::advance() {
  const std::size_t depth = _open.size();
  Open& open = _open.back();
  while (open.next < open.count) {
    const std::size_t place = placeOf(open, open.next);
    const std::size_t index = indexAt(place);
    if (index >= _objects.size()) {
      return fail(Code::badReference, place, "a reference to an object that does not exist");
    }
    const Object& object = _objects[index];
    if (object.value.isAbsent()) {
      if (object.number != 0) {
        return fail(Code::cycle, place, "a container contains itself");
      }
      if (!begin(index)) {
        return false;
      }
      if (_open.size() != depth) {
        // The inner container comes first; this reference is followed again after it. `open` may
        // dangle now, because `_open` has grown.
        return true;
      }
    }
    if (!take(open, place, object)) {
      return false;
    }
    ++open.next;
  }
  return finish();
}

/// Adds an object that was read to a container, as what its next reference refers to.
bool BinaryReader::take(Open& open, std::size_t offset, const Object& content) {
  if (content.value.isArray() || content.value.isDictionary()) {
    const Extent& extent = _extents[content.number - 1];
    open.contents.expanded = detail::saturatingSum(open.contents.expanded, extent.expanded);
    open.contents.height = std::max(open.contents.height, extent.height);
  } else {
    open.contents.expanded = detail::saturatingSum(open.contents.expanded, content.number);
  }
  if (open.next >= open.keys) {
    _contents.push_back(content.value);
    return true;
  }
  return content.value.isString() || fail(Code::badKey, offset, "a key is not a string");
}

/// Reads an object; when it is a container, only where its contents are.
bool BinaryReader::begin(std::size_t index) {
  const std::size_t offset = offsetOf(index);
  const unsigned kind = byteAt(offset) >> 4;
  if (kind == 0xA || kind == 0xD) {
    return readContainer(offset, index);
  }
  _objects[index].number = 1;
  return readScalar(offset, _objects[index]);
}

bool BinaryReader::readContainer(std::size_t offset, std::size_t index) {
  const bool isDictionary = byteAt(offset) >> 4 == 0xD;
  Length length{};
  if (!readLength(offset, _referenceSize * (isDictionary ? 2 : 1), length)) {
    return false;
  }
  const auto contents = static_cast<std::size_t>(length.count);
  const std::size_t keys = isDictionary ? contents : 0;
  Open open{index, offset, length.contents, keys + contents, keys, _contents.size()};
  if (const KnownKeys& known = knownKeys(open); areKeysOf(known, open)) {
    open.next = keys;
    open.contents.expanded = known.expanded;
  }
  _extents.emplace_back();
  _objects[index].number = static_cast<std::uint32_t>(_extents.size());
  _open.push_back(open);
  return charge(offset, placeOf(open, open.count));
}

/// Puts the innermost container together. All its contents were read.
bool BinaryReader::finish() {
  const Open open = _open.back();
  _open.pop_back();
  // Sharing does not matter to these two limits: height and expansion are those of the worst path,
  // and only grow towards the root.
  const Extent extent{detail::saturatingSum(open.contents.expanded, 1), open.contents.height + 1};
  if (extent.height > _depth) {
    return fail(Code::tooDeep, open.offset,
                "containers are nested deeper than " + std::to_string(_depth));
  }
  if (extent.expanded > _budget) {
    return fail(Code::expandsTooFar, open.offset,
                "shared objects make more than " + std::to_string(_budget) + " objects");
  }
  Object& object = _objects[open.index];
  _extents[object.number - 1] = extent;
  const auto values = std::span(_contents).subspan(open.firstValue);
  if (byteAt(open.offset) >> 4 == 0xA) {
    object.value = Value::array(values);
  } else if (!finishDictionary(open, values)) {
    return false;
  }
  _contents.erase(_contents.begin() + static_cast<std::ptrdiff_t>(open.firstValue),
                  _contents.end());
  return true;
}

bool BinaryReader::finishDictionary(const Open& open, std::span<Value> values) {
  KnownKeys& known = knownKeys(open);
  if (areKeysOf(known, open)) {
    if (!known.shape) {
      known.shape.emplace(known.example.keys());
    }
    _objects[open.index].value = known.shape->record(values);
    return true;
  }
  std::uint64_t expanded = 0;
  _keysOfDictionary.clear();
  for (std::size_t at = 0; at < open.keys; ++at) {
    Object& key = _objects[indexAt(placeOf(open, at))];
    if (key.key == 0) {
      _keys.emplace_back(key.value.string());
      key.key = static_cast<std::uint32_t>(_keys.size());
    }
    expanded += key.number;
    _keysOfDictionary.push_back(_keys[key.key - 1]);
  }
  if (const auto key = detail::repeatedKey(_keysOfDictionary)) {
    return fail(Code::duplicateKey, open.offset,
                "a dictionary has the key \"" + std::string(key->text()) + "\" twice");
  }
  const Value& made = _objects[open.index].value = _dictionaries.make(_keysOfDictionary, values);
  known = {open.references, open.keys, expanded, made, std::nullopt};
  return true;
}

/// The place for the known keys of dictionaries with these references. It may hold the keys of
/// others.
BinaryReader::KnownKeys& BinaryReader::knownKeys(const Open& open) {
  const auto references = _bytes.subspan(open.references, open.keys * _referenceSize);
  return _knownKeys[detail::hashOf(references) % _knownKeys.size()];
}

bool BinaryReader::areKeysOf(const KnownKeys& known, const Open& open) const {
  return open.keys != 0 && known.count == open.keys &&
         std::memcmp(_bytes.data() + known.references, _bytes.data() + open.references,
                     open.keys * _referenceSize) == 0;
}

/// Reads the length of an object, in units of `unit` bytes, and checks that the object has the
/// room.
bool BinaryReader::readLength(std::size_t offset, std::size_t unit, Length& length) {
  length = {offset + 1, byteAt(offset) & 0xF};
  if (length.count == 0xF) {
    if (length.contents >= _table || byteAt(length.contents) >> 4 != 1) {
      return fail(Code::badLength, offset, "a length is not an integer");
    }
    const std::size_t size = std::size_t{1} << (byteAt(length.contents) & 0xF);
    ++length.contents;
    if (size > 8) {
      return fail(Code::badLength, offset, "a length is an integer of more than 8 bytes");
    }
    if (size > _table - length.contents) {
      return fail(Code::badLength, offset, "a length reaches beyond the objects");
    }
    length.count = number(length.contents, size);
    length.contents += size;
  }
  if (length.count > (_table - length.contents) / unit) {
    return fail(Code::badLength, offset, "an object reaches beyond the objects");
  }
  return true;
}

/// Claims the bytes of an object. Objects that overlap would let a small file demand any amount of
/// memory. Sooner or later they claim more bytes than there are, and are refused.
bool BinaryReader::charge(std::size_t offset, std::size_t end) {
  const std::size_t size = end - offset;
  if (size > _unclaimed) {
    return fail(Code::overlap, offset, "objects overlap");
  }
  _unclaimed -= size;
  return true;
}

bool BinaryReader::readScalar(std::size_t offset, Object& object) {
  const unsigned marker = byteAt(offset);
  switch (marker >> 4) {
    case 0x0:
      if (marker == 0x08 || marker == 0x09) {
        object.value = Value(marker == 0x09);
        return charge(offset, offset + 1);
      }
      break;
    case 0x1:
      return readInteger(offset, object.value);
    case 0x2:
    case 0x3:
      return readReal(offset, object.value);
    case 0x4:
    case 0x5:
    case 0x6:
      return readBytes(offset, object);
    default:
      break;
  }
  return fail(Code::badKind, offset, "an object of a kind that property lists do not have");
}

bool BinaryReader::readInteger(std::size_t offset, Value& value) {
  const unsigned exponent = byteAt(offset) & 0xF;
  if (exponent > 4) {
    return fail(Code::badNumber, offset, "an integer has more than 16 bytes");
  }
  const std::size_t size = std::size_t{1} << exponent;
  if (size > _table - offset - 1) {
    return fail(Code::badLength, offset, "an integer reaches beyond the objects");
  }
  if (size == 16) {
    const std::uint64_t low = number(offset + 9, 8);
    if (number(offset + 1, 8) != 0 || low >> 63 == 0) {
      return fail(Code::badNumber, offset, "an integer of 16 bytes is not from 2^63 to 2^64-1");
    }
    value = Value(low);
  } else {
    value = Value(std::bit_cast<std::int64_t>(number(offset + 1, size)));
  }
  return charge(offset, offset + 1 + size);
}

/// Reads a real or a date.
bool BinaryReader::readReal(std::size_t offset, Value& value) {
  const unsigned marker = byteAt(offset);
  if (marker != 0x22 && marker != 0x23 && marker != 0x33) {
    return fail(marker >> 4 == 2 ? Code::badNumber : Code::badDate, offset,
                "a real or a date of an impossible size");
  }
  const std::size_t size = marker == 0x22 ? 4 : 8;
  if (size > _table - offset - 1) {
    return fail(Code::badLength, offset, "a real or a date reaches beyond the objects");
  }
  const std::uint64_t bits = number(offset + 1, size);
  const double real =
      size == 4 ? static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)))
                : std::bit_cast<double>(bits);
  if (marker == 0x33 && !std::isfinite(real)) {
    return fail(Code::badDate, offset, "a date is not finite");
  }
  value = marker == 0x33 ? Value(Date{real}) : Value(real);
  return charge(offset, offset + 1 + size);
}

/// Reads data or a string.
bool BinaryReader::readBytes(std::size_t offset, Object& object) {
  const unsigned kind = byteAt(offset) >> 4;
  Length length{};
  const std::size_t unit = kind == 0x6 ? 2 : 1;
  if (!readLength(offset, unit, length)) {
    return false;
  }
  const std::size_t size = static_cast<std::size_t>(length.count) * unit;
  if (!charge(offset, length.contents + size)) {
    return false;
  }
  const auto contents = _bytes.subspan(length.contents, size);
  const std::string_view text = detail::textOf(contents);
  constexpr std::size_t most = std::numeric_limits<std::uint32_t>::max();
  object.number = static_cast<std::uint32_t>(std::min(1 + size / 64, most));
  if (kind == 0x4) {
    object.value = Value::data(contents);
    return true;
  }
  if (kind == 0x5) {
    if (!detail::isASCII(text)) {
      const auto at =
          std::ranges::find_if(text, [](char character) { return (character & 0x80) != 0; });
      return fail(Code::badEncoding, length.contents + static_cast<std::size_t>(at - text.begin()),
                  "an ASCII string has a byte that is not ASCII");
    }
    object.value = Value(text);
    return true;
  }
  if (const auto end = detail::endOfValidUTF16(text, std::endian::big)) {
    return fail(Code::badEncoding, length.contents + *end, "a surrogate is not one of a pair");
  }
  object.value = Value(detail::utf8FromUTF16(text, std::endian::big));
  return true;
}

}  // namespace

PropertyListResult<Value> readBinaryPropertyList(std::span<const std::byte> bytes,
                                                 const PropertyListLimits& limits) {
  if (auto error = detail::errorOfLength(bytes, limits)) {
    if (bytes.empty()) {
      error->offset = 0;
    }
    return *std::move(error);
  }
  return BinaryReader(bytes, limits).read();
}

}  // namespace vexil::platform
