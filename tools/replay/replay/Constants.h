// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace replay {

// Scenarios and transcripts name the constants of the host engine library and of the pasteboard. So
// they read the same whatever values the host gives them. A record key is named where it is a key,
// any other constant where it is a string. Each function returns its argument unchanged when that
// names no constant, or is no constant's value.

[[nodiscard]] std::string_view recordKeyNamed(std::string_view name) noexcept;
[[nodiscard]] std::string_view nameOfRecordKey(std::string_view key) noexcept;

[[nodiscard]] std::string_view stringNamed(std::string_view name) noexcept;
[[nodiscard]] std::string_view nameOfString(std::string_view string) noexcept;

}  // namespace replay
