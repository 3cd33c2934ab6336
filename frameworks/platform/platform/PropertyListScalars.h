// SPDX-License-Identifier: Apache-2.0
// The leaves of XML property lists as text: internal to the reader.
#pragma once

#include <platform/Value.h>

#include <optional>
#include <string>
#include <string_view>

namespace platform::detail {

// Each gives nothing for a text that is malformed or stands for no value of its type.
[[nodiscard]] std::optional<Value> integerFromText(std::string_view text);
[[nodiscard]] std::optional<Value> realFromText(std::string_view text);
[[nodiscard]] std::optional<Value> dateFromText(std::string_view text);
[[nodiscard]] std::optional<Value> dataFromBase64(std::string_view text);

[[nodiscard]] constexpr bool isXMLSpace(char character) {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

}  // namespace platform::detail
