// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/values/Storable.h>
#include <vexil/outline/values/ValueText.h>
#include <vexil/platform/PropertyList.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vexil::detail {

using platform::Key;
using platform::Value;

namespace {

bool isContainer(const Value& value) {
  return value.isArray() || value.isDictionary();
}

std::span<const Value> partsOf(const Value& container) {
  return container.isArray() ? container.elements() : container.values();
}

bool isStorableText(std::string_view text) {
  const bool isASCII =
      std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  // What is UTF-8 is for the writer to say.
  return isASCII || platform::writeBinaryPropertyList(Value(text));
}

bool isStorableLeaf(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::boolean:
    case Value::Kind::integer:
    case Value::Kind::real:
    case Value::Kind::data:
      return true;
    case Value::Kind::string:
      return isStorableText(value.string());
    case Value::Kind::date:
      return std::isfinite(value.date()->seconds);
    default:
      return false;
  }
}

/// Most records hold no containers, and need no writer to judge them.
bool isStorableRecord(const Value& value) {
  return value.isDictionary() && std::ranges::all_of(value.values(), isStorableLeaf) &&
         std::ranges::all_of(value.keys(),
                             [](const Key& key) { return isStorableText(key.text()); });
}

Value storableText(std::string_view text) {
  return isStorableText(text) ? Value(text) : Value(textOfBytes(std::as_bytes(std::span(text))));
}

Value storableLeaf(const Value& value) {
  if (isStorableLeaf(value)) {
    return value;
  }
  return value.isString() ? storableText(value.string()) : Value(textOfValue(value));
}

/// Rebuilds a value from its leaves up, without recursion. A part that the value holds in many
/// places is rebuilt once.
class Rebuilding {
 public:
  Value rebuilt(const Value& value) {
    begin(value);
    while (!_open.empty()) {
      Open& open = _open.back();
      const auto parts = partsOf(*open.container);
      if (open.rebuilt.size() < parts.size()) {
        begin(parts[open.rebuilt.size()]);
      } else {
        end();
      }
    }
    return std::move(*_result);
  }

 private:
  struct Open {
    const Value* container;
    std::vector<Value> rebuilt;
  };

  void begin(const Value& value) {
    if (!isContainer(value)) {
      add(storableLeaf(value));
    } else if (const auto known = _known.find(partsOf(value).data()); known != _known.end()) {
      add(known->second);
    } else {
      _open.push_back({&value, {}});
    }
  }

  void end() {
    Open open = std::move(_open.back());
    _open.pop_back();
    Value value = containerOf(*open.container, std::move(open.rebuilt));
    if (const auto parts = partsOf(*open.container); !parts.empty()) {
      _known.emplace(parts.data(), value);
    }
    add(std::move(value));
  }

  static Value containerOf(const Value& original, std::vector<Value> parts) {
    if (original.isArray()) {
      return Value::array(std::move(parts));
    }
    std::vector<std::pair<Key, Value>> entries;
    entries.reserve(parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const Key& key = original.keys()[i];
      entries.emplace_back(
          isStorableText(key.text()) ? key : Key(storableText(key.text()).string()),
          std::move(parts[i]));
    }
    return Value::dictionary(std::move(entries));
  }

  void add(Value value) {
    if (_open.empty()) {
      _result = std::move(value);
    } else {
      _open.back().rebuilt.push_back(std::move(value));
    }
  }

  std::vector<Open> _open;
  std::unordered_map<const Value*, Value> _known;  // by where the parts of the original stand
  std::optional<Value> _result;
};

}  // namespace

bool isStorable(const Value& value) {
  return isContainer(value) ? isStorableRecord(value) || platform::writeBinaryPropertyList(value)
                            : isStorableLeaf(value);
}

Value storable(const Value& value) {
  return value.isAbsent() || isStorable(value) ? value : Rebuilding().rebuilt(value);
}

}  // namespace vexil::detail
