// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/PropertyList.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vexil::platform {

/// Texts under their keys, as translators write them: a property list in the text format, usually
/// without braces.
///
///     /* The state of the scheduler. */
///     "engine.scheduler.active" = "Active";
///     "engine.scheduler.pending" = "Pending";
///
/// A table is immutable, and copies share it. Any number of threads may use one.
class StringsTable {
 public:
  /// An empty table.
  StringsTable() : _texts(Value::dictionary({})) {}

  /// Reads a table. No bytes at all are an empty table. Returns an error for what the text format
  /// refuses, for a root that is no dictionary, and for a value that is no string.
  static PropertyListResult<StringsTable> read(std::span<const std::byte> bytes,
                                               const PropertyListLimits& limits = {});

  /// The text under a key; nothing when there is none. An empty text is a text. It lives as long as
  /// a copy of the table.
  [[nodiscard]] std::optional<std::string_view> find(std::string_view key) const;

  /// The text under a key, or `fallback` when there is none.
  [[nodiscard]] std::string string(std::string_view key, std::string_view fallback) const;

  [[nodiscard]] std::size_t size() const { return _texts.keys().size(); }

  /// The keys in the order of the file. They live as long as a copy of the table.
  [[nodiscard]] std::span<const Key> keys() const { return _texts.keys(); }

 private:
  explicit StringsTable(Value texts) : _texts(std::move(texts)) {}

  Value _texts;
};

}  // namespace vexil::platform
