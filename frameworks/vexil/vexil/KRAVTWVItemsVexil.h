// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/NetService.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/OutlineViewDataSource.h>
#include <vexil/platform/Value.h>

#include <memory>
#include <string_view>
#include <typeinfo>
#include <vector>

namespace vexil::detail {
class EventOrder;
class RowsOfEvents;
}  // namespace vexil::detail

/// Keys of collections, for hosts that observe them or set them by key.
extern const std::string_view KRAVTWVItemsVexilKeyPathRoot;          ///< "root"
extern const std::string_view KRAVTWVEventsVexilKeyPathEvents;       ///< "events"
extern const std::string_view KRAVTWVEventStoreVexilKeyPathDomains;  ///< "domains"
extern const std::string_view KRAVTWVEngineVexilKeyPathActive;       ///< "active"
extern const std::string_view KRAVTWVEngineVexilKeyPathPending;      ///< "pending"
extern const std::string_view KRAVTWVEngineVexilKeyPathAvailable;    ///< "available"

/// A collection: the object that a host keeps for one outline. It owns the root of a tree of items.
/// It turns the records that a host hands over into items, and the root merges them into the live
/// tree.
///
/// The host must hold a collection by `std::shared_ptr` (`std::make_shared<KRAVTWVEventsVexil>()`).
/// The collection makes the root once: a group whose label is empty and whose identifier is "root".
/// Only `setRoot` replaces it, so a view or observer that is bound to the root stays bound.
///
/// A collection keeps its input. It skips a change that equals what it holds, and otherwise builds
/// all its items anew. The merge then keeps the items of the tree whose identifiers are still there
/// (`KRAVTWVItemVexil::replaceChildren` says how they are paired). A collection, its tree and its
/// observers belong to one thread at a time. Single properties are atomic.
///
/// Observers, and the objects that records hold, may do anything while a setter is at work: refresh
/// the collection, change its tree or let go of it. The setter goes on with what it was handed. It
/// throws `RangeError` if the tree has changed so that it cannot.
///
/// A collection can be set as the data source of an outline view, but answers none of its
/// questions. Views reach the tree through `root`.
class KRAVTWVItemsVexil : public vexil::platform::Observable,
                          public vexil::platform::OutlineViewDataSource {
 public:
  KRAVTWVItemsVexil();
  ~KRAVTWVItemsVexil() override;

  /// The root; may be absent. Setting it is announced under "root", also when it is the same one.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> root() const { return read(_root); }
  void setRoot(std::shared_ptr<KRAVTWVItemVexil> root);

  /// Calls `replaceChildren` of the root with the items, and so announces and throws what that
  /// does. Does nothing without a root. A null pointer counts as an empty array.
  void replaceRootChildren(const std::shared_ptr<const KRAVTWVItemArray>& items);

  /// Builds all items anew from the input that is held, and sets them as the root's children in one
  /// announcement: a setting of "children" (`KRAVTWVItemVexil::setChildren`). A tree observer
  /// reports that as a removal of all old items and a setting with the new ones. Nothing is
  /// compared, so no item stays and no identifier is needed. Does nothing without a root, and in a
  /// collection that has no input.
  ///
  /// A host needs it when the merge has thrown out of a setter, because an identifier was missing
  /// or occurred twice. A host also needs it when foreign code has changed the tree, or refreshed
  /// this collection, in the middle of a setter. In both cases the input is stored, but the tree
  /// does not show it, and setting an equal input again does nothing.
  void rebuildRootChildren();

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override {
    return itemsKeyTable();
  }
  static const vexil::platform::KeyTable& itemsKeyTable();

  /// Returns what `rebuildRootChildren` sets: an item for each part of the input that is held. A
  /// null pointer means that there is no input, as in this class. A host's own collection overrides
  /// it.
  [[nodiscard]] virtual std::shared_ptr<KRAVTWVItemArray> itemsOfInput() const { return nullptr; }

 private:
  void setRootValue(const vexil::platform::Value& root);
  std::shared_ptr<KRAVTWVItemVexil> _root;
};

/// A flat list of events, sorted by name and then by identifier.
///
///     auto list = std::make_shared<KRAVTWVEventsVexil>();
///     list->setEvents(records);      // as often as the engine reports
///     list->root()->children();      // an event item for each record
class KRAVTWVEventsVexil : public KRAVTWVItemsVexil {
 public:
  KRAVTWVEventsVexil();
  ~KRAVTWVEventsVexil() override;

  /// The records that were accepted last, in order; an empty array at first. Setting it is
  /// announced and does nothing else: the tree stays as it is.
  [[nodiscard]] vexil::platform::Value sortedEvents() const { return read(_sortedEvents); }
  void setSortedEvents(vexil::platform::Value sortedEvents);

  /// Accepts a new list: an array of event records in any order. A host can also set it under the
  /// key "events", which cannot be read.
  ///
  /// Sorts the records stably by `kTWEventName` and, if those compare equal, by `kTWEventUniqueID`,
  /// both by natural comparison (`Value::compare`; absent first). If the sorted list equals the one
  /// held, nothing else happens. Otherwise "sortedEvents" is set and announced first, while the
  /// tree is still the old one. Then an item is built for each record, and all are merged into the
  /// root's children, with the announcements of `KRAVTWVItemVexil::replaceChildren`.
  ///
  /// An absent list never equals the one held: it is stored as absent, and all items go. All
  /// records must have identifiers, and they must differ; otherwise the merge throws, and the list
  /// stays stored. Throws `InvalidArgument` for anything but an array or an absent value, and then
  /// changes nothing.
  ///
  /// Cost: linear, in whatever order the records come, as long as most keep their names. A list
  /// that has not changed costs a constant number of allocations. An item is made for each record
  /// that is new. If identifiers and names do not tell all records apart, the list is sorted each
  /// time.
  void setEvents(const vexil::platform::Value& events);

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
  [[nodiscard]] std::shared_ptr<KRAVTWVItemArray> itemsOfInput() const override;

 private:
  vexil::platform::Value _sortedEvents = vexil::platform::Value::array({});
  const std::unique_ptr<vexil::detail::EventOrder> _order;
};

/// All events under the domains that they belong to: a row for each domain, with its events below.
///
/// The engine's own domain and its events are not shown. Events of a domain without a domain record
/// are not shown either. If only one domain is left to show, it gets no row: its events stand right
/// under the root (and there is nothing if it has none).
class KRAVTWVEventStoreVexil : public KRAVTWVItemsVexil {
 public:
  KRAVTWVEventStoreVexil();
  ~KRAVTWVEventStoreVexil() override;

  /// The domain records that were accepted last, in the host's order; an empty array at first.
  /// Setting it is announced and does nothing else.
  [[nodiscard]] vexil::platform::Value orderedDomains() const { return read(_orderedDomains); }
  void setOrderedDomains(vexil::platform::Value orderedDomains);

  /// The event records that were accepted last, by name and then by identifier; an empty array at
  /// first. Setting it is announced and does nothing else.
  [[nodiscard]] vexil::platform::Value sortedEvents() const { return read(_sortedEvents); }
  void setSortedEvents(vexil::platform::Value sortedEvents);

  /// Accepts domain records: an array in the order in which to show them. A host can also set it
  /// under the key "domains", which cannot be read.
  ///
  /// Does nothing when the list equals the one held, in this order. Otherwise "orderedDomains" is
  /// set and announced first, while the tree is still the old one. Then all items are built from
  /// the records held, and merged into the root's children. An absent list never equals the one
  /// held: it is stored as absent, and all rows go. Throws `InvalidArgument` for anything but an
  /// array or an absent value, and then changes nothing.
  void setDomains(const vexil::platform::Value& domains);

  /// Does the same for event records, in any order, under the key "events". It sorts them as
  /// `KRAVTWVEventsVexil::setEvents` does, at the same cost, and compares the sorted list. If the
  /// list is absent, the domains stay as rows without events.
  void setEvents(const vexil::platform::Value& events);

  /// Returns the items of the top level for these records. It reads no store.
  ///
  /// Domains keep their order, and so do the events of each. An event belongs to the domain whose
  /// `kTWDomainUniqueID` equals its `kTWEventDomain`. A value that is missing or no string counts
  /// as the empty string. Two domain records with the same identifier share the event items, and
  /// the later row is their parent. Of equal event records, a domain shows the last one. If only
  /// one domain is left to show, the result is its row's own array of children.
  [[nodiscard]] static std::shared_ptr<KRAVTWVItemArray> itemsWithEventsAndDomains(
      const vexil::platform::Value& events, const vexil::platform::Value& domains);

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
  [[nodiscard]] std::shared_ptr<KRAVTWVItemArray> itemsOfInput() const override;

 private:
  void rebuild();

  vexil::platform::Value _orderedDomains = vexil::platform::Value::array({});
  vexil::platform::Value _sortedEvents = vexil::platform::Value::array({});
  const std::unique_ptr<vexil::detail::EventOrder> _order;
  const std::unique_ptr<vexil::detail::RowsOfEvents> _rowsOfEvents;
};

/// What the engine is doing: three groups that are always there. Each has an item for each record,
/// in the order of the records.
///
///     scheduler.active      events that run now            KRAVTWVActiveEventVexil
///     ondemand.available    events to be run on demand     KRAVTWVOnDemandVexil
///     scheduler.pending     triggers that wait to fire     KRAVTWVQueuedTriggerVexil
///
/// The labels of the groups come from strings tables, under the keys "engine.scheduler.active",
/// "engine.ondemand.available" and "engine.scheduler.pending". The tables are those of the module
/// that holds the collection's own class. Where a table has no text for a key, the key itself is
/// the label.
///
/// The three inputs can also be set by key. Each is an array of records or absent; anything else
/// throws `InvalidArgument` and changes nothing. An input that equals the list held does nothing.
/// Otherwise the list is set and announced first, and then the items of all three groups are built
/// and merged. An absent list is stored and shows nothing. An absent list that is held equals no
/// input, so the next input is accepted, whatever it is.
class KRAVTWVEngineVexil : public KRAVTWVItemsVexil {
 public:
  KRAVTWVEngineVexil();
  ~KRAVTWVEngineVexil() override;

  void setActive(const vexil::platform::Value& events);  ///< key "active", held as `activeEvents`
  void setPending(
      const vexil::platform::Value& triggers);  ///< key "pending", held as `pendingTriggers`
  void setAvailable(
      const vexil::platform::Value& events);  ///< key "available", as `onDemandAvailable`

  /// The lists that are held; empty arrays at first. Setting one directly is announced. It shows
  /// with the next rebuild.
  [[nodiscard]] vexil::platform::Value activeEvents() const { return read(_activeEvents); }
  void setActiveEvents(vexil::platform::Value events);
  [[nodiscard]] vexil::platform::Value pendingTriggers() const { return read(_pendingTriggers); }
  void setPendingTriggers(vexil::platform::Value triggers);
  [[nodiscard]] vexil::platform::Value onDemandAvailable() const {
    return read(_onDemandAvailable);
  }
  void setOnDemandAvailable(vexil::platform::Value events);

  /// Builds all items from the lists that are held, and merges them into the root's children.
  void updateItemsForEngine();

 protected:
  /// For a subclass in a module with its own strings tables. While the base class is constructed,
  /// the object is not yet of the subclass, so the subclass must say which class it is:
  ///
  ///     HostEngine::HostEngine() : KRAVTWVEngineVexil(typeid(HostEngine)) {}
  explicit KRAVTWVEngineVexil(const std::type_info& ownClass);

  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
  [[nodiscard]] std::shared_ptr<KRAVTWVItemArray> itemsOfInput() const override;

 private:
  void accept(const vexil::platform::Value& list,
              vexil::platform::Value (KRAVTWVEngineVexil::*getter)() const,
              void (KRAVTWVEngineVexil::*setter)(vexil::platform::Value));
  [[nodiscard]] std::shared_ptr<KRAVTWVItemArray> itemsLabelledFrom(
      const vexil::platform::Bundle& strings) const;

  vexil::platform::Value _activeEvents = vexil::platform::Value::array({});
  vexil::platform::Value _pendingTriggers = vexil::platform::Value::array({});
  vexil::platform::Value _onDemandAvailable = vexil::platform::Value::array({});
};

/// An ordered array of network services; none of them is a null pointer.
using KRAVTWVNetServiceArray = std::vector<std::shared_ptr<vexil::platform::NetService>>;

/// Network services by their domain, in one of two shapes: a group for each domain with its
/// services in it, or a flat list in which each domain's header stands before its services.
///
/// The shapes order domains differently: groups by plain comparison of their labels, headers
/// without regard to case. In both shapes, the services of a domain are in the order of their
/// names.
///
///     auto services = std::make_shared<KRAVTWVServicesVexil>();
///     services->addServices(foundSoFar);   // one rebuild
///     services->addService(another);       // and one for each that comes later
///
/// A host's own class of service may change the collection, or let go of it, in its equality, its
/// hash and its destructor. The collection asks all services first. Then it adds to, or removes
/// from, the array that it holds by then. It does not add a service again that the host has added
/// meanwhile.
class KRAVTWVServicesVexil : public KRAVTWVItemsVexil {
 public:
  /// Makes a collection without services. Nothing is built before the first change.
  KRAVTWVServicesVexil();
  ~KRAVTWVServicesVexil() override;

  /// The shape: groups when true, flat when false; flat at first. Setting it is announced under
  /// "groupByDomain", and shows with the next rebuild. If that changes the order of domains, the
  /// rows that stay take over each other's content and keep their labels, as in every merge. To get
  /// new rows, empty the root's children first.
  [[nodiscard]] bool groupByDomain() const { return read(_groupByDomain); }
  void setGroupByDomain(bool groupByDomain);

  /// The services that are held, by domain and then by name. This is the array itself: adding and
  /// removing change it without an announcement under this key. Setting it is announced and does
  /// nothing else. It may be absent: then there is nothing to show, and adding makes a new one.
  [[nodiscard]] std::shared_ptr<KRAVTWVNetServiceArray> sortedServices() const {
    return read(_sortedServices);
  }
  void setSortedServices(std::shared_ptr<KRAVTWVNetServiceArray> sortedServices);

  /// Adds a service, sorts all (`Value::compare` of domain, then name; stably) and rebuilds the
  /// items. Does nothing when an equal service is held. It asks each held service, which is the
  /// receiver of `isEqual`. Throws `InvalidArgument` when the service is absent. Throws it also
  /// when the service has no domain, but then the service is held, and every rebuild throws until
  /// it is removed.
  void addService(const std::shared_ptr<vexil::platform::NetService>& service);

  /// Adds many services as if each came in turn, but sorts and rebuilds once: for services that are
  /// found at the same time. So it announces what one merge announces of all of them. Of equal
  /// services it adds the first. Does nothing when equal ones of all are held. Only services with
  /// equal hashes are asked whether they are equal.
  ///
  /// Throws `InvalidArgument` when one is a null pointer, and then changes nothing. Throws it also
  /// when one has no domain, but then all are held.
  ///
  /// Cost: that of `addService`, and of sorting what is added.
  void addServices(const KRAVTWVNetServiceArray& services);

  /// Removes the held services that equal `service`, and rebuilds the items. Does nothing when
  /// there are none.
  void removeService(const std::shared_ptr<vexil::platform::NetService>& service);

  /// Removes many services as if each went in turn, but rebuilds once. Does nothing when none of
  /// them is held. Ignores null pointers. Only services with equal hashes are asked whether they
  /// are equal.
  void removeServices(const KRAVTWVNetServiceArray& services);

  /// Builds all items and merges them into the root's children. Throws `InvalidArgument` when a
  /// service has no domain.
  ///
  /// Cost: makes an item for each service and each domain, whatever has changed. Linear, except for
  /// sorting the domains.
  void updateItemsForServices();

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
  [[nodiscard]] std::shared_ptr<KRAVTWVItemArray> itemsOfInput() const override;

 private:
  void insertAndRebuild(const KRAVTWVNetServiceArray& added);
  void eraseAndRebuild(const KRAVTWVNetServiceArray& found);
  void setGroupByDomainValue(const vexil::platform::Value& groupByDomain);
  [[nodiscard]] vexil::platform::Value sortedServicesValue() const;
  void setSortedServicesValue(const vexil::platform::Value& sortedServices);

  bool _groupByDomain = false;
  std::shared_ptr<KRAVTWVNetServiceArray> _sortedServices =
      std::make_shared<KRAVTWVNetServiceArray>();
};
