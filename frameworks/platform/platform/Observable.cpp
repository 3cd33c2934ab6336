// SPDX-License-Identifier: Apache-2.0
#include <platform/Error.h>
#include <platform/ManyRegistrations.h>
#include <platform/Observable.h>
#include <platform/ObserverList.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <typeindex>
#include <unordered_map>

namespace platform {

using detail::ChangeInProgress;
using detail::ObserverList;
using detail::Registration;

namespace {

/// What an observed key is to the key that changes.
enum class Relation : std::uint8_t { none, same, dependent };

using AffectingKeys = std::vector<Key>;

/// All keys on which `key` of this class depends, directly or through others.
AffectingKeys affectingKeys(const Observable& object, const Key& key) {
  AffectingKeys result;
  AffectingKeys unexplored{key};
  while (!unexplored.empty()) {
    const Key next = std::move(unexplored.back());
    unexplored.pop_back();
    for (const std::string& text : object.keyPathsForValuesAffectingValueForKey(next)) {
      const Key affecting(text);
      if (std::ranges::find(result, affecting) == result.end()) {
        result.push_back(affecting);
        unexplored.push_back(affecting);
      }
    }
  }
  return result;
}

bool contains(const AffectingKeys& keys, const Key& key) {
  return std::ranges::find(keys, key) != keys.end();
}

/// What the classes have answered on this thread.
struct AnswersOfClasses {
  ~AnswersOfClasses() { areGone = true; }

  const AffectingKeys& affectingKeysOf(const Observable& object, const Key& key) {
    // A merge asks the same question of node after node, so the last answer is kept at hand.
    const std::type_info& type = typeid(object);
    if (lastClass == &type && *lastKey == key) {
      return *lastAnswer;
    }
    auto& keys = classes[type];
    auto found = keys.find(key);
    if (found == keys.end()) {
      found = keys.emplace(key, affectingKeys(object, key)).first;
    }
    lastClass = &type;
    lastKey = &found->first;
    lastAnswer = &found->second;
    return found->second;
  }

  std::unordered_map<std::type_index, std::unordered_map<Key, AffectingKeys>> classes;
  const std::type_info* lastClass = nullptr;
  const Key* lastKey = nullptr;
  const AffectingKeys* lastAnswer = nullptr;

  static thread_local bool areGone;
};

thread_local bool AnswersOfClasses::areGone = false;

Relation relation(const Observable& object, const Key& observed, const Key& changed) {
  if (observed == changed) {
    return Relation::same;
  }
  // Objects in thread-local and static storage may change after what the thread kept has gone.
  if (AnswersOfClasses::areGone) {
    return contains(affectingKeys(object, observed), changed) ? Relation::dependent
                                                              : Relation::none;
  }
  thread_local AnswersOfClasses answers;
  return contains(answers.affectingKeysOf(object, observed), changed) ? Relation::dependent
                                                                      : Relation::none;
}

}  // namespace

namespace detail {

/// A change between its will-change and the end of its delivery. Those of one thread know each
/// other, so that a withdrawal is noted wherever the registration is still to be told.
struct ChangeInProgress {
  /// What the observers of one key are told.
  struct Telling {
    Key key;
    bool wantsOld = false;
    bool wantsNew = false;
    ChangeRecord record;
  };

  explicit ChangeInProgress(std::shared_ptr<Observable> changing)
      : object(std::move(changing)),
        list(ObserverList::retain(object->_observers)),
        registrations(list->registrations()),
        tellingOf(registrations.size(), none),
        withdrawn(registrations.size(), false) {
    outer = std::exchange(innermost, this);
    if (outer != nullptr) {
      outer->inner = this;
    }
    object->_changesInProgress.fetch_add(1, std::memory_order_relaxed);
  }
  ChangeInProgress(const ChangeInProgress&) = delete;
  ChangeInProgress& operator=(const ChangeInProgress&) = delete;
  ~ChangeInProgress() {
    (inner == nullptr ? innermost : inner->outer) = outer;
    if (outer != nullptr) {
      outer->inner = inner;
    }
    object->_changesInProgress.fetch_sub(1, std::memory_order_relaxed);
    ObserverList::release(list);
  }

  Telling& tellingFor(std::size_t position, const Key& key, ChangeKind kind) {
    auto found = std::ranges::find(tellings, key, &Telling::key);
    if (found == tellings.end()) {
      found = tellings.insert(found, Telling{key, false, false, {kind, {}, {}, {}}});
    }
    tellingOf[position] = static_cast<std::size_t>(found - tellings.begin());
    return *found;
  }

  /// Calls `visit` for every change of `object` that is in progress on this thread.
  template <class Visit>
  static void forEachOf(const Observable& object, Visit&& visit) {
    if (object._changesInProgress.load(std::memory_order_relaxed) == 0) {
      return;
    }
    for (ChangeInProgress* change = innermost; change != nullptr; change = change->outer) {
      if (change->object.get() == &object) {
        visit(*change);
      }
    }
  }

  void noteAdded() {
    followPositions();
    positions.push_back(none);
  }
  void noteRemoved(std::size_t position) {
    followPositions();
    if (positions[position] != none) {
      withdrawn[positions[position]] = true;
    }
    positions.erase(positions.begin() + static_cast<std::ptrdiff_t>(position));
  }

  thread_local static ChangeInProgress* innermost;
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  ChangeInProgress* outer = nullptr;
  ChangeInProgress* inner = nullptr;
  std::shared_ptr<Observable> object;
  ObserverList* list;  // as it was at will-change; keeps what `registrations` points to
  std::vector<const Registration*> registrations;
  std::vector<std::size_t> tellingOf;  // for each registration; `none` when it is not concerned
  std::vector<bool> withdrawn;         // for each registration, since will-change
  std::vector<Telling> tellings;

 private:
  void followPositions() {
    if (!following) {
      following = true;
      positions.resize(registrations.size());
      std::iota(positions.begin(), positions.end(), std::size_t{0});
    }
  }
  // For each registration that the object has now, its place in `registrations`, or `none` when it
  // came later. Made when the first one comes or goes.
  std::vector<std::size_t> positions;
  bool following = false;
};

thread_local ChangeInProgress* ChangeInProgress::innermost = nullptr;

}  // namespace detail

void detail::ListChanges::settle(ListChange change) noexcept {
  ObserverList::retain(change.after, change.repetitions);
  ObserverList::release(change.before, change.repetitions + 1);
  ObserverList::release(change.after);
}

ObserverList* detail::ListChanges::retainedListOf(const Observable& object) noexcept {
  return ObserverList::retain(object._observers);
}

PendingChange::PendingChange() noexcept = default;
PendingChange::PendingChange(PendingChange&&) noexcept = default;
PendingChange& PendingChange::operator=(PendingChange&&) noexcept = default;
PendingChange::~PendingChange() = default;
PendingChange::PendingChange(std::unique_ptr<detail::ChangeInProgress> change) noexcept
    : _change(std::move(change)) {}

Observable::~Observable() {
  ObserverList::release(_observers);
}

void Observable::addObserver(const std::shared_ptr<Observer>& observer, const Key& key,
                             ObservingOptions options, const ContextToken* context) {
  if (!observer) {
    throw InvalidArgument("an absent observer cannot be registered");
  }
  // Those who come and go under a key that never changes would otherwise pile up.
  while (_observers != nullptr && _observers->last().observer.expired()) {
    forgetRegistrations(std::array{_observers->count() - 1});
  }
  ObserverList* before = _observers;
  _observers = ObserverList::adding(before, {observer, observer.get(), key, options, context});
  ObserverList::release(before);
  ChangeInProgress::forEachOf(*this, [](ChangeInProgress& change) { change.noteAdded(); });
}

void Observable::removeObserver(const std::shared_ptr<Observer>& observer, const Key& key,
                                const ContextToken* context) {
  for (const ObserverList* list = _observers; list != nullptr; list = list->before()) {
    if (list->last().isOf(observer, key, context)) {
      forgetRegistrations(std::array{list->count() - 1});
      return;
    }
  }
  throw InvalidArgument("no such observer is registered for \"" + std::string(key.text()) + "\"");
}

void Observable::forgetRegistrations(std::span<const std::size_t> positions) {
  ObserverList* const old = _observers;
  ObserverList* list = old;
  while (list != nullptr && list->count() > positions.front()) {
    list = list->before();
  }
  list = ObserverList::retain(list);
  if (positions.front() + positions.size() < old->count()) {
    const std::vector<const Registration*> registrations = old->registrations();
    for (std::size_t i = positions.front(); i < registrations.size(); ++i) {
      if (!std::ranges::binary_search(positions, i)) {
        ObserverList* longer = ObserverList::adding(list, *registrations[i]);
        ObserverList::release(list);
        list = longer;
      }
    }
  }
  _observers = list;
  ObserverList::release(old);
  // From the end, so that the positions before stay what they are.
  ChangeInProgress::forEachOf(*this, [positions](ChangeInProgress& change) {
    std::for_each(positions.rbegin(), positions.rend(),
                  [&](std::size_t position) { change.noteRemoved(position); });
  });
}

void Observable::sweep() {
  if (_observers == nullptr) {
    return;
  }
  const std::vector<const Registration*> registrations = _observers->registrations();
  std::vector<std::size_t> gone;
  for (std::size_t i = 0; i < registrations.size(); ++i) {
    if (registrations[i]->observer.expired()) {
      gone.push_back(i);
    }
  }
  if (!gone.empty()) {
    forgetRegistrations(gone);
  }
}

bool Observable::isReadable(const Key& key) const {
  const KeyAccess* access = keyTable().find(key);
  return access != nullptr && access->get != nullptr;
}

Value Observable::valueForKey(const Key& key) const {
  const KeyAccess* access = keyTable().find(key);
  if (access == nullptr || access->get == nullptr) {
    throw UndefinedKey(className() + " has no value for the key \"" + std::string(key.text()) +
                       "\"");
  }
  return access->get(*this);
}

void Observable::setValueForKey(const Value& value, const Key& key) {
  const KeyAccess* access = keyTable().find(key);
  if (access == nullptr || access->set == nullptr) {
    throw UndefinedKey(className() + " cannot set a value for the key \"" +
                       std::string(key.text()) + "\"");
  }
  access->set(*this, value);
}

const KeyAccess* KeyTable::find(const Key& key) const noexcept {
  for (const KeyTable* table = this; table != nullptr; table = table->_base) {
    const auto found = std::ranges::find(table->_own, key, &KeyAccess::key);
    if (found != table->_own.end()) {
      return &*found;
    }
  }
  return nullptr;
}

std::set<std::string> Observable::keyPathsForValuesAffectingValueForKey(const Key&) const {
  return {};
}

Value Observable::valuesAtIndexesForKey(const IndexSet& indexes, const Key& key) const {
  const Value all = valueForKey(key);
  if (!indexes.empty() && *indexes.last() >= all.elements().size()) {
    throw RangeError("there is no element " + std::to_string(*indexes.last()) + " of \"" +
                     std::string(key.text()) + "\"");
  }
  std::vector<Value> values;
  values.reserve(indexes.count());
  indexes.forEach([&](std::size_t index) { values.push_back(all.elements()[index]); });
  return Value::array(std::move(values));
}

bool Observable::areValuesAtIndexesForKey(const Value& /*values*/, const IndexSet& /*indexes*/,
                                          const Key& /*key*/) const {
  return false;
}

PendingChange Observable::willChangeValueForKey(const Key& key) {
  return begin(ChangeKind::setting, nullptr, key);
}

PendingChange Observable::willChangeValuesAtIndexesForKey(ChangeKind kind, const IndexSet& indexes,
                                                          const Key& key) {
  return begin(kind, &indexes, key);
}

PendingChange Observable::begin(ChangeKind kind, const IndexSet* indexes, const Key& key) {
  const auto relationTo = [&](const Key& observed) {
    const Relation related = relation(*this, observed, key);
    return related == Relation::dependent && !isReadable(observed) ? Relation::none : related;
  };
  bool concerned = false;
  for (const ObserverList* list = _observers; list != nullptr && !concerned;
       list = list->before()) {
    concerned = relationTo(list->last().key) != Relation::none;
  }
  // An object that is still being made, or is already going, is nobody's to observe.
  const std::shared_ptr<Observable> self = concerned ? weak_from_this().lock() : nullptr;
  if (!self) {
    return {};
  }
  auto change = std::make_unique<ChangeInProgress>(self);
  for (std::size_t i = 0; i < change->registrations.size(); ++i) {
    const Registration& registration = *change->registrations[i];
    const Relation related = relationTo(registration.key);
    if (related == Relation::none) {
      continue;
    }
    auto& telling = change->tellingFor(i, registration.key,
                                       related == Relation::same ? kind : ChangeKind::setting);
    if (telling.record.kind != ChangeKind::setting && !telling.record.indexes) {
      telling.record.indexes = *indexes;
    }
    telling.wantsOld |=
        wants(registration.options, ObservingOptions::oldValue) && !registration.observer.expired();
  }
  for (auto& telling : change->tellings) {
    if (telling.wantsOld && telling.record.kind != ChangeKind::insertion) {
      telling.record.oldValue = valueTold(telling.key, telling.record);
    }
  }
  return PendingChange(std::move(change));
}

Value Observable::valueTold(const Key& key, const ChangeRecord& record) const {
  if (record.kind != ChangeKind::setting) {
    return valuesAtIndexesForKey(*record.indexes, key);
  }
  const Value value = isReadable(key) ? valueForKey(key) : Value();
  return value.isAbsent() ? Value::null() : value;
}

void Observable::finish(PendingChange pending) {
  if (!pending._change) {
    return;
  }
  ChangeInProgress& change = *pending._change;
  if (change.object.get() != this) {
    throw InvalidArgument("a change was announced by another object than it is ended by");
  }
  const auto isToBeTold = [&change](std::size_t i) {
    return change.tellingOf[i] != ChangeInProgress::none && !change.withdrawn[i];
  };
  for (std::size_t i = 0; i < change.registrations.size(); ++i) {
    if (isToBeTold(i) && !change.registrations[i]->observer.expired()) {
      change.tellings[change.tellingOf[i]].wantsNew |=
          wants(change.registrations[i]->options, ObservingOptions::newValue);
    }
  }
  for (auto& telling : change.tellings) {
    if (telling.wantsNew && telling.record.kind != ChangeKind::removal) {
      ChangeRecord& record = telling.record;
      const bool areTheOldOnes =
          record.kind == ChangeKind::replacement && telling.wantsOld &&
          areValuesAtIndexesForKey(record.oldValue, *record.indexes, telling.key);
      record.newValue = areTheOldOnes ? record.oldValue : valueTold(telling.key, record);
    }
  }
  bool someAreGone = false;
  for (std::size_t i = 0; i < change.registrations.size(); ++i) {
    if (!isToBeTold(i)) {
      continue;
    }
    const Registration& registration = *change.registrations[i];
    const std::shared_ptr<Observer> observer = registration.observer.lock();
    if (!observer) {
      someAreGone = true;
      continue;
    }
    const auto& telling = change.tellings[change.tellingOf[i]];
    const bool withOld = wants(registration.options, ObservingOptions::oldValue);
    const bool withNew = wants(registration.options, ObservingOptions::newValue);
    if (withOld == telling.wantsOld && withNew == telling.wantsNew) {
      observer->observeValueForKeyPathOfObjectChangeContext(registration.key, change.object,
                                                            telling.record, registration.context);
    } else {
      ChangeRecord record = telling.record;
      record.oldValue = withOld ? record.oldValue : Value();
      record.newValue = withNew ? record.newValue : Value();
      observer->observeValueForKeyPathOfObjectChangeContext(registration.key, change.object, record,
                                                            registration.context);
    }
  }
  if (someAreGone) {
    sweep();
  }
}

}  // namespace platform
