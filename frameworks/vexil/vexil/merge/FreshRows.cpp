// SPDX-License-Identifier: Apache-2.0
#include <vexil/items/ItemFields.h>
#include <vexil/merge/FreshItems.h>
#include <vexil/merge/FreshRows.h>
#include <vexil/merge/Prefetching.h>

#include <algorithm>
#include <typeinfo>

namespace vexil::detail {

using platform::Value;

std::shared_ptr<KRAVTWVItemVexil> FreshRows::item(std::size_t index) const {
  std::shared_ptr<KRAVTWVItemVexil> row = (*_rows)[index];
  if (row->children()->empty()) {
    const FreshEvents& events = eventsOf(index);
    row->children()->reserve(events.size());
    for (std::size_t i = 0; i < events.size(); ++i) {
      row->children()->push_back(events.item(i));
    }
  }
  return row;
}

std::vector<Value> FreshRows::identifiers() const {
  return identifiersOf(_rows);
}

namespace {

/// A live row that is compared. It is held from the first time that foreign code runs.
class ComparedRow {
 public:
  explicit ComparedRow(KRAVTWVItemVexil& row) : _row(row) {}

  void hold() {
    if (!_held) {
      _held = std::static_pointer_cast<KRAVTWVItemVexil>(_row.shared_from_this());
    }
  }
  [[nodiscard]] const std::shared_ptr<KRAVTWVItemVexil>& held() const { return _held; }

  [[nodiscard]] bool representsAnEqualOf(const KRAVTWVItemVexil& fresh) {
    const Value& object = ItemFields::representedObject(_row);
    if (object.isAbsent()) {
      return false;
    }
    if (const auto isEqual = object.plainlyEquals(ItemFields::representedObject(fresh))) {
      return *isEqual;
    }
    hold();
    return _row.representedObject() == fresh.representedObject();
  }

 private:
  KRAVTWVItemVexil& _row;
  std::shared_ptr<KRAVTWVItemVexil> _held;
};

}  // namespace

std::optional<bool> FreshRows::isEqualTo(KRAVTWVItemVexil& child, std::size_t index) const {
  const KRAVTWVItemVexil& fresh = *(*_rows)[index];
  if (typeid(child) != typeid(fresh) || ItemFields::areChildrenAbsent(child)) {
    return std::nullopt;
  }
  ComparedRow row(child);
  if (!row.representsAnEqualOf(fresh) || ItemFields::areChildrenAbsent(child)) {
    return false;  // the children may be absent since an object was asked
  }
  const FreshEvents& events = eventsOf(index);
  const std::shared_ptr<KRAVTWVItemArray> children = ItemFields::children(child);
  const auto areAsMany = [&] { return (children ? children->size() : 0) == events.size(); };
  if (!areAsMany()) {
    return false;
  }
  const KnownRecords known(events);
  for (std::size_t i = 0; i < events.size(); ++i) {
    ItemFields::prefetch((*children)[std::min(i + turnsAhead, events.size() - 1)].get());
    if (!(*children)[i] || !ItemFields::isPlainEvent(*(*children)[i])) {
      return row.held() ? std::optional(row.held()->isEqual(*item(index))) : std::nullopt;
    }
    std::optional<bool> isEqual = known.isEqualAtOnce(*(*children)[i], i);
    if (!isEqual) {
      row.hold();
      isEqual = known.isEqualByAsking(*(*children)[i], i);
      if (ItemFields::children(child) != children || !areAsMany()) {
        return false;  // they became others meanwhile
      }
    }
    if (!*isEqual) {
      return false;
    }
  }
  return true;
}

}  // namespace vexil::detail
