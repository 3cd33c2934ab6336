// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/PropertyList.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace fuzz {

inline constexpr std::size_t mostDepthOfScenario = 24;

/// Random changes of scenarios. Most steps can still be performed afterwards.
class ScenarioMutation {
 public:
  explicit ScenarioMutation(unsigned seed) : _random(seed) {}

  bool oneIn(std::size_t count) { return below(count) == 0; }

  /// A scenario with some change.
  vexil::platform::Value mutated(const vexil::platform::Value& scenario);

  /// A scenario with something of another in it.
  vexil::platform::Value mixed(const vexil::platform::Value& scenario,
                               const vexil::platform::Value& other);

 private:
  using Change =
      std::function<std::optional<vexil::platform::Value>(const vexil::platform::Value&)>;

  std::size_t below(std::size_t end) { return static_cast<std::size_t>(_random()) % end; }

  vexil::platform::Value withStepsMoved(const vexil::platform::Value& scenario);
  vexil::platform::Value withPartChanged(const vexil::platform::Value& scenario,
                                         const Change& change);
  std::optional<vexil::platform::Value> otherLeaf(const vexil::platform::Value& leaf,
                                                  const std::vector<vexil::platform::Value>& parts);
  std::string otherText(std::string_view text, const std::vector<vexil::platform::Value>& parts);
  vexil::platform::Value otherContents(const vexil::platform::Value& container,
                                       const std::vector<vexil::platform::Value>& parts);

  std::mt19937 _random;
};

/// Writes a scenario into an input of at most `most` bytes. Returns its size. If the scenario is
/// too long, the input stays as it is and `size` is returned.
std::size_t put(const vexil::platform::Value& scenario, std::uint8_t* input, std::size_t size,
                std::size_t most);

}  // namespace fuzz
