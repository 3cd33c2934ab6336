// SPDX-License-Identifier: Apache-2.0
#include "monitor/Terminal.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace monitor {

namespace {

struct Character {
  std::size_t end;
  std::size_t columns;
};

/// The character of `text` that begins at `begin`.
Character characterAt(std::string_view text, std::size_t begin) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  auto at = static_cast<std::int32_t>(begin);
  UChar32 character = 0;
  U8_NEXT(bytes, at, static_cast<std::int32_t>(text.size()), character);
  const auto end = static_cast<std::size_t>(at);
  if (character < 0) {
    return {end, end - begin};
  }
  const int type = u_charType(character);
  if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || type == U_FORMAT_CHAR) {
    return {end, 0};
  }
  const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return {end, width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2U : 1U};
}

}  // namespace

std::string Style::in(std::string_view code, std::string_view text) const {
  return _coloured ? "\x1b[" + std::string(code) + "m" + std::string(text) + "\x1b[0m"
                   : std::string(text);
}

std::size_t columns(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    count += character.columns;
    at = character.end;
  }
  return count;
}

std::string fitted(std::string_view text, std::size_t width) {
  const std::size_t all = columns(text);
  if (all <= width) {
    return std::string(text) + std::string(width - all, ' ');
  }
  std::size_t used = 0;
  std::size_t end = 0;
  while (end < text.size()) {
    const Character character = characterAt(text, end);
    if (used + character.columns + 1 > width) {
      break;
    }
    used += character.columns;
    end = character.end;
  }
  std::string cut = std::string(text.substr(0, end)) + (width > 0 ? "…" : "");
  return cut + std::string(width - used - (width > 0 ? 1 : 0), ' ');
}

}  // namespace monitor
