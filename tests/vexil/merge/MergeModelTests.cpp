// SPDX-License-Identifier: Apache-2.0
// The merge remembers what it compared. These tests merge random trees twice: with the library and
// with the model. Notices, errors, trees and objects must be the same.
#include "MergeScenarios.h"
#include "tests/support/Property.h"
#include "tests/support/Recorder.h"

#include <gtest/gtest.h>

#include <map>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::ItemPointer;
using test::model::Action;
using test::model::LiteralMerge;
using test::model::Node;
using test::model::Scenario;
using test::model::ScenarioMaker;
using test::model::Spices;

struct Thrown : std::runtime_error {
  using std::runtime_error::runtime_error;
};

ItemPointer madeOf(const Node& node) {
  const Value record = test::eventRecord(node.identifier, node.represents);
  ItemPointer item;
  switch (node.kind) {
    case Node::Class::item:
      item = KRAVTWVItemVexil::itemWithRepresentedObject(node.represents);
      break;
    case Node::Class::group:
      item = KRAVTWVGroupVexil::itemWithRepresentedObject(node.represents);
      break;
    case Node::Class::event:
      return KRAVTWVEventVexil::itemWithEvent(record);
    case Node::Class::onDemand:
      return KRAVTWVOnDemandVexil::itemWithEvent(record);
    case Node::Class::host:
      item = test::model::HostItem::itemWithRepresentedObject(node.represents);
      break;
  }
  item->setUniqueID(node.identifier);
  item->setLabel(node.represents);
  return item;
}

/// The items of a scenario, known by their numbers. Only other items hold them, unless the scenario
/// says so.
class World : public platform::Observer, public std::enable_shared_from_this<World> {
 public:
  explicit World(Scenario scenario) : _scenario(std::move(scenario)) {
    std::vector<ItemPointer> items;
    for (const Node& node : _scenario.nodes) {
      items.push_back(madeOf(node));
      _numbers[items.back().get()] = items.size() - 1;
    }
    for (std::size_t i = items.size(); i > 0; --i) {
      finish(items, i - 1);
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (const auto& other = _scenario.nodes[i].childrenOf) {
        items[i]->setChildren(items[*other]->children());
      }
      if (_scenario.nodes[i].isHeld) {
        _held.push_back(items[i]);
      }
    }
    for (const auto& numbers : _scenario.fresh) {
      _fresh.push_back(arrayOf(items, numbers));
    }
    if (const auto& owner = _scenario.freshIsArrayOf; owner && *owner < items.size()) {
      _fresh.front() = items[*owner]->children();
    }
    _root = items.front();
    _items.assign(items.begin(), items.end());
  }

  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World() override {
    // Merged across levels, items can hold each other.
    for (const auto& left : _items) {
      if (const auto item = left.lock()) {
        item->setRepresentedObject({});
        if (const auto children = item->children()) {
          children->clear();
        }
      }
    }
  }

  void startWatching() {
    for (const auto& [number, key] : _scenario.watched) {
      if (const auto item = _items[number].lock()) {
        item->addObserver(shared_from_this(), key, platform::ObservingOptions::both, nullptr);
      }
    }
  }

  /// Merges all fresh arrays in turn. Returns everything that can be seen of it.
  template <class Merge>
  std::string run(Merge&& merge) {
    for (auto& fresh : _fresh) {
      std::string outcome = "done";
      // The library remembers nothing of items that others hold.
      auto given = _scenario.handsOver ? std::move(fresh) : fresh;
      try {
        merge(_root, std::move(given));
      } catch (const platform::RangeError&) {
        outcome = "range";
      } catch (const platform::InvalidArgument&) {
        outcome = "invalid argument";
      } catch (const Thrown&) {
        outcome = "thrown";
      }
      _log += outcome + "\n";
      describe(_root);
      given.reset();
      _log += "fresh:";
      describeAll(fresh);
      _log += "\n";
      fresh.reset();
    }
    for (const auto& [item, number] : std::map(_numbers.begin(), _numbers.end())) {
      _alive[number] = !_items[number].expired();
    }
    for (const auto& [number, isAlive] : _alive) {
      _log += isAlive ? "1" : "0";
    }
    return _log;
  }

  void observeValueForKeyPathOfObjectChangeContext(
      const platform::Key& keyPath, const std::shared_ptr<platform::Observable>& object,
      const platform::ChangeRecord& change, const platform::ContextToken* /*context*/) override {
    const auto numbered = [this](const Value& value) { return text(value); };
    _log += text(Value(object)) + " " + test::describe(keyPath, change, numbered) + "\n";
    const std::size_t now = _told++;
    for (const Action& action : _scenario.actions) {
      if (action.at == now) {
        perform(action);
      }
    }
  }

 private:
  void finish(const std::vector<ItemPointer>& items, std::size_t number) {
    const Node& node = _scenario.nodes[number];
    if (node.childrenAreAbsent) {
      items[number]->setChildren(nullptr);
    } else if (!node.children.empty()) {
      items[number]->setChildren(arrayOf(items, node.children));
      for (const std::size_t child : node.children) {
        items[child]->setParent(items[number]);
      }
    }
    if (node.representsItem) {
      const Value item(items[*node.representsItem]);
      items[number]->setRepresentedObject(node.representsArray ? Value::array({item}) : item);
    }
  }

  static std::shared_ptr<KRAVTWVItemArray> arrayOf(const std::vector<ItemPointer>& items,
                                                   const std::vector<std::size_t>& numbers) {
    auto array = std::make_shared<KRAVTWVItemArray>();
    for (const std::size_t number : numbers) {
      array->push_back(items[number]);
    }
    return array;
  }

  void perform(const Action& action) {
    if (action.what == Action::What::throwOut) {
      throw Thrown("thrown");
    }
    if (action.what == Action::What::shortenFresh) {
      for (auto& fresh : _fresh) {
        if (fresh && !fresh->empty()) {
          fresh->pop_back();
          return;
        }
      }
      return;
    }
    const auto item = _items[action.node].lock();
    if (action.what == Action::What::withdrawAll) {
      for (std::size_t i = 0; i < _items.size(); ++i) {
        withdraw(i);
      }
    }
    if (!item) {
      return;
    }
    const auto children = item->children();
    if (action.what == Action::What::represent) {
      item->setRepresentedObject(action.value);
    } else if (action.what == Action::What::withdraw) {
      withdraw(action.node);
    } else if (children && !children->empty()) {
      if (action.what == Action::What::removeFirst) {
        item->removeChildrenAtIndexes({0});
      } else if (action.what == Action::What::dropLast) {
        children->pop_back();
      }
    }
  }

  void withdraw(std::size_t number) {
    const auto item = _items[number].lock();
    for (const auto& [watched, key] : _scenario.watched) {
      if (item && watched == number) {
        try {
          item->removeObserver(shared_from_this(), key, nullptr);
        } catch (const platform::InvalidArgument&) {
          return;  // it was withdrawn before
        }
      }
    }
  }

  [[nodiscard]] std::string text(const Value& value) const {
    if (const auto* item = dynamic_cast<const KRAVTWVItemVexil*>(value.object().get())) {
      return "#" + std::to_string(_numbers.at(item));
    }
    if (!value.isArray()) {
      return value.description();
    }
    std::string all = "[";
    for (const Value& element : value.elements()) {
      all += text(element) + " ";
    }
    return all + "]";
  }

  void describe(const ItemPointer& item, int depth = 0) {
    if (depth > 100 || _log.size() > 1000000) {
      throw test::model::TooLong("a tree that contains itself");
    }
    const auto parent = item->parent();
    _log += text(Value(item)) + "(" + text(item->uniqueID()) + " " + text(item->label()) + " " +
            text(item->representedObject()) + " in " + (parent ? text(Value(parent)) : "-") + ")";
    describeAll(item->children(), depth + 1);
  }

  void describeAll(const std::shared_ptr<KRAVTWVItemArray>& items, int depth = 0) {
    if (!items) {
      _log += "absent";
      return;
    }
    _log += "{";
    for (const ItemPointer& item : *items) {
      describe(item, depth);
    }
    _log += "}";
  }

  Scenario _scenario;
  ItemPointer _root;
  std::vector<std::shared_ptr<KRAVTWVItemArray>> _fresh;
  std::vector<ItemPointer> _held;
  std::vector<std::weak_ptr<KRAVTWVItemVexil>> _items;
  std::unordered_map<const KRAVTWVItemVexil*, std::size_t> _numbers;
  std::map<std::size_t, bool> _alive;
  std::size_t _told = 0;
  std::string _log;
};

std::string mergedByLibrary(const Scenario& scenario) {
  const auto world = std::make_shared<World>(scenario);
  world->startWatching();
  return world->run([](const ItemPointer& root, std::shared_ptr<KRAVTWVItemArray>&& fresh) {
    root->replaceChildren(std::move(fresh));
  });
}

std::string mergedLiterally(const Scenario& scenario) {
  const auto world = std::make_shared<World>(scenario);
  world->startWatching();
  LiteralMerge literal;
  return world->run([&](const ItemPointer& root, std::shared_ptr<KRAVTWVItemArray>&& fresh) {
    literal.replaceChildren(root, std::move(fresh));
  });
}

/// Many scenarios to each case, because what can go wrong is rare.
void mergeBothWays(Spices spices) {
  constexpr std::size_t scenarios = 60;
  const auto seeds = *rc::gen::noShrink(rc::gen::container<std::vector<std::uint64_t>>(
      scenarios, rc::gen::resize(rc::kNominalSize, rc::gen::arbitrary<std::uint64_t>())));
  for (const std::uint64_t seed : seeds) {
    const Scenario scenario = ScenarioMaker(seed, spices).make();
    std::string expected;
    try {
      expected = mergedLiterally(scenario);
    } catch (const test::model::TooLong&) {
      continue;
    }
    const std::string merged = mergedByLibrary(scenario);
    if (merged != expected) {
      RC_FAIL("seed " + std::to_string(seed) + " should merge to\n" + expected +
              "\nand merges to\n" + merged);
    }
  }
}

PROPERTY(MergeModel, TreesThatNobodyWatchesAreMergedToTheLetter, ()) {
  mergeBothWays({});
}

PROPERTY(MergeModel, WatchedTreesAreMergedToTheLetter, ()) {
  mergeBothWays({.watching = true});
}

PROPERTY(MergeModel, IdentifiersThatOccurTwiceOrNotAtAllFailToTheLetter, ()) {
  mergeBothWays({.misuse = true, .watching = true});
}

PROPERTY(MergeModel, ItemsAndArraysAtSeveralPlacesAreMergedToTheLetter, ()) {
  mergeBothWays({.sharing = true});
}

PROPERTY(MergeModel, WatchedItemsAtSeveralPlacesAreMergedToTheLetter, ()) {
  mergeBothWays({.sharing = true, .misuse = true, .watching = true});
}

PROPERTY(MergeModel, ObserversThatInterfereAreObeyedToTheLetter, ()) {
  mergeBothWays({.watching = true, .interfering = true});
}

PROPERTY(MergeModel, ObserversThatInterfereWithSharedItemsAreObeyedToTheLetter, ()) {
  mergeBothWays({.sharing = true, .misuse = true, .watching = true, .interfering = true});
}

}  // namespace
