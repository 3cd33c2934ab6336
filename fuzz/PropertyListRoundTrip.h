// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Demand.h"
#include "tests/support/IdenticalValues.h"

#include <vexil/platform/PropertyList.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace fuzz {

using vexil::platform::Value;

inline constexpr std::size_t mostDepth = 64;

/// Limits far above the values of fuzz targets, so that no value is refused because of its size.
inline vexil::platform::PropertyListLimits generousLimits() {
  vexil::platform::PropertyListLimits limits;
  limits.depth = mostDepth;
  return limits;
}

/// Whether a date stands in the notation of XML, which has whole seconds.
inline bool isInXML(vexil::platform::Date date) {
  constexpr double most = 9007199254740992.0;
  return date.seconds == std::trunc(date.seconds) && std::abs(date.seconds) <= most;
}

/// Whether XML has all characters of a text.
inline bool isInXML(std::string_view text) {
  const auto isControl = [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 && character != '\t' && character != '\n' && character != '\r';
  };
  return std::ranges::none_of(text, isControl) && text.find("\xEF\xBF\xBE") == text.npos &&
         text.find("\xEF\xBF\xBF") == text.npos;
}

/// Whether XML has a notation for all of a value.
inline bool isInXML(const Value& root) {
  std::vector<const Value*> pending = {&root};
  while (!pending.empty()) {
    const Value& value = *pending.back();
    pending.pop_back();
    const bool isCarried = (!value.date() || isInXML(*value.date())) && isInXML(value.string()) &&
                           std::ranges::all_of(value.keys(), [](const vexil::platform::Key& key) {
                             return isInXML(key.text());
                           });
    if (!isCarried) {
      return false;
    }
    for (const Value& content : value.isArray() ? value.elements() : value.values()) {
      pending.push_back(&content);
    }
  }
  return true;
}

/// Demands that a written file reads as the value, and that the value is written as the same bytes.
inline void checkBinaryRoundTrip(const Value& value) {
  const auto bytes = vexil::platform::writeBinaryPropertyList(value);
  demand(static_cast<bool>(bytes));
  const auto read = vexil::platform::readBinaryPropertyList(*bytes, generousLimits());
  demand(read && test::identical(*read, value));
  const auto again = vexil::platform::writeBinaryPropertyList(*read);
  demand(again && *again == *bytes);
}

/// The same for XML, which refuses only what it has no notation for.
inline void checkXMLRoundTrip(const Value& value) {
  const auto text = vexil::platform::writeXMLPropertyList(value, generousLimits());
  demand(static_cast<bool>(text) == isInXML(value));
  if (!text) {
    demand(text.error().code == vexil::platform::PropertyListError::Code::inexpressible);
    return;
  }
  const auto read =
      vexil::platform::readXMLPropertyList(std::as_bytes(std::span(*text)), generousLimits());
  demand(read && test::identical(*read, value, test::Sameness::asXMLHasIt));
  const auto again = vexil::platform::writeXMLPropertyList(*read, generousLimits());
  demand(again && *again == *text);
}

}  // namespace fuzz
