// SPDX-License-Identifier: Apache-2.0
// A host with a tree that changes at random: refreshes of each collection, and everything that a
// host can do to items, some of it with errors.
#pragma once

#include "RandomParts.h"
#include "tests/vexil/ItemTesting.h"

#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/NetService.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// One random tree of a host, and what happens to it.
class RandomScene {
 public:
  using Item = KRAVTWVItemVexil;
  using Value = vexil::platform::Value;

  explicit RandomScene(std::uint32_t seed) : _choices(seed) {
    const std::size_t kind = _choices.below(7);
    _records = _choices.oneIn(4) ? 3 : 1 + _choices.below(30);
    _oddity = _choices.oneIn(2) ? 0 : 6;
    _follows = _choices.oneIn(2);
    if (kind == 0) {
      _collection = _list = std::make_shared<KRAVTWVEventsVexil>();
    } else if (kind == 1) {
      _collection = _store = std::make_shared<KRAVTWVEventStoreVexil>();
    } else if (kind == 2) {
      _collection = _engine = std::make_shared<KRAVTWVEngineVexil>();
    } else if (kind == 3) {
      _collection = _services = std::make_shared<KRAVTWVServicesVexil>();
    } else if (kind == 4) {
      _collection = std::make_shared<KRAVTWVItemsVexil>();
    } else {
      _root = KRAVTWVGroupVexil::itemWithLabelUniqueID("host", "host");
    }
  }

  Choices& choices() { return _choices; }
  /// Null when an item is followed.
  [[nodiscard]] const std::shared_ptr<KRAVTWVItemsVexil>& collection() const { return _collection; }
  [[nodiscard]] std::shared_ptr<Item> root() const {
    return _collection ? _collection->root() : _root;
  }
  /// Whether the outline of this scene follows properties.
  [[nodiscard]] bool followsProperties() const { return _follows; }
  /// To be called when a change is made that outlines do not find by themselves.
  std::function<void()> refreshAll = [] {};
  /// What happened, a line each.
  [[nodiscard]] const Lines& story() const { return _story; }

  /// Does one thing.
  void change() {
    try {
      const bool isOnlyHost = !_list && !_store && !_engine && !_services;
      if (isOnlyHost || _choices.oneIn(4)) {
        changeAsHost();
      } else {
        refresh();
      }
    } catch (const std::exception& error) {
      _story.back() += std::string(" threw ") + error.what();
    }
    if (_shares) {
      unlessFollowed();
    }
  }

 private:
  void tell(const std::string& what) { _story.push_back(what); }

  // --- collections

  void refresh() {
    if (_list) {
      tell("setEvents of the list");
      _list->setEvents(events());
    } else if (_store) {
      if (_choices.oneIn(3)) {
        tell("setDomains");
        _store->setDomains(domains());
      } else {
        tell("setEvents of the store");
        _store->setEvents(events());
      }
    } else if (_engine) {
      refreshEngine();
    } else {
      refreshServices();
    }
  }

  bool isOdd() { return _oddity != 0 && _choices.oneIn(_oddity * _records); }

  Value eventIdentifier(std::size_t number) {
    return isOdd() ? anyIdentifier() : Value("e" + std::to_string(number));
  }
  Value event(std::size_t number) {
    const std::size_t name = _choices.oneIn(6) ? _choices.below(90) : number;
    const std::size_t domain = _choices.oneIn(10) ? _choices.below(4) : number % 4;
    return Value::dictionary({{kTWEventUniqueID, eventIdentifier(number)},
                              {kTWEventName, isOdd() ? Value() : Value("n" + std::to_string(name))},
                              {kTWEventDomain, "d" + std::to_string(domain)},
                              {kTWEventEnabled, !_choices.oneIn(8)},
                              {"more", _choices.oneIn(9) ? Value(_choices.below(3)) : Value()}});
  }
  /// Most of some numbers, in their order or not.
  std::vector<std::size_t> numbers() {
    std::vector<std::size_t> all;
    const std::size_t leftOut = _choices.oneIn(3) ? 2 : 2 + _choices.below(30);
    for (std::size_t i = 0; i < _records; ++i) {
      if (!_choices.oneIn(leftOut)) {
        all.push_back(i);
      }
    }
    if (_choices.oneIn(4)) {
      _choices.shuffle(all);
    }
    if (_choices.oneIn(20) && !all.empty()) {
      all.push_back(all.front());  // the same identifier again: the merge may throw
    }
    return all;
  }
  template <class Make>
  Value list(const Make& make) {
    if (_choices.oneIn(30)) {
      return _choices.oneIn(3) ? Value("no list") : Value();
    }
    std::vector<Value> all;
    for (const std::size_t number : numbers()) {
      all.push_back(make(number));
    }
    return Value::array(std::move(all));
  }
  Value events() {
    return list([&](std::size_t number) { return event(number); });
  }
  Value domains() {
    std::vector<Value> all;
    for (std::size_t number = 0; number < 5; ++number) {
      if (!_choices.oneIn(5)) {
        all.push_back(
            domainRecord("d" + std::to_string(number), _choices.text("D", 9), _choices.below(4)));
      }
    }
    if (_choices.oneIn(3)) {
      _choices.shuffle(all);
    }
    all.resize(_choices.oneIn(3) ? std::min<std::size_t>(all.size(), 1) : all.size());
    return Value::array(std::move(all));
  }
  void refreshEngine() {
    tell("a list of the engine");
    const auto named = [&](const char* prefix, std::size_t number) {
      return isOdd() ? anyIdentifier() : Value(prefix + std::to_string(number));
    };
    switch (_choices.below(3)) {
      case 0:
        return _engine->setActive(list([&](std::size_t number) {
          return activeRecord(named("a", number), event(number), _choices.text("doing ", 3));
        }));
      case 1:
        return _engine->setAvailable(events());
      default:
        return _engine->setPending(list([&](std::size_t number) {
          return queuedRecord(
              named("q", number), event(number),
              dateRecord(vexil::platform::Date{static_cast<double>(_choices.below(9))}));
        }));
    }
  }
  std::shared_ptr<vexil::platform::NetService> service() {
    return std::make_shared<vexil::platform::NetService>(_choices.text("s", _records),
                                                         _choices.oneIn(5) ? "_http." : "_ipp.",
                                                         _choices.oneOf(_serviceDomains));
  }
  void refreshServices() {
    tell("services");
    KRAVTWVNetServiceArray some;
    for (std::size_t i = _choices.below(5); i > 0; --i) {
      some.push_back(service());
    }
    switch (_choices.below(6)) {
      case 0:
        return _services->addServices(some);
      case 1:
        return _services->addService(service());
      case 2:
        return _services->removeServices(some);
      case 3:
        return _services->removeService(service());
      case 4:
        _services->setGroupByDomain(!_services->groupByDomain());
        if (_choices.oneIn(2) && _services->root()) {
          _services->root()->setChildren(items({}));
        }
        return _services->updateItemsForServices();
      default:
        _services->sortedServices()->clear();
        _services->addServices(some);
        return _services->updateItemsForServices();
    }
  }

  // --- a host and its items

  Value anyIdentifier() {
    switch (_choices.below(9)) {
      case 0:
        return {};
      case 1:
        return _choices.below(2);
      case 2:
        return static_cast<double>(_choices.below(3)) / 2;
      case 3:
        return _choices.oneIn(2);
      case 4:
        return Value::array({_choices.text("g", 2), _choices.below(2)});
      case 5:
        return vexil::platform::Date{static_cast<double>(_choices.below(2))};
      case 6:
        return std::make_shared<NumberedObject>(_choices.below(3));
      case 7:
        return Value::null();
      default:
        return "e" + std::to_string(_choices.below(3));
    }
  }
  std::shared_ptr<Item> freshItem() {
    const Value identifier =
        _oddity != 0 && _choices.oneIn(_oddity) ? anyIdentifier() : Value(_choices.text("g", 12));
    switch (_choices.below(5)) {
      case 0:
        return eventItem(identifier, _choices.text("n", 4));
      case 1: {
        const auto item = Item::itemWithRepresentedObject(_choices.text("p", 3));
        item->setUniqueID(identifier);
        return item;
      }
      case 2: {
        const auto isBad = [&] {
          return _oddity != 0 && _choices.oneIn(12) ? Value(true) : Value();
        };
        return HostThing::itemWithEvent(Value::dictionary({{kTWEventUniqueID, identifier},
                                                           {kTWEventName, _choices.text("h", 3)},
                                                           {"uniqueID throws", isBad()},
                                                           {"label throws", isBad()},
                                                           {"enabled throws", isBad()},
                                                           {"isGroup throws", isBad()}}));
      }
      default:
        return KRAVTWVGroupVexil::itemWithLabelUniqueID(_choices.text("L", 3), identifier);
    }
  }
  std::shared_ptr<Item> freshTree(std::size_t depth) {
    auto item = freshItem();
    for (std::size_t i = depth == 0 ? 0 : _choices.below(5); i > 0; --i) {
      item->children()->push_back(freshTree(depth - 1));
    }
    return item;
  }

  void collect(const std::shared_ptr<Item>& item, KRAVTWVItemArray& all) const {
    all.push_back(item);
    const auto children = item->children();
    for (std::size_t i = 0; children && i < children->size(); ++i) {
      collect((*children)[i], all);
    }
  }
  [[nodiscard]] KRAVTWVItemArray allBelow(const std::shared_ptr<Item>& item) const {
    KRAVTWVItemArray all;
    collect(item, all);
    return all;
  }
  [[nodiscard]] static bool areAllDistinct(KRAVTWVItemArray all) {
    std::ranges::sort(all);
    return std::ranges::adjacent_find(all) == all.end();
  }
  [[nodiscard]] bool isIn(const std::shared_ptr<Item>& item, const std::shared_ptr<Item>& tree) {
    return std::ranges::count(allBelow(tree), item) != 0;
  }

  /// A tree that may come below `parent`: mostly a fresh one, or one that stands elsewhere too. It
  /// has nothing in common with what is below `parent`, so that no merge makes a tree that contains
  /// itself.
  std::shared_ptr<Item> treeFor(const std::shared_ptr<Item>& parent) {
    if (_choices.oneIn(5)) {
      const auto item = _choices.oneOf(allBelow(root()));
      KRAVTWVItemArray both = allBelow(item);
      const std::size_t count = both.size();
      collect(parent, both);
      if (count < 10 && areAllDistinct(both)) {
        _shares = true;
        return item;
      }
    }
    return freshTree(_choices.below(3));
  }

  /// What is set on items directly is found only by outlines that follow properties, and an item
  /// in two places is announced only where it was changed.
  void unlessFollowed() {
    if (!_follows) {
      refreshAll();
    }
  }

  void changeAsHost() {
    const auto top = root();
    if (!top || (_collection && !_list && !_store && !_engine && !_services && _choices.oneIn(8))) {
      changeRoot(top);
      return;
    }
    const KRAVTWVItemArray all = allBelow(top);
    const auto item = all.size() > 70 ? top : _choices.oneOf(all);
    if (all.size() > 70) {
      tell("makes room");
      item->removeChildrenAtIndexes(
          vexil::platform::IndexSet::range(0, (item->children()->size() + 1) / 2));
      return;
    }
    changeItem(item);
  }

  void changeRoot(const std::shared_ptr<Item>& top) {
    if (top && _choices.oneIn(3)) {
      tell("setRoot of nothing");
      _collection->setRoot(nullptr);
    } else if (top && _choices.oneIn(3)) {
      tell("setRoot of the same one");
      _collection->setRoot(top);
    } else if (top && top->children() && !top->children()->empty() && _choices.oneIn(3)) {
      tell("setRoot of a child");
      _collection->setRoot(top->children()->front());
    } else {
      tell("setRoot");
      _collection->setRoot(freshTree(3));
    }
  }

  void changeItem(const std::shared_ptr<Item>& item) {
    const std::string name = " of " + identifierOf(*item).displayText();
    switch (_choices.below(12)) {
      case 0:
      case 1: {
        tell("replaceChildren" + name);
        const auto fresh = items({});
        for (std::size_t i = _choices.below(6); i > 0; --i) {
          fresh->push_back(treeFor(item));
        }
        return item->replaceChildren(fresh);
      }
      case 2:
        return replaceLikeNow(item, name);
      case 3: {
        tell("setChildren" + name);
        if (_choices.oneIn(12)) {
          return item->setChildren(nullptr);
        }
        auto children = childrenOf(item);
        _choices.shuffle(children);
        if (_choices.oneIn(2)) {
          children.push_back(treeFor(item));
        }
        return item->setChildren(items(children));
      }
      case 4:
        tell("removeChildrenAtIndexes" + name);
        return item->removeChildrenAtIndexes(somePositions(childrenOf(item).size() + 1));
      case 5:
        tell("addChild" + name);
        item->addChild(treeFor(item));
        return refreshAll();
      case 6:
        return moveElsewhere(item, name);
      case 7:
        tell("setLabel" + name);
        item->setLabel(_choices.text("Q", 5));
        return unlessFollowed();
      case 8:
        tell("setRepresentedObject" + name);
        item->setRepresentedObject(_choices.oneIn(2) ? event(_choices.below(9))
                                                     : Value(_choices.text("r", 4)));
        return unlessFollowed();
      case 9:
        tell("setUniqueID" + name);
        item->setUniqueID(_choices.oneIn(3) ? anyIdentifier() : Value(_choices.text("g", 12)));
        return unlessFollowed();
      default:
        return editByHand(item, name);
    }
  }

  [[nodiscard]] static KRAVTWVItemArray childrenOf(const std::shared_ptr<Item>& item) {
    const auto children = item->children();
    return children ? *children : KRAVTWVItemArray();
  }
  vexil::platform::IndexSet somePositions(std::size_t count) {
    vexil::platform::IndexSet positions;
    for (std::size_t i = 0; i < count; ++i) {
      if (_choices.oneIn(3)) {
        positions.insert(i);
      }
    }
    return positions;
  }

  /// A refresh that brings nearly what is there: the same identifiers, in nearly the same order.
  void replaceLikeNow(const std::shared_ptr<Item>& item, const std::string& name) {
    tell("replaceChildren with nearly the same" + name);
    if (!areAllDistinct(allBelow(item))) {
      return;  // the merge could make a tree that contains itself
    }
    const auto fresh = items({});
    for (const auto& child : childrenOf(item)) {
      if (!_choices.oneIn(6)) {
        const auto like =
            KRAVTWVGroupVexil::itemWithLabelUniqueID(_choices.text("L", 3), identifierOf(*child));
        like->addChildren(childrenOf(child));
        fresh->push_back(like);
        _shares = _shares || !childrenOf(child).empty();
      }
      if (_choices.oneIn(6)) {
        fresh->push_back(freshTree(1));
      }
    }
    if (_choices.oneIn(4)) {
      _choices.shuffle(*fresh);
    }
    item->replaceChildren(fresh);
  }
  static Value identifierOf(const Item& item) {
    try {
      return item.uniqueID();
    } catch (...) {
      return {};
    }
  }

  /// Takes a tree out in one place and puts it, or one like it, in at another.
  void moveElsewhere(const std::shared_ptr<Item>& item, const std::string& name) {
    tell("moves a tree away from below" + name);
    const auto children = childrenOf(item);
    if (children.empty()) {
      return;
    }
    const std::size_t at = _choices.below(children.size());
    const auto moved = children[at];
    item->removeChildrenAtIndexes({at});
    const auto to = _choices.oneOf(allBelow(root()));
    if (isIn(to, moved)) {
      return;
    }
    insertByHand(to, {_choices.below(childrenOf(to).size() + 1)}, {moved});
  }

  void insertByHand(const std::shared_ptr<Item>& item, const vexil::platform::IndexSet& at,
                    const KRAVTWVItemArray& inserted) {
    if (!item->children()) {
      return;
    }
    auto change = item->willChangeValuesAtIndexesForKey(vexil::platform::ChangeKind::insertion, at,
                                                        KRAVTWVItemVexilKeyPathChildren);
    std::size_t next = 0;
    at.forEach([&](std::size_t index) {
      auto& array = *item->children();
      array.insert(array.begin() + static_cast<std::ptrdiff_t>(index), inserted[next++]);
    });
    item->didChangeValuesAtIndexesForKey(std::move(change));
  }

  void editByHand(const std::shared_ptr<Item>& item, const std::string& name) {
    if (!item->children()) {
      return tell("cannot edit" + name);
    }
    const auto array = item->children();
    switch (_choices.below(6)) {
      case 0: {
        tell("inserts by hand" + name);
        const auto at = somePositions(array->size() + 1);
        vexil::platform::IndexSet shifted;  // positions afterwards
        KRAVTWVItemArray inserted;
        at.forEach([&](std::size_t index) {
          shifted.insert(index + inserted.size());
          inserted.push_back(treeFor(item));
        });
        return insertByHand(item, shifted, inserted);
      }
      case 1: {
        tell("removes by hand" + name);
        const auto at = somePositions(array->size());
        auto change = item->willChangeValuesAtIndexesForKey(vexil::platform::ChangeKind::removal,
                                                            at, KRAVTWVItemVexilKeyPathChildren);
        std::size_t removed = 0;
        at.forEach([&](std::size_t index) {
          array->erase(array->begin() + static_cast<std::ptrdiff_t>(index - removed++));
        });
        return item->didChangeValuesAtIndexesForKey(std::move(change));
      }
      case 2: {
        tell("replaces by hand" + name);
        const auto at = somePositions(array->size());
        auto change = item->willChangeValuesAtIndexesForKey(
            vexil::platform::ChangeKind::replacement, at, KRAVTWVItemVexilKeyPathChildren);
        at.forEach([&](std::size_t index) {
          if (!_choices.oneIn(3)) {
            (*array)[index] = treeFor(item);
          }
        });
        return item->didChangeValuesAtIndexesForKey(std::move(change));
      }
      case 3: {
        tell("edits by hand and drops the announcement" + name);
        const auto change = item->willChangeValueForKey(KRAVTWVItemVexilKeyPathChildren);
        array->push_back(treeFor(item));
        _choices.shuffle(*array);
        return;
      }
      case 4: {
        tell("edits by hand in the middle of another edit" + name);
        auto change = item->willChangeValuesAtIndexesForKey(vexil::platform::ChangeKind::insertion,
                                                            {0}, KRAVTWVItemVexilKeyPathChildren);
        array->insert(array->begin(), treeFor(item));
        insertByHand(item, {array->size()}, {treeFor(item)});
        return item->didChangeValuesAtIndexesForKey(std::move(change));
      }
      default: {
        tell("edits by hand" + name);
        auto change = item->willChangeValueForKey(KRAVTWVItemVexilKeyPathChildren);
        _choices.shuffle(*array);
        return item->didChangeValueForKey(std::move(change));
      }
    }
  }

  Choices _choices;
  std::size_t _records = 1;
  std::size_t _oddity = 0;  // one in so many is odd; 0: nothing is
  bool _follows = false;
  bool _shares = false;  // an item may stand in two places
  std::vector<std::string> _serviceDomains = {"local.", "Local.", "office.", "a.", "B."};
  std::shared_ptr<KRAVTWVItemsVexil> _collection;
  std::shared_ptr<KRAVTWVEventsVexil> _list;
  std::shared_ptr<KRAVTWVEventStoreVexil> _store;
  std::shared_ptr<KRAVTWVEngineVexil> _engine;
  std::shared_ptr<KRAVTWVServicesVexil> _services;
  std::shared_ptr<Item> _root;  // when there is no collection
  Lines _story;
};

}  // namespace test
