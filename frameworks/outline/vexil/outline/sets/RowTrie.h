// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: the tree of identities behind a set of rows.
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

class KRAVTWVItemVexil;

namespace vexil::detail {

/// What tells a row apart from its siblings: identifier and occurrence, or else the item.
struct RowIdentity {
  RowIdentity() = default;
  RowIdentity(platform::Value rowID, std::uint32_t rowOccurrence)
      : uniqueID(std::move(rowID)), occurrence(rowOccurrence) {}
  RowIdentity(const std::shared_ptr<KRAVTWVItemVexil>& rowItem, std::uint32_t rowOccurrence);

  [[nodiscard]] bool isOfItem() const noexcept { return uniqueID.isAbsent(); }
  /// Computes the hash from identifier and occurrence, if there is an identifier. May ask objects
  /// of a host.
  void computeHash();
  /// Whether both are the same; nothing when objects must be asked.
  [[nodiscard]] std::optional<bool> plainlyEquals(const RowIdentity& other) const;

  platform::Value uniqueID;
  std::uint32_t occurrence = 0;
  std::weak_ptr<KRAVTWVItemVexil> item;  // of a row without identifier
  std::size_t hash = 0;
};

/// The identities of the rows from the first level down.
using RowPath = std::vector<RowIdentity>;

struct RowNode;
using RowNodePointer = std::shared_ptr<RowNode>;

/// An identity below another one, and whether it is in the set. A node is taken out when neither it
/// nor any node below it is in the set.
///
/// Operations share the nodes that they are at work on, because they call a host's code, which may
/// change the set. After such a call an operation checks whether a node is still in its place: a
/// node that was taken out has no parent.
struct RowNode {
  RowNode() = default;
  explicit RowNode(RowIdentity row) : identity(std::move(row)) {}
  RowNode(const RowNode&) = delete;
  RowNode& operator=(const RowNode&) = delete;
  /// Takes all nodes below out, without recursion.
  ~RowNode();

  /// Adds to the counts of this node and of all above it.
  void addToCounts(std::ptrdiff_t difference) noexcept;
  void setIn(bool in) noexcept;

  RowIdentity identity;
  bool isIn = false;
  std::size_t count = 0;  // how many of this node and those below are in the set
  RowNode* parent = nullptr;
  std::size_t itemsAdded = 0;  // since the nodes of items that are gone were last taken out
  std::unordered_multimap<std::size_t, RowNodePointer> below;  // by hash
};

/// The node of an identity below `node`; null when there is none. May ask objects of a host.
[[nodiscard]] RowNodePointer childOf(const RowNodePointer& node, const RowIdentity& identity);

/// The last node that there is on a path that begins below the top, and how many identities of the
/// path lead to it.
struct PathEnd {
  RowNodePointer node;
  std::size_t depth = 0;
};
/// Finds the end of a path. It is in its place when this returns. May ask objects of a host.
[[nodiscard]] PathEnd endOfPath(const RowNodePointer& top, const RowPath& path);

/// Nodes, each below the one before.
struct Chain {
  RowNodePointer first;
  RowNodePointer last;
};
/// Makes nodes for a path, which must not be empty.
[[nodiscard]] Chain chainOf(std::span<const RowIdentity> path);

// What these return has been taken out. The caller drops it last, because that may run a host's
// code. They run none.

/// Puts a node that has no parent below another one. Takes out nodes there whose items are gone,
/// once in a while.
[[nodiscard]] std::vector<RowNodePointer> attach(RowNode& parent, RowNodePointer node);
/// Takes a node out.
[[nodiscard]] RowNodePointer detach(RowNode& node) noexcept;
/// Takes a node out if nothing in it is in the set, with all nodes above of which the same is true.
[[nodiscard]] RowNodePointer prune(RowNode& node) noexcept;

/// Moves a node below another one, where it has another identity, and what is below it too. Unites
/// it with a node that is already there.
void moveNode(const RowNodePointer& top, const RowPath& from, const RowPath& to);

/// A copy of a node with all that is below it. No foreign code runs.
[[nodiscard]] RowNodePointer copyOf(const RowNode& node);

}  // namespace vexil::detail
