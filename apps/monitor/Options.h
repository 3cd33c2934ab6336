// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace monitor {

/// What the command line asks for.
struct Options {
  enum class Outline { all, events, engine, services };
  enum class Colour { automatic, always, never };

  std::filesystem::path root = "/";
  Outline outline = Outline::all;
  std::optional<std::string> services;          ///< the type to browse for
  std::optional<std::chrono::hours> simulated;  ///< for how long, when a simulation is asked for
  std::optional<std::string> opened;            ///< a schedule file to show in place of the root
  std::optional<std::string> copied;            ///< the path of the item to copy
  bool paths = false;
  bool follow = false;
  bool announcements = false;
  bool help = false;
  Colour colour = Colour::automatic;

  [[nodiscard]] bool shows(Outline which) const {
    return outline == which || outline == Outline::all;
  }
};

/// A command line that cannot be understood or asks for what does not go together; `what()` says
/// why.
class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

extern const char* const usage;

/// The options in the arguments after the program's name. Throws `WrongUsage`.
[[nodiscard]] Options parseOptions(const std::vector<std::string>& arguments);

}  // namespace monitor
