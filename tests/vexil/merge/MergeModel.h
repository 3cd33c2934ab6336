// SPDX-License-Identifier: Apache-2.0
// The merge word by word, written as plainly as the public interface of items allows. And
// scenarios: live trees with fresh arrays to merge into them. A test makes each twice and merges
// both ways.
#pragma once

#include "tests/vexil/ItemTesting.h"

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

namespace test::model {

/// A kind of the host's own.
class HostItem : public KRAVTWVKind<HostItem, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};

/// The model gives up. The most common case is a tree that contains itself once it is merged.
struct TooLong : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// `replaceChildren` and `isEqual`, step by step and with recursion, remembering nothing.
class LiteralMerge {
 public:
  void replaceChildren(const ItemPointer& receiver,
                       const std::shared_ptr<const KRAVTWVItemArray>& fresh) {
    const auto none = std::make_shared<const KRAVTWVItemArray>();
    merge(receiver, fresh ? fresh : none);
  }

  bool isEqual(const ItemPointer& a, const ItemPointer& b) {
    takeStep();
    if (a == b) {
      return true;
    }
    return b && isOfClassOf(*a, *b) && isEqualToItem(a, b);
  }

  bool isEqualToItem(const ItemPointer& a, const ItemPointer& b) {
    const auto children = a->children();
    const auto others = b->children();
    if (!areEqual(a->representedObject(), b->representedObject()) || !children || !others ||
        children->size() != others->size()) {
      return false;
    }
    for (std::size_t i = 0; i < children->size(); ++i) {
      if (!isEqual((*children)[i], (*others)[i])) {
        return false;
      }
    }
    return true;
  }

 private:
  using Value = vexil::platform::Value;

  static bool isOfClassOf(const KRAVTWVItemVexil& a, const KRAVTWVItemVexil& b) {
    const std::type_info& type = typeid(a);
    if (type == typeid(KRAVTWVItemVexil)) {
      return true;
    }
    if (type == typeid(KRAVTWVEventVexil)) {
      return dynamic_cast<const KRAVTWVEventVexil*>(&b) != nullptr;
    }
    if (type == typeid(KRAVTWVGroupVexil)) {
      return dynamic_cast<const KRAVTWVGroupVexil*>(&b) != nullptr;
    }
    return type == typeid(b);  // nobody derives from the other kinds here
  }

  /// The equality of what two items represent. Objects are items here.
  bool areEqual(const Value& a, const Value& b) {
    takeStep();
    if (a.isAbsent()) {
      return false;
    }
    if (a.isObject() && b.isObject()) {
      return isEqual(std::dynamic_pointer_cast<KRAVTWVItemVexil>(a.object()),
                     std::dynamic_pointer_cast<KRAVTWVItemVexil>(b.object()));
    }
    if (a.isArray() && b.isArray()) {
      if (a.elements().size() != b.elements().size()) {
        return false;
      }
      for (std::size_t i = 0; i < a.elements().size(); ++i) {
        if (!areEqual(a.elements()[i], b.elements()[i])) {
          return false;
        }
      }
      return true;
    }
    return a == b;
  }

  static bool contains(const std::vector<Value>& set, const Value& identifier) {
    return std::ranges::find(set, identifier) != set.end();
  }

  static std::vector<Value> identifiersOf(const KRAVTWVItemArray& items) {
    std::vector<Value> set;
    for (const ItemPointer& item : items) {
      if (item->uniqueID().isAbsent()) {
        throw vexil::platform::InvalidArgument("absent identifier");
      }
      if (!contains(set, item->uniqueID())) {
        set.push_back(item->uniqueID());
      }
    }
    return set;
  }

  static std::vector<Value> minus(const std::vector<Value>& all, const std::vector<Value>& less) {
    std::vector<Value> set;
    std::ranges::copy_if(all, std::back_inserter(set),
                         [&](const Value& identifier) { return !contains(less, identifier); });
    return set;
  }

  static vexil::platform::IndexSet indexesOf(const KRAVTWVItemArray& items,
                                             const std::vector<Value>& identifiers) {
    vexil::platform::IndexSet indexes;
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (contains(identifiers, items[i]->uniqueID())) {
        indexes.insert(i);
      }
    }
    return indexes;
  }

  static KRAVTWVItemArray childrenOf(const ItemPointer& item) {
    const auto children = item->children();
    return children ? *children : KRAVTWVItemArray();
  }

  void merge(const ItemPointer& receiver, const std::shared_ptr<const KRAVTWVItemArray>& fresh) {
    takeStep();
    const std::vector<Value> newIdentifiers = identifiersOf(*fresh);
    const std::vector<Value> oldIdentifiers = identifiersOf(childrenOf(receiver));
    receiver->removeChildrenAtIndexes(
        indexesOf(childrenOf(receiver), minus(oldIdentifiers, newIdentifiers)));
    const auto inserted = indexesOf(*fresh, minus(newIdentifiers, oldIdentifiers));
    if (!inserted.empty()) {
      insert(receiver, *fresh, inserted);
    }
    vexil::platform::IndexSet changed;
    for (std::size_t i = 0; i < childrenOf(receiver).size(); ++i) {
      if (!inserted.contains(i) && !isEqual(childrenOf(receiver)[i], at(*fresh, i))) {
        changed.insert(i);
      }
    }
    if (changed.empty()) {
      return;
    }
    auto replacement = receiver->willChangeValuesAtIndexesForKey(
        vexil::platform::ChangeKind::replacement, changed, KRAVTWVItemVexilKeyPathChildren);
    changed.forEach([&](std::size_t i) {
      const ItemPointer old = receiver->childAtIndex(i);
      const ItemPointer item = at(*fresh, i);
      old->setRepresentedObject(item->representedObject());
      replaceChildren(old, item->children());
    });
    receiver->didChangeValuesAtIndexesForKey(std::move(replacement));
  }

  static ItemPointer at(const KRAVTWVItemArray& items, std::size_t index) {
    if (index >= items.size()) {
      throw vexil::platform::RangeError("past the end");
    }
    return items[index];
  }

  static void insert(const ItemPointer& receiver, const KRAVTWVItemArray& fresh,
                     const vexil::platform::IndexSet& indexes) {
    const auto children = receiver->children();
    if (!children) {
      throw TooLong("an absent list, which only the library itself can replace unannounced");
    }
    auto insertion = receiver->willChangeValuesAtIndexesForKey(
        vexil::platform::ChangeKind::insertion, indexes, KRAVTWVItemVexilKeyPathChildren);
    const KRAVTWVItemArray before = *children;
    indexes.forEach([&](std::size_t i) {
      if (i > children->size()) {
        *children = before;
        throw vexil::platform::RangeError("past the end");
      }
      children->insert(children->begin() + static_cast<std::ptrdiff_t>(i), fresh[i]);
    });
    receiver->didChangeValuesAtIndexesForKey(std::move(insertion));
  }

  void takeStep() {
    if (++_steps > 20000) {
      throw TooLong("too many steps");
    }
  }

  std::size_t _steps = 0;
};

/// Decisions that follow from a seed.
class Choices {
 public:
  explicit Choices(std::uint64_t seed) : _random(seed) {}

  /// One of the first `count` numbers.
  std::size_t pick(std::size_t count) { return _random() % count; }
  /// True once in `times`.
  bool rarely(std::size_t times) { return pick(times) == 0; }

 private:
  std::mt19937_64 _random;
};

/// A plan of an item. Nodes refer to others by number, and only to nodes on deeper levels.
struct Node {
  enum class Class : std::uint8_t { item, group, event, onDemand, host };
  std::size_t level = 0;
  Class kind = Class::item;
  vexil::platform::Value identifier;
  vexil::platform::Value represents;
  std::optional<std::size_t> representsItem;
  bool representsArray = false;  // the item within an array
  std::vector<std::size_t> children;
  std::optional<std::size_t> childrenOf;  // another node; both items have one array
  bool childrenAreAbsent = false;
  bool isHeld = false;  // by the host, too
};

/// What an observer does within its notice number `at`.
struct Action {
  enum class What : std::uint8_t {
    represent,
    removeFirst,
    dropLast,      // unannounced
    shortenFresh,  // unannounced
    withdraw,
    withdrawAll,
    throwOut,
  };
  std::size_t at = 0;
  What what = What::represent;
  std::size_t node = 0;
  vexil::platform::Value value;
};

/// A root, the arrays that are merged into it one after the other, and who watches what.
struct Scenario {
  std::vector<Node> nodes;  // the root is the first one
  std::vector<std::vector<std::size_t>> fresh;
  std::optional<std::size_t> freshIsArrayOf;  // the first array is the one this node has
  bool handsOver = false;                     // keeps no hold on the arrays
  std::vector<std::pair<std::size_t, const char*>> watched;
  std::vector<Action> actions;
};

}  // namespace test::model
