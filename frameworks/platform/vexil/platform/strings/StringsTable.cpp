// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/StringsTable.h>

namespace vexil::platform {

PropertyListResult<StringsTable> StringsTable::read(std::span<const std::byte> bytes,
                                                    const PropertyListLimits& limits) {
  using Code = PropertyListError::Code;
  if (bytes.empty()) {
    return StringsTable();
  }
  PropertyListResult<Value> texts = readTextPropertyList(bytes, limits);
  if (!texts) {
    return texts.error();
  }
  if (!texts->isDictionary()) {
    return PropertyListError{Code::notAStringsTable, "a strings table is a dictionary"};
  }
  for (std::size_t i = 0; i < texts->keys().size(); ++i) {
    if (!texts->values()[i].isString()) {
      const std::string key(texts->keys()[i].text());
      return PropertyListError{Code::notAStringsTable, "the value of \"" + key + "\" is no string"};
    }
  }
  return StringsTable(*std::move(texts));
}

std::optional<std::string_view> StringsTable::find(std::string_view key) const {
  const Value& text = _texts[key];
  return text.isString() ? std::optional(text.string()) : std::nullopt;
}

std::string StringsTable::string(std::string_view key, std::string_view fallback) const {
  return std::string(find(key).value_or(fallback));
}

}  // namespace vexil::platform
