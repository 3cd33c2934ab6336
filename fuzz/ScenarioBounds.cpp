// SPDX-License-Identifier: Apache-2.0
#include "ScenarioBounds.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace platform = vexil::platform;

namespace fuzz {

using platform::Value;

namespace {

/// Operations that give an object nothing that it could hold.
bool givesNothing(std::string_view operation) {
  constexpr std::array<std::string_view, 9> questions = {
      "isEqual:",
      "same",
      "sameHash",
      "watch",
      "outline",
      "updateDuring",
      "setDelegate:",
      "addObserver:forRecursiveChildrenWithOption:context:",
      "removeObserver:forRecursiveChildrenWithContext:"};
  return std::ranges::find(questions, operation) != questions.end();
}

class Bounds {
 public:
  bool holdFor(const Value& scenario) {
    for (const Value& step : scenario.elements()) {
      follow(step);
    }
    join();
    return std::ranges::all_of(
        _given, [this](const auto& entry) { return weightOf(rootOf(entry.first)) <= mostWeight; });
  }

 private:
  static constexpr std::size_t mostWeight = 2000;

  enum class Progress { unknown, open, known };
  struct Weight {
    Progress progress = Progress::unknown;
    std::size_t weight = 0;
  };

  void follow(const Value& step) {
    const std::string on(step["on"].string());
    const std::string as(step["as"].string());
    const std::string receiver = on.empty() ? as : on;
    if (!on.empty() && !as.empty()) {
      _same[rootOf(as)] = rootOf(on);
    }
    if (!givesNothing(step["do"].string())) {
      give(receiver, step["with"]);
    }
  }

  void give(const std::string& receiver, const Value& argument) {
    for (const Value& element : argument.elements()) {
      give(receiver, element);
    }
    if (const Value& name = argument["$ref"]; name.isString()) {
      _given[receiver].emplace_back(name.string());
    }
  }

  /// Moves what the names of one object were given to one of these names.
  void join() {
    std::map<std::string, std::vector<std::string>> joined;
    for (const auto& [receiver, names] : _given) {
      for (const std::string& name : names) {
        joined[rootOf(receiver)].push_back(rootOf(name));
      }
    }
    _given = std::move(joined);
  }

  /// The name that stands for all names that may name the same object, or something in it.
  std::string rootOf(const std::string& name) {
    std::string root = name;
    for (auto same = _same.find(root); same != _same.end() && same->second != root;
         same = _same.find(root)) {
      root = same->second;
    }
    return root;
  }

  /// On how many ways objects are in one object, itself included. Too many if it is in itself.
  std::size_t weightOf(const std::string& name) {
    Weight& known = _weights[name];
    if (known.progress != Progress::unknown) {
      return known.progress == Progress::open ? mostWeight + 1 : known.weight;
    }
    known.progress = Progress::open;
    std::size_t weight = 1;
    for (const std::string& content : _given[name]) {
      weight = std::min(weight + weightOf(content), mostWeight + 1);
    }
    known = {Progress::known, weight};
    return weight;
  }

  std::map<std::string, std::string> _same;
  std::map<std::string, std::vector<std::string>> _given;
  std::map<std::string, Weight> _weights;
};

}  // namespace

bool isBounded(const Value& scenario) {
  return Bounds().holdFor(scenario);
}

}  // namespace fuzz
