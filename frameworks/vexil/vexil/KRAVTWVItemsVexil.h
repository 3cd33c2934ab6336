// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/Observable.h>
#include <platform/OutlineViewDataSource.h>
#include <platform/Value.h>
#include <vexil/KRAVTWVItemVexil.h>

#include <memory>
#include <string_view>

/// Keys of collections, for hosts that observe one or set it by key.
extern const std::string_view KRAVTWVItemsVexilKeyPathRoot;     ///< "root"
extern const std::string_view KRAVTWVEventsVexilKeyPathEvents;  ///< "events"

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
/// It can stand as the data source of an outline view, and answers none of its questions: views
/// reach the tree through `root`.
class KRAVTWVItemsVexil : public platform::Observable, public platform::OutlineViewDataSource {
 public:
  KRAVTWVItemsVexil();
  ~KRAVTWVItemsVexil() override;

  /// Setting it, also to the root that it has, is announced under "root". It may be absent.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> root() const { return read(_root); }
  void setRoot(std::shared_ptr<KRAVTWVItemVexil> root);

  /// Hands the items to the root's `replaceChildren`, with what that announces and raises. Nothing
  /// happens without a root. A null pointer is an empty array.
  void replaceRootChildren(const std::shared_ptr<const KRAVTWVItemArray>& items);

 protected:
  [[nodiscard]] const platform::KeyTable& keyTable() const override { return itemsKeyTable(); }
  static const platform::KeyTable& itemsKeyTable();

 private:
  void setRootValue(const platform::Value& root);
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
  [[nodiscard]] platform::Value sortedEvents() const { return read(_sortedEvents); }
  void setSortedEvents(platform::Value sortedEvents);

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
  /// Cost: an unchanged list costs one sort and one comparison; a changed one also one item a
  /// record.
  void setEvents(const platform::Value& events);

 protected:
  [[nodiscard]] const platform::KeyTable& keyTable() const override;

 private:
  platform::Value _sortedEvents = platform::Value::array({});
};
