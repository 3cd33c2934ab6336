// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <vexil/platform/Value.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace fuzz {

/// Writes values of strings, data, arrays and dictionaries in the text format, in those of its
/// notations that the input picks.
class TextWriter {
 public:
  explicit TextWriter(FuzzedDataProvider& input) : _input(input) {}

  std::string text(const vexil::platform::Value& value) {
    add(value);
    space();
    return std::move(_text);
  }

 private:
  void add(const vexil::platform::Value& value) {
    space();
    if (value.isArray()) {
      addArray(value);
    } else if (value.isDictionary()) {
      addDictionary(value);
    } else if (value.isString()) {
      addString(value.string());
    } else {
      addData(value.bytes());
    }
  }

  void addArray(const vexil::platform::Value& array) {
    _text += '(';
    for (std::size_t at = 0; at < array.elements().size(); ++at) {
      if (at > 0) {
        space();
        _text += ',';
      }
      add(array.elements()[at]);
    }
    if (!array.elements().empty() && _input.ConsumeBool()) {
      space();
      _text += ',';
    }
    space();
    _text += ')';
  }

  void addDictionary(const vexil::platform::Value& dictionary) {
    _text += '{';
    for (std::size_t at = 0; at < dictionary.keys().size(); ++at) {
      const std::string_view key = dictionary.keys()[at].text();
      const vexil::platform::Value& value = dictionary.values()[at];
      space();
      addString(key);
      space();
      if (!value.isString() || value.string() != key || _input.ConsumeBool()) {
        _text += '=';
        add(value);
        space();
      }
      _text += ';';
    }
    space();
    _text += '}';
  }

  void addString(std::string_view string) {
    const auto isUnquoted = [](char character) {
      return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
             (character >= 'a' && character <= 'z') || character == '_' || character == '-';
    };
    if (!string.empty() && std::ranges::all_of(string, isUnquoted) && _input.ConsumeBool()) {
      _text += string;
      return;
    }
    const char quote = _input.ConsumeBool() ? '"' : '\'';
    _text += quote;
    for (const char character : string) {
      const bool isASCII = static_cast<unsigned char>(character) < 0x80;
      if (character == '\\' || character == quote) {
        (_text += '\\') += character;
      } else if (isASCII && _input.ConsumeProbability<float>() > 0.8F) {
        addEscaped(character);
      } else {
        _text += character;
      }
    }
    _text += quote;
  }

  void addEscaped(char character) {
    // Never fewer digits: one of the string could follow.
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, _input.ConsumeBool() ? "\\%03o" : "\\U%04x",
                  static_cast<unsigned>(character));
    _text += escaped;
  }

  void addData(std::span<const std::byte> bytes) {
    _text += '<';
    for (const std::byte byte : bytes) {
      char digits[4];
      std::snprintf(digits, sizeof digits, _input.ConsumeBool() ? "%02x" : "%02X",
                    std::to_integer<unsigned>(byte));
      _text += digits;
      _text += _input.ConsumeBool() ? "" : " ";
    }
    _text += '>';
  }

  /// A place where white space and comments may stand.
  void space() {
    constexpr std::array<std::string_view, 8> spaces = {
        "", " ", "\n", "\t\r\n", " // one \"\n", " /* two \n * / ' */", "\xE2\x80\xA8", "\v\f"};
    _text += spaces[_input.ConsumeIntegralInRange<std::size_t>(0, spaces.size() - 1)];
  }

  FuzzedDataProvider& _input;
  std::string _text;
};

}  // namespace fuzz
