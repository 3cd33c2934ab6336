// SPDX-License-Identifier: Apache-2.0
// Internal: encodings of text.
#pragma once

#include <bit>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vexil::platform::detail {

inline std::string_view textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

/// The byte order that a byte order mark of UTF-16 at the beginning of `text` gives; nothing when
/// there is none.
[[nodiscard]] std::optional<std::endian> utf16MarkOf(std::string_view text);

[[nodiscard]] bool isASCII(std::string_view text);

/// The offset at which `text` stops being well-formed UTF-8; nothing when all of it is.
[[nodiscard]] std::optional<std::size_t> endOfValidUTF8(std::string_view text);

/// The offset at which `text` stops being well-formed UTF-16, because of half a unit or a surrogate
/// without its partner; nothing when all of it is well-formed.
[[nodiscard]] std::optional<std::size_t> endOfValidUTF16(std::string_view text, std::endian order);

/// Converts UTF-16 to UTF-8. `text` must be well-formed.
[[nodiscard]] std::string utf8FromUTF16(std::string_view text, std::endian order);

/// Appends a character, which must not be a surrogate.
void appendUTF8(std::string& text, char32_t character);

/// The line, from 1, in which an offset lies. Lines end in LF, CR or both.
[[nodiscard]] std::size_t lineOf(std::string_view text, std::size_t offset);

constexpr bool isHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool isLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}
constexpr char32_t joined(char32_t high, char32_t low) {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

/// The value of a digit in a base up to 16; nothing when it is no digit of that base.
constexpr std::optional<unsigned> digit(char character, unsigned base) {
  unsigned value = 16;
  if (character >= '0' && character <= '9') {
    value = static_cast<unsigned>(character - '0');
  } else if (character >= 'a' && character <= 'f') {
    value = static_cast<unsigned>(character - 'a') + 10;
  } else if (character >= 'A' && character <= 'F') {
    value = static_cast<unsigned>(character - 'A') + 10;
  }
  return value < base ? std::optional(value) : std::nullopt;
}

}  // namespace vexil::platform::detail
