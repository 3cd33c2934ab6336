// SPDX-License-Identifier: Apache-2.0
// Everything that one cell of the table works on, made anew for each cell: two collections with
// their trees, an item, and the observers.
#pragma once

#include "HostObjects.h"
#include "Records.h"

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/order/LiteralRefresh.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/RowSet.h>
#include <vexil/platform/Observing.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace foreign {

using ItemPointer = std::shared_ptr<KRAVTWVItemVexil>;
using CollectionPointer = std::shared_ptr<KRAVTWVItemsVexil>;

enum class Kind : unsigned char { list, store, engine, groupedServices, flatServices };

/// Which item an operation is performed on: the root of the tree, one of the rows below it, or an
/// item without children in the middle of the tree, the first or the last one.
enum class Place : unsigned char { root, row, leaf, firstLeaf, lastLeaf };

struct Scene {
  Kind kind = Kind::list;
  Content content = Content::objects;
  bool isObserved = false;  ///< everything observable has observers
  bool isHosted = false;    ///< the host's own classes, where it can bring them in
  bool isOutlined = false;  ///< the tree has an outline
  bool isLiteral = false;   ///< refreshes take no shorter way
  bool isEmpty = false;     ///< before the first list
  Place place = Place::row;

  [[nodiscard]] std::string name() const;
  bool operator==(const Scene&) const = default;
};

/// All that a host hands over in a refresh. Each kind of collection takes its part.
struct Input {
  vexil::platform::Value events;
  vexil::platform::Value domains;
  vexil::platform::Value active;
  vexil::platform::Value available;
  vexil::platform::Value pending;
  KRAVTWVNetServiceArray services;
};
[[nodiscard]] Input inputOf(const Entries& entries, const Entries& domains, Content content);

/// What a tree is set up with; the numbers stand in both versions of a refresh.
inline constexpr int lastNumber = 4;
[[nodiscard]] inline Entries firstEntries() {
  return entries(0, lastNumber);
}
[[nodiscard]] inline Entries firstDomains() {
  return entries(0, 1);
}
/// The first entries with one in another version.
[[nodiscard]] Entries oneChangedEntries(int version);
/// Some of the first entries are gone, some are new, and some are in another version.
[[nodiscard]] Entries mixedEntries(int version);
/// The first entries from the last to the first, with names that sort like that.
[[nodiscard]] Entries reorderedEntries();

class World {
 public:
  explicit World(const Scene& scene);
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World();

  const Scene scene;

  // What operations and actions work on. Only this world and the trees hold these.
  CollectionPointer collection;
  CollectionPointer other;  // it got equal records, made anew
  ItemPointer item;         // in the tree of `collection`
  ItemPointer twin;         // the one at its place in the other tree
  std::shared_ptr<KRAVTWVItemsObserver> itemsObserver;
  std::shared_ptr<HostDelegate> delegate;
  std::vector<std::shared_ptr<HostObserver>> observers;  // one a site
  std::vector<vexil::platform::Observation> closures;
  std::unique_ptr<vexil::Outline> outline;        // of `collection`; null if the scene has none
  std::unique_ptr<vexil::Outline> secondOutline;  // of a root; null until an action makes it
  std::unique_ptr<vexil::RowSet> rowSet;          // null until an operation makes it

  /// Registers the observer that calls a site. The world holds it.
  std::shared_ptr<HostObserver> observe(const std::shared_ptr<vexil::platform::Observable>& object,
                                        const vexil::platform::Key& key,
                                        vexil::platform::ObservingOptions options, Site site);

  /// An item like `item`, with its children, of the same classes and with equal records.
  [[nodiscard]] ItemPointer copyOf(const KRAVTWVItemVexil& item) const;

  /// Has a collection show another list: some records go, some come, some are changed.
  void refresh(const CollectionPointer& which);

  /// Has a collection show other entries.
  void show(const CollectionPointer& which, const Entries& events, const Entries& domains);

  /// Makes the outline of the collection.
  void makeOutline();
  /// These two do what the outline does of this name, and nothing when there is none.
  void prepareOutline();
  void updateOutline();
  /// Makes a second outline, of the item that is the root now.
  void makeSecondOutline();
  /// Tells that an array was changed without an announcement. An outline need not know of that.
  void noteSilentChange() { _hasSilentChanges = true; }

  /// Lets go of the item. Takes it out of its array, or out of the collection whose root it is,
  /// with the announcements for that.
  void letGoOfItem();

  /// The number of the next version of records.
  [[nodiscard]] int nextVersion() { return ++_version; }

  /// Checks that both collections can still be refreshed and show what they must, and that
  /// observers hear of it. Returns nothing when all is right, and otherwise what is wrong.
  [[nodiscard]] std::optional<std::string> verify();
  /// Whether a collection's tree had to be built anew for that.
  [[nodiscard]] bool neededRemedy() const { return _neededRemedy; }

 private:
  [[nodiscard]] CollectionPointer makeCollection() const;
  void hand(KRAVTWVItemsVexil& which, const Input& input);
  [[nodiscard]] std::string modelOf(const Input& input) const;
  void setUp(const CollectionPointer& which);
  [[nodiscard]] std::shared_ptr<HostObserver> observerOf(Site site);
  void watch();
  void watchItem(const ItemPointer& watched);
  [[nodiscard]] ItemPointer itemAtPlace(const KRAVTWVItemsVexil& which) const;
  void beginUpdate();
  [[nodiscard]] std::optional<std::string> verify(const CollectionPointer& which);
  [[nodiscard]] std::optional<std::string> verifyOutlineOfNothing();
  [[nodiscard]] std::optional<std::string> verifyOutlines();
  [[nodiscard]] std::optional<std::string> verify(vexil::Outline& which,
                                                  const ItemPointer& root) const;

  std::optional<vexil::detail::LiteralRefresh> _literal;
  int _version = 0;
  bool _neededRemedy = false;
  std::weak_ptr<KRAVTWVItemVexil> _root;  // the first one of `collection`
  std::size_t _hostsBefore;
  std::weak_ptr<KRAVTWVItemVexil> _rootOfSecondOutline;
  std::size_t _callsOfOutline = 0;  // since the last update was asked for
  bool _hasSilentChanges = false;
};

[[nodiscard]] const vexil::platform::ContextToken& context();

}  // namespace foreign
