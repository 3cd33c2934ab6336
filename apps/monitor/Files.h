// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "monitor/Schedule.h"

/// Reading files that others may be writing or removing, and paths where no file can be read.
namespace monitor {

/// The bytes of a regular file, or why there are none. Follows links. Never waits: a pipe, for
/// instance, is a problem. A file of more than `largest` bytes is a problem too.
std::variant<std::string, Problem> contentsOf(const std::filesystem::path& path,
                                              std::size_t largest);

/// Whether nothing is at the path. A link that leads nowhere counts as something.
bool isGone(const std::filesystem::path& path);

/// The names in a directory that `accepts` returns true for, sorted byte by byte, or why the
/// directory cannot be read. A missing directory has no names.
std::variant<std::vector<std::string>, Problem> namesIn(const std::filesystem::path& directory,
                                                        bool (*accepts)(std::string_view));

}  // namespace monitor
