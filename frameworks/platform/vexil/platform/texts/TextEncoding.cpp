// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/texts/TextEncoding.h>

#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace vexil::platform::detail {

namespace {

char32_t unitAt(std::string_view text, std::size_t at, std::endian order) {
  const auto first = static_cast<unsigned char>(text[at]);
  const auto second = static_cast<unsigned char>(text[at + 1]);
  return order == std::endian::big ? (char32_t{first} << 8) + second
                                   : (char32_t{second} << 8) + first;
}

}  // namespace

std::optional<std::endian> utf16MarkOf(std::string_view text) {
  if (text.starts_with("\xFE\xFF")) {
    return std::endian::big;
  }
  return text.starts_with("\xFF\xFE") ? std::optional(std::endian::little) : std::nullopt;
}

bool isASCII(std::string_view text) {
  std::uint64_t all = 0;
  std::uint64_t word = 0;
  for (; text.size() >= sizeof word; text.remove_prefix(sizeof word)) {
    std::memcpy(&word, text.data(), sizeof word);
    all |= word;
  }
  for (const char character : text) {
    all |= static_cast<unsigned char>(character);
  }
  return (all & 0x8080808080808080) == 0;
}

std::optional<std::size_t> endOfValidUTF8(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto isASCII = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
  std::size_t at = 0;
  while (at < text.size()) {
    at = static_cast<std::size_t>(
        std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(), isASCII) -
        text.begin());
    if (at == text.size()) {
      break;
    }
    const std::size_t start = at;
    UChar32 character = 0;
    U8_NEXT(bytes, at, text.size(), character);
    if (character < 0) {
      return start;
    }
  }
  return std::nullopt;
}

std::optional<std::size_t> endOfValidUTF16(std::string_view text, std::endian order) {
  const std::size_t whole = text.size() - text.size() % 2;
  for (std::size_t at = 0; at < whole; at += 2) {
    const char32_t unit = unitAt(text, at, order);
    if (isHighSurrogate(unit) && at + 2 < whole && isLowSurrogate(unitAt(text, at + 2, order))) {
      at += 2;
    } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
      return at;
    }
  }
  return whole == text.size() ? std::nullopt : std::optional(whole);
}

std::string utf8FromUTF16(std::string_view text, std::endian order) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
    char32_t character = unitAt(text, at, order);
    if (isHighSurrogate(character)) {
      at += 2;
      character = joined(character, unitAt(text, at, order));
    }
    appendUTF8(result, character);
  }
  return result;
}

void appendUTF8(std::string& text, char32_t character) {
  if (character < 0x80) {
    text += static_cast<char>(character);
    return;
  }
  if (character < 0x800) {
    text += static_cast<char>(0xC0 | (character >> 6));
  } else {
    if (character < 0x10000) {
      text += static_cast<char>(0xE0 | (character >> 12));
    } else {
      text += static_cast<char>(0xF0 | (character >> 18));
      text += static_cast<char>(0x80 | ((character >> 12) & 0x3F));
    }
    text += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
  }
  text += static_cast<char>(0x80 | (character & 0x3F));
}

std::size_t lineOf(std::string_view text, std::size_t offset) {
  std::size_t line = 1;
  for (std::size_t at = 0; at < std::min(offset, text.size()); ++at) {
    const bool endsPair = text[at] == '\n' && at > 0 && text[at - 1] == '\r';
    line += (text[at] == '\n' || text[at] == '\r') && !endsPair ? 1U : 0U;
  }
  return line;
}

}  // namespace vexil::platform::detail
