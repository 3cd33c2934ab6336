// SPDX-License-Identifier: Apache-2.0
#include "CanonicalText.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <stdexcept>
#include <vector>

namespace platform = vexil::platform;

namespace interop {

using platform::Value;

namespace {

std::string hexadecimal(std::uint64_t number, int digits) {
  char text[17];
  std::snprintf(text, sizeof text, "%0*llx", digits, static_cast<unsigned long long>(number));
  return text;
}

std::string bitsOf(double number) {
  return hexadecimal(std::bit_cast<std::uint64_t>(number), 16);
}

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character < 0x20 || character > 0x7E || character == '"' || character == '\\') {
      result += "\\x" + hexadecimal(static_cast<unsigned char>(character), 2);
    } else {
      result += character;
    }
  }
  return result + '"';
}

std::string digitsOf(std::span<const std::byte> bytes) {
  std::string result = "<";
  for (const std::byte byte : bytes) {
    result += hexadecimal(std::to_integer<unsigned>(byte), 2);
  }
  return result + '>';
}

std::string arrayText(const Value& array, Order order) {
  std::string result = "[";
  for (const Value& element : array.elements()) {
    result += (result.size() > 1 ? ", " : "") + canonicalText(element, order);
  }
  return result + ']';
}

std::string dictionaryText(const Value& dictionary, Order order) {
  std::vector<std::size_t> places(dictionary.keys().size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  if (order == Order::byKey) {
    std::ranges::sort(places, {}, [&](std::size_t at) { return dictionary.keys()[at].text(); });
  }
  std::string result = "{";
  for (const std::size_t at : places) {
    result += (result.size() > 1 ? ", " : "") + quoted(dictionary.keys()[at].text()) + ": " +
              canonicalText(dictionary.values()[at], order);
  }
  return result + '}';
}

}  // namespace

std::string canonicalText(const Value& value, Order order) {
  switch (value.kind()) {
    case Value::Kind::boolean:
      return *value.boolean() ? "true" : "false";
    case Value::Kind::integer:
      return value.integer() ? std::to_string(*value.integer())
                             : std::to_string(*value.unsignedInteger());
    case Value::Kind::real:
      return 'r' + bitsOf(*value.real());
    case Value::Kind::date:
      return '@' + bitsOf(value.date()->seconds);
    case Value::Kind::string:
      return quoted(value.string());
    case Value::Kind::data:
      return digitsOf(value.bytes());
    case Value::Kind::array:
      return arrayText(value, order);
    case Value::Kind::dictionary:
      return dictionaryText(value, order);
    default:
      throw std::runtime_error("not of a property list: " + value.description());
  }
}

}  // namespace interop
