// SPDX-License-Identifier: Apache-2.0
#include <replay/Malformed.h>
#include <replay/Step.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace platform = vexil::platform;

namespace replay {

using platform::Value;

namespace {

constexpr std::array<std::string_view, 5> keys = {"do", "on", "class", "with", "as"};

std::optional<std::string> stringIn(const Value& step, std::string_view key) {
  const Value& value = step[key];
  if (value.isAbsent()) {
    return std::nullopt;
  }
  if (!value.isString()) {
    throw Malformed("\"" + std::string(key) + "\" is no string");
  }
  return std::string(value.string());
}

}  // namespace

Step::Step(const Value& step) {
  if (!step.isDictionary()) {
    throw Malformed("the step is no dictionary");
  }
  for (const platform::Key& key : step.keys()) {
    if (std::ranges::find(keys, key.text()) == keys.end()) {
      throw Malformed("no step has the key \"" + std::string(key.text()) + "\"");
    }
  }
  const std::optional<std::string> operationName = stringIn(step, "do");
  if (!operationName) {
    throw Malformed("there is nothing to \"do\"");
  }
  operation = *operationName;
  on = stringIn(step, "on");
  className = stringIn(step, "class");
  if (on && className) {
    throw Malformed("both \"on\" and \"class\" are given");
  }
  with = step["with"];
  if (!with.isAbsent() && !with.isArray()) {
    throw Malformed("\"with\" is no array");
  }
  as = stringIn(step, "as");
}

}  // namespace replay
