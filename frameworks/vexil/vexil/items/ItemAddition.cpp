// SPDX-License-Identifier: Apache-2.0
#include <vexil/items/ItemAddition.h>
#include <vexil/items/ItemFields.h>
#include <vexil/platform/Error.h>

#include <functional>
#include <utility>

namespace vexil::detail {

namespace {

/// An item that represents nothing equals itself alone.
std::size_t hashOf(const KRAVTWVItemVexil& item) {
  return ItemFields::representedObject(item).isAbsent() ? std::hash<const void*>{}(&item)
                                                        : item.hash();
}

}  // namespace

ItemAddition::ItemAddition(KRAVTWVItemArray present, KRAVTWVItemArray added)
    : _presentCount(present.size()) {
  _entries.reserve(present.size() + added.size());
  for (auto& item : present) {
    const std::size_t hash = hashOf(*item);
    append(std::move(item), hash);
  }
  try {
    for (auto& item : added) {
      if (!item) {
        throw platform::InvalidArgument("a null pointer cannot be added as a child");
      }
      const std::size_t hash = hashOf(*item);
      removeEqualsOf(item, hash);
      append(std::move(item), hash);
    }
  } catch (...) {
    _failure = std::current_exception();
  }
}

KRAVTWVItemArray ItemAddition::goneOfPresent() const {
  KRAVTWVItemArray gone;
  for (const Entry& entry : std::span(_entries).first(_presentCount)) {
    if (entry.isGone) {
      gone.push_back(entry.item);
    }
  }
  return gone;
}

void ItemAddition::append(std::shared_ptr<KRAVTWVItemVexil> item, std::size_t hash) {
  const std::size_t index = _entries.size();
  const auto [last, isNew] = _lastOfHash.try_emplace(hash, index);
  const std::size_t before = isNew ? none : std::exchange(last->second, index);
  _entries.push_back({std::move(item), false, before});
}

void ItemAddition::removeEqualsOf(const std::shared_ptr<KRAVTWVItemVexil>& item, std::size_t hash) {
  const auto last = _lastOfHash.find(hash);
  if (last == _lastOfHash.end()) {
    return;
  }
  std::vector<std::size_t> equal;  // marked when all were asked, because that can throw
  for (std::size_t i = last->second; i != none; i = _entries[i].before) {
    if (_entries[i].item == item || _entries[i].item->isEqual(*item)) {
      equal.push_back(i);
    }
  }
  for (const std::size_t i : equal) {
    _entries[i].isGone = true;
  }
  for (std::size_t* link = &last->second; *link != none;) {
    Entry& entry = _entries[*link];
    if (entry.isGone) {
      *link = entry.before;
    } else {
      link = &entry.before;
    }
  }
}

}  // namespace vexil::detail
