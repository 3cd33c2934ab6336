// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>
#include <optional>
#include <string>

namespace replay {

/// All bytes of a stream, but no more than one byte over what a property list may have; absent when
/// the stream cannot be read.
[[nodiscard]] std::optional<std::string> contentOf(std::istream& stream);

}  // namespace replay
