// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/items/ItemFields.h>
#include <vexil/platform/detail/Operation.h>

#include <utility>

namespace platform = vexil::platform;

constinit const std::string_view KRAVTWVItemsVexilKeyPathRoot = "root";

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;

KRAVTWVItemsVexil::KRAVTWVItemsVexil()
    : _root(KRAVTWVGroupVexil::itemWithLabelUniqueID("", "root")) {}

KRAVTWVItemsVexil::~KRAVTWVItemsVexil() = default;

void KRAVTWVItemsVexil::setRoot(std::shared_ptr<KRAVTWVItemVexil> root) {
  static const Key key(KRAVTWVItemsVexilKeyPathRoot);
  assign(key, _root, std::move(root));
}

void KRAVTWVItemsVexil::setRootValue(const Value& root) {
  setRoot(root.isAbsent() ? nullptr : vexil::detail::ItemFields::itemIn(root));
}

void KRAVTWVItemsVexil::replaceRootChildren(const std::shared_ptr<const KRAVTWVItemArray>& items) {
  const platform::detail::Operation operation;
  if (const auto item = root()) {
    item->replaceChildren(items);
  }
}

void KRAVTWVItemsVexil::rebuildRootChildren() {
  const platform::detail::Operation operation;
  const auto self = weak_from_this().lock();
  auto items = itemsOfInput();
  // Reads the root now, because foreign code may have run while the items were built.
  if (const auto item = root(); item && items) {
    item->setChildren(std::move(items));
  }
}

const KeyTable& KRAVTWVItemsVexil::itemsKeyTable() {
  static const KeyTable table(
      nullptr, {KeyAccess::readWrite<&KRAVTWVItemsVexil::root, &KRAVTWVItemsVexil::setRootValue>(
                   KRAVTWVItemsVexilKeyPathRoot)});
  return table;
}
