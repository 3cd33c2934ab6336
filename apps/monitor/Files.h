// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "monitor/Schedule.h"

/// Reading files that others may be writing, removing, or have put there to be in the way.
namespace monitor {

/// The bytes of a regular file, or why there are none. Links are followed; nothing is ever waited
/// for, a pipe for instance is a problem. So is a file of more than `largest` bytes.
std::variant<std::string, Problem> contentsOf(const std::filesystem::path& path,
                                              std::size_t largest);

/// Whether nothing is there, not even a link that leads nowhere.
bool isGone(const std::filesystem::path& path);

/// The names in a directory that a rule accepts, in order (byte by byte), or why it cannot be read.
/// A directory that is not there has none.
std::variant<std::vector<std::string>, Problem> namesIn(const std::filesystem::path& directory,
                                                        bool (*accepts)(std::string_view));

}  // namespace monitor
