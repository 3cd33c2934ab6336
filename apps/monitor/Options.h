// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace monitor {

/// What the command line asks for.
struct Options {
  std::filesystem::path root = "/";
  bool follow = false;
  bool announcements = false;
  bool help = false;
  enum class Colour { automatic, always, never } colour = Colour::automatic;
};

/// A command line that asks for nothing that can be done; `what()` says why.
class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

extern const char* const usage;

/// Raises `WrongUsage`.
[[nodiscard]] Options parseOptions(const std::vector<std::string>& arguments);

}  // namespace monitor
