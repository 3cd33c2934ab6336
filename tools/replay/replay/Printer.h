// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Registry.h>
#include <replay/TemporaryFiles.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/IndexSet.h>
#include <vexil/platform/NetService.h>
#include <vexil/platform/Observing.h>
#include <vexil/platform/Value.h>

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace replay {

// How transcripts show values, without addresses, random names and anything else that differs from
// run to run. Host constants appear by their names.
//
//     absent  null  true  7  2.0  @86400.0  <00ff>  "text"  [1, 2]  {"key": 1}  ("set", "of
//     strings") {0, 2-4}  #1(KRAVTWVEventVexil "e1")  service("Office", "_ipp._tcp.", "local.")
//     name

/// The texts of values that are the same in every transcript.
[[nodiscard]] std::string printedReal(double real);
[[nodiscard]] std::string printedData(std::span<const std::byte> bytes);
[[nodiscard]] std::string printedIndexes(const std::optional<vexil::platform::IndexSet>& indexes);
[[nodiscard]] std::string_view printedKind(vexil::platform::ChangeKind kind) noexcept;
/// In quotes; what is no part of a line stands behind a backslash.
[[nodiscard]] std::string printedString(std::string_view text);

/// The class's own name, without the namespace of this tool's classes.
[[nodiscard]] std::string printedClass(const vexil::platform::Object& object);

/// Prints values with the numbers and names that one registry gives. Numbers are given as they are
/// printed, from left to right. Nothing here recurses, however deep a value or a tree is.
class Printer {
 public:
  /// Both must outlive the printer.
  Printer(Registry& registry, const TemporaryFiles& files) : _registry(registry), _files(files) {}

  [[nodiscard]] std::string value(const vexil::platform::Value& value);

  /// Items in brackets.
  [[nodiscard]] std::string items(const KRAVTWVItemArray& items);

  /// The name of an object that is neither item nor anything else with a notation of its own.
  [[nodiscard]] std::string name(const vexil::platform::Object& object) const;

  /// Hands out the lines of the tree from `root`, which is not absent, on down. An item that stands
  /// below itself is shown there without what is below it.
  void tree(const std::shared_ptr<KRAVTWVItemVexil>& root,
            const std::function<void(std::string_view)>& line);

  /// How a directory is found: `directory(empty)`, `directory(not empty)` or `directory(missing)`.
  [[nodiscard]] static std::string directory(const vexil::platform::FileURL& url);

  /// What an item gave for a pasteboard type: the content of binary property lists rather than
  /// their bytes, and that of a schedule file together with the file's own name.
  [[nodiscard]] std::string pasteboardContent(const vexil::platform::Value& content,
                                              std::string_view type);

 private:
  struct Open;
  void begin(std::string& text, std::vector<Open>& open, const vexil::platform::Value& value);
  void beginObject(std::string& text, std::vector<Open>& open, const vexil::platform::Value& value);
  [[nodiscard]] std::string string(std::string_view string) const;
  [[nodiscard]] std::string data(std::span<const std::byte> bytes) const;
  [[nodiscard]] std::string itemLine(const std::shared_ptr<KRAVTWVItemVexil>& item,
                                     bool hasChildren);
  [[nodiscard]] std::string propertyList(std::span<const std::byte> bytes);

  Registry& _registry;
  const TemporaryFiles& _files;
};

}  // namespace replay
