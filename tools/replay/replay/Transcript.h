// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Names.h>
#include <replay/Printer.h>
#include <replay/Registry.h>
#include <replay/TemporaryFiles.h>

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace replay {

/// Everything that one replay of a scenario keeps: the output, what is bound to names, and the
/// files that are made. Observers that print share it.
class Transcript {
 public:
  /// `output` must live until `end` is called or the transcript is gone.
  explicit Transcript(std::ostream& output) : _output(&output) {}

  /// Writes one line and flushes it, so that a later crash does not lose it.
  void line(std::string_view text);

  /// Writes each line of a text that does not end with a line feed.
  void lines(std::string_view text);

  /// From now on nothing is written.
  void end() { _output = nullptr; }

  /// The context that a scenario writes as this text. Equal texts give the same token. Null for an
  /// absent text.
  [[nodiscard]] const vexil::platform::ContextToken* contextNamed(
      const vexil::platform::Value& text);

  [[nodiscard]] Registry& registry() { return _registry; }
  [[nodiscard]] Names& names() { return _names; }
  [[nodiscard]] TemporaryFiles& files() { return _files; }
  [[nodiscard]] Printer& printer() { return _printer; }

 private:
  std::ostream* _output;
  std::map<std::string, std::unique_ptr<vexil::platform::ContextToken>, std::less<>> _contexts;
  Registry _registry;
  TemporaryFiles _files;
  Printer _printer{_registry, _files};
  Names _names{_registry};
};

}  // namespace replay
