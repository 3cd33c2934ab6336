// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/propertylists/PropertyListWriting.h>

#include <unicode/utf8.h>

#include <algorithm>

namespace vexil::platform::detail {

namespace {

/// A key within a message: control characters and malformed bytes are replaced, a long key is cut
/// off.
std::string shown(std::string_view key) {
  constexpr std::size_t most = 40;
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(key.data());
  std::string text = "\"";
  std::size_t at = 0;
  while (at < std::min(most, key.size())) {
    const std::size_t start = at;
    UChar32 character = 0;
    U8_NEXT(bytes, at, key.size(), character);
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    text += isControl ? "\xEF\xBF\xBD" : key.substr(start, at - start);
  }
  return text + (at < key.size() ? "...\"" : "\"");
}

std::string step(const OpenContainer& open, bool isFirst) {
  const std::size_t at = open.next - 1;
  return open.container->isArray()
             ? '[' + std::to_string(at) + ']'
             : (isFirst ? "" : ".") + shown(open.container->keys()[at].text());
}

}  // namespace

PropertyListError errorAt(std::span<const OpenContainer> open, PropertyListError::Code code,
                          std::string_view message) {
  constexpr std::size_t atEachEnd = 8;
  std::string text = open.empty() ? "" : "at ";
  for (std::size_t i = 0; i < open.size(); ++i) {
    if (i == atEachEnd && open.size() > 2 * atEachEnd) {
      text += "...";
      i = open.size() - atEachEnd;
    }
    text += step(open[i], i == 0);
  }
  text += open.empty() ? "" : ": ";
  return {code, text.append(message)};
}

std::string_view nameOfForeign(const Value& value) {
  return value.isAbsent() ? "an absent value"
         : value.isNull() ? "a null marker"
                          : "a reference to an object";
}

}  // namespace vexil::platform::detail
