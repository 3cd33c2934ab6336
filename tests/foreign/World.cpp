// SPDX-License-Identifier: Apache-2.0
#include "World.h"

#include "Mirror.h"
#include "OutlineCheck.h"

#include <vexil/platform/Error.h>
#include <vexil/platform/Log.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>
#include <string_view>
#include <utility>

namespace platform = vexil::platform;

namespace foreign {

using platform::Key;
using platform::ObservingOptions;

namespace {

constexpr platform::ContextToken token("foreign.context");

/// Runs something that may refuse; false if it did.
template <class Step>
bool succeeds(const Step& step) {
  try {
    step();
  } catch (const platform::RangeError&) {
    return false;
  } catch (const platform::InvalidArgument&) {
    return false;
  }
  return true;
}

/// Replaces items of the library's kinds with items of the host's kinds: every item with children,
/// and every second item without.
void bringInHostKinds(KRAVTWVItemArray& items) {
  for (std::size_t i = 0; i < items.size(); ++i) {
    const auto children = items[i]->children();
    bringInHostKinds(*children);
    if (children->empty() && i % 2 == 0) {
      continue;
    }
    if (const ItemPointer host = hostItemLike(*items[i])) {
      host->setChildren(children);
      for (const auto& child : *children) {
        child->setParent(host);
      }
      items[i] = host;
    }
  }
}

}  // namespace

const platform::ContextToken& context() {
  return token;
}

std::string Scene::name() const {
  static constexpr std::array kinds{"list", "store", "engine", "groupedServices", "flatServices"};
  static constexpr std::array contents{"plain", "objects", "identifiers"};
  static constexpr std::array places{"root", "row", "leaf", "first leaf", "last leaf"};
  std::string text = kinds[static_cast<std::size_t>(kind)];
  text += std::string(" ") + contents[static_cast<std::size_t>(content)];
  text += isObserved ? " observed" : "";
  text += isHosted ? " hosted" : "";
  text += isOutlined ? " outlined" : "";
  text += isLiteral ? " literal" : "";
  text += isEmpty ? " empty" : "";
  return text + " " + places[static_cast<std::size_t>(place)];
}

Entries oneChangedEntries(int version) {
  Entries changed = firstEntries();
  changed[2].version = version;
  return changed;
}

Entries mixedEntries(int version) {
  Entries mixed = firstEntries();
  mixed.erase(mixed.begin() + 1);
  mixed[1].version = mixed.back().version = version;
  mixed.insert(mixed.begin(), {.number = 20, .name = 0});
  mixed.push_back({.number = 21});
  mixed.push_back({.number = 22, .name = 3});
  return mixed;
}

Entries reorderedEntries() {
  Entries reordered;
  for (int number = lastNumber; number >= 0; --number) {
    reordered.push_back({.number = number, .name = lastNumber - number});
  }
  return reordered;
}

Input inputOf(const Entries& entries, const Entries& domains, Content content) {
  Input input;
  input.events = recordsOf(entries, content, eventRecord);
  input.domains = recordsOf(domains, content, domainRecord);
  input.active = recordsOf(entries, content, activeRecord);
  input.available = recordsOf(entries, content, eventRecord);
  input.pending = recordsOf(entries, content, triggerRecord);
  std::ranges::transform(entries, std::back_inserter(input.services), service);
  return input;
}

World::World(const Scene& theScene) : scene(theScene), _hostsBefore(livingHosts()) {
  if (scene.isLiteral) {
    _literal.emplace();
  }
  collection = makeCollection();
  other = makeCollection();
  for (const auto& which : {collection, other}) {
    setUp(which);
  }
  _root = collection->root();
  item = itemAtPlace(*collection);
  twin = itemAtPlace(*other);
  itemsObserver = KRAVTWVItemsObserver::init();
  delegate = std::make_shared<HostDelegate>();
  if (scene.isObserved) {
    watch();
  }
  if (scene.isOutlined) {
    makeOutline();
    updateOutline();
  }
  platform::setLogSink([](std::string_view /*line*/) { Hook::called(Site::logSink); });
}

World::~World() {
  platform::setLogSink({});
}

CollectionPointer World::makeCollection() const {
  const auto make = [&]<class Collection>(std::in_place_type_t<Collection> /*class*/) {
    return scene.isHosted ? CollectionPointer(std::make_shared<HostCollection<Collection>>())
                          : CollectionPointer(std::make_shared<Collection>());
  };
  switch (scene.kind) {
    case Kind::list:
      return make(std::in_place_type<KRAVTWVEventsVexil>);
    case Kind::store:
      return make(std::in_place_type<KRAVTWVEventStoreVexil>);
    case Kind::engine:
      return make(std::in_place_type<KRAVTWVEngineVexil>);
    case Kind::groupedServices:
    case Kind::flatServices:
      break;
  }
  return make(std::in_place_type<KRAVTWVServicesVexil>);
}

void World::setUp(const CollectionPointer& which) {
  if (const auto services = std::dynamic_pointer_cast<KRAVTWVServicesVexil>(which)) {
    services->setGroupByDomain(scene.kind == Kind::groupedServices);
  }
  if (!scene.isEmpty) {
    hand(*which, inputOf(firstEntries(), firstDomains(), scene.content));
  }
  if (!scene.isHosted) {
    return;
  }
  const auto children = which->root()->children();
  if (scene.kind == Kind::list && !scene.isEmpty) {
    // A host may give events children, so that this tree has three levels, too.
    (*children)[1]->addChildren(
        {KRAVTWVEventVexil::itemWithEvent(eventRecord({.number = 20}, scene.content)),
         KRAVTWVEventVexil::itemWithEvent(eventRecord({.number = 21}, scene.content))});
  }
  bringInHostKinds(*children);
  const auto root = HostGroup::itemWithLabelUniqueID("", "root");
  root->setChildren(children);
  for (const auto& child : *children) {
    child->setParent(root);
  }
  which->setRoot(root);
}

ItemPointer World::itemAtPlace(const KRAVTWVItemsVexil& which) const {
  ItemPointer found = which.root();
  const auto children = found->children();
  if (scene.place == Place::root || children->empty()) {
    return found;
  }
  const auto isLeaf = [](const ItemPointer& child) { return child->children()->empty(); };
  if (scene.place == Place::row) {
    const auto row = std::ranges::find_if_not(*children, isLeaf);
    return row == children->end() ? (*children)[children->size() / 2] : *row;
  }
  // Below the topmost level it is the second item, which is of the host's kind.
  found = scene.place == Place::firstLeaf  ? children->front()
          : scene.place == Place::lastLeaf ? children->back()
                                           : (*children)[children->size() / 2];
  while (!isLeaf(found)) {
    const auto below = found->children();
    found = (*below)[std::min<std::size_t>(1, below->size() - 1)];
  }
  return found;
}

ItemPointer World::copyOf(const KRAVTWVItemVexil& original) const {
  ItemPointer copy = scene.isHosted ? hostItemLike(original) : nullptr;
  if (!copy) {
    copy = KRAVTWVItemVexil::itemWithRepresentedObject(original.representedObject());
    copy->setUniqueID(original.uniqueID());
  }
  KRAVTWVItemArray children;
  for (const auto& child : *original.children()) {
    children.push_back(copyOf(*child));
  }
  copy->addChildren(children);
  return copy;
}

// --- watching

std::shared_ptr<HostObserver> World::observerOf(Site site) {
  const auto known = std::ranges::find(observers, site, &HostObserver::site);
  if (known != observers.end()) {
    return *known;
  }
  return observers.emplace_back(std::make_shared<HostObserver>(site));
}

std::shared_ptr<HostObserver> World::observe(const std::shared_ptr<platform::Observable>& object,
                                             const Key& key, ObservingOptions options, Site site) {
  auto observer = observerOf(site);
  object->addObserver(observer, key, options, &token);
  return observer;
}

void World::watchItem(const ItemPointer& watched) {
  for (const KeySites& sites : itemKeys) {
    observe(watched, sites.key, ObservingOptions::both, sites.observer);
  }
  observe(watched, ownKey, ObservingOptions::both, Site::observerOwnKey);
  observe(watched, "children", ObservingOptions::none, Site::observerChildrenNone);
  observe(watched, "children", ObservingOptions::oldValue, Site::observerChildrenOld);
  observe(watched, "children", ObservingOptions::newValue, Site::observerChildrenNew);
  const auto close = [&](const char* key, Site site) {
    closures.push_back(platform::observe(
        watched, key, ObservingOptions::both,
        [site](const platform::ChangeRecord& /*change*/) { Hook::called(site); }));
  };
  close("children", Site::closureChildren);
  close("representedObject", Site::closureRepresentedObject);
}

void World::watch() {
  for (const KeySites& sites : collectionKeys) {
    observe(collection, sites.key, ObservingOptions::both, sites.observer);
  }
  const ItemPointer root = collection->root();
  // Watches items with children, the world's item, and some others. Only the observers of the whole
  // tree watch the rest.
  KRAVTWVItemArray all = root->recursiveChildren();
  all.push_back(root);
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (i % 3 == 0 || all[i] == item || !all[i]->children()->empty()) {
      watchItem(all[i]);
    }
  }
  root->addObserverForRecursiveChildrenWithOptionContext(
      observerOf(Site::observerChildrenRecursive), ObservingOptions::both, &token);
  observe(itemsObserver, "root", ObservingOptions::both, Site::observerWatchedRoot);
  observe(itemsObserver, "delegate", ObservingOptions::both, Site::observerDelegate);
  itemsObserver->setDelegate(delegate);
  itemsObserver->setRoot(root);
}

// --- what actions do

void World::letGoOfItem() {
  const ItemPointer gone = std::exchange(item, nullptr);
  if (!gone || !collection) {
    return;
  }
  if (gone == collection->root()) {
    collection->setRoot(nullptr);
    return;
  }
  const ItemPointer root = collection->root();
  if (!root) {
    return;
  }
  KRAVTWVItemArray all = root->recursiveChildren();
  all.push_back(root);
  for (const auto& parent : all) {
    const auto children = parent->children();
    const auto found = children ? std::ranges::find(*children, gone) : KRAVTWVItemArray::iterator();
    if (children && found != children->end()) {
      parent->removeChildrenAtIndexes({static_cast<std::size_t>(found - children->begin())});
      return;
    }
  }
}

void World::refresh(const CollectionPointer& which) {
  if (!which) {
    return;
  }
  const int version = nextVersion();
  Entries changed = entries(2, lastNumber + 2);
  changed[1].version = version;
  changed.back().version = version;
  Entries domains = entries(1, 2);
  domains.front().version = version;
  show(which, changed, domains);
}

void World::show(const CollectionPointer& which, const Entries& events, const Entries& domains) {
  // The caller of a refresh holds what it refreshes.
  const CollectionPointer held = which;
  hand(*held, inputOf(events, domains, scene.content));
}

void World::makeOutline() {
  vexil::OutlineOptions options;
  options.followsProperties = scene.isObserved;
  options.outOfDate = [this] {
    ++_callsOfOutline;
    Hook::called(Site::outlineCallback);
  };
  outline = std::make_unique<vexil::Outline>(collection, std::move(options));
}

void World::beginUpdate() {
  // What is left of an earlier update does not bring the outline up to date.
  if (outline->nextStep() == nullptr) {
    _callsOfOutline = 0;
  }
}

void World::prepareOutline() {
  if (outline) {
    beginUpdate();
    (void)outline->prepare();
  }
}

void World::updateOutline() {
  if (outline) {
    beginUpdate();
    (void)outline->update();
  }
}

void World::makeSecondOutline() {
  if (const ItemPointer root = collection ? collection->root() : nullptr) {
    _rootOfSecondOutline = root;
    secondOutline = std::make_unique<vexil::Outline>(root);
    (void)secondOutline->update();
  }
}

void World::hand(KRAVTWVItemsVexil& which, const Input& input) {
  if (auto* list = dynamic_cast<KRAVTWVEventsVexil*>(&which)) {
    list->setEvents(input.events);
  } else if (auto* store = dynamic_cast<KRAVTWVEventStoreVexil*>(&which)) {
    store->setDomains(input.domains);
    store->setEvents(input.events);
  } else if (auto* engine = dynamic_cast<KRAVTWVEngineVexil*>(&which)) {
    engine->setActive(input.active);
    engine->setPending(input.pending);
    engine->setAvailable(input.available);
  } else if (auto* services = dynamic_cast<KRAVTWVServicesVexil*>(&which)) {
    services->setSortedServices(std::make_shared<KRAVTWVNetServiceArray>(input.services));
    services->updateItemsForServices();
  }
}

std::string World::modelOf(const Input& input) const {
  switch (scene.kind) {
    case Kind::list:
      return modelOfEvents(input.events);
    case Kind::store:
      return modelOfStore(input.events, input.domains);
    case Kind::engine:
      return modelOfEngine(input.active, input.available, input.pending);
    case Kind::groupedServices:
    case Kind::flatServices:
      break;
  }
  return modelOfServices(input.services, scene.kind == Kind::groupedServices);
}

// --- afterwards

std::optional<std::string> World::verify() {
  if (!succeeds([&] {
        if (itemsObserver) {
          itemsObserver->setRoot(nullptr);
        }
      })) {
    return "an items observer threw when its root was cleared";
  }
  itemsObserver.reset();
  if (auto error = verifyOutlineOfNothing()) {
    return error;
  }
  if (!collection) {
    collection = makeCollection();
    if (const auto root = _root.lock()) {
      collection->setRoot(root);
    }
  }
  if (!other) {
    return "the other collection is gone";
  }
  if (scene.isOutlined && !outline) {
    makeOutline();
    updateOutline();
  }
  for (const auto& which : {collection, other}) {
    if (auto error = verify(which)) {
      return (which == collection ? "the collection: " : "the other collection: ") + *error;
    }
  }
  if (auto error = verifyOutlines()) {
    return error;
  }
  observers.clear();
  closures.clear();
  delegate.reset();
  outline.reset();
  secondOutline.reset();
  rowSet.reset();
  item.reset();
  twin.reset();
  collection.reset();
  other.reset();
  if (livingHosts() != _hostsBefore) {
    return std::to_string(livingHosts() - _hostsBefore) + " objects of the host are still alive";
  }
  return std::nullopt;
}

std::optional<std::string> World::verify(const CollectionPointer& which) {
  if (const auto services = std::dynamic_pointer_cast<KRAVTWVServicesVexil>(which)) {
    services->setGroupByDomain(scene.kind == Kind::groupedServices);
  }
  if (!which->root()) {
    which->setRoot(KRAVTWVGroupVexil::itemWithLabelUniqueID("", "root"));
  }
  const ItemPointer root = which->root();
  const auto mirror = std::make_shared<Mirror>(*root);
  const auto auditor = KRAVTWVItemsObserver::init();
  auditor->setDelegate(mirror);
  auditor->setRoot(root);

  const Input input = inputOf(entries(1, lastNumber + 1, nextVersion()),
                              entries(0, 2, nextVersion()), scene.content);
  if (!succeeds([&] { hand(*which, input); })) {
    _neededRemedy = true;
    // Sets what was not accepted because an earlier part threw.
    for (int attempt = 0; attempt < 3; ++attempt) {
      succeeds([&] { hand(*which, input); });
    }
    which->rebuildRootChildren();
  }
  const std::string shown = shownBelow(*root);
  const std::string model = modelOf(input);
  if (shown != model) {
    return "shows\n" + shown + "instead of\n" + model;
  }
  if (auto difference = mirror->difference(*root)) {
    return difference;
  }
  if (!succeeds([&] { auditor->setRoot(nullptr); })) {
    return "an items observer threw when its root was cleared after a refresh";
  }
  return std::nullopt;
}

/// The outline of a collection that is gone shows nothing.
std::optional<std::string> World::verifyOutlineOfNothing() {
  if (collection || !outline) {
    return std::nullopt;
  }
  if (auto error = verify(*outline, nullptr)) {
    return "the outline of a collection that is gone: " + *error;
  }
  outline.reset();
  return std::nullopt;
}

std::optional<std::string> World::verifyOutlines() {
  if (outline) {
    if (outline->isOutOfDate() && _callsOfOutline == 0) {
      return "the outline is out of date, and its callback was not called";
    }
    if (auto error = verify(*outline, collection->root())) {
      return "the outline: " + *error;
    }
  }
  if (secondOutline) {
    if (auto error = verify(*secondOutline, _rootOfSecondOutline.lock())) {
      return "the second outline: " + *error;
    }
  }
  return std::nullopt;
}

std::optional<std::string> World::verify(vexil::Outline& which, const ItemPointer& root) const {
  if (_hasSilentChanges) {
    which.refreshAll();
  }
  which.applyRest();
  (void)which.update();
  if (which.isOutOfDate()) {
    return "is out of date after an update";
  }
  if (auto difference = differenceOf(which, root)) {
    return difference;
  }
  which.refreshAll();
  const vexil::OutlineUpdate again = which.update();
  if (!again.isEmpty()) {
    return "is not up to date after an update:\n" + again.description();
  }
  return std::nullopt;
}

}  // namespace foreign
