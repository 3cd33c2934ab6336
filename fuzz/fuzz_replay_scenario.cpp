// SPDX-License-Identifier: Apache-2.0
// Performs any property list as a scenario, or refuses it. Inputs change as scenarios: steps,
// arguments and words of one are moved and mixed with those of another.
#include "Demand.h"
#include "ScenarioBounds.h"
#include "ScenarioMutation.h"
#include "ScratchDirectory.h"

#include <replay/Malformed.h>
#include <replay/Scenario.h>
#include <vexil/platform/PropertyList.h>

#include <sanitizer/lsan_interface.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <span>
#include <streambuf>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;

constexpr std::size_t mostSteps = 100;

std::optional<Value> scenarioFrom(const std::uint8_t* data, std::size_t size) {
  platform::PropertyListLimits limits;
  limits.depth = fuzz::mostDepthOfScenario;
  limits.expandedObjects = 10'000;
  limits.expandedObjectsPerByte = 0;
  const auto steps = platform::readPropertyList(std::as_bytes(std::span(data, size)), limits);
  return steps && steps->elements().size() <= mostSteps ? std::optional(*steps) : std::nullopt;
}

/// Takes the transcript, and ends the scenario when that gets too long.
class Sink : public std::streambuf {
 public:
  struct Full {};

 protected:
  int_type overflow(int_type character) override {
    count(1);
    return traits_type::not_eof(character);
  }
  std::streamsize xsputn(const char* /*text*/, std::streamsize size) override {
    count(size);
    return size;
  }

 private:
  void count(std::streamsize size) {
    constexpr std::streamsize most = 1 << 20;
    _size += size;
    if (_size > most) {
      throw Full();
    }
  }

  std::streamsize _size = 0;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
  static std::array<std::string, 2> options = {
      // A directory for temporary files is set in the environment for each scenario, and the C
      // library keeps each value. That makes libFuzzer look for leaks every time, which takes
      // longer than the scenario; `LLVMFuzzerTestOneInput` looks now and then.
      "-detect_leaks=0",
      // Counting how rare each of the many things is that a scenario does takes twice as long.
      "-entropic=0"};
  static std::vector<char*> all(*arguments, *arguments + *count);
  for (std::string& option : options) {
    all.push_back(option.data());
  }
  *count = static_cast<int>(all.size());
  *arguments = all.data();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fuzz::ScratchDirectory scratch;
  if (const auto steps = scenarioFrom(data, size); steps && fuzz::isBounded(*steps)) {
    Sink sink;
    std::ostream transcript(&sink);
    transcript.exceptions(std::ios::badbit);
    try {
      replay::replayScenario(*steps, transcript);
    } catch (const replay::Malformed&) {
      // The steps before were performed.
    } catch (const Sink::Full&) {
    }
  }
  constexpr unsigned now = 500;
  static unsigned inputs = 0;
  if (++inputs % now == 0) {
    scratch.clear();
    fuzz::demand(__lsan_do_recoverable_leak_check() == 0);
  }
  return 0;
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned seed) {
  fuzz::ScenarioMutation mutation(seed);
  if (const auto steps = scenarioFrom(data, size); steps && !mutation.oneIn(20)) {
    return fuzz::put(mutation.mutated(*steps), data, size, most);
  }
  return LLVMFuzzerMutate(data, size, most);
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t firstSize,
                                                 const std::uint8_t* second, std::size_t secondSize,
                                                 std::uint8_t* out, std::size_t most,
                                                 unsigned seed) {
  const auto steps = scenarioFrom(first, firstSize);
  const auto others = scenarioFrom(second, secondSize);
  if (!steps || !others) {
    return 0;
  }
  return fuzz::put(fuzz::ScenarioMutation(seed).mixed(*steps, *others), out, 0, most);
}
