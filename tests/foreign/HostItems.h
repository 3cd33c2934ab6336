// SPDX-License-Identifier: Apache-2.0
// A host's own kinds of items and collections. They do what the library's kinds do, and call the
// hook in everything that a host can redefine.
#pragma once

#include "Hook.h"

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/KeyTable.h>

#include <array>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foreign {

/// The number of objects of a host's own classes that are alive.
[[nodiscard]] std::size_t& livingHosts();

/// Base of what a host makes. Counts, so that tests see whether all of it is destroyed.
class Counted {
 public:
  Counted() { ++livingHosts(); }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

 protected:
  ~Counted() { --livingHosts(); }
};

/// A key and the sites of its getter and its observer.
struct KeySites {
  std::string_view key;
  Site getter;
  Site observer;
};
/// The keys of items; not all kinds have all of them.
inline constexpr auto itemKeys = std::to_array<KeySites>({
    {"uniqueID", Site::getUniqueID, Site::observerUniqueID},
    {"label", Site::getLabel, Site::observerLabel},
    {"representedObject", Site::getRepresentedObject, Site::observerRepresentedObject},
    {"parent", Site::getParent, Site::observerParent},
    {"children", Site::getChildren, Site::observerChildren},
    {"supportsEnabled", Site::getSupportsEnabled, Site::observerSupportsEnabled},
    {"enabled", Site::getEnabled, Site::observerEnabled},
    {"isGroup", Site::getIsGroup, Site::observerIsGroup},
    {"isExpandable", Site::getIsExpandable, Site::observerIsExpandable},
    {"path", Site::getPath, Site::observerPath},
    {"representedEvent", Site::getRepresentedEvent, Site::observerRepresentedEvent},
    {"triggerDate", Site::getTriggerDate, Site::observerTriggerDate},
    {"activity", Site::getActivity, Site::observerActivity},
    {"netService", Site::getNetService, Site::observerNetService},
    {"domain", Site::getDomain, Site::observerDomain},
});
/// The keys of collections.
inline constexpr auto collectionKeys = std::to_array<KeySites>({
    {"root", Site::getRoot, Site::observerRoot},
    {"sortedEvents", Site::getSortedEvents, Site::observerSortedEvents},
    {"orderedDomains", Site::getOrderedDomains, Site::observerOrderedDomains},
    {"activeEvents", Site::getActiveEvents, Site::observerActiveEvents},
    {"pendingTriggers", Site::getPendingTriggers, Site::observerPendingTriggers},
    {"onDemandAvailable", Site::getOnDemandAvailable, Site::observerOnDemandAvailable},
    {"groupByDomain", Site::getGroupByDomain, Site::observerGroupByDomain},
    {"sortedServices", Site::getSortedServices, Site::observerSortedServices},
});
/// The inputs of collections, which can only be set.
inline constexpr auto collectionInputs =
    std::to_array<std::string_view>({"events", "domains", "active", "pending", "available"});
/// A key of the host's own, which depends on "children" and "representedObject".
inline constexpr std::string_view ownKey = "own key of a host";

/// The key table of a host's class. Its base is the table of the library's class. Each class has
/// one, and each calls the hook when a value is read or set by key.
template <class Self, const auto& Keys, Site SetSite>
class HostKeyTable {
 public:
  static const vexil::platform::KeyTable& over(const vexil::platform::KeyTable& base,
                                               std::vector<vexil::platform::KeyAccess> more = {}) {
    library() = &base;
    static const vexil::platform::KeyTable table(&base, entries(base, std::move(more)));
    return table;
  }

 private:
  static const vexil::platform::KeyTable*& library() {
    static const vexil::platform::KeyTable* table = nullptr;
    return table;
  }
  template <std::size_t I>
  static vexil::platform::Value get(const vexil::platform::Observable& object) {
    vexil::platform::Value value = library()->find(vexil::platform::Key(Keys[I].key))->get(object);
    Hook::called(Keys[I].getter);
    return value;
  }
  template <std::size_t I>
  static void set(vexil::platform::Observable& object, const vexil::platform::Value& value) {
    library()->find(vexil::platform::Key(Keys[I].key))->set(object, value);
    Hook::called(SetSite);
  }
  static std::vector<vexil::platform::KeyAccess> entries(
      const vexil::platform::KeyTable& base, std::vector<vexil::platform::KeyAccess> all) {
    addEntries(base, all, std::make_index_sequence<Keys.size()>());
    return all;
  }
  template <std::size_t... I>
  static void addEntries(const vexil::platform::KeyTable& base,
                         std::vector<vexil::platform::KeyAccess>& all,
                         std::index_sequence<I...> /*numbers*/) {
    const auto add = [&](std::string_view key, auto get, auto set) {
      if (const vexil::platform::KeyAccess* access = base.find(vexil::platform::Key(key))) {
        all.push_back(
            {key, access->get != nullptr ? get : nullptr, access->set != nullptr ? set : nullptr});
      }
    };
    (add(Keys[I].key, &get<I>, &set<I>), ...);
  }
};

/// A kind of the host's, derived from one of the library's. An override computes its answer before
/// it calls the hook, because the hook may destroy the item.
template <class Self, class Base>
class HostKind : public KRAVTWVKind<Self, Base>, private Counted {
  using Kind = KRAVTWVKind<Self, Base>;

 public:
  using Kind::Kind;
  ~HostKind() override { Hook::called(Site::itemDestructor); }

  [[nodiscard]] vexil::platform::Value uniqueID() const override {
    return said(Site::uniqueID, Kind::uniqueID());
  }
  [[nodiscard]] vexil::platform::Value label() const override {
    return said(Site::label, Kind::label());
  }
  [[nodiscard]] bool supportsEnabled() const override {
    return said(Site::supportsEnabled, Kind::supportsEnabled());
  }
  [[nodiscard]] bool enabled() const override { return said(Site::enabled, Kind::enabled()); }
  [[nodiscard]] bool isGroup() const override { return said(Site::isGroup, Kind::isGroup()); }
  [[nodiscard]] bool isExpandable() const override {
    return said(Site::isExpandable, Kind::isExpandable());
  }
  [[nodiscard]] std::string description() const override {
    return said(Site::itemDescription, std::string("a host's item"));
  }

  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectedByRepresentedObject()
      const override {
    return said(Site::keysAffectedByRepresentedObject,
                Kind::keyPathsForValuesAffectedByRepresentedObject());
  }
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const vexil::platform::Key& key) const override {
    auto keys = Kind::keyPathsForValuesAffectingValueForKey(key);
    if (key.text() == ownKey) {
      keys.insert({"children", "representedObject"});
    } else if (key.text() == "supportsEnabled" || key.text() == "domain") {
      keys.insert({"representedObject", "netService"});
    }
    return said(Site::keysAffectingValue, std::move(keys));
  }
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingIsExpandable() const override {
    return said(Site::keysAffectingIsExpandable, Kind::keyPathsForValuesAffectingIsExpandable());
  }
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingIsGroup() const override {
    return said(Site::keysAffectingIsGroup, Kind::keyPathsForValuesAffectingIsGroup());
  }

 protected:
  template <class T>
  static T said(Site site, T answer) {
    Hook::called(site);
    return answer;
  }

  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override {
    const auto& table = HostKeyTable<Self, itemKeys, Site::setByKey>::over(
        Kind::keyTable(), {{ownKey, &getOwnKey, nullptr}});
    Hook::called(Site::keyTable);
    return table;
  }
  [[nodiscard]] vexil::platform::Value valuesAtIndexesForKey(
      const vexil::platform::IndexSet& indexes, const vexil::platform::Key& key) const override {
    return said(Site::valuesAtIndexesForKey, Kind::valuesAtIndexesForKey(indexes, key));
  }
  [[nodiscard]] bool canReuseOldValuesAtIndexesForKey(
      const vexil::platform::Value& values, const vexil::platform::IndexSet& indexes,
      const vexil::platform::Key& key) const override {
    return said(Site::canReuseOldValuesAtIndexesForKey,
                Kind::canReuseOldValuesAtIndexesForKey(values, indexes, key));
  }
  [[nodiscard]] bool isKindOfReceiversClass(const KRAVTWVItemVexil& other) const override {
    return said(Site::isKindOfReceiversClass, Kind::isKindOfReceiversClass(other));
  }

 private:
  static vexil::platform::Value getOwnKey(const vexil::platform::Observable& /*object*/) {
    return said(Site::getOwnKey, vexil::platform::Value("own value"));
  }
};

/// What a host's groups and events answer to pasteboards.
template <class Self, class Base>
class HostExchange : public HostKind<Self, Base> {
  using Kind = HostKind<Self, Base>;

 public:
  using Kind::Kind;

  [[nodiscard]] std::vector<std::string> writableTypesForPasteboard(
      const vexil::platform::Pasteboard* board) const override {
    return Kind::said(Site::writableTypes, Kind::writableTypesForPasteboard(board));
  }
  [[nodiscard]] vexil::platform::PasteboardWritingOptions writingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* board) const override {
    return Kind::said(Site::writingOptions, Kind::writingOptionsForTypePasteboard(type, board));
  }
  [[nodiscard]] vexil::platform::Value pasteboardPropertyListForType(
      std::string_view type) const override {
    return Kind::said(Site::pasteboardPropertyList, Kind::pasteboardPropertyListForType(type));
  }

  [[nodiscard]] static std::vector<std::string> readableTypesForPasteboard(
      const vexil::platform::Pasteboard* board) {
    return Kind::said(Site::readableTypes, Base::readableTypesForPasteboard(board));
  }
  [[nodiscard]] static vexil::platform::PasteboardReadingOptions readingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* board) {
    return Kind::said(Site::readingOptions, Base::readingOptionsForTypePasteboard(type, board));
  }
  [[nodiscard]] static std::shared_ptr<Self> initWithPasteboardPropertyListOfType(
      const vexil::platform::Value& propertyList, std::string_view type) {
    return Kind::said(
        Site::initWithPropertyList,
        KRAVTWVKind<Self, Base>::initWithPasteboardPropertyListOfType(propertyList, type));
  }
};

/// A host's kind that has a represented event, derived from such a kind of the library.
template <class Self, class Kind>
class HostEventKind : public Kind {
 public:
  using Kind::Kind;
  [[nodiscard]] vexil::platform::Value representedEvent() const override {
    return Kind::said(Site::representedEvent, Kind::representedEvent());
  }
};

class HostItem : public HostKind<HostItem, KRAVTWVItemVexil> {
 public:
  using HostKind::HostKind;
};
class HostGroup : public HostExchange<HostGroup, KRAVTWVGroupVexil> {
 public:
  using HostExchange::HostExchange;
};
class HostEvent : public HostEventKind<HostEvent, HostExchange<HostEvent, KRAVTWVEventVexil>> {
 public:
  using HostEventKind::HostEventKind;
};
class HostOnDemand
    : public HostEventKind<HostOnDemand, HostExchange<HostOnDemand, KRAVTWVOnDemandVexil>> {
 public:
  using HostEventKind::HostEventKind;
};
class HostDomain : public HostKind<HostDomain, KRAVTWVDomainVexil> {
 public:
  using HostKind::HostKind;
};
class HostQueued
    : public HostEventKind<HostQueued, HostKind<HostQueued, KRAVTWVQueuedTriggerVexil>> {
 public:
  using HostEventKind::HostEventKind;
  [[nodiscard]] vexil::platform::Value triggerDate() const override {
    return said(Site::triggerDate, KRAVTWVQueuedTriggerVexil::triggerDate());
  }
};
class HostActive : public HostEventKind<HostActive, HostKind<HostActive, KRAVTWVActiveEventVexil>> {
 public:
  using HostEventKind::HostEventKind;
  [[nodiscard]] vexil::platform::Value activity() const override {
    return said(Site::activity, KRAVTWVActiveEventVexil::activity());
  }
};
class HostNetDomain : public HostExchange<HostNetDomain, KRAVTWVNetDomainVexil> {
 public:
  using HostExchange::HostExchange;
};
class HostNetService : public HostKind<HostNetService, KRAVTWVNetServiceVexil> {
 public:
  using HostKind::HostKind;
  [[nodiscard]] vexil::platform::Value domain() const override {
    return said(Site::domain, KRAVTWVNetServiceVexil::domain());
  }
};

/// A host's collection, derived from one of the library's.
template <class Base>
class HostCollection : public Base, private Counted {
 public:
  ~HostCollection() override { Hook::called(Site::collectionDestructor); }

  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const vexil::platform::Key& key) const override {
    auto keys = Base::keyPathsForValuesAffectingValueForKey(key);
    Hook::called(Site::collectionKeysAffectingValue);
    return keys;
  }

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override {
    const auto& table =
        HostKeyTable<HostCollection, collectionKeys, Site::setCollectionByKey>::over(
            Base::keyTable());
    Hook::called(Site::collectionKeyTable);
    return table;
  }
};

/// An item of the host's class that represents what an item of the library's class represents. Null
/// when the host has no such class.
[[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> hostItemLike(const KRAVTWVItemVexil& item);

}  // namespace foreign
