// SPDX-License-Identifier: Apache-2.0
// A naive model of an outline. It knows trees only as they are before and after, and looks for
// everything by comparing all with all.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/RowState.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <typeindex>
#include <typeinfo>
#include <utility>
#include <vector>

namespace test {

/// What an item shows. A getter that throws says absent or false.
struct NaiveShown {
  vexil::platform::Value uniqueID;
  vexil::platform::Value label;
  vexil::platform::Value object;
  bool supportsEnabled = false;
  bool enabled = false;
  bool isGroup = false;
  bool isExpandable = false;
  std::type_index type = typeid(void);
  std::string className;

  NaiveShown() = default;
  explicit NaiveShown(const KRAVTWVItemVexil& item)
      : uniqueID(said([&] { return item.uniqueID(); })),
        label(said([&] { return item.label(); })),
        object(item.representedObject()),
        supportsEnabled(said([&] { return item.supportsEnabled(); })),
        enabled(said([&] { return item.enabled(); })),
        isGroup(said([&] { return item.isGroup(); })),
        isExpandable(said([&] { return item.isExpandable(); })),
        type(typeid(item)),
        className(item.className()) {}

  /// Whether a view shows another thing afterwards.
  [[nodiscard]] bool differsFrom(const NaiveShown& other) const {
    return label != other.label || object != other.object || enabled != other.enabled ||
           supportsEnabled != other.supportsEnabled || isGroup != other.isGroup ||
           isExpandable != other.isExpandable || type != other.type;
  }

 private:
  template <class Getter>
  static auto said(const Getter& getter) -> decltype(getter()) {
    try {
      return getter();
    } catch (...) {
      return {};
    }
  }
};

/// A row of the model. The top stands for the root.
struct NaiveRow {
  NaiveShown shown;
  std::weak_ptr<KRAVTWVItemVexil> item;
  std::uint32_t occurrence = 0;
  NaiveRow* parent = nullptr;
  std::size_t index = 0;
  std::vector<std::unique_ptr<NaiveRow>> children;

  // Of the row of the outline that stands for it; filled in by the test.
  vexil::RowNumber number = 0;
  const vexil::OutlineRow* row = nullptr;

  [[nodiscard]] bool hasIdentifier() const { return !shown.uniqueID.isAbsent(); }

  /// Whether both are the same child, if their parents are the same row.
  [[nodiscard]] bool isSameChildAs(const NaiveRow& other) const {
    if (hasIdentifier() || other.hasIdentifier()) {
      return shown.uniqueID == other.shown.uniqueID && occurrence == other.occurrence;
    }
    return occurrence == other.occurrence && !item.owner_before(other.item) &&
           !other.item.owner_before(item);
  }

  /// Calls `visit` with all rows below this one, each before those below it.
  template <class Visit>
  void forEachBelow(const Visit& visit) {
    for (const auto& child : children) {
      visit(*child);
      child->forEachBelow(visit);
    }
  }
  [[nodiscard]] std::size_t countBelow() {
    std::size_t count = 0;
    forEachBelow([&](NaiveRow&) { ++count; });
    return count;
  }
  [[nodiscard]] bool isBelow(const NaiveRow& other) const {
    const NaiveRow* next = parent;
    while (next != nullptr && next != &other) {
      next = next->parent;
    }
    return next != nullptr;
  }
};

/// The tree below an item as it is now. Null: nothing to show.
inline std::unique_ptr<NaiveRow> naiveRows(const std::shared_ptr<KRAVTWVItemVexil>& item) {
  auto row = std::make_unique<NaiveRow>();
  row->item = item;
  if (!item) {
    return row;
  }
  row->shown = NaiveShown(*item);
  const auto children = item->children();
  for (std::size_t i = 0; children && i < children->size(); ++i) {
    auto child = naiveRows((*children)[i]);
    child->parent = row.get();
    child->index = i;
    for (const auto& sibling : row->children) {
      if (child->hasIdentifier()) {
        child->occurrence += sibling->shown.uniqueID == child->shown.uniqueID ? 1U : 0U;
      } else {
        const bool isSameItem =
            !sibling->item.owner_before(child->item) && !child->item.owner_before(sibling->item);
        child->occurrence += !sibling->hasIdentifier() && isSameItem ? 1U : 0U;
      }
    }
    row->children.push_back(std::move(child));
  }
  return row;
}

/// What a refresh has to do, found by identity alone.
class NaiveRefresh {
 public:
  NaiveRefresh(NaiveRow& before, NaiveRow& after) : _before(&before), _after(&after) {
    stay(before, after);
    findMovesToOtherParents();
  }

  /// The row afterwards, or before; null when there is none.
  [[nodiscard]] NaiveRow* after(const NaiveRow& before) const { return find(_afterOf, before); }
  [[nodiscard]] NaiveRow* before(const NaiveRow& after) const { return find(_beforeOf, after); }
  /// How many rows move to another parent.
  [[nodiscard]] std::size_t movesToOtherParents() const { return _moves; }

  /// The least number of rows that must move within their levels: all that stay in a level but the
  /// longest sequence that is in order.
  [[nodiscard]] std::size_t leastMovesWithinLevels() const {
    std::size_t moves = leastMovesWithin(*_after);
    _after->forEachBelow([&](NaiveRow& row) { moves += leastMovesWithin(row); });
    return moves;
  }

 private:
  using Map = std::map<const NaiveRow*, NaiveRow*>;
  static NaiveRow* find(const Map& map, const NaiveRow& row) {
    const auto found = map.find(&row);
    return found == map.end() ? nullptr : found->second;
  }

  /// Two rows are the same, and so are their children that are identified alike.
  void stay(NaiveRow& before, NaiveRow& after) {
    _afterOf[&before] = &after;
    _beforeOf[&after] = &before;
    for (const auto& child : after.children) {
      for (const auto& old : before.children) {
        if (this->after(*old) == nullptr && this->before(*child) == nullptr &&
            old->isSameChildAs(*child)) {
          stay(*old, *child);
          break;
        }
      }
    }
  }

  /// A row moves when its identifier and class occur once among all rows that would be removed, and
  /// once among all that would be inserted. Rows below it that are identified alike move with it.
  /// Further ones may move from or to the places below it; they are looked for next.
  void findMovesToOtherParents() {
    std::vector<NaiveRow*> removed;
    std::vector<NaiveRow*> inserted;
    _before->forEachBelow([&](NaiveRow& row) {
      if (after(row) == nullptr && row.hasIdentifier()) {
        removed.push_back(&row);
      }
    });
    _after->forEachBelow([&](NaiveRow& row) {
      if (before(row) == nullptr && row.hasIdentifier()) {
        inserted.push_back(&row);
      }
    });
    std::vector<std::pair<NaiveRow*, NaiveRow*>> pairs;
    for (NaiveRow* const row : removed) {
      const auto isLike = [&](const NaiveRow* other) {
        return other->shown.type == row->shown.type && other->shown.uniqueID == row->shown.uniqueID;
      };
      if (std::ranges::count_if(removed, isLike) == 1 &&
          std::ranges::count_if(inserted, isLike) == 1) {
        pairs.emplace_back(row, *std::ranges::find_if(inserted, isLike));
      }
    }
    // Another occurrence below the same parent is another row.
    const auto canMove = [&](const auto& pair) {
      return after(*pair.first) == nullptr && before(*pair.second) == nullptr &&
             before(*pair.second->parent) != pair.first->parent;
    };
    for (bool isAnyFound = true; isAnyFound;) {
      std::vector<std::pair<NaiveRow*, NaiveRow*>> found;
      for (const auto& pair : pairs) {
        const bool isBelowAnother = std::ranges::any_of(pairs, [&](const auto& other) {
          return canMove(other) && pair.second->isBelow(*other.second);
        });
        if (canMove(pair) && !isBelowAnother) {
          found.push_back(pair);
        }
      }
      isAnyFound = !found.empty();
      for (const auto& [row, place] : found) {
        _afterOf[row] = place;
        _beforeOf[place] = row;
      }
      for (const auto& [row, place] : found) {
        stay(*row, *place);
      }
      _moves += found.size();
    }
  }

  [[nodiscard]] std::size_t leastMovesWithin(const NaiveRow& parent) const {
    const NaiveRow* const parentBefore = before(parent);
    std::vector<std::size_t> places;  // before, of those that stay
    for (const auto& child : parent.children) {
      const NaiveRow* const childBefore = before(*child);
      if (childBefore != nullptr && childBefore->parent == parentBefore) {
        places.push_back(childBefore->index);
      }
    }
    std::vector<std::size_t> ends;  // the least end of an ascending sequence of each length
    for (const std::size_t place : places) {
      const auto longer = std::ranges::lower_bound(ends, place);
      if (longer == ends.end()) {
        ends.push_back(place);
      } else {
        *longer = place;
      }
    }
    return places.size() - ends.size();
  }

  NaiveRow* _before;
  NaiveRow* _after;
  Map _afterOf;
  Map _beforeOf;
  std::size_t _moves = 0;
};

}  // namespace test
