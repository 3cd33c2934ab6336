// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/detail/ItemReference.h>
#include <vexil/detail/RecordAddress.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/IndexSet.h>
#include <vexil/platform/NetService.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Pasteboard.h>
#include <vexil/platform/Value.h>
#include <vexil/platform/detail/BlockPool.h>

#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

class KRAVTWVItemVexil;
class KRAVTWVGroupVexil;
class KRAVTWVEventVexil;
class KRAVTWVDomainVexil;
class KRAVTWVQueuedTriggerVexil;
class KRAVTWVActiveEventVexil;
class KRAVTWVNetDomainVexil;
class KRAVTWVNetServiceVexil;

namespace vexil::detail {
class FreshList;
class ItemComparison;
class ItemMerge;
class ItemWalk;
struct ItemFields;

// What the initialisers from the pasteboard have in common.

/// The identifier of a group that is read from this type; absent when groups are not.
[[nodiscard]] std::optional<std::string_view> identifierOfGroupFromPasteboard(
    std::string_view type);
/// Adds the events that a group is read with.
void addEventsFromPasteboard(KRAVTWVGroupVexil& group, const platform::Value& propertyList,
                             std::string_view type);
[[nodiscard]] bool isEventFromPasteboard(const platform::Value& propertyList,
                                         std::string_view type);
}  // namespace vexil::detail

/// Keys of an item that hosts observe.
extern const std::string_view KRAVTWVItemVexilKeyPathChildren;  ///< "children"
extern const std::string_view KRAVTWVItemVexilKeyPathLabel;     ///< "label"

/// An ordered array of items; none of them is a null pointer.
using KRAVTWVItemArray = std::vector<std::shared_ptr<KRAVTWVItemVexil>>;

/// A node of every tree that outline views show: it wraps one represented object and has an
/// identifier among its siblings, a label, an enabled flag, a weak link to its parent and an
/// ordered array of children, which it owns.
///
/// Making one. Items are held by `std::shared_ptr` and made by the factories, each of which makes
/// the class it is called on. A host's own kind gets them with one line:
///
///     class HostEvent : public KRAVTWVKind<HostEvent, KRAVTWVEventVexil> {
///      public:
///       using KRAVTWVKind::KRAVTWVKind;
///       vexil::platform::Value representedEvent() const override { ... }
///     };
///     std::shared_ptr<HostEvent> item = HostEvent::itemWithEvent(record);
///
/// Identifiers and labels are strings by intention and values by type: a kind hands on whatever its
/// record holds, unchecked, absent values included.
///
/// What is announced. Every setter announces its own key. `representedObject` also announces the
/// keys that follow from it, "children" also "isGroup" and "isExpandable".
/// `removeChildrenAtIndexes` and `replaceChildren` announce changes of "children" with their
/// indexes. **`addChild` and `addChildren` announce nothing about "children"**: they fill items
/// that nobody watches yet.
///
/// Who owns whom. An item owns its children and refers to its parent weakly; only `addChild` sets a
/// child's parent, and nothing but `setParent` ever changes it again. In particular an item that
/// `replaceChildren` inserts keeps the parent it had, and a removed one too.
///
/// Threads. Every property is atomic by itself. Operations on children, making an item the parent
/// of another, and any change of an observed tree, belong to one thread at a time.
///
/// No operation recurses with the depth of the tree. Only items that represent items recurse, with
/// the length of that chain, when they are compared or hashed. A tree must not contain itself.
class KRAVTWVItemVexil : public vexil::platform::Observable {
 public:
  /// `initWithRepresentedObject:`. The object may be absent. The item has no identifier, label or
  /// parent, is not enabled, and its children are an empty array.
  explicit KRAVTWVItemVexil(vexil::platform::Value representedObject);
  ~KRAVTWVItemVexil() override;

  /// Yields nothing, on purpose: an item is made with what it represents.
  static std::shared_ptr<KRAVTWVItemVexil> init() { return nullptr; }

  static std::shared_ptr<KRAVTWVItemVexil> itemWithRepresentedObject(vexil::platform::Value object);

  /// The keys whose values follow from the represented object; a class operation. A kind adds its
  /// own to its base class's. "representedEvent" is in everybody's set, which is harmless for kinds
  /// without it.
  [[nodiscard]] virtual std::set<std::string> keyPathsForValuesAffectedByRepresentedObject() const;

  /// The dependencies of a key; "representedObject" for those in the set above.
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const vexil::platform::Key& key) const override;
  [[nodiscard]] virtual std::set<std::string> keyPathsForValuesAffectingIsExpandable() const;
  [[nodiscard]] virtual std::set<std::string> keyPathsForValuesAffectingIsGroup() const;

  // --- properties

  [[nodiscard]] virtual vexil::platform::Value uniqueID() const {
    return readRare(&Rare::_uniqueID);
  }
  void setUniqueID(vexil::platform::Value uniqueID);

  [[nodiscard]] virtual vexil::platform::Value label() const { return readRare(&Rare::_label); }
  void setLabel(vexil::platform::Value label);

  [[nodiscard]] vexil::platform::Value representedObject() const {
    return read(_representedObject);
  }
  void setRepresentedObject(vexil::platform::Value object);

  /// Absent once the parent is gone.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> parent() const { return read(_parent).lock(); }
  void setParent(const std::shared_ptr<KRAVTWVItemVexil>& parent);

  /// The children themselves, not a copy: the array changes as the item does. Whoever changes it
  /// directly announces that. A null pointer when they are absent, which they are only after
  /// `setChildren(nullptr)`; an absent array has no elements, and an item that is given children by
  /// `addChild` or `replaceChildren` starts a new one.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemArray> children() const;
  void setChildren(std::shared_ptr<KRAVTWVItemArray> children);

  /// Whether views offer a switch for `enabled`.
  [[nodiscard]] virtual bool supportsEnabled() const { return false; }
  [[nodiscard]] virtual bool enabled() const { return _enabled; }

  /// Both true when there is at least one child. Kinds override the first.
  [[nodiscard]] virtual bool isGroup() const { return !isLeaf(); }
  [[nodiscard]] virtual bool isExpandable() const { return !isLeaf(); }

  // --- equality

  /// By content: `other` is of the receiver's own class or a subclass of it, and `isEqualToItem`.
  /// So a plain item can equal an event, but never the other way round. An item always equals
  /// itself. Takes time in proportion to the subtree, less where it differs.
  [[nodiscard]] bool isEqual(const vexil::platform::Object& other) const final;
  [[nodiscard]] bool isEqual(const vexil::platform::Value& other) const;

  /// Whether the represented objects are equal, as the receiver's says, and the children are, one
  /// by one. False when the receiver represents nothing. Identifier, label, enabled and parent take
  /// no part.
  [[nodiscard]] bool isEqualToItem(const KRAVTWVItemVexil& item) const;

  /// 31 * hash of the represented object (0 when absent) + hash of the children + 961; the hash of
  /// the children follows from those of the whole subtree.
  [[nodiscard]] std::size_t hash() const final;

  /// `<Class: address> { uniqueID, label }`.
  [[nodiscard]] std::string description() const override;

  // --- children

  /// Appends `child` and sets its parent to this item. Children that equal it, as they say
  /// (`element.isEqual(child)`), are removed first, so that adding one again moves it to the end.
  /// Raises `InvalidArgument` for a null pointer.
  void addChild(std::shared_ptr<KRAVTWVItemVexil> child);

  /// `addChild` for each item in order, but for one thing: the parents of all are set first, and
  /// then the children change at once. In linear time, unless many items of one hash are not equal.
  /// When an item throws as it is asked, those before it are added.
  void addChildren(const KRAVTWVItemArray& children);

  /// Removes the children at these positions under one removal announcement; nothing happens when
  /// there are none. Their `parent` is left alone. Raises `RangeError`, with nothing changed or
  /// announced, when a position is past the end.
  void removeChildrenAtIndexes(const vexil::platform::IndexSet& indexes);

  /// Brings the children in line with a freshly built array, keeping the items that are still
  /// there.
  ///
  /// Three announcements at most, of "children", each only when it is not empty:
  /// 1. removal of the children whose identifier is not in `fresh`, at their old positions;
  /// 2. insertion of the items of `fresh` whose identifier is not among the children, those very
  ///    objects, at their positions in `fresh`;
  /// 3. replacement at the positions where a child that stayed does not equal the item that stands
  ///    there in `fresh`. Each such child, while this is being announced, takes over that item's
  ///    represented object (`setRepresentedObject`) and, by this same operation, its children; it
  ///    keeps its class, identifier, label and parent. The announcements of what happens inside
  ///    come before this one.
  ///
  /// Children that stay are paired with `fresh` by position, not by identifier: where their order
  /// has changed, they take over each other's content. Nothing is announced when nothing differs.
  /// A child that represents nothing never equals its counterpart and is refreshed every time.
  ///
  /// Raises `InvalidArgument` when an item on either side has no identifier, with nothing changed,
  /// and `RangeError` when, because identifiers occur twice, a position is past the end of an
  /// array; also when foreign code (an identifier, an object's equality, a getter, an observer)
  /// takes items out of either array in the middle. What was changed and announced before stays.
  ///
  /// Cost: linear in both arrays and in the subtrees compared, when nobody observes the subtrees or
  /// holds anything in them but its parent (hand the array over with `std::move`). Observers may
  /// change what was compared, and so may a change of an item that is held elsewhere too; below
  /// such items every level is compared anew.
  ///
  /// `fresh` may be a null pointer, which is an empty array.
  void replaceChildren(const std::shared_ptr<const KRAVTWVItemArray>& fresh);

  /// Raises `RangeError` when `index` is past the end.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> childAtIndex(std::size_t index) const;

  /// All descendants in post-order: every item after its own descendants, siblings in their order,
  /// this item not included.
  [[nodiscard]] KRAVTWVItemArray recursiveChildren() const;

  // --- the whole subtree

  /// Registers for "children" on all `recursiveChildren`, as they are now, and then on this item;
  /// and the inverse, in the same order. Raise what `addObserver` and `removeObserver` raise; what
  /// was done before that stays. Linear in the items, with little work for each that is observed
  /// like the one before it.
  void addObserverForRecursiveChildrenWithOptionContext(
      const std::shared_ptr<vexil::platform::Observer>& observer,
      vexil::platform::ObservingOptions options, const vexil::platform::ContextToken* context);
  void removeObserverForRecursiveChildrenWithContext(
      const std::shared_ptr<vexil::platform::Observer>& observer,
      const vexil::platform::ContextToken* context);

  // --- paths

  /// "/" and the identifier, for each item from the topmost parent down to this one. Raises
  /// `InvalidArgument` when one of them has no string for an identifier.
  [[nodiscard]] std::string path() const;

  /// The item at `path`, which begins with this item's own identifier; null when there is none. Of
  /// siblings with one identifier the first that leads there is found. Raises `InvalidArgument`
  /// when the search comes to an item that has no string for an identifier.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> itemWithPath(std::string_view path) const;

  /// A new, empty directory of this user's below the temporary directory; absent when five attempts
  /// to make one fail. Uses nothing of the item.
  [[nodiscard]] std::optional<vexil::platform::FileURL> URLForUniqueTemporaryDirectory() const;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override {
    return itemKeyTable();
  }
  static const vexil::platform::KeyTable& itemKeyTable();
  [[nodiscard]] vexil::platform::Value valuesAtIndexesForKey(
      const vexil::platform::IndexSet& indexes, const vexil::platform::Key& key) const override;
  [[nodiscard]] bool areValuesAtIndexesForKey(const vexil::platform::Value& values,
                                              const vexil::platform::IndexSet& indexes,
                                              const vexil::platform::Key& key) const override;

  /// Whether `other`, which is of another class than the receiver, is of a subclass of it.
  /// `KRAVTWVKind` overrides this for every kind.
  [[nodiscard]] virtual bool isKindOfReceiversClass(const KRAVTWVItemVexil& other) const;

  // The order of the fields is part of the design.
  std::atomic<bool> _enabled{false};

 private:
  friend class vexil::detail::ItemComparison;
  friend class vexil::detail::ItemMerge;
  friend class vexil::detail::ItemWalk;
  friend struct vexil::detail::ItemFields;

  // An empty array is made when somebody first asks for it: most items never have children. `made`
  // says that there is an array, so that walks need not look that far into an item.
  enum class Children : std::uint8_t { absent, unmade, made };

  [[nodiscard]] bool isLeaf() const;
  /// For compound operations: the children, and the array to add to.
  [[nodiscard]] const KRAVTWVItemArray& currentChildren() const {
    return _childrenState == Children::made ? *_rare->_children : noChildren();
  }
  [[nodiscard]] static const KRAVTWVItemArray& noChildren();
  [[nodiscard]] KRAVTWVItemArray& childrenForAdding();
  void insertChildren(const vexil::detail::FreshList& fresh,
                      const vexil::platform::IndexSet& indexes);
  void removeChildrenIn(KRAVTWVItemArray& items);
  void setChildrenValue(const vexil::platform::Value& children);
  void setParentValue(const vexil::platform::Value& parent);
  [[nodiscard]] vexil::platform::Value childrenValue() const;

  /// What most items do without: they are leaves, and have identifier and label from a record.
  struct Rare {
    vexil::platform::Value _uniqueID;
    vexil::platform::Value _label;
    std::shared_ptr<KRAVTWVItemArray> _children;
    vexil::detail::ItemReference _self;  // for those whose parent this is
  };
  [[nodiscard]] Rare& rare() const;
  [[nodiscard]] vexil::detail::ItemReference referenceToSelf();
  [[nodiscard]] vexil::platform::Value readRare(vexil::platform::Value Rare::*field) const;

  mutable Children _childrenState = Children::unmade;
  vexil::platform::Value _representedObject;
  vexil::detail::ItemReference _parent;
  mutable std::unique_ptr<Rare> _rare;        // once it is there, it stays
  vexil::detail::RecordAddress _equalRecord;  // one that equals the represented object
};

/// What every kind of item has from its class, for the kind `Self` derived from `Base`: the
/// factories, and the class test of equality. A factory exists for the kinds that it can make. A
/// kind that is derived without it equals no item of another class, not even of its own subclasses.
template <class Self, class Base>
class KRAVTWVKind : public Base {
 public:
  using Base::Base;

  static std::shared_ptr<Self> itemWithRepresentedObject(vexil::platform::Value object) {
    return makeItem(std::move(object));
  }
  static std::shared_ptr<Self> itemWithLabelUniqueID(vexil::platform::Value label,
                                                     vexil::platform::Value uniqueID)
    requires std::derived_from<Self, KRAVTWVGroupVexil>
  {
    return makeItem(std::move(label), std::move(uniqueID));
  }
  static std::shared_ptr<Self> itemWithEvent(vexil::platform::Value event)
    requires std::derived_from<Self, KRAVTWVEventVexil>
  {
    return itemWithRepresentedObject(std::move(event));
  }
  static std::shared_ptr<Self> itemWithDomain(vexil::platform::Value domain)
    requires std::derived_from<Self, KRAVTWVDomainVexil>
  {
    return itemWithRepresentedObject(std::move(domain));
  }
  static std::shared_ptr<Self> itemWithQueuedTrigger(vexil::platform::Value trigger)
    requires std::derived_from<Self, KRAVTWVQueuedTriggerVexil>
  {
    return itemWithRepresentedObject(std::move(trigger));
  }
  static std::shared_ptr<Self> itemWithActiveEvent(vexil::platform::Value event)
    requires std::derived_from<Self, KRAVTWVActiveEventVexil>
  {
    return itemWithRepresentedObject(std::move(event));
  }
  /// The name is label, identifier and represented object alike.
  static std::shared_ptr<Self> itemWithNetDomain(vexil::platform::Value name)
    requires std::derived_from<Self, KRAVTWVNetDomainVexil>
  {
    return makeItem(name, name);
  }
  static std::shared_ptr<Self> itemWithNetService(
      std::shared_ptr<vexil::platform::NetService> service)
    requires std::derived_from<Self, KRAVTWVNetServiceVexil>
  {
    return makeItem(std::move(service));
  }

  /// What was decoded from a pasteboard, as an item: `KRAVTWVGroupVexil` and `KRAVTWVEventVexil`
  /// say of what. Of anything else an item as it stands before it is initialised, with nothing that
  /// it represents, no label, no identifier and absent children; never a null pointer.
  static std::shared_ptr<Self> initWithPasteboardPropertyListOfType(
      const vexil::platform::Value& propertyList, std::string_view type)
    requires(std::derived_from<Self, KRAVTWVGroupVexil> ||
             std::derived_from<Self, KRAVTWVEventVexil>)
  {
    if constexpr (std::derived_from<Self, KRAVTWVGroupVexil>) {
      if (const auto identifier = vexil::detail::identifierOfGroupFromPasteboard(type)) {
        auto group = Self::itemWithLabelUniqueID(*identifier, *identifier);
        vexil::detail::addEventsFromPasteboard(*group, propertyList, type);
        return group;
      }
    } else if (vexil::detail::isEventFromPasteboard(propertyList, type)) {
      return Self::itemWithEvent(propertyList);
    }
    auto bare = makeItem(vexil::platform::Value());
    bare->setChildren(nullptr);
    return bare;
  }

 protected:
  /// What all factories make items with.
  template <class... Arguments>
  static std::shared_ptr<Self> makeItem(Arguments&&... arguments) {
    return std::allocate_shared<Self>(vexil::platform::detail::PooledAllocator<Self>(),
                                      std::forward<Arguments>(arguments)...);
  }

  [[nodiscard]] bool isKindOfReceiversClass(const KRAVTWVItemVexil& other) const override {
    return typeid(*this) == typeid(Self) && dynamic_cast<const Self*>(&other) != nullptr;
  }
};

/// A kind that stands for an event. Only such items contribute to a schedule; ask with a cast.
class KRAVTWVEventRepresenting {
 public:
  KRAVTWVEventRepresenting() = default;
  KRAVTWVEventRepresenting(const KRAVTWVEventRepresenting&) = delete;
  KRAVTWVEventRepresenting& operator=(const KRAVTWVEventRepresenting&) = delete;
  virtual ~KRAVTWVEventRepresenting() = default;

  /// The event record, whatever stands in its place; may be absent.
  [[nodiscard]] virtual vexil::platform::Value representedEvent() const = 0;
};

// The kinds. A kind stores nothing that it can read from its represented object: what it derives is
// read anew each time, and its observers are told when the represented object is replaced. Setting
// a stored identifier or label has no effect on a kind that derives it. A key that is missing from
// a record, and any key of something that is no record, reads as absent.
//
// Groups and events go to pasteboards and come from them, in property lists of the binary format:
// an event as its record, a schedule as an array of records. What they answer does not depend on
// the board, which may be a null pointer. Types are compared by
// `vexil::platform::typeIdentifiersAreEqual`.

/// A bare label, always a group, with or without children. It represents its identifier.
///
/// On a pasteboard a group is the schedule of the events right below it, as data or as a file.
class KRAVTWVGroupVexil : public KRAVTWVKind<KRAVTWVGroupVexil, KRAVTWVItemVexil>,
                          public vexil::platform::PasteboardWriting {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  /// `initWithLabel:uniqueID:`.
  KRAVTWVGroupVexil(vexil::platform::Value label, vexil::platform::Value uniqueID);
  ~KRAVTWVGroupVexil() override;

  [[nodiscard]] bool isGroup() const override { return true; }

  /// A schedule, or the URL of a file that holds one, in any property-list format and under any
  /// name. `initWithPasteboardPropertyListOfType` makes a group whose label and identifier are the
  /// type's identifier, as the constant has it, and adds an event for each element of the schedule,
  /// of the plain event kind and whatever the element is; of equal events the last one stays.
  ///
  /// A schedule that is no array and a URL that is no string make an empty group. So does a string
  /// from whose place no array can be read, and "Malformed schedule; must be a plist array: " is
  /// logged with the string, or with "(null)" where it is no URL.
  [[nodiscard]] static std::vector<std::string> readableTypesForPasteboard(
      const vexil::platform::Pasteboard* pasteboard);
  /// Property lists, of every type.
  [[nodiscard]] static vexil::platform::PasteboardReadingOptions readingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* pasteboard);

  /// A schedule, and the URL of a schedule file.
  [[nodiscard]] std::vector<std::string> writableTypesForPasteboard(
      const vexil::platform::Pasteboard* pasteboard) const override;
  /// The file is promised: it is written when somebody asks for its URL.
  [[nodiscard]] vexil::platform::PasteboardWritingOptions writingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* pasteboard) const override;
  /// Of the schedule type, the `representedEvent` of each child that answers it, in order; other
  /// children and what is below any of them are left out. When one of the events cannot be encoded,
  /// as an absent one cannot, all is absent, and "<class> serialization error: <error>" is logged.
  ///
  /// Of the type of file URLs, the URL in UTF-8 of a new file in a new directory below the
  /// temporary one, which both are the consumer's from then on. The file holds what this very
  /// operation, as a subclass may redefine it, answers for the schedule type, and is named by the
  /// label and the extension of schedule files. Absent when it cannot be made, as with a label that
  /// is no string or holds a slash; nothing is ever written outside of the new directory.
  ///
  /// Of other types absent.
  [[nodiscard]] vexil::platform::Value pasteboardPropertyListForType(
      std::string_view type) const override;
};

/// An event record. Identifier, label and enabled are read through `representedEvent`, so that a
/// subclass that redefines it changes all three.
///
/// On a pasteboard an event is its record, a schedule of nothing else, as data or as a file, and
/// its label.
class KRAVTWVEventVexil : public KRAVTWVKind<KRAVTWVEventVexil, KRAVTWVItemVexil>,
                          public KRAVTWVEventRepresenting,
                          public vexil::platform::PasteboardWriting {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  ~KRAVTWVEventVexil() override;

  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] bool supportsEnabled() const override { return true; }
  /// The boolean reading of the record's value: false when that is absent or no number.
  [[nodiscard]] bool enabled() const override;
  [[nodiscard]] vexil::platform::Value representedEvent() const override {
    return representedObject();
  }
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectedByRepresentedObject() const override;

  /// An event alone: a schedule is never read as one, nor is what is no dictionary.
  [[nodiscard]] static std::vector<std::string> readableTypesForPasteboard(
      const vexil::platform::Pasteboard* pasteboard);
  /// Property lists, of every type.
  [[nodiscard]] static vexil::platform::PasteboardReadingOptions readingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* pasteboard);

  /// The event, a schedule of it, the URL of a schedule file, and text.
  [[nodiscard]] std::vector<std::string> writableTypesForPasteboard(
      const vexil::platform::Pasteboard* pasteboard) const override;
  /// The file is promised, as a group's.
  [[nodiscard]] vexil::platform::PasteboardWritingOptions writingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* pasteboard) const override;
  /// As data `representedEvent`, and an array of it; the file as a group's; and as text the label
  /// itself, whatever it is.
  [[nodiscard]] vexil::platform::Value pasteboardPropertyListForType(
      std::string_view type) const override;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
};

/// An event that may be run on demand: it shows its data like any event, but offers no switch.
class KRAVTWVOnDemandVexil : public KRAVTWVKind<KRAVTWVOnDemandVexil, KRAVTWVEventVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  ~KRAVTWVOnDemandVexil() override;

  [[nodiscard]] bool supportsEnabled() const override { return false; }
};

/// A domain record, always a group.
class KRAVTWVDomainVexil : public KRAVTWVKind<KRAVTWVDomainVexil, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  ~KRAVTWVDomainVexil() override;

  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  /// The domain's name, translated when the strings table of the receiver's class has it as a key.
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] bool isGroup() const override { return true; }
};

/// A queued trigger record: an event and when it fires. The label is the event's name, read from
/// the record itself and not through `representedEvent`.
class KRAVTWVQueuedTriggerVexil : public KRAVTWVKind<KRAVTWVQueuedTriggerVexil, KRAVTWVItemVexil>,
                                  public KRAVTWVEventRepresenting {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  ~KRAVTWVQueuedTriggerVexil() override;

  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] vexil::platform::Value representedEvent() const override;
  /// The date in the record's trigger record.
  [[nodiscard]] virtual vexil::platform::Value triggerDate() const;
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectedByRepresentedObject() const override;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
};

/// A running event's record: the event and the host's own value for what it is doing. The label is
/// read as a queued trigger's.
class KRAVTWVActiveEventVexil : public KRAVTWVKind<KRAVTWVActiveEventVexil, KRAVTWVItemVexil>,
                                public KRAVTWVEventRepresenting {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  ~KRAVTWVActiveEventVexil() override;

  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] bool supportsEnabled() const override { return false; }
  [[nodiscard]] vexil::platform::Value representedEvent() const override;
  /// What the host stored, handed on unchanged.
  [[nodiscard]] virtual vexil::platform::Value activity() const;
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectedByRepresentedObject() const override;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
};

/// A network domain: a group whose label and identifier are the domain's name.
class KRAVTWVNetDomainVexil : public KRAVTWVKind<KRAVTWVNetDomainVexil, KRAVTWVGroupVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  ~KRAVTWVNetDomainVexil() override;
};

/// A network service. Identifier, label and domain are read from `netService`, which is set to the
/// represented object when the item is made. An absent service reads as one without any values.
class KRAVTWVNetServiceVexil : public KRAVTWVKind<KRAVTWVNetServiceVexil, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  /// `initWithNetService:`.
  explicit KRAVTWVNetServiceVexil(std::shared_ptr<vexil::platform::NetService> service);
  ~KRAVTWVNetServiceVexil() override;

  /// Domain, type and name, separated by colons: "local.:_ipp._tcp.:Office".
  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] virtual vexil::platform::Value domain() const;

  [[nodiscard]] std::shared_ptr<vexil::platform::NetService> netService() const {
    return read(_netService);
  }
  void setNetService(std::shared_ptr<vexil::platform::NetService> service);

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;

 private:
  void setNetServiceValue(const vexil::platform::Value& service);
  std::shared_ptr<vexil::platform::NetService> _netService;
};
