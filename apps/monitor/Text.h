// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Small text operations shared by the readers of tables and comments. Except where stated, they
/// take any bytes, as a file may hold them.
namespace monitor {

/// `bytes` as valid UTF-8 that is safe to show. U+FFFD replaces each ill-formed sequence (one for
/// each maximal subpart, as the Unicode standard recommends) and each control character except the
/// tab. So no NUL and no escape sequence reaches a terminal or a C string.
///
/// The caller must not pass more than 2^31 - 1 bytes; `parseTable` makes sure of that.
std::string printable(std::string_view bytes);

/// Space and tab, the only characters that separate fields in a cron table.
constexpr bool isBlank(char c) {
  return c == ' ' || c == '\t';
}
/// The ASCII digits and letters, whatever the locale.
constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// `text` without the blanks around it.
std::string_view trimmed(std::string_view text);

/// Removes the blanks in front of `rest` and the word behind them, and returns that word. It is
/// empty when `rest` has only blanks.
std::string_view takeWord(std::string_view& rest);

/// The words of `text` with one space between two.
std::string singleSpaced(std::string_view text);

/// `text` with the letters A to Z in lower case.
std::string lowercased(std::string_view text);

/// The first `limit` characters (code points) of `text`. When something is cut off, the last of
/// them is "…", and no blank stands before it. `text` must be valid UTF-8, and `limit` at least 1.
std::string shortened(std::string_view text, std::size_t limit);

}  // namespace monitor
