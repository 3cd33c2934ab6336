// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/values/ValueText.h>
#include <vexil/platform/NetService.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <utility>
#include <vector>

namespace vexil::detail {

using platform::Value;

namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";

std::string textOfReal(double real) {
  // The longest is a sign, 17 digits, a point, and an exponent of three digits with its sign.
  std::array<char, 32> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), real,
                                 std::chars_format::general, 17);
  std::string text(buffer.data(), end.ptr);
  if (text.find_first_of(".en") == std::string::npos) {
    text += ".0";
  }
  return text;
}

std::string textOfObject(const platform::Object& object) {
  if (const auto* const service = dynamic_cast<const platform::NetService*>(&object)) {
    return "service(" + textOfValue(service->name()) + ", " + textOfValue(service->type()) + ", " +
           textOfValue(service->domain()) + ")";
  }
  return object.className();
}

std::string textOfLeaf(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::null:
      return "null";
    case Value::Kind::boolean:
      return *value.boolean() ? "true" : "false";
    case Value::Kind::integer:
      return value.integer() ? std::to_string(*value.integer())
                             : std::to_string(*value.unsignedInteger());
    case Value::Kind::real:
      return textOfReal(*value.real());
    case Value::Kind::string:
      return quoted(value.string());
    case Value::Kind::data:
      return textOfBytes(value.bytes());
    case Value::Kind::date:
      return '@' + textOfReal(value.date()->seconds);
    case Value::Kind::object:
      return textOfObject(*value.object());
    default:
      return "absent";
  }
}

/// A container whose end has not been printed yet.
struct Open {
  explicit Open(const Value& value) : container(&value) {
    const auto keys = value.keys();
    for (std::size_t index = 0; index < keys.size(); ++index) {
      entries.emplace_back(quoted(keys[index].text()), index);
    }
    std::ranges::sort(entries);
  }

  const Value* container;
  std::vector<std::pair<std::string, std::size_t>> entries;  // of a dictionary: key, index
  std::size_t next = 0;
};

/// Appends what comes before the next part of a container, and returns that part; null at its end.
const Value* advance(std::string& text, Open& open) {
  const Value& container = *open.container;
  const auto parts = container.isArray() ? container.elements() : container.values();
  if (open.next == parts.size()) {
    text += container.isArray() ? ']' : '}';
    return nullptr;
  }
  const std::size_t position = open.next++;
  text += position == 0 ? "" : ", ";
  if (container.isArray()) {
    return &parts[position];
  }
  const auto& [key, index] = open.entries[position];
  text += key + ": ";
  return &parts[index];
}

}  // namespace

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (character == '"' || character == '\\') {
      result += '\\';
      result += character;
    } else if (character == '\n') {
      result += "\\n";
    } else if (character == '\r') {
      result += "\\r";
    } else if (character == '\t') {
      result += "\\t";
    } else if (code < 0x20) {
      result += "\\u00";
      result += hexDigits[code >> 4];
      result += hexDigits[code & 15];
    } else {
      result += character;
    }
  }
  return result + '"';
}

std::string textOfBytes(std::span<const std::byte> bytes) {
  std::string text = "<";
  for (const std::byte byte : bytes) {
    text += hexDigits[std::to_integer<std::size_t>(byte >> 4)];
    text += hexDigits[std::to_integer<std::size_t>(byte & std::byte{15})];
  }
  return text + '>';
}

std::string textOfValue(const Value& value) {
  std::string text;
  std::vector<Open> open;  // instead of recursion, because a value may be nested deeply
  for (const Value* next = &value; next != nullptr || !open.empty();) {
    if (next == nullptr) {
      open.pop_back();
    } else if (next->isArray() || next->isDictionary()) {
      text += next->isArray() ? '[' : '{';
      open.emplace_back(*next);
    } else {
      text += textOfLeaf(*next);
    }
    next = open.empty() ? nullptr : advance(text, open.back());
  }
  return text;
}

}  // namespace vexil::detail
