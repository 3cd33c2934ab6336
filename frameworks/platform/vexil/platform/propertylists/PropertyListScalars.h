// SPDX-License-Identifier: Apache-2.0
// Internal to the XML reader and writer: leaves as text.
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vexil::platform::detail {

// Each returns nothing when the text is malformed or stands for no value of its type.
[[nodiscard]] std::optional<Value> integerFromText(std::string_view text);
[[nodiscard]] std::optional<Value> realFromText(std::string_view text);
[[nodiscard]] std::optional<Value> dateFromText(std::string_view text);
[[nodiscard]] std::optional<Value> dataFromBase64(std::string_view text);

// Each appends the text that reads back as the same value. Every number and all data have one. A
// date has one only when it is a whole number of seconds in the range that `dateFromText` returns.
void appendInteger(std::string& text, const Value& integer);
void appendReal(std::string& text, double real);
[[nodiscard]] bool hasDateText(double seconds);
void appendDate(std::string& text, double seconds);
void appendBase64(std::string& text, std::span<const std::byte> bytes);

[[nodiscard]] constexpr bool isXMLSpace(char character) {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

}  // namespace vexil::platform::detail
