// SPDX-License-Identifier: Apache-2.0
#include <replay/Operations.h>
#include <vexil/KRAVTWVItemVexil.h>

namespace platform = vexil::platform;

namespace replay {

using platform::Value;

namespace {

std::vector<Operation> operationsOfEveryItem() {
  using Item = KRAVTWVItemVexil;
  Operation directory =
      method("URLForUniqueTemporaryDirectory", &Item::URLForUniqueTemporaryDirectory);
  directory.print = [](const Call& call, const Value& result) {
    const auto* const made = dynamic_cast<const Directory*>(result.object().get());
    if (made == nullptr) {
      return call.transcript->printer().value(result);
    }
    return Printer::directory(made->url());
  };

  return {
      method("uniqueID", &Item::uniqueID),
      method("setUniqueID:", &Item::setUniqueID),
      method("label", &Item::label),
      method("setLabel:", &Item::setLabel),
      method("representedObject", &Item::representedObject),
      method("setRepresentedObject:", &Item::setRepresentedObject),
      method("parent", &Item::parent),
      method("setParent:", &Item::setParent),
      method("children", &Item::children),
      method("setChildren:", &Item::setChildren),
      method("supportsEnabled", &Item::supportsEnabled),
      method("enabled", &Item::enabled),
      method("isGroup", &Item::isGroup),
      method("isExpandable", &Item::isExpandable),
      method("isEqualToItem:",
             [](Item& item, const std::shared_ptr<Item>& other) {
               // An absent item has an absent represented object, which equals nothing.
               return other && item.isEqualToItem(*other);
             }),
      method("addChild:", &Item::addChild),
      method("addChildren:", &Item::addChildren),
      method("removeChildrenAtIndexes:", &Item::removeChildrenAtIndexes),
      method("replaceChildren:", &Item::replaceChildren),
      method("childAtIndex:", &Item::childAtIndex),
      method("recursiveChildren", &Item::recursiveChildren),
      method("path", &Item::path),
      method("itemWithPath:", &Item::itemWithPath),
      std::move(directory),
  };
}

std::vector<Operation> operationsOfKinds() {
  return {
      method("representedEvent", &KRAVTWVEventRepresenting::representedEvent),
      method("triggerDate", &KRAVTWVQueuedTriggerVexil::triggerDate),
      method("activity", &KRAVTWVActiveEventVexil::activity),
      method("domain", &KRAVTWVNetServiceVexil::domain),
      method("netService", &KRAVTWVNetServiceVexil::netService),
      method("setNetService:", &KRAVTWVNetServiceVexil::setNetService),
  };
}

std::vector<Operation> operationsOfWritableKinds() {
  using platform::PasteboardWriting;
  Operation content =
      method("pasteboardPropertyListForType:", &PasteboardWriting::pasteboardPropertyListForType);
  content.print = [](const Call& call, const Value& result) {
    return call.transcript->printer().pasteboardContent(result, call.arguments[0].string());
  };

  return {
      method("writableTypesForPasteboard:", &PasteboardWriting::writableTypesForPasteboard),
      method("writingOptionsForType:pasteboard:",
             &PasteboardWriting::writingOptionsForTypePasteboard),
      std::move(content),
  };
}

}  // namespace

std::vector<Operation> itemOperations() {
  std::vector<Operation> operations = operationsOfEveryItem();
  for (const auto& more : {operationsOfKinds(), operationsOfWritableKinds()}) {
    operations.insert(operations.end(), more.begin(), more.end());
  }
  return operations;
}

}  // namespace replay
