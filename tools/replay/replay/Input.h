// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>
#include <optional>
#include <string>

namespace replay {

/// Returns all bytes of a stream. Stops one byte after the most that a property list may have.
/// Absent when the stream cannot be read.
[[nodiscard]] std::optional<std::string> contentOf(std::istream& stream);

}  // namespace replay
