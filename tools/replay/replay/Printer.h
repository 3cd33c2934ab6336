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

// How transcripts show values. Nothing that differs from run to run is shown, such as addresses and
// random names. Host constants appear by their names.
//
//     absent  null  true  7  2.0  @86400.0  <00ff>  "text"  [1, 2]  {"key": 1}  ("set", "of
//     strings") {0, 2-4}  #1(KRAVTWVEventVexil "e1")  service("Office", "_ipp._tcp.", "local.")
//     name

/// These texts do not depend on a registry.
[[nodiscard]] std::string printedReal(double real);
[[nodiscard]] std::string printedData(std::span<const std::byte> bytes);
[[nodiscard]] std::string printedIndexes(const std::optional<vexil::platform::IndexSet>& indexes);
[[nodiscard]] std::string_view printedKind(vexil::platform::ChangeKind kind) noexcept;
/// The text in quotes. Control characters, quotes and backslashes are escaped with a backslash.
[[nodiscard]] std::string printedString(std::string_view text);

/// The class's name. For a class of this tool, without the namespace.
[[nodiscard]] std::string printedClass(const vexil::platform::Object& object);

/// Prints values with the numbers and names of one registry. An item gets its number when it is
/// first printed, from left to right. Nothing here recurses, however deep a value or a tree is.
class Printer {
 public:
  /// Both must outlive the printer.
  Printer(Registry& registry, const TemporaryFiles& files) : _registry(registry), _files(files) {}

  [[nodiscard]] std::string value(const vexil::platform::Value& value);

  /// The items as an array.
  [[nodiscard]] std::string items(const KRAVTWVItemArray& items);

  /// The name that an object was bound to, or its class when it never was. For objects without a
  /// notation of their own.
  [[nodiscard]] std::string name(const vexil::platform::Object& object) const;

  /// Calls `line` with each line of the tree, from `root` down. `root` must not be null. When an
  /// item stands below itself, it is shown there without its children.
  void tree(const std::shared_ptr<KRAVTWVItemVexil>& root,
            const std::function<void(std::string_view)>& line);

  /// The state of a directory: `directory(empty)`, `directory(not empty)` or `directory(missing)`.
  [[nodiscard]] static std::string directory(const vexil::platform::FileURL& url);

  /// What an item gave for a pasteboard type. A binary property list is shown by its content and
  /// not by its bytes; a schedule file by the file's own name and its content.
  [[nodiscard]] std::string pasteboardContent(const vexil::platform::Value& content,
                                              std::string_view type);

 private:
  struct Open;
  void begin(std::string& text, std::vector<Open>& open, const vexil::platform::Value& value);
  void beginDictionary(std::string& text, std::vector<Open>& open,
                       const vexil::platform::Value& value);
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
