// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace replay {

// Scenarios and transcripts name the constants of the host engine library and of the pasteboard, so
// that they read the same whatever the host's values are. Record keys are named where they stand as
// keys, the other constants where they stand as strings. What names nothing, or is no constant's
// value, comes back as it is.

[[nodiscard]] std::string_view recordKeyNamed(std::string_view name) noexcept;
[[nodiscard]] std::string_view nameOfRecordKey(std::string_view key) noexcept;

[[nodiscard]] std::string_view stringNamed(std::string_view name) noexcept;
[[nodiscard]] std::string_view nameOfString(std::string_view string) noexcept;

}  // namespace replay
