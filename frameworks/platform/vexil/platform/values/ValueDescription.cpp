// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Value.h>

#include <array>
#include <charconv>

namespace vexil::platform {

namespace {

void appendQuoted(std::string& text, std::string_view string) {
  text += '"';
  for (const char character : string) {
    if (character == '"' || character == '\\') {
      text += '\\';
    }
    text += character;
  }
  text += '"';
}

/// In the fewest digits that read back as the same number, independent of the locale.
void appendReal(std::string& text, double real) {
  std::array<char, 32> buffer{};
  const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), real);
  text.append(buffer.data(), written.ptr);
}

void appendScalar(std::string& text, const Value& value) {
  constexpr std::string_view digits = "0123456789abcdef";
  switch (value.kind()) {
    case Value::Kind::absent:
      text += "(null)";
      break;
    case Value::Kind::null:
      text += "<null>";
      break;
    case Value::Kind::boolean:
      text += *value.boolean() ? "true" : "false";
      break;
    case Value::Kind::integer:
      text += value.integer() ? std::to_string(*value.integer())
                              : std::to_string(*value.unsignedInteger());
      break;
    case Value::Kind::real:
      appendReal(text, *value.real());
      break;
    case Value::Kind::date:
      text += '@';
      appendReal(text, value.date()->seconds);
      break;
    case Value::Kind::string:
      appendQuoted(text, value.string());
      break;
    case Value::Kind::data:
      text += '<';
      for (const std::byte byte : value.bytes()) {
        text += digits[std::to_integer<unsigned>(byte) >> 4U];
        text += digits[std::to_integer<unsigned>(byte) & 15U];
      }
      text += '>';
      break;
    default:
      text += value.object()->description();
  }
}

}  // namespace

std::string Value::description() const {
  // A list of open containers instead of recursion, because a value may be nested deeper than the
  // stack allows.
  struct Open {
    const Value* container;
    std::size_t next;
  };
  std::string text;
  std::vector<Open> open;
  const auto begin = [&](const Value& value) {
    if (value.isArray() || value.isDictionary()) {
      text += value.isArray() ? '[' : '{';
      open.push_back({&value, 0});
    } else {
      appendScalar(text, value);
    }
  };
  const Value held(*this);  // an object that is asked may assign to this value, or destroy it
  begin(held);
  while (!open.empty()) {
    const Value& container = *open.back().container;
    const auto children = container.isArray() ? container.elements() : container.values();
    const std::size_t at = open.back().next++;
    if (at == children.size()) {
      text += container.isArray() ? ']' : '}';
      open.pop_back();
      continue;
    }
    text += at > 0 ? ", " : "";
    if (container.isDictionary()) {
      appendQuoted(text, container.keys()[at].text());
      text += ": ";
    }
    begin(children[at]);
  }
  return text;
}

}  // namespace vexil::platform
