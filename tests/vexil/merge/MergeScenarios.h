// SPDX-License-Identifier: Apache-2.0
// Random scenarios for the merge: a live tree, and fresh trees that are copies of it with changes.
// They have everything that makes remembering dangerous: items at several places, arrays that two
// items share, items that represent items, observers that interfere.
#pragma once

#include "MergeModel.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace test::model {

/// What the scenarios of a property may contain.
struct Spices {
  bool sharing = false;      // items and arrays at several places, items that represent items
  bool misuse = false;       // absent identifiers, identifiers that occur twice
  bool watching = false;     // observers
  bool interfering = false;  // observers that change the tree, withdraw or throw
};

class ScenarioMaker {
 public:
  ScenarioMaker(std::uint64_t seed, Spices spices) : _choices(seed), _spices(spices) {}

  Scenario make() {
    _deepest = 2 + _choices.pick(3);
    add(0);
    _scenario.nodes[0].identifier = "root";
    _scenario.nodes[0].kind = Node::Class::group;
    fillChildren(0);
    const std::size_t oldCount = _scenario.nodes.size();
    const std::size_t merges = 1 + _choices.pick(2);
    for (std::size_t i = 0; i < merges; ++i) {
      _scenario.fresh.push_back(changedCopies(_scenario.nodes[0].children));
    }
    if (_spices.sharing) {
      if (_choices.rarely(10)) {
        _scenario.freshIsArrayOf = 1 + _choices.pick(oldCount);
      }
      representItems();
    }
    _scenario.handsOver = !_choices.rarely(3);
    hold();
    watch();
    return _scenario;
  }

 private:
  using Value = vexil::platform::Value;

  Node& node(std::size_t number) { return _scenario.nodes[number]; }

  std::size_t add(std::size_t level) {
    Node node;
    node.level = level;
    node.kind = static_cast<Node::Class>(_choices.pick(5));
    node.identifier = "n" + std::to_string(_scenario.nodes.size());
    node.represents = anyContent();
    if (_spices.misuse && _choices.rarely(8)) {
      node.identifier = anyIdentifier();
    }
    _scenario.nodes.push_back(std::move(node));
    return _scenario.nodes.size() - 1;
  }

  Value anyContent() {
    static const std::vector<Value> contents{
        "a", "b", 1, 1.0, true, 0, Value::null(), Value(), Value::array({"a", 1})};
    return contents[_choices.pick(contents.size())];
  }

  Value anyIdentifier() {
    static const std::vector<Value> identifiers{Value(), "n1", "n2", 7, 7.0, "7", true, ""};
    return identifiers[_choices.pick(identifiers.size())];
  }

  void fillChildren(std::size_t parent) {
    const std::size_t level = node(parent).level + 1;
    if (level > _deepest || _scenario.nodes.size() > 40) {
      return;
    }
    std::vector<std::size_t> children;
    const std::size_t count = _choices.pick(level < 3 ? 4 : 3);
    for (std::size_t i = 0; i < count; ++i) {
      if (const auto shared =
              _spices.sharing && _choices.rarely(6) ? another(level, parent) : std::nullopt) {
        children.push_back(*shared);
        continue;
      }
      const std::size_t child = add(level);
      children.push_back(child);
      fillChildren(child);
    }
    node(parent).children = std::move(children);
    shareArray(parent);
  }

  /// Some node of a level that has been made already.
  std::optional<std::size_t> another(std::size_t level, std::size_t but) {
    std::vector<std::size_t> candidates;
    for (std::size_t i = 0; i < _scenario.nodes.size(); ++i) {
      if (i != but && node(i).level == level) {
        candidates.push_back(i);
      }
    }
    return candidates.empty() ? std::nullopt
                              : std::optional(candidates[_choices.pick(candidates.size())]);
  }

  void shareArray(std::size_t number) {
    if (!_spices.sharing || !_choices.rarely(8)) {
      return;
    }
    const auto other = another(node(number).level, number);
    if (other && !node(*other).childrenOf && *other < number) {
      node(number).childrenOf = other;
    }
  }

  std::vector<std::size_t> changedCopies(const std::vector<std::size_t>& originals) {
    std::vector<std::size_t> copies;
    for (const std::size_t original : originals) {
      // Most are copied as they are, so that there is something to remember.
      switch (_choices.pick(_scenario.nodes.size() > 120 ? 1 : 16)) {
        case 15:
          break;  // it vanishes
        case 14:
          copies.push_back(add(node(original).level));
          fillChildren(copies.back());
          copies.push_back(changedCopy(original));
          break;
        case 13:
          copies.push_back(_spices.sharing ? original : changedCopy(original));
          break;
        case 12: {
          const auto other =
              _spices.sharing ? another(node(original).level, original) : std::nullopt;
          copies.push_back(other ? *other : changedCopy(original));
          break;
        }
        case 11:
          copies.insert(copies.begin(), changedCopy(original));  // another order
          break;
        default:
          copies.push_back(changedCopy(original));
      }
    }
    return copies;
  }

  std::size_t changedCopy(std::size_t original) {
    Node copy = node(original);
    copy.childrenOf.reset();
    switch (_choices.pick(12)) {
      case 11:
      case 10:
        copy.represents = anyContent();
        break;
      case 9:
        copy.kind = static_cast<Node::Class>(_choices.pick(5));
        break;
      case 8:
        copy.childrenAreAbsent = _spices.misuse && _choices.rarely(3);
        break;
      case 7:
        copy.identifier = _spices.misuse && _choices.rarely(3) ? anyIdentifier() : copy.identifier;
        break;
      default:
        break;
    }
    const std::size_t number = _scenario.nodes.size();
    _scenario.nodes.push_back(copy);
    std::vector<std::size_t> children = changedCopies(copy.children);
    node(number).children = std::move(children);
    shareArray(number);
    return number;
  }

  void representItems() {
    for (std::size_t i = 1; i < _scenario.nodes.size(); ++i) {
      if (_choices.rarely(10)) {
        // Deeper, so that nothing represents what it is part of.
        const auto item = another(node(i).level + 1, i);
        node(i).representsItem = item;
        node(i).representsArray = _choices.pick(2) == 0;
      }
    }
  }

  void hold() {
    const std::size_t share = _choices.pick(3);
    for (Node& held : _scenario.nodes) {
      held.isHeld = share == 2 || (share == 1 && _choices.rarely(8));
    }
  }

  void watch() {
    if (!_spices.watching) {
      return;
    }
    static constexpr const char* keys[] = {"children", "representedObject", "isGroup", "label"};
    const std::size_t rarity = 1 + _choices.pick(12);
    for (std::size_t i = 0; i < _scenario.nodes.size(); ++i) {
      if (_choices.rarely(rarity)) {
        _scenario.watched.emplace_back(i, keys[_choices.pick(std::size(keys))]);
      }
    }
    const std::size_t actions = _spices.interfering ? 1 + _choices.pick(3) : 0;
    for (std::size_t i = 0; i < actions; ++i) {
      Action action;
      action.at = _choices.pick(10);
      action.what = static_cast<Action::What>(_choices.pick(7));
      action.node = _choices.pick(_scenario.nodes.size());
      action.value = anyContent();
      _scenario.actions.push_back(std::move(action));
    }
  }

  Choices _choices;
  Spices _spices;
  Scenario _scenario;
  std::size_t _deepest = 0;
};

}  // namespace test::model
