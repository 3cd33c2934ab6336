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

/// Everything that one replay of a scenario keeps: what it has printed, what it has bound to names,
/// and the files that come up. Observers that print share it.
class Transcript {
 public:
  /// `output` must outlive the transcript, or `end`.
  explicit Transcript(std::ostream& output) : _output(&output) {}

  /// Writes one line, which is flushed so that a crash later on does not lose it.
  void line(std::string_view text);

  /// Nothing is written any more.
  void end() { _output = nullptr; }

  /// A token that stands for a text wherever a scenario uses this text as a context; for an absent
  /// one, no token.
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
