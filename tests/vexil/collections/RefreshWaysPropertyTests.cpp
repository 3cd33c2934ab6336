// SPDX-License-Identifier: Apache-2.0
// One refresh takes the shorter ways, the other sorts, compares and makes everything. An observer
// cannot tell them apart, whatever records come and whatever a host does to the tree.
#include "CollectionTesting.h"
#include "tests/support/Property.h"

#include <gtest/gtest.h>
#include <vexil/order/LiteralRefresh.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::ItemPointer;

/// An object in a record. The test decides whether it equals others, and may change that.
class Moody : public platform::Object {
 public:
  explicit Moody(const int* mood) : _mood(mood) {}
  [[nodiscard]] bool isEqual(const Object& other) const override {
    return this == &other || (dynamic_cast<const Moody*>(&other) != nullptr && *_mood == 0);
  }
  [[nodiscard]] std::size_t hash() const override { return 1; }

 private:
  const int* _mood;
};

/// Random choices. Both worlds make the same ones.
class Choices {
 public:
  explicit Choices(std::uint32_t seed) : _random(seed) {}
  int below(int count) { return static_cast<int>(_random() % static_cast<std::uint32_t>(count)); }
  bool oneIn(int count) { return below(count) == 0; }

 private:
  std::mt19937 _random;
};

/// Records whose fields repeat, so that lists share much, and records that are broken.
class Records {
 public:
  Records(Choices& choices, int oddity, const int* mood)
      : _choices(choices), _oddity(oddity), _mood(mood) {}

  Value any() {
    if (!_made.empty() && _choices.oneIn(3)) {
      return _made[static_cast<std::size_t>(_choices.below(static_cast<int>(_made.size())))];
    }
    const int number = _choices.below(12);
    Value record = Value::dictionary({{kTWEventUniqueID, identifier(number)},
                                      {kTWEventName, name(number)},
                                      {kTWEventDomain, letter("ABC")},
                                      {kTWEventEnabled, _choices.oneIn(4)},
                                      {"schedule", schedule()}});
    if (odd()) {
      record = _choices.oneIn(2) ? Value("no record") : Value(number);
    }
    _made.push_back(record);
    return record;
  }

  /// The same records as other objects, some of them with their keys in another order.
  Value madeAnew(const Value& list) {
    std::vector<Value> elements;
    for (const Value& record : list.elements()) {
      Value made = record;
      if (record.isDictionary() && !_choices.oneIn(4)) {
        std::vector<std::pair<platform::Key, Value>> entries;
        for (std::size_t i = 0; i < record.keys().size(); ++i) {
          const Value& value = record.values()[i];
          entries.emplace_back(record.keys()[i], value.isObject()
                                                     ? Value(std::make_shared<Moody>(_mood))
                                                     : test::equalButMadeOtherwise(value));
        }
        if (_choices.oneIn(4)) {
          std::ranges::reverse(entries);
        }
        made = Value::dictionary(std::move(entries));
        _made.push_back(made);
      }
      elements.push_back(std::move(made));
    }
    return list.isArray() ? Value::array(std::move(elements)) : list;
  }

  /// The number of a record. Equal records that are different objects have different numbers.
  [[nodiscard]] std::string numberOf(const Value& record) const {
    const auto found = std::ranges::find_if(_made, [&](const Value& made) {
      return made.sharesStorageWith(record) || (!made.isDictionary() && made == record);
    });
    return found == _made.end() ? record.displayText()
                                : "r" + std::to_string(found - _made.begin());
  }

 private:
  [[nodiscard]] bool odd() { return _oddity > 0 && _choices.oneIn(_oddity); }
  Value letter(std::string_view letters) {
    return std::string(
        1, letters[static_cast<std::size_t>(_choices.below(static_cast<int>(letters.size())))]);
  }
  Value identifier(int number) {
    if (odd()) {
      return _choices.oneIn(2) ? Value() : _choices.oneIn(2) ? Value(1.0) : Value::array({1});
    }
    const int shown = odd() ? 0 : number;
    return shown == 1 ? Value(0) : Value("id" + std::to_string(shown));  // a number with hash 0
  }
  Value name(int number) {
    if (odd()) {
      return _choices.oneIn(2) ? Value() : _choices.oneIn(2) ? Value(true) : Value::array({2});
    }
    // Mostly the same for the same event.
    return _choices.oneIn(8) ? letter("Zz~") : Value("name " + std::to_string(number % 7));
  }
  Value schedule() {
    if (odd()) {
      return std::make_shared<Moody>(_mood);
    }
    return Value::dictionary({{"interval", _choices.below(2)}, {"start", 0.5}});
  }

  Choices& _choices;
  int _oddity;
  const int* _mood;
  std::vector<Value> _made;
};

/// A collection, and everything that observers hear of it, as text without addresses.
template <class Collection>
class World : public std::enable_shared_from_this<World<Collection>> {
 public:
  World(const Records& records, bool isLiteral) : _records(records), _isLiteral(isLiteral) {}

  void begin() {
    for (const char* key : {"sortedEvents", "orderedDomains"}) {
      if (std::string_view(key) == "sortedEvents" ||
          std::is_same_v<Collection, KRAVTWVEventStoreVexil>) {
        _observations.push_back(observe(collection, key, platform::ObservingOptions::both,
                                        [this, key](const platform::ChangeRecord& change) {
                                          tell(std::string(key) + textOf(change.newValue));
                                        }));
      }
    }
    watch(collection->root());
  }

  void watch(const ItemPointer& item) {
    for (const char* key : {"children", "representedObject"}) {
      _observations.push_back(
          observe(item, key, platform::ObservingOptions::both,
                  [this, key](const platform::ChangeRecord& change) { hear(key, change); }));
    }
  }

  /// Performs an action in the way of this world. Writes down what it throws.
  void perform(const std::function<void(World&)>& action) {
    std::optional<vexil::detail::LiteralRefresh> literal;
    if (_isLiteral) {
      literal.emplace();
    }
    try {
      action(*this);
    } catch (const std::exception& error) {
      tell(std::string("thrown ") + typeid(error).name());
    }
    tell("sorted" + textOf(collection->sortedEvents()));
    show(*collection->root(), 0);
  }

  /// One of the items that ever stood in a notice. It may have left the tree.
  [[nodiscard]] ItemPointer known(std::size_t which) const {
    const auto found = std::ranges::find(_names, which % (_names.size() + 1),
                                         [](const auto& named) { return named.second; });
    return found == _names.end() ? nullptr : found->first;
  }

  std::shared_ptr<Collection> collection = std::make_shared<Collection>();
  std::string told;
  std::function<void(World&)> meanwhile;  // once, in the next notice

 private:
  void tell(const std::string& line) { told += line + "\n"; }

  void hear(const char* key, const platform::ChangeRecord& change) {
    tell(test::describe(key, change, [this](const Value& value) { return textOf(value); }));
    if (auto action = std::exchange(meanwhile, nullptr)) {
      action(*this);
    }
  }

  std::string textOf(const Value& value) {
    if (value.isArray()) {
      std::string text = " [";
      for (const Value& element : value.elements()) {
        text += textOf(element);
      }
      return text + "]";
    }
    if (const auto item = std::dynamic_pointer_cast<KRAVTWVItemVexil>(value.object())) {
      return " " + nameOf(item);
    }
    return value.isDictionary() ? " " + _records.numberOf(value) : " " + value.displayText();
  }

  std::string nameOf(const ItemPointer& item) {
    if (!item) {
      return "nobody";
    }
    const auto [known, isNew] = _names.try_emplace(item, _names.size());
    return "#" + std::to_string(known->second) + "(" +
           _records.numberOf(item->representedObject()) + ")" +
           (item->parent() ? " below somebody" : "");
  }

  void show(const KRAVTWVItemVexil& item, int depth) {
    const auto children = item.children();
    if (!children) {
      tell("children absent");
      return;
    }
    for (const ItemPointer& child : *children) {
      tell(std::string(static_cast<std::size_t>(depth), ' ') + nameOf(child) + child->className());
      show(*child, depth + 1);
    }
  }

  const Records& _records;
  bool _isLiteral;
  std::map<ItemPointer, std::size_t> _names;  // holds the items, so that no address comes again
  std::vector<platform::Observation> _observations;
};

/// Something that a host does to the tree without telling the collection: to the children of the
/// root, or of one of its rows.
template <class Collection>
std::function<void(World<Collection>&)> meddling(Choices& choices, Records& records) {
  const auto at = static_cast<std::size_t>(choices.below(6));
  const auto other = static_cast<std::size_t>(choices.below(40));
  const bool isInRow = choices.oneIn(2);
  const Value record = records.any();
  const int what = choices.below(11);
  return [at, other, isInRow, record, what](World<Collection>& world) {
    ItemPointer parent = world.collection->root();
    if (const auto rows = parent->children(); isInRow && other < rows->size()) {
      parent = (*rows)[other];
    }
    const auto children = parent->children();
    if (!children || at >= children->size()) {
      return;
    }
    const ItemPointer item = (*children)[at];
    // Without children, so that no item comes to stand below itself.
    ItemPointer leaf = world.known(other);
    leaf = leaf && !leaf->isExpandable() ? leaf : nullptr;
    switch (what) {
      case 0:
        item->setRepresentedObject(record);
        break;
      case 1:
        parent->removeChildrenAtIndexes(platform::IndexSet{at});
        break;
      case 2:
        std::ranges::reverse(*children);
        break;
      case 3:
        item->addChild(KRAVTWVEventVexil::itemWithEvent(record));
        break;
      case 4:
        children->insert(children->begin(), KRAVTWVOnDemandVexil::itemWithEvent(record));
        break;
      case 5:
        item->setChildren(nullptr);
        break;
      case 6:
        world.watch(item);
        break;
      case 7:  // another kind in its place, of an equal record
        (*children)[at] = KRAVTWVOnDemandVexil::itemWithEvent(item->representedObject());
        break;
      case 8:  // an item of an older list, or one that stands elsewhere, in place of another
        (*children)[at] = leaf && leaf != parent ? leaf : item;
        break;
      case 9:  // the same below a parent more
        if (leaf && leaf != item && item->children()) {
          item->children()->push_back(leaf);
        }
        break;
      default:
        world.collection->setSortedEvents(Value::array({record}));
    }
  };
}

Value listOf(Choices& choices, Records& records, const Value& last) {
  std::vector<Value> elements(last.elements().begin(), last.elements().end());
  if (choices.oneIn(3)) {
    std::shuffle(elements.begin(), elements.end(),
                 std::mt19937(static_cast<std::uint32_t>(choices.below(1000))));
  }
  const int changes = choices.below(4) * choices.below(3);
  for (int i = 0; i < changes; ++i) {
    const auto at = static_cast<std::size_t>(choices.below(static_cast<int>(elements.size()) + 1));
    if (at == elements.size() || choices.oneIn(3)) {
      elements.insert(elements.begin() + static_cast<std::ptrdiff_t>(at), records.any());
    } else if (choices.oneIn(2)) {
      elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(at));
    } else {
      elements[at] = records.any();
    }
  }
  return choices.oneIn(40) ? Value() : Value::array(std::move(elements));
}

Value someDomains(Choices& choices) {
  std::vector<Value> domains;
  for (const char* domain : {"A", "B", "C"}) {
    if (!choices.oneIn(4)) {
      domains.push_back(test::domainRecord(domain, choices.oneIn(3) ? "renamed" : domain, {}));
    }
  }
  if (choices.oneIn(6)) {
    domains.push_back(test::domainRecord("A", "again", {}));
  }
  return Value::array(std::move(domains));
}

template <class Collection>
void expectNobodyToTell(std::uint32_t seed, int oddity) {
  Choices choices(seed);
  int mood = 0;
  Records records(choices, oddity, &mood);
  World<Collection> literal(records, true);
  World<Collection> shorter(records, false);
  literal.begin();
  shorter.begin();
  const auto both = [&](const std::function<void(World<Collection>&)>& action) {
    literal.perform(action);
    shorter.perform(action);
    RC_ASSERT(shorter.told == literal.told);
  };
  const auto changeDomains = [&] {
    if constexpr (std::is_same_v<Collection, KRAVTWVEventStoreVexil>) {
      const Value domains = someDomains(choices);
      const bool show = !choices.oneIn(3);
      both([&](auto& world) {
        show ? world.collection->setDomains(domains) : world.collection->setOrderedDomains(domains);
      });
    }
  };
  changeDomains();
  Value last = Value::array({});
  for (int step = 0; step < 12; ++step) {
    mood = choices.oneIn(3) ? 1 - mood : mood;
    if (choices.oneIn(5)) {
      both(meddling<Collection>(choices, records));
    }
    if (choices.oneIn(6)) {
      changeDomains();
    }
    if (choices.oneIn(6)) {
      const auto action = meddling<Collection>(choices, records);
      literal.meanwhile = action;
      shorter.meanwhile = action;
    }
    last = listOf(choices, records, last);
    if (choices.oneIn(2)) {
      last = records.madeAnew(last);
    }
    both([&](auto& world) { world.collection->setEvents(last); });
    literal.meanwhile = nullptr;
    shorter.meanwhile = nullptr;
  }
}

PROPERTY(RefreshWays, AreTheSameToTheHostOfAnEventList, (std::uint32_t seed)) {
  expectNobodyToTell<KRAVTWVEventsVexil>(seed, 0);
}

PROPERTY(RefreshWays, AreTheSameToTheHostOfAnEventListWithOddRecords, (std::uint32_t seed)) {
  expectNobodyToTell<KRAVTWVEventsVexil>(seed, *rc::gen::inRange(6, 60));
}

PROPERTY(RefreshWays, AreTheSameToTheHostOfAnEventStore, (std::uint32_t seed)) {
  expectNobodyToTell<KRAVTWVEventStoreVexil>(seed, 0);
}

PROPERTY(RefreshWays, AreTheSameToTheHostOfAnEventStoreWithOddRecords, (std::uint32_t seed)) {
  expectNobodyToTell<KRAVTWVEventStoreVexil>(seed, *rc::gen::inRange(6, 60));
}

}  // namespace
