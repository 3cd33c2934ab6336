// SPDX-License-Identifier: Apache-2.0
#include <replay/Arguments.h>
#include <replay/Constants.h>
#include <replay/Malformed.h>
#include <replay/Objects.h>
#include <vexil/platform/NetService.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace replay {

using platform::Key;
using platform::Value;

namespace {

// Indexes stay below this, so that one more than an index is always an index.
constexpr std::uint64_t endOfIndexes = std::numeric_limits<std::int64_t>::max();

/// The property list with constants in place of their names. Recursion is safe here, because the
/// reader limits the depth.
Value withConstants(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::string:
      return stringNamed(value.string());
    case Value::Kind::array: {
      std::vector<Value> elements;
      elements.reserve(value.elements().size());
      for (const Value& element : value.elements()) {
        elements.push_back(withConstants(element));
      }
      return Value::array(std::move(elements));
    }
    case Value::Kind::dictionary: {
      std::vector<std::pair<Key, Value>> entries;
      entries.reserve(value.keys().size());
      for (std::size_t index = 0; index < value.keys().size(); ++index) {
        entries.emplace_back(recordKeyNamed(value.keys()[index].text()),
                             withConstants(value.values()[index]));
      }
      return Value::dictionary(std::move(entries));
    }
    default:
      return value;
  }
}

void requireKeys(const Value& dictionary, std::initializer_list<std::string_view> keys,
                 const std::string& form) {
  if (!dictionary.isDictionary()) {
    throw Malformed("\"" + form + "\" needs a dictionary");
  }
  for (const Key& key : dictionary.keys()) {
    if (std::ranges::find(keys, key.text()) == keys.end()) {
      throw Malformed("\"" + form + "\" has no \"" + std::string(key.text()) + "\"");
    }
  }
}

Value reference(const Value& name, const Names& names) {
  if (!name.isString()) {
    throw Malformed("\"$ref\" needs a name");
  }
  const Value* const bound = names.find(name.string());
  if (bound == nullptr) {
    throw Malformed("nothing is bound to \"" + std::string(name.string()) + "\"");
  }
  return *bound;
}

Value absent(const Value& mark) {
  if (mark.boolean() != true) {
    throw Malformed("\"$absent\" is always true");
  }
  return {};
}

Value indexes(const Value& positions) {
  if (!positions.isArray()) {
    throw Malformed("\"$indexes\" needs an array");
  }
  std::vector<std::size_t> sorted;
  for (const Value& position : positions.elements()) {
    const auto index = position.unsignedInteger();
    if (!index || *index >= endOfIndexes) {
      throw Malformed("an index is an integer from 0 on");
    }
    sorted.push_back(*index);
  }
  std::ranges::sort(sorted);
  platform::IndexSet set;
  for (const std::size_t index : sorted) {
    set.insert(index);
  }
  return std::make_shared<Indexes>(std::move(set));
}

Value service(const Value& values) {
  requireKeys(values, {"name", "type", "domain"}, "$service");
  for (const Value& value : values.values()) {
    if (!value.isString()) {
      throw Malformed("name, type and domain of a service are strings");
    }
  }
  const Value resolved = withConstants(values);
  return std::make_shared<platform::NetService>(resolved["name"], resolved["type"],
                                                resolved["domain"]);
}

Value file(const Value& description, TemporaryFiles& files) {
  requireKeys(description, {"name", "bytes"}, "$file");
  const std::string name(description["name"].string());
  const bool isFileName = !name.empty() && name != "." && name != ".." &&
                          name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
  if (!isFileName || description["bytes"].kind() != Value::Kind::data) {
    throw Malformed("\"$file\" needs the name of a file and its bytes as data");
  }
  const auto url = files.write(name, description["bytes"].bytes());
  if (!url) {
    throw Malformed("the file \"" + name + "\" cannot be written");
  }
  return url->absoluteString();
}

bool isForm(const Value& value) {
  return value.isDictionary() && value.keys().size() == 1 &&
         value.keys().front().text().starts_with('$');
}

Value resolvedForm(const Value& form, const Names& names, TemporaryFiles& files) {
  const std::string_view name = form.keys().front().text();
  const Value& operand = form.values().front();
  if (name == "$ref") {
    return reference(operand, names);
  }
  if (name == "$absent") {
    return absent(operand);
  }
  if (name == "$indexes") {
    return indexes(operand);
  }
  if (name == "$service") {
    return service(operand);
  }
  if (name == "$file") {
    return file(operand, files);
  }
  throw Malformed("no argument is written \"" + std::string(name) + "\"");
}

}  // namespace

Value argumentFrom(const Value& written, const Names& names, TemporaryFiles& files) {
  if (isForm(written)) {
    return resolvedForm(written, names, files);
  }
  if (!written.isArray()) {
    return withConstants(written);
  }
  std::vector<Value> elements;
  elements.reserve(written.elements().size());
  for (const Value& element : written.elements()) {
    elements.push_back(argumentFrom(element, names, files));
  }
  return Value::array(std::move(elements));
}

}  // namespace replay
