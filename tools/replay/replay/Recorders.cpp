// SPDX-License-Identifier: Apache-2.0
#include <replay/Recorders.h>

#include <utility>

namespace platform = vexil::platform;

namespace replay {

void Recorder::record(std::string_view line) {
  _transcript->line(line);
  if (const auto outline = _outline.lock()) {
    outline->update();
  }
}

std::shared_ptr<Watch> Watch::on(const std::shared_ptr<platform::Observable>& object,
                                 const platform::Key& key, std::string name,
                                 std::shared_ptr<Transcript> transcript) {
  auto watch = std::make_shared<Watch>(object, key, std::move(name), std::move(transcript));
  object->addObserver(watch, key, platform::ObservingOptions::both, &watch->_context);
  return watch;
}

Watch::Watch(const std::shared_ptr<platform::Observable>& object, platform::Key key,
             std::string name, std::shared_ptr<Transcript> transcript)
    : Recorder(std::move(transcript)),
      _object(object),
      _key(std::move(key)),
      _name(std::move(name)) {}

void Watch::end(const std::shared_ptr<Watch>& watch) {
  if (const auto object = watch->_object.lock()) {
    object->removeObserver(watch, watch->_key, &watch->_context);
  }
}

void Watch::observeValueForKeyPathOfObjectChangeContext(
    const platform::Key& keyPath, const std::shared_ptr<platform::Observable>& object,
    const platform::ChangeRecord& change, const platform::ContextToken* /*context*/) {
  Printer& printer = this->printer();
  // In statements of their own, because items get their numbers from left to right.
  std::string line = "notice " + _name + ' ' + printer.value(object) + ' ';
  line += keyPath.text();
  line += ' ';
  line += printedKind(change.kind);
  line += " indexes=" + printedIndexes(change.indexes);
  line += " old=" + printer.value(change.oldValue);
  line += " new=" + printer.value(change.newValue);
  record(line);
}

void Delegate::itemsObserverDidObserveItemsIndexesParent(
    const std::shared_ptr<KRAVTWVItemsObserver>& observer, platform::ChangeKind kind,
    const KRAVTWVItemArray& items, const std::optional<platform::IndexSet>& indexes,
    const std::shared_ptr<KRAVTWVItemVexil>& parent) {
  Printer& printer = this->printer();
  std::string line = "report " + printer.name(*this) + " observer=" + printer.name(*observer);
  line += " kind=";
  line += printedKind(kind);
  line += " items=" + printer.items(items);
  line += " indexes=" + printedIndexes(indexes);
  line += " parent=" + printer.value(parent);
  record(line);
}

}  // namespace replay
