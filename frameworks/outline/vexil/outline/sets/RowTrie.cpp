// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/sets/RowTrie.h>
#include <vexil/platform/detail/Hash.h>

#include <algorithm>
#include <functional>
#include <unordered_set>

namespace vexil::detail {

namespace {

/// Makes room for one more node, so that adding it cannot throw.
void makeRoom(RowNode& node) {
  auto& below = node.below;
  const std::size_t count = below.size() + 1;
  // An empty table may say that it has a bucket, and still get its first ones when it is added to.
  if (static_cast<float>(count) >=
      static_cast<float>(below.bucket_count()) * below.max_load_factor()) {
    below.reserve(2 * count);
  }
}

/// Where a node that has a parent stands in it.
auto placeOf(const RowNode& node) {
  const auto [begin, end] = node.parent->below.equal_range(node.identity.hash);
  return std::find_if(begin, end, [&](const auto& entry) { return entry.second.get() == &node; });
}

/// Takes the nodes out whose items are gone. Only when many were added since the last time, so that
/// adding one takes constant time.
std::vector<RowNodePointer> takeEnded(RowNode& parent) {
  constexpr std::size_t few = 8;
  std::vector<RowNodePointer> ended;
  if (++parent.itemsAdded <= few + parent.below.size() / 2) {
    return ended;
  }
  for (const auto& [hash, node] : parent.below) {
    if (node->identity.isOfItem() && node->identity.item.expired()) {
      ended.push_back(node);
    }
  }
  for (const RowNodePointer& node : ended) {
    static_cast<void>(detach(*node));
  }
  parent.itemsAdded = 0;
  return ended;
}

bool isInPlace(const RowNode& node, const RowNodePointer& top) {
  return &node == top.get() || node.parent != nullptr;
}

bool isAtOrBelow(const RowNode& node, const RowNode& other) {
  const RowNode* next = &node;
  while (next != nullptr && next != &other) {
    next = next->parent;
  }
  return next != nullptr;
}

/// Moves a node that is in its place below another one, for which there is room. Returns what is to
/// be dropped last.
RowNodePointer relocate(RowNode& node, RowIdentity& identity, RowNode& parent) noexcept {
  RowNode& oldParent = *node.parent;
  const auto count = static_cast<std::ptrdiff_t>(node.count);
  auto handle = oldParent.below.extract(placeOf(node));
  oldParent.addToCounts(-count);
  std::swap(node.identity, identity);  // the caller drops the old one
  handle.key() = node.identity.hash;
  node.parent = &parent;
  parent.below.insert(std::move(handle));
  parent.addToCounts(count);
  return prune(oldParent);
}

/// Moves all of a node into another one, piece by piece. Returns whether it is done: a host's code
/// may take `to` out in the middle.
bool unite(const RowNodePointer& top, const RowNodePointer& to, const RowNodePointer& from) {
  struct Pair {
    RowNodePointer to;
    RowNodePointer from;
  };
  std::vector<RowNodePointer> dropped;
  std::vector<Pair> open = {{to, from}};
  while (!open.empty()) {
    const Pair next = std::move(open.back());
    open.pop_back();
    if (next.from->parent == nullptr) {
      continue;
    }
    if (!isInPlace(*next.to, top)) {
      return false;
    }
    if (next.from->isIn) {
      next.to->setIn(true);
      next.from->setIn(false);
    }
    std::vector<RowNodePointer> children;
    for (const auto& [hash, child] : next.from->below) {
      children.push_back(child);
    }
    for (const RowNodePointer& child : children) {
      const RowNodePointer same = childOf(next.to, child->identity);
      if (!isInPlace(*next.to, top)) {
        return false;
      }
      if (child->parent != next.from.get()) {
        continue;
      }
      if (same) {
        open.push_back({same, child});
      } else {
        RowIdentity identity = child->identity;
        makeRoom(*next.to);
        dropped.push_back(relocate(*child, identity, *next.to));
      }
    }
    if (next.from->parent != nullptr) {
      dropped.push_back(prune(*next.from));
    }
  }
  return true;
}

/// Moves a node to the end of a path that leads only to `end` so far.
void moveToNewPlace(RowNode& node, const PathEnd& end, const RowPath& to) {
  const auto missing = std::span(to).subspan(end.depth, to.size() - 1 - end.depth);
  RowNodePointer parent = end.node;
  std::vector<RowNodePointer> dropped;
  RowIdentity identity = to.back();
  if (missing.empty()) {
    makeRoom(*parent);
  } else {
    Chain chain = chainOf(missing);
    makeRoom(*chain.last);
    dropped = attach(*parent, chain.first);
    parent = chain.last;
  }
  const RowNodePointer pruned = relocate(node, identity, *parent);
}

}  // namespace

// --- identities

RowIdentity::RowIdentity(const std::shared_ptr<KRAVTWVItemVexil>& rowItem,
                         std::uint32_t rowOccurrence)
    : occurrence(rowOccurrence), item(rowItem), hash(std::hash<const void*>{}(rowItem.get())) {}

void RowIdentity::computeHash() {
  if (!isOfItem()) {
    hash = platform::detail::mixedHash(uniqueID.hash(), occurrence);
  }
}

std::optional<bool> RowIdentity::plainlyEquals(const RowIdentity& other) const {
  if (hash != other.hash || occurrence != other.occurrence || isOfItem() != other.isOfItem()) {
    return false;
  }
  return isOfItem() ? !item.owner_before(other.item) && !other.item.owner_before(item)
                    : uniqueID.plainlyEquals(other.uniqueID);
}

// --- nodes

RowNode::~RowNode() {
  // The innermost nodes go first. A parent is set on the way down, because a node that was taken
  // out may lack it.
  RowNode* next = this;
  for (;;) {
    if (!next->below.empty()) {
      RowNode* const child = next->below.begin()->second.get();
      child->parent = next;
      next = child;
    } else if (next == this) {
      return;
    } else {
      RowNode* const above = next->parent;
      next->parent = nullptr;
      const RowNodePointer dropped = std::move(above->below.begin()->second);
      above->below.erase(above->below.begin());
      next = above;
    }
  }
}

void RowNode::addToCounts(std::ptrdiff_t difference) noexcept {
  if (difference == 0) {
    return;
  }
  for (RowNode* node = this; node != nullptr; node = node->parent) {
    node->count += static_cast<std::size_t>(difference);
  }
}

void RowNode::setIn(bool in) noexcept {
  if (isIn != in) {
    isIn = in;
    addToCounts(in ? 1 : -1);
  }
}

RowNodePointer childOf(const RowNodePointer& node, const RowIdentity& identity) {
  // Objects that are asked may change what is below the node. So all are looked at again
  // afterwards, until there is none that was not asked.
  std::unordered_set<RowNodePointer> asked;
  for (;;) {
    std::vector<RowNodePointer> undecided;
    const auto [begin, end] = node->below.equal_range(identity.hash);
    for (auto entry = begin; entry != end; ++entry) {
      const std::optional<bool> answer = entry->second->identity.plainlyEquals(identity);
      if (answer.value_or(false)) {
        return entry->second;
      }
      if (!answer && !asked.contains(entry->second)) {
        undecided.push_back(entry->second);
      }
    }
    if (undecided.empty()) {
      return nullptr;
    }
    for (RowNodePointer& other : undecided) {
      const platform::Value held = other->identity.uniqueID;
      if (held == identity.uniqueID) {
        return other;
      }
      asked.insert(std::move(other));
    }
  }
}

PathEnd endOfPath(const RowNodePointer& top, const RowPath& path) {
  for (;;) {
    PathEnd end{top, 0};
    while (end.depth < path.size()) {
      RowNodePointer child = childOf(end.node, path[end.depth]);
      if (!child) {
        break;
      }
      end = {std::move(child), end.depth + 1};
    }
    if (isInPlace(*end.node, top)) {
      return end;
    }
    // A host's code took the node out.
  }
}

Chain chainOf(std::span<const RowIdentity> path) {
  Chain chain;
  for (const RowIdentity& identity : path) {
    auto node = std::make_shared<RowNode>(identity);
    if (chain.last) {
      node->parent = chain.last.get();
      chain.last->below.emplace(identity.hash, node);
    } else {
      chain.first = node;
    }
    chain.last = std::move(node);
  }
  return chain;
}

std::vector<RowNodePointer> attach(RowNode& parent, RowNodePointer node) {
  std::vector<RowNodePointer> ended;
  if (node->identity.isOfItem()) {
    ended = takeEnded(parent);
  }
  RowNode& attached = *node;
  parent.below.emplace(attached.identity.hash, std::move(node));
  attached.parent = &parent;
  parent.addToCounts(static_cast<std::ptrdiff_t>(attached.count));
  return ended;
}

RowNodePointer detach(RowNode& node) noexcept {
  RowNode& parent = *node.parent;
  const auto place = placeOf(node);
  RowNodePointer taken = std::move(place->second);
  parent.below.erase(place);
  parent.addToCounts(-static_cast<std::ptrdiff_t>(node.count));
  node.parent = nullptr;
  return taken;
}

RowNodePointer prune(RowNode& node) noexcept {
  if (node.count > 0 || node.parent == nullptr) {
    return nullptr;
  }
  RowNode* last = &node;
  while (last->parent->count == 0 && last->parent->parent != nullptr) {
    RowNode* const parent = last->parent;
    last->parent = nullptr;
    last = parent;
  }
  return detach(*last);
}

void moveNode(const RowNodePointer& top, const RowPath& from, const RowPath& to) {
  for (bool isDone = false; !isDone;) {
    const PathEnd source = endOfPath(top, from);
    const PathEnd target = endOfPath(top, to);
    if (source.depth < from.size() || source.node->parent == nullptr ||
        isAtOrBelow(*target.node, *source.node)) {
      return;
    }
    if (target.depth == to.size()) {
      isDone = unite(top, target.node, source.node);
    } else {
      moveToNewPlace(*source.node, target, to);
      isDone = true;
    }
  }
}

RowNodePointer copyOf(const RowNode& node) {
  const auto copyAlone = [](const RowNode& original) {
    auto copy = std::make_shared<RowNode>(original.identity);
    copy->isIn = original.isIn;
    copy->count = original.count;
    return copy;
  };
  struct Open {
    const RowNode* original;
    RowNode* copy;
  };
  RowNodePointer top = copyAlone(node);
  std::vector<Open> open = {{&node, top.get()}};
  while (!open.empty()) {
    const Open next = open.back();
    open.pop_back();
    next.copy->below.reserve(next.original->below.size());
    for (const auto& [hash, child] : next.original->below) {
      RowNodePointer copy = copyAlone(*child);
      copy->parent = next.copy;
      open.push_back({child.get(), copy.get()});
      next.copy->below.emplace(hash, std::move(copy));
    }
  }
  return top;
}

}  // namespace vexil::detail
