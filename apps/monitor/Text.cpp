// SPDX-License-Identifier: Apache-2.0
#include "monitor/Text.h"

#include <unicode/unistr.h>

#include <algorithm>
#include <cstdint>

namespace monitor {

namespace {

bool isControl(char16_t unit) {
  return (unit < 0x20 && unit != u'\t') || (unit >= 0x7F && unit < 0xA0);
}

bool isPlain(char c) {
  return c == '\t' || (c >= ' ' && c <= '~');
}

bool startsCharacter(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
}

}  // namespace

std::string printable(std::string_view bytes) {
  if (std::all_of(bytes.begin(), bytes.end(), isPlain)) {
    return std::string(bytes);
  }
  icu::UnicodeString text =
      icu::UnicodeString::fromUTF8({bytes.data(), static_cast<std::int32_t>(bytes.size())});
  for (std::int32_t i = 0; i < text.length(); ++i) {
    if (isControl(text.charAt(i))) {
      text.setCharAt(i, u'\uFFFD');
    }
  }
  std::string result;
  text.toUTF8String(result);
  return result;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && isBlank(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

std::string_view takeWord(std::string_view& rest) {
  const auto begin = std::find_if_not(rest.begin(), rest.end(), isBlank);
  const auto end = std::find_if(begin, rest.end(), isBlank);
  const std::string_view word(begin, end);
  rest = std::string_view(end, rest.end());
  return word;
}

std::string singleSpaced(std::string_view text) {
  std::string result;
  for (std::string_view word = takeWord(text); !word.empty(); word = takeWord(text)) {
    if (!result.empty()) {
      result += ' ';
    }
    result += word;
  }
  return result;
}

std::string lowercased(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
  }
  return result;
}

std::string shortened(std::string_view text, std::size_t limit) {
  std::size_t characters = 0;
  std::size_t lastKept = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!startsCharacter(text[i])) {
      continue;
    }
    ++characters;
    if (characters == limit) {
      lastKept = i;
    }
    if (characters > limit) {
      return std::string(trimmed(text.substr(0, lastKept))) + "…";
    }
  }
  return std::string(text);
}

}  // namespace monitor
