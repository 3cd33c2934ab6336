// SPDX-License-Identifier: Apache-2.0
// Scenarios written down in tests, and what comes of them.
#pragma once

#include <replay/Malformed.h>
#include <replay/Scenario.h>
#include <vexil/platform/Value.h>

#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace test {

using vexil::platform::Value;

/// What a replay wrote, and why it was refused. The refusal is empty when it was not.
struct Replayed {
  std::string transcript;
  std::string refusal;
  bool operator==(const Replayed&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Replayed& replayed) {
  return out << replayed.transcript << "refused: " << replayed.refusal;
}

inline Replayed replayed(const Value& steps) {
  std::ostringstream output;
  Replayed result;
  try {
    replay::replayScenario(steps, output);
  } catch (const replay::Malformed& malformed) {
    result.refusal = malformed.what();
  }
  result.transcript = output.str();
  return result;
}

inline Value send(const char* operation, const char* receiver, std::vector<Value> arguments = {},
                  const char* name = nullptr) {
  return Value::dictionary({{"do", operation},
                            {"on", receiver},
                            {"with", Value::array(std::move(arguments))},
                            {"as", name == nullptr ? Value() : Value(name)}});
}

inline Value sendToClass(const char* operation, const char* className,
                         std::vector<Value> arguments = {}, const char* name = nullptr) {
  return Value::dictionary({{"do", operation},
                            {"class", className},
                            {"with", Value::array(std::move(arguments))},
                            {"as", name == nullptr ? Value() : Value(name)}});
}

inline Value group(const char* label, const char* uniqueID, const char* name) {
  return sendToClass("itemWithLabel:uniqueID:", "KRAVTWVGroupVexil", {label, uniqueID}, name);
}

inline Value reference(const char* name) {
  return Value::dictionary({{"$ref", name}});
}

inline Value absentArgument() {
  return Value::dictionary({{"$absent", true}});
}

}  // namespace test
