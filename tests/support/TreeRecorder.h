// SPDX-License-Identifier: Apache-2.0
// The recorder of tests on trees; Recorder.h explains its lines.
#pragma once

#include "Recorder.h"
#include "tests/vexil/ItemTesting.h"

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Observing.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// Keeps a line of each notice and of each report to a delegate, in one list, so that their order
/// shows.
class TreeRecorder : public Recorder,
                     public KRAVTWVItemsObserverDelegate,
                     public std::enable_shared_from_this<TreeRecorder> {
 public:
  using Object = std::shared_ptr<vexil::platform::Observable>;
  using Options = vexil::platform::ObservingOptions;

  [[nodiscard]] static std::shared_ptr<TreeRecorder> make() {
    return std::make_shared<TreeRecorder>();
  }

  /// A recorder that watches keys of one object.
  [[nodiscard]] static std::shared_ptr<TreeRecorder> of(
      const Object& object, const std::vector<std::string>& keys = {"children"},
      Options options = Options::both) {
    auto recorder = make();
    for (const std::string& key : keys) {
      recorder->watch(object, key, options);
    }
    return recorder;
  }

  void watch(const Object& object, const vexil::platform::Key& key = "children",
             Options options = Options::both) {
    object->addObserver(shared_from_this(), key, options, nullptr);
  }
  void unwatch(const Object& object, const vexil::platform::Key& key = "children") {
    object->removeObserver(shared_from_this(), key, nullptr);
  }

  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& /*observer*/, vexil::platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<vexil::platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) override {
    tell("report " + nameOf(kind) + " " + identifiers(items) + " " +
         (indexes ? indexes->description() : "without indexes") + " of " +
         parent->uniqueID().displayText());
  }

 protected:
  [[nodiscard]] std::string nameBefore(const Object& object) const override {
    const auto item = std::dynamic_pointer_cast<KRAVTWVItemVexil>(object);
    return (item ? item->uniqueID().displayText() : object->className()) + " ";
  }
  [[nodiscard]] std::string textOf(const vexil::platform::Value& value) const override {
    if (const auto item = std::dynamic_pointer_cast<KRAVTWVItemVexil>(value.object())) {
      return item->uniqueID().displayText();  // its description holds its address
    }
    if (!value.isArray()) {
      return value.description();
    }
    std::string text;
    for (const vexil::platform::Value& element : value.elements()) {
      text += (text.empty() ? "[" : ", ") + textOf(element);
    }
    return text.empty() ? "[]" : text + "]";
  }
};

}  // namespace test
