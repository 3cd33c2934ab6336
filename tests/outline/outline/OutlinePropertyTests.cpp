// SPDX-License-Identifier: Apache-2.0
// Random changes of random trees. After each update an outline is what a naive model says.
//
// The normal run has a thousand refreshes; OUTLINE_REFRESHES=200000 has as many. The scenes of
// even number are the same in every run. OUTLINE_SEED=17 runs the scene of this seed alone.
#include "CheckedOutline.h"
#include "tests/outline/RandomScene.h"

#include <gtest/gtest.h>
#include <vexil/platform/Log.h>
#include <vexil/platform/Observing.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using test::CheckedOutline;
using test::Choices;
using test::Figures;
using test::Lines;
using test::RandomScene;

std::size_t environment(const char* name, std::size_t otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::stoul(value);
}

/// Asks for updates in the middle of operations.
class Impatient : public platform::Observer {
 public:
  explicit Impatient(std::function<void()> then) : _then(std::move(then)) {}
  void observeValueForKeyPathOfObjectChangeContext(
      const platform::Key& /*keyPath*/, const std::shared_ptr<platform::Observable>& /*object*/,
      const platform::ChangeRecord& /*change*/,
      const platform::ContextToken* /*context*/) override {
    _then();
  }

 private:
  std::function<void()> _then;
};

/// A scene with its outlines, from its beginning to its end.
class Run {
 public:
  Run(std::uint32_t seed, Figures& figures) : _scene(seed), _choices(seed + 1), _figures(figures) {
    for (std::size_t i = _choices.oneIn(3) ? 2 : 1; i > 0; --i) {
      _outlines.push_back(
          std::make_unique<CheckedOutline>(_scene, _scene.followsProperties(), figures));
    }
    _scene.refreshAll = [this] {
      for (const auto& outline : _outlines) {
        outline->outline().refreshAll();
      }
    };
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  ~Run() { test::HostThing::nextLabel = nullptr; }

  [[nodiscard]] const Lines& story() const { return _scene.story(); }
  [[nodiscard]] const Lines& descriptions() const { return _outlines.front()->descriptions(); }

  void perform() {
    const auto impatient = std::make_shared<Impatient>([this] { beImpatient(); });
    const auto root = _scene.root();
    if (root && _choices.oneIn(3)) {
      root->addObserver(impatient, "children", platform::ObservingOptions::both, nullptr);
    }
    for (int round = 0; round < 12; ++round) {
      for (std::size_t i = 1 + _choices.below(4); i > 0; --i) {
        changeOnce();
      }
      for (std::size_t i = 0; i < _outlines.size(); ++i) {
        if (i == 0 || _choices.oneIn(3)) {
          update(*_outlines[i]);
        }
      }
    }
  }

 private:
  void beImpatient() {
    if (_choices.oneIn(3)) {
      try {
        _outlines.front()->requireRefused();
      } catch (const test::Fault& fault) {
        _fault = fault.what();  // operations may swallow exceptions of observers
      }
    }
  }

  void changeOnce() {
    ++_figures.refreshes;
    for (const auto& outline : _outlines) {
      outline->noteWhetherOutOfDate();
    }
    _scene.change();
    test::require(_fault.empty(), _fault);
    for (const auto& outline : _outlines) {
      outline->requireCalledOnce();
    }
  }

  void update(CheckedOutline& outline) {
    const bool changesInTheMiddle = _choices.oneIn(5);
    bool hasChanged = false;
    if (_choices.oneIn(5)) {
      test::HostThing::nextLabel = [this] { _scene.change(); };
    }
    outline.update([&] {
      if (changesInTheMiddle && _choices.oneIn(3)) {
        _scene.change();
        hasChanged = true;
      }
      return hasChanged;
    });
    if (!hasChanged) {
      outline.requireNothingToDo();
    }
    test::require(_fault.empty(), _fault);
  }

  RandomScene _scene;
  Choices _choices;
  Figures& _figures;
  std::vector<std::unique_ptr<CheckedOutline>> _outlines;
  std::string _fault;
};

/// Runs a scene twice. Its updates are the same text both times, wherever the items lie in memory.
void checkScene(std::uint32_t seed, Figures& figures) {
  Run run(seed, figures);
  try {
    run.perform();
    Figures again;
    Run second(seed, again);
    second.perform();
    test::require(run.descriptions() == second.descriptions(), "other updates in the second run");
  } catch (const std::exception& fault) {
    std::string story;
    for (const std::string& line : run.story()) {
      story += "  " + line + "\n";
    }
    ADD_FAILURE() << "OUTLINE_SEED=" << seed << ": " << fault.what() << "\n" << story;
  }
}

TEST(OutlineProperty, ShowsWhatANaiveModelSaysAfterAnyRefreshes) {
  const auto sink = platform::setLogSink([](std::string_view) {});
  const std::size_t refreshes = environment("OUTLINE_REFRESHES", 1'000);
  const auto only = environment("OUTLINE_SEED", 0);
  const auto start = static_cast<std::uint32_t>(std::random_device()() / 2);
  Figures figures;
  for (std::uint32_t i = 0; figures.refreshes < refreshes && !HasFailure(); ++i) {
    checkScene(only != 0    ? static_cast<std::uint32_t>(only)
               : i % 2 == 0 ? i + 1
                            : start + i,
               figures);
    if (only != 0) {
      break;
    }
  }
  std::cout << "from the seeds 1 and " << start << ": " << figures.refreshes << " refreshes, "
            << figures.updates << " updates, " << figures.steps << " steps, " << figures.moves
            << " rows moved, " << figures.movesToOtherParents << " to other parents" << std::endl;
  platform::setLogSink(sink);
}

}  // namespace
