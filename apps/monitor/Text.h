// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Small text operations shared by the readers of tables and comments. All of them take what a
/// file may hold, which is any bytes at all.
namespace monitor {

/// `bytes` as text that is safe to show: valid UTF-8, each ill-formed sequence replaced by U+FFFD
/// (one per maximal subpart, as the Unicode standard recommends), and so is every control character
/// but the tab: neither a NUL nor an escape sequence reaches a terminal or a C string.
///
/// `bytes` is at most 2^31 - 1 long; `parseTable` sees to that.
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

/// Takes the first word off `rest`: skips blanks, returns what stands up to the next blank, and
/// leaves `rest` behind the word. Empty when only blanks are left.
std::string_view takeWord(std::string_view& rest);

/// The words of `text` with one space between two.
std::string singleSpaced(std::string_view text);

/// `text` with the letters A to Z in lower case.
std::string lowercased(std::string_view text);

/// The first `limit` characters (code points) of `text`, which is valid UTF-8; where that cuts
/// something off, the last of them is "…", and no blank stands before it. `limit` is at least 1.
std::string shortened(std::string_view text, std::size_t limit);

}  // namespace monitor
