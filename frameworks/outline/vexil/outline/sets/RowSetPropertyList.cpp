// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/RowSet.h>
#include <vexil/outline/sets/RowTrie.h>
#include <vexil/outline/values/Storable.h>
#include <vexil/outline/values/ValueText.h>
#include <vexil/platform/RecordShape.h>

#include <algorithm>
#include <compare>
#include <limits>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace vexil {

using detail::RowIdentity;
using detail::RowNode;
using detail::RowNodePointer;
using platform::Value;

namespace {

// --- writing

/// What is written of a node; the order of the hashes differs from run to run.
struct Place {
  explicit Place(const RowNode& ofNode)
      : node(&ofNode),
        text(isContainer(ofNode.identity.uniqueID) ? detail::textOfValue(ofNode.identity.uniqueID)
                                                   : "") {}

  static bool isContainer(const Value& value) { return value.isArray() || value.isDictionary(); }

  friend bool operator<(const Place& a, const Place& b) {
    const auto order = a.node->identity.uniqueID.compare(b.node->identity.uniqueID);
    if (order != 0) {
      return order < 0;
    }
    return std::tie(a.text, a.node->identity.occurrence) <
           std::tie(b.text, b.node->identity.occurrence);
  }

  const RowNode* node;
  std::string text;  // orders identifiers that have no order of their own
};

/// A node whose entries below are being written.
struct Writing {
  explicit Writing(const RowNode& ofNode) : node(&ofNode) {
    for (const auto& [hash, child] : ofNode.below) {
      if (detail::isStorable(child->identity.uniqueID)) {
        places.emplace_back(*child);
      }
    }
    std::ranges::sort(places, std::less<>());
  }

  const RowNode* node;
  std::vector<Place> places;
  std::size_t next = 0;
  std::vector<Value> entries = {};
};

Value entryOf(const RowNode& node, std::vector<Value> below) {
  static const platform::RecordShape shape({"id", "occurrence", "in", "below"});
  const RowIdentity& identity = node.identity;
  return shape.record({identity.uniqueID, identity.occurrence == 0 ? Value() : identity.occurrence,
                       node.isIn ? Value(true) : Value(),
                       below.empty() ? Value() : Value::array(std::move(below))});
}

// --- reading

/// A node whose entries below are being read.
struct Reading {
  RowNodePointer node;
  std::span<const Value> entries;
  std::size_t countBefore;
  std::size_t next = 0;
};

std::optional<RowIdentity> identityOf(const Value& entry) {
  const Value& uniqueID = entry["id"];
  const Value& number = entry["occurrence"];
  const std::uint64_t occurrence =
      number.isAbsent() ? 0 : number.unsignedInteger().value_or(UINT64_MAX);
  if (!detail::isStorable(uniqueID) || occurrence > std::numeric_limits<std::uint32_t>::max()) {
    return std::nullopt;
  }
  RowIdentity identity(uniqueID, static_cast<std::uint32_t>(occurrence));
  identity.computeHash();
  return identity;
}

/// Whether an entry has parts of the right types.
bool isEntry(const Value& entry) {
  const Value& in = entry["in"];
  const Value& below = entry["below"];
  return (in.isAbsent() || in.boolean()) && (below.isAbsent() || below.isArray());
}

/// Finds the node of an entry, or makes it.
RowNodePointer nodeFor(const RowNodePointer& parent, RowIdentity identity) {
  RowNodePointer node = detail::childOf(parent, identity);
  if (!node) {
    node = std::make_shared<RowNode>(std::move(identity));
    static_cast<void>(detail::attach(*parent, node));
  }
  return node;
}

/// Counts what was read below a node. Only now, and only for its parent, because to count every
/// entry in all nodes above it would take quadratic time.
void end(const Reading& reading) {
  RowNode& node = *reading.node;
  if (node.parent == nullptr) {
    return;
  }
  node.parent->count += node.count - reading.countBefore;
  if (node.count == 0) {
    static_cast<void>(detail::detach(node));
  }
}

}  // namespace

Value RowSet::propertyList() const {
  std::vector<Writing> open;
  const RowNodePointer top = heldTop();
  open.emplace_back(*top);
  for (;;) {
    Writing& innermost = open.back();
    if (innermost.next < innermost.places.size()) {
      const RowNode& child = *innermost.places[innermost.next++].node;
      open.emplace_back(child);
    } else if (open.size() == 1) {
      return Value::dictionary({{"rows", Value::array(std::move(innermost.entries))}});
    } else {
      const Writing done = std::move(innermost);
      open.pop_back();
      if (done.node->isIn || !done.entries.empty()) {
        open.back().entries.push_back(entryOf(*done.node, done.entries));
      }
    }
  }
}

std::optional<RowSet> RowSet::fromPropertyList(const Value& propertyList) {
  const Value& rows = propertyList["rows"];
  if (!rows.isArray()) {
    return std::nullopt;
  }
  RowSet set;
  std::vector<Reading> open = {{set._top = set.heldTop(), rows.elements(), 0}};
  while (!open.empty()) {
    Reading& innermost = open.back();
    if (innermost.next == innermost.entries.size()) {
      end(innermost);
      open.pop_back();
      continue;
    }
    const Value& entry = innermost.entries[innermost.next++];
    std::optional<RowIdentity> identity = identityOf(entry);
    if (!identity || !isEntry(entry)) {
      return std::nullopt;
    }
    RowNodePointer node = nodeFor(innermost.node, std::move(*identity));
    const std::size_t countBefore = node->count;
    if (entry["in"].booleanReading() && !node->isIn) {
      node->isIn = true;
      ++node->count;
    }
    open.push_back({std::move(node), entry["below"].elements(), countBefore});
  }
  return set;
}

}  // namespace vexil
