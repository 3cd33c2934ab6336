// SPDX-License-Identifier: Apache-2.0
// What happened to a tree, as text: an observer and a delegate in one.
#pragma once

#include "tests/vexil/ItemTesting.h"

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Observing.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace test {

/// The name of a kind of change, as it is printed.
inline std::string nameOf(vexil::platform::ChangeKind kind) {
  static constexpr const char* names[] = {"", "setting", "insertion", "removal", "replacement"};
  return names[static_cast<unsigned>(kind)];
}

/// Keeps a line of each notice and each delegate report, items by their identifiers:
///
///     root children removal {1-2} old=[b, c]
///     root children insertion {0} new=[d]
///     root label setting old=null new=Backup
///     report removal [b, c] {1-2} of root
///
/// What a change record leaves out is left out of the line; objects that are no items print by
/// their class. `meanwhile` is called inside each notice and report, after its line was written.
class Recorder : public vexil::platform::Observer,
                 public KRAVTWVItemsObserverDelegate,
                 public std::enable_shared_from_this<Recorder> {
 public:
  [[nodiscard]] static std::shared_ptr<Recorder> make() { return std::make_shared<Recorder>(); }

  /// A recorder that watches "children" of `item`.
  [[nodiscard]] static std::shared_ptr<Recorder> of(const ItemPointer& item) {
    auto recorder = make();
    recorder->watch(item);
    return recorder;
  }

  void watch(const std::shared_ptr<vexil::platform::Observable>& object,
             const vexil::platform::Key& key = "children") {
    object->addObserver(shared_from_this(), key, vexil::platform::ObservingOptions::both,
                        &context());
  }
  void unwatch(const std::shared_ptr<vexil::platform::Observable>& object,
               const vexil::platform::Key& key = "children") {
    object->removeObserver(shared_from_this(), key, &context());
  }

  /// The lines since the last call, each with its newline.
  [[nodiscard]] std::string take() { return std::exchange(_lines, {}); }

  std::function<void()> meanwhile;

  void observeValueForKeyPathOfObjectChangeContext(
      const vexil::platform::Key& keyPath,
      const std::shared_ptr<vexil::platform::Observable>& object,
      const vexil::platform::ChangeRecord& change,
      const vexil::platform::ContextToken* /*context*/) override {
    const auto item = std::dynamic_pointer_cast<KRAVTWVItemVexil>(object);
    std::string line = item ? noticed(vexil::platform::Value(item)) : object->className();
    line += " " + std::string(keyPath.text()) + " " + nameOf(change.kind);
    if (change.indexes) {
      line += " " + change.indexes->description();
    }
    if (!change.oldValue.isAbsent()) {
      line += " old=" + noticed(change.oldValue);
    }
    if (!change.newValue.isAbsent()) {
      line += " new=" + noticed(change.newValue);
    }
    tell(line);
  }

  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& /*observer*/, vexil::platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<vexil::platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) override {
    tell("report " + nameOf(kind) + " " + identifiers(items) + " " +
         (indexes ? indexes->description() : "without indexes") + " of " +
         parent->uniqueID().displayText());
  }

 private:
  static const vexil::platform::ContextToken& context() {
    static constexpr vexil::platform::ContextToken token("test.recorder");
    return token;
  }
  void tell(const std::string& line) {
    _lines += line + "\n";
    if (meanwhile) {
      // A copy, because what is done meanwhile may set it to something else.
      const auto now = meanwhile;
      now();
    }
  }

  std::string _lines;
};

/// An array of items to merge.
inline std::shared_ptr<KRAVTWVItemArray> items(KRAVTWVItemArray elements) {
  return std::make_shared<KRAVTWVItemArray>(std::move(elements));
}

/// An event item, whose identifier and label are those of its record.
inline ItemPointer eventItem(const vexil::platform::Value& uniqueID,
                             const vexil::platform::Value& name,
                             const KRAVTWVItemArray& children = {}) {
  ItemPointer item = KRAVTWVEventVexil::itemWithEvent(eventRecord(uniqueID, name));
  item->addChildren(children);
  return item;
}

/// A tree on one line: "root[a=One b=Two[c=Three]]"; a label that is absent is left out.
inline std::string outline(const ItemPointer& item) {
  std::string text = item->uniqueID().displayText();
  if (!item->label().isAbsent()) {
    text += "=" + item->label().displayText();
  }
  const auto children = item->children();
  if (children && !children->empty()) {
    std::string inner;
    for (const ItemPointer& child : *children) {
      inner += (inner.empty() ? "" : " ") + outline(child);
    }
    text += "[" + inner + "]";
  }
  return text;
}

}  // namespace test
