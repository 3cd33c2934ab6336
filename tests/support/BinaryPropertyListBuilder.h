// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// The bytes that hexadecimal digits stand for; spaces do not count: `hex("A1 00")`.
inline std::string hex(std::string_view digits) {
  std::string bytes;
  unsigned value = 0;
  bool isHalf = false;
  for (const char digit : digits) {
    if (digit == ' ') {
      continue;
    }
    const std::size_t nibble = std::string_view("0123456789ABCDEF").find(digit);
    value = value * 16 + static_cast<unsigned>(nibble);
    if (isHalf) {
      bytes += static_cast<char>(value);
      value = 0;
    }
    isHalf = !isHalf;
  }
  return bytes;
}

inline std::string bigEndian(std::uint64_t number, std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = size; i > 0; --i, number >>= 8) {
    bytes[i - 1] = static_cast<char>(number & 0xFF);
  }
  return bytes;
}

/// A binary property list put together by hand, right or wrong.
///
///     BinaryPropertyListBuilder list;
///     list.objects = {hex("A2 01 01"), hex("51 61")};  // ("a", "a"), the string shared
///     const std::string file = list.file();
///
/// A field of the trailer that is not set has the value that is right for the objects.
struct BinaryPropertyListBuilder {
  std::vector<std::string> objects;
  std::size_t offsetSize = 1;
  std::size_t referenceSize = 1;
  std::string magic = "bplist00";
  std::optional<std::uint64_t> count;
  std::uint64_t root = 0;
  std::optional<std::uint64_t> table;
  std::vector<std::uint64_t> offsets;  // where not empty, instead of those of the objects
  std::string gap;                     // between the offset table and the trailer
  std::optional<unsigned> offsetSizeInTrailer;
  std::optional<unsigned> referenceSizeInTrailer;

  /// Where an object stands.
  [[nodiscard]] std::size_t offsetOf(std::size_t index) const {
    std::size_t offset = magic.size();
    for (std::size_t i = 0; i < index; ++i) {
      offset += objects[i].size();
    }
    return offset;
  }

  [[nodiscard]] std::size_t tableOffset() const { return offsetOf(objects.size()); }

  [[nodiscard]] std::size_t trailerOffset() const {
    const std::size_t entries = offsets.empty() ? objects.size() : offsets.size();
    return tableOffset() + entries * offsetSize + gap.size();
  }

  [[nodiscard]] std::string file() const {
    std::string bytes = magic;
    std::vector<std::uint64_t> places = offsets;
    for (const std::string& object : objects) {
      if (offsets.empty()) {
        places.push_back(bytes.size());
      }
      bytes += object;
    }
    const std::size_t tableStart = bytes.size();
    for (const std::uint64_t place : places) {
      bytes += bigEndian(place, offsetSize);
    }
    bytes += gap + std::string(6, '\0');
    bytes += static_cast<char>(offsetSizeInTrailer.value_or(static_cast<unsigned>(offsetSize)));
    bytes +=
        static_cast<char>(referenceSizeInTrailer.value_or(static_cast<unsigned>(referenceSize)));
    bytes += bigEndian(count.value_or(places.size()), 8);
    bytes += bigEndian(root, 8);
    bytes += bigEndian(table.value_or(tableStart), 8);
    return bytes;
  }

  [[nodiscard]] std::string reference(std::uint64_t index) const {
    return bigEndian(index, referenceSize);
  }

  /// A marker of a kind (0x40 for data, 0xA0 for an array) with a length.
  static std::string marker(unsigned kind, std::uint64_t length) {
    if (length < 15) {
      return {static_cast<char>(kind | static_cast<unsigned>(length))};
    }
    const std::size_t exponent = length < 0x100 ? 0 : length < 0x10000 ? 1 : length >> 32 ? 3 : 2;
    return std::string{static_cast<char>(kind | 0xF), static_cast<char>(0x10 | exponent)} +
           bigEndian(length, std::size_t{1} << exponent);
  }

  static std::string ascii(std::string_view text) { return marker(0x50, text.size()).append(text); }

  static std::string utf16(std::u16string_view units) {
    std::string bytes = marker(0x60, units.size());
    for (const char16_t unit : units) {
      bytes += bigEndian(unit, 2);
    }
    return bytes;
  }

  /// An array of references.
  [[nodiscard]] std::string array(const std::vector<std::uint64_t>& indexes) const {
    std::string bytes = marker(0xA0, indexes.size());
    for (const std::uint64_t index : indexes) {
      bytes += reference(index);
    }
    return bytes;
  }

  /// A dictionary of references to its keys and its values.
  [[nodiscard]] std::string dictionary(const std::vector<std::uint64_t>& keys,
                                       const std::vector<std::uint64_t>& values) const {
    std::string bytes = marker(0xD0, keys.size());
    for (const std::uint64_t index : keys) {
      bytes += reference(index);
    }
    for (const std::uint64_t index : values) {
      bytes += reference(index);
    }
    return bytes;
  }

  /// Adds a value and all of its parts, each as an object of its own. Returns the value's index.
  /// The caller must have set the reference size.
  std::size_t add(const vexil::platform::Value& value);

 private:
  static std::string leaf(const vexil::platform::Value& value);
};

/// UTF-8 as UTF-16. Does not use the conversion that it helps to test.
inline std::u16string utf16FromUTF8(std::string_view text) {
  std::u16string units;
  for (std::size_t at = 0; at < text.size();) {
    const auto lead = static_cast<unsigned char>(text[at++]);
    const unsigned more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t character = more == 0 ? lead : lead & (0x3FU >> more);
    for (unsigned i = 0; i < more; ++i) {
      character = character * 64 + (static_cast<unsigned char>(text[at++]) & 0x3F);
    }
    if (character >= 0x10000) {
      units += static_cast<char16_t>(0xD7C0 + (character >> 10));
      character = 0xDC00 + (character & 0x3FF);
    }
    units += static_cast<char16_t>(character);
  }
  return units;
}

inline std::string BinaryPropertyListBuilder::leaf(const vexil::platform::Value& value) {
  using Kind = vexil::platform::Value::Kind;
  switch (value.kind()) {
    case Kind::boolean:
      return hex(*value.boolean() ? "09" : "08");
    case Kind::integer:
      if (!value.integer()) {
        return hex("14") + bigEndian(0, 8) + bigEndian(*value.unsignedInteger(), 8);
      }
      return hex("13") + bigEndian(static_cast<std::uint64_t>(*value.integer()), 8);
    case Kind::real:
      return hex("23") + bigEndian(std::bit_cast<std::uint64_t>(*value.real()), 8);
    case Kind::date:
      return hex("33") + bigEndian(std::bit_cast<std::uint64_t>(value.date()->seconds), 8);
    case Kind::data: {
      const auto bytes = value.bytes();
      return marker(0x40, bytes.size())
          .append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    default: {
      const std::string_view text = value.string();
      for (const char character : text) {
        if (static_cast<unsigned char>(character) >= 0x80) {
          return utf16(utf16FromUTF8(text));
        }
      }
      return ascii(text);
    }
  }
}

inline std::size_t BinaryPropertyListBuilder::add(const vexil::platform::Value& value) {
  const std::size_t index = objects.size();
  objects.emplace_back();
  std::vector<std::uint64_t> keys;
  std::vector<std::uint64_t> contents;
  for (const vexil::platform::Key& key : value.keys()) {
    keys.push_back(add(vexil::platform::Value(key.text())));
  }
  for (const vexil::platform::Value& content :
       value.isArray() ? value.elements() : value.values()) {
    contents.push_back(add(content));
  }
  objects[index] = value.isArray()        ? array(contents)
                   : value.isDictionary() ? dictionary(keys, contents)
                                          : leaf(value);
  return index;
}

}  // namespace test
