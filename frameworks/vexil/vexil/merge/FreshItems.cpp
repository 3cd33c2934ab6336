// SPDX-License-Identifier: Apache-2.0
#include <vexil/merge/FreshItems.h>
#include <vexil/order/EventSorting.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/FieldReader.h>

namespace vexil::detail {

std::vector<platform::Value> identifiersOf(const std::shared_ptr<const KRAVTWVItemArray>& items) {
  const platform::Key& key = eventIdentifierKey();
  std::vector<platform::Value> identifiers;
  identifiers.reserve(items->size());
  platform::FieldReader identifierOf(key);
  for (std::size_t i = 0; i < items->size(); ++i) {
    const auto& item = (*items)[i];
    if (!item) {
      throw platform::InvalidArgument("an array of items holds a null pointer");
    }
    if (ItemFields::isPlainEvent(*item)) {
      identifiers.push_back(identifierOf(ItemFields::representedObject(*item)));
    } else {
      const auto held = item;  // a host's kind may take it out when it is asked
      identifiers.push_back(held->uniqueID());
      identifierOf = platform::FieldReader(key);  // records may have gone
    }
  }
  return identifiers;
}

std::vector<platform::Value> FreshItems::identifiers() const {
  return identifiersOf(_items);
}

const std::shared_ptr<const KRAVTWVItemArray>& FreshItems::noItems() {
  static const auto none = std::make_shared<const KRAVTWVItemArray>();
  return none;
}

}  // namespace vexil::detail
