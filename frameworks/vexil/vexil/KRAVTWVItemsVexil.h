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

/// Keys of collections, for hosts that observe one or set it by key.
extern const std::string_view KRAVTWVItemsVexilKeyPathRoot;          ///< "root"
extern const std::string_view KRAVTWVEventsVexilKeyPathEvents;       ///< "events"
extern const std::string_view KRAVTWVEventStoreVexilKeyPathDomains;  ///< "domains"
extern const std::string_view KRAVTWVEngineVexilKeyPathActive;       ///< "active"
extern const std::string_view KRAVTWVEngineVexilKeyPathPending;      ///< "pending"
extern const std::string_view KRAVTWVEngineVexilKeyPathAvailable;    ///< "available"

/// A collection: the object that a host keeps for one outline. It owns the root of a tree of items,
/// turns the records it is handed into items, and has the root merge them into the live tree.
///
/// Collections are held by `std::shared_ptr` (`std::make_shared<KRAVTWVEventsVexil>()`). The root
/// is made once, a group without a label whose identifier is "root"; no collection ever replaces
/// it, so a view or observer that is bound to it stays bound. Only `setRoot` does.
///
/// A collection keeps its input, skips a change that equals what it holds, and otherwise builds all
/// its items anew; the merge keeps those that are shown. All of a collection, its tree and its
/// observers belong to one thread at a time; single properties are atomic.
///
/// Observers, and the objects that records hold, may do anything while a setter is at work: refresh
/// the collection, change its tree or let go of it. The setter goes on with what it was handed; it
/// throws `RangeError` where the tree has become another one by then.
///
/// It can stand as the data source of an outline view, and answers none of its questions: views
/// reach the tree through `root`.
class KRAVTWVItemsVexil : public vexil::platform::Observable,
                          public vexil::platform::OutlineViewDataSource {
 public:
  KRAVTWVItemsVexil();
  ~KRAVTWVItemsVexil() override;

  /// Setting it, also to the root that it has, is announced under "root". It may be absent.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> root() const { return read(_root); }
  void setRoot(std::shared_ptr<KRAVTWVItemVexil> root);

  /// Hands the items to the root's `replaceChildren`, with what that announces and raises. Nothing
  /// happens without a root. A null pointer is an empty array.
  void replaceRootChildren(const std::shared_ptr<const KRAVTWVItemArray>& items);

  /// Builds all items anew from the input that is held and sets them as the root's children,
  /// whatever these were, in one announcement: a setting of "children"
  /// (`KRAVTWVItemVexil::setChildren`), of which a tree observer tells its delegate as a removal of
  /// all old items and a setting with the new ones. Nothing is compared, so no item stays and no
  /// identifier is needed. Nothing happens without a root, and in a collection that holds no input.
  ///
  /// A host needs it when a setter has thrown out of the merge, because an identifier was missing
  /// or occurred twice; or when foreign code has changed the tree, or refreshed this collection, in
  /// the middle of a setter. Then the input is stored, but the tree is not in line with it, and
  /// setting an equal input again does nothing.
  void rebuildRootChildren();

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override {
    return itemsKeyTable();
  }
  static const vexil::platform::KeyTable& itemsKeyTable();

  /// What `rebuildRootChildren` sets: an item for each part of the input that is held. A null
  /// pointer means that there is no input, as in this class. A host's own collection overrides it.
  [[nodiscard]] virtual std::shared_ptr<KRAVTWVItemArray> itemsOfInput() const { return nullptr; }

 private:
  void setRootValue(const vexil::platform::Value& root);
  std::shared_ptr<KRAVTWVItemVexil> _root;
};

/// A flat list of events, sorted by name and then by identifier.
///
///     auto list = std::make_shared<KRAVTWVEventsVexil>();
///     list->setEvents(records);      // as often as the engine reports
///     list->root()->children();      // one event item a record
class KRAVTWVEventsVexil : public KRAVTWVItemsVexil {
 public:
  KRAVTWVEventsVexil();
  ~KRAVTWVEventsVexil() override;

  /// The records accepted last, in order; an empty array at first. Setting it is announced and does
  /// nothing else: the tree stays as it is.
  [[nodiscard]] vexil::platform::Value sortedEvents() const { return read(_sortedEvents); }
  void setSortedEvents(vexil::platform::Value sortedEvents);

  /// Accepts a new list, an array of event records in any order; also reached by setting the key
  /// "events", which can only be set.
  ///
  /// The records are sorted by `kTWEventName` and, where those compare equal, by
  /// `kTWEventUniqueID`, by natural comparison (`Value::compare`; absent first), stably. When the
  /// sorted list equals the one held, nothing else happens. Otherwise "sortedEvents" is set and
  /// announced first, while the tree is still the old one; then an item is built for each record
  /// and all are merged into the root's children, with the announcements of
  /// `KRAVTWVItemVexil::replaceChildren`.
  ///
  /// An absent list never equals the one held: it is stored as absent, and all items go.
  /// Identifiers must be there and differ from one another; otherwise the merge raises, with the
  /// list stored. Raises `InvalidArgument` for anything but an array, with nothing changed.
  ///
  /// Cost: linear, whatever the order of the records, as long as most keep their names; nothing is
  /// allocated for a list that has not changed but a constant number of blocks. An item is made for
  /// each record that is new. Without identifiers and names that tell all records apart the list is
  /// sorted each time.
  void setEvents(const vexil::platform::Value& events);

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
  [[nodiscard]] std::shared_ptr<KRAVTWVItemArray> itemsOfInput() const override;

 private:
  vexil::platform::Value _sortedEvents = vexil::platform::Value::array({});
  const std::unique_ptr<vexil::detail::EventOrder> _order;
};

/// All events under the domains that they belong to: a row a domain, with its events below it.
///
/// The engine's own domain is not shown, and its events are not; nor are events of a domain that is
/// not among the domain records. A domain that is the only one shown is left out as a level: its
/// events stand right under the root (and there is nothing when it has none).
class KRAVTWVEventStoreVexil : public KRAVTWVItemsVexil {
 public:
  KRAVTWVEventStoreVexil();
  ~KRAVTWVEventStoreVexil() override;

  /// The domain records accepted last, in the host's order; an empty array at first. Setting it is
  /// announced and does nothing else.
  [[nodiscard]] vexil::platform::Value orderedDomains() const { return read(_orderedDomains); }
  void setOrderedDomains(vexil::platform::Value orderedDomains);

  /// The event records accepted last, by name and then by identifier; an empty array at first.
  /// Setting it is announced and does nothing else.
  [[nodiscard]] vexil::platform::Value sortedEvents() const { return read(_sortedEvents); }
  void setSortedEvents(vexil::platform::Value sortedEvents);

  /// Accepts domain records, an array in the order in which they shall be shown; also reached by
  /// setting the key "domains", which can only be set.
  ///
  /// Nothing happens when they equal, in this order, those held. Otherwise "orderedDomains" is set
  /// and announced first, while the tree is still the old one; then all items are built from the
  /// records held and merged into the root's children. An absent list never equals the one held; it
  /// is stored as absent, and all rows go. Raises `InvalidArgument` for anything but an array, with
  /// nothing changed.
  void setDomains(const vexil::platform::Value& domains);

  /// The same for event records, in any order, under the key "events". They are sorted as
  /// `KRAVTWVEventsVexil::setEvents` says, at the cost it names, and it is the sorted list that is
  /// compared. Without a
  /// list, the domains stay as rows without events.
  void setEvents(const vexil::platform::Value& events);

  /// The items of the top level for these records; the store itself has no part in it.
  ///
  /// Domains and, in each, events keep their order. An event belongs to the domain whose
  /// `kTWDomainUniqueID` is its `kTWEventDomain`; a record in which that is missing, or is no
  /// string, counts as having the empty string there. Two domain records of one identifier share
  /// the event items, whose parent is then the later row; of event records that are equal, a domain
  /// shows the last one. With a single domain left to show, the result is that row's own array of
  /// children.
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

/// What the engine is doing: three groups that are always there, each with an item a record, in the
/// order of the records.
///
///     scheduler.active      events that run now            KRAVTWVActiveEventVexil
///     ondemand.available    events to be run on demand     KRAVTWVOnDemandVexil
///     scheduler.pending     triggers that wait to fire     KRAVTWVQueuedTriggerVexil
///
/// The groups are labelled with the texts under "engine.scheduler.active" and so on, or these keys
/// themselves, from the strings tables of the module that holds the collection's own class.
///
/// The three inputs can also be set by key. Each is an array of records; anything else raises
/// `InvalidArgument`, with nothing changed. An input that equals the list held does nothing.
/// Otherwise the list is set and announced first, and then the items of all three groups are built
/// and merged. An absent list is stored and shows nothing; as a list that is held it equals
/// nothing, so whatever comes after it is accepted.
class KRAVTWVEngineVexil : public KRAVTWVItemsVexil {
 public:
  KRAVTWVEngineVexil();
  ~KRAVTWVEngineVexil() override;

  void setActive(const vexil::platform::Value& events);  ///< key "active", held as `activeEvents`
  void setPending(
      const vexil::platform::Value& triggers);  ///< key "pending", held as `pendingTriggers`
  void setAvailable(
      const vexil::platform::Value& events);  ///< key "available", as `onDemandAvailable`

  /// The lists that are held; empty arrays at first. Setting one directly is announced, and shows
  /// with the next rebuild.
  [[nodiscard]] vexil::platform::Value activeEvents() const { return read(_activeEvents); }
  void setActiveEvents(vexil::platform::Value events);
  [[nodiscard]] vexil::platform::Value pendingTriggers() const { return read(_pendingTriggers); }
  void setPendingTriggers(vexil::platform::Value triggers);
  [[nodiscard]] vexil::platform::Value onDemandAvailable() const {
    return read(_onDemandAvailable);
  }
  void setOnDemandAvailable(vexil::platform::Value events);

  /// Builds all items from the lists that are held and merges them into the root's children.
  void updateItemsForEngine();

 protected:
  /// For a subclass in a module with strings tables of its own. While a base class is made, the
  /// object is not yet of the subclass, so the subclass says which one it is:
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

/// Network services by their domain, in one of two shapes: a group a domain with its services in
/// it, or a flat list in which each domain's header stands before its services.
///
/// The shapes order domains differently: groups by plain comparison of their labels, headers
/// without regard to case. In both, the services of a domain stand by name.
///
///     auto services = std::make_shared<KRAVTWVServicesVexil>();
///     services->addServices(foundSoFar);   // one rebuild
///     services->addService(another);       // and one for each that comes later
///
/// A host's own kind of service may change the collection, or let go of it, when it is asked
/// whether it is equal, for its hash, or when it goes. Once all are asked, services are added to,
/// or removed from, the array that is held then. One that the host added meanwhile is not added
/// twice.
class KRAVTWVServicesVexil : public KRAVTWVItemsVexil {
 public:
  /// A collection without services; nothing is built before the first change.
  KRAVTWVServicesVexil();
  ~KRAVTWVServicesVexil() override;

  /// The shape: groups when true, flat when false, as it is at first. A new shape shows with the
  /// next rebuild. Where it turns domains round, the rows that stay take over each other's content
  /// and keep their labels, as in every merge: empty the root's children first to have them anew.
  [[nodiscard]] bool groupByDomain() const { return read(_groupByDomain); }
  void setGroupByDomain(bool groupByDomain);

  /// The services held, by domain and then by name: the array itself, which `addService` and
  /// `removeService` change without an announcement under this key. Setting it is announced and
  /// does nothing else. Without one there is nothing to show, and adding starts a new one.
  [[nodiscard]] std::shared_ptr<KRAVTWVNetServiceArray> sortedServices() const {
    return read(_sortedServices);
  }
  void setSortedServices(std::shared_ptr<KRAVTWVNetServiceArray> sortedServices);

  /// Adds a service, sorts all (`Value::compare` of domain, then name; stably) and rebuilds the
  /// items. Nothing happens when an equal one is held: each that is held is asked, and is the
  /// receiver of `isEqual`. Throws `InvalidArgument` when the service is absent; also when it has
  /// no domain, but then it is held, and every rebuild throws until it is removed.
  void addService(const std::shared_ptr<vexil::platform::NetService>& service);

  /// Adds many services as if each came in turn, but sorts and rebuilds once: for a burst of them.
  /// What is announced is therefore what one merge announces of all that came. Of equal ones the
  /// first stays, and nothing happens when equal ones of all are held. Only services of equal
  /// hashes are asked whether they are equal.
  ///
  /// Throws `InvalidArgument`, with nothing changed, when one is a null pointer; also when one has
  /// no domain, but then all are held.
  ///
  /// Cost: as `addService`, and to sort those that are added.
  void addServices(const KRAVTWVNetServiceArray& services);

  /// Removes a service and rebuilds the items. Nothing happens when no equal one is held.
  void removeService(const std::shared_ptr<vexil::platform::NetService>& service);

  /// Removes many services as if each went in turn, but rebuilds once. Nothing happens when none of
  /// them is held; a null pointer among them is not. Asks as `addServices` does.
  void removeServices(const KRAVTWVNetServiceArray& services);

  /// Builds all items and merges them into the root's children. Raises `InvalidArgument` when a
  /// service has no domain.
  ///
  /// Cost: one item a service and domain, whatever has changed; linear, but for the order of the
  /// domains.
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
