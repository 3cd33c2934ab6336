// SPDX-License-Identifier: Apache-2.0
#include <replay/CommandLine.h>
#include <replay/Input.h>
#include <replay/InternalError.h>
#include <replay/Malformed.h>
#include <replay/Scenario.h>
#include <vexil/platform/PropertyList.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace platform = vexil::platform;

namespace replay {
namespace {

constexpr std::string_view usage =
    "usage: vexil-replay FILE...\n"
    "Performs scenarios, property lists of any format, and prints what happens.\n"
    "FILE may be - for standard input. An argument of -- ends the options.\n";

/// The files. Absent when the usage is wrong.
std::optional<std::vector<std::string>> filesIn(std::span<const std::string> arguments) {
  std::vector<std::string> files;
  bool areOptions = true;
  for (const std::string& argument : arguments) {
    if (areOptions && argument == "--") {
      areOptions = false;
    } else if (areOptions && argument.size() > 1 && argument.front() == '-') {
      return std::nullopt;
    } else {
      files.push_back(argument);
    }
  }
  return files.empty() ? std::nullopt : std::optional(std::move(files));
}

std::optional<std::string> contentOfFile(const std::string& file) {
  std::error_code error;
  if (std::filesystem::is_directory(file, error)) {
    throw Malformed("is a directory");
  }
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    throw Malformed("cannot be opened: " + std::generic_category().message(errno));
  }
  return contentOf(stream);
}

void replayFile(const std::string& file, std::istream& input, std::ostream& output) {
  const auto content = file == "-" ? contentOf(input) : contentOfFile(file);
  if (!content) {
    throw Malformed("cannot be read");
  }
  const auto steps = platform::readPropertyList(std::as_bytes(std::span(*content)));
  if (!steps) {
    throw Malformed(steps.error().description());
  }
  replayScenario(*steps, output);
}

/// The text with a space for each control character.
std::string onOneLine(std::string_view text) {
  std::string line(text);
  std::ranges::replace_if(
      line, [](char character) { return static_cast<unsigned char>(character) < 0x20; }, ' ');
  return line;
}

}  // namespace

Status run(std::span<const std::string> arguments, std::istream& input, std::ostream& output,
           std::ostream& errors) {
  const auto files = filesIn(arguments);
  if (!files) {
    errors << usage << std::flush;
    return Status::usage;
  }
  Status status = Status::performed;
  for (const std::string& file : *files) {
    if (files->size() > 1) {
      output << "==== " << file << '\n' << std::flush;
    }
    try {
      replayFile(file, input, output);
    } catch (const Malformed& error) {
      errors << "vexil-replay: " << onOneLine(file) << ": " << onOneLine(error.what()) << std::endl;
      status = std::max(status, Status::refused);
    } catch (const InternalError& error) {
      errors << "vexil-replay: " << onOneLine(file) << ": internal error: " << error.what()
             << std::endl;
      status = Status::faulty;
    }
  }
  if (!output) {
    errors << "vexil-replay: the transcript cannot be written" << std::endl;
    status = std::max(status, Status::refused);
  }
  return status;
}

}  // namespace replay
