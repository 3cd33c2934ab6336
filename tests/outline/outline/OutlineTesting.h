// SPDX-License-Identifier: Apache-2.0
// What tests of outlines share.
#pragma once

#include "tests/vexil/ItemTesting.h"
#include "tests/vexil/collections/CollectionTesting.h"

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/platform/Log.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Observing.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test {

/// The rows below one on one line: "a b[c c#1]" has a and b, and below b two rows c. An absent
/// identifier is written "-".
inline std::string textOf(const vexil::OutlineRow& row) {
  std::string text;
  for (std::size_t i = 0; i < row.childCount(); ++i) {
    const vexil::OutlineRow& child = *row.child(i);
    text += i == 0 ? "" : " ";
    text += child.uniqueID().isAbsent() ? "-" : child.uniqueID().displayText();
    text += child.occurrence() == 0 ? "" : "#" + std::to_string(child.occurrence());
    text += child.childCount() == 0 ? "" : "[" + textOf(child) + "]";
  }
  return text;
}
inline std::string textOf(const vexil::Outline& outline) {
  return textOf(outline.top());
}

/// Updates, and returns the text of the update.
inline std::string updated(vexil::Outline& outline) {
  return outline.update().description();
}

/// The row at positions from the first level down; the test fails when there is none.
inline vexil::OutlineRow& rowAt(const vexil::Outline& outline,
                                const std::vector<std::size_t>& positions) {
  vexil::OutlineRow* row = &outline.top();
  for (const std::size_t position : positions) {
    row = row->child(position);
    if (row == nullptr) {
      throw std::out_of_range("no such row");
    }
  }
  return *row;
}

/// An item that is followed, with children.
inline ItemPointer root(const KRAVTWVItemArray& children = {}) {
  ItemPointer item = plainItem("root");
  item->children()->assign(children.begin(), children.end());
  return item;
}

/// A group, which has no represented object but its identifier.
inline ItemPointer group(const vexil::platform::Value& uniqueID,
                         const KRAVTWVItemArray& children = {}) {
  ItemPointer item = KRAVTWVGroupVexil::itemWithLabelUniqueID("label", uniqueID);
  item->children()->assign(children.begin(), children.end());
  return item;
}

/// Changes an array of children and announces that it was set.
inline void edit(const ItemPointer& item, const std::function<void(KRAVTWVItemArray&)>& change) {
  auto pending = item->willChangeValueForKey(KRAVTWVItemVexilKeyPathChildren);
  change(*item->children());
  item->didChangeValueForKey(std::move(pending));
}

/// An object that does something when it is destroyed.
inline std::shared_ptr<vexil::platform::Object> atEnd(std::function<void()> then) {
  class AtEnd : public vexil::platform::Object {
   public:
    explicit AtEnd(std::function<void()> then) : _then(std::move(then)) {}
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;
    ~AtEnd() override { _then(); }
    [[nodiscard]] bool isEqual(const Object& other) const override { return this == &other; }
    [[nodiscard]] std::size_t hash() const override { return 1; }

   private:
    std::function<void()> _then;
  };
  return std::make_shared<AtEnd>(std::move(then));
}

/// Does something in each notice.
class NoticeAction : public vexil::platform::Observer {
 public:
  explicit NoticeAction(std::function<void()> then) : _then(std::move(then)) {}
  void observeValueForKeyPathOfObjectChangeContext(
      const vexil::platform::Key& /*keyPath*/,
      const std::shared_ptr<vexil::platform::Observable>& /*object*/,
      const vexil::platform::ChangeRecord& /*change*/,
      const vexil::platform::ContextToken* /*context*/) override {
    _then();
  }

 private:
  std::function<void()> _then;
};
[[nodiscard]] inline std::shared_ptr<NoticeAction> onEachNotice(
    const std::shared_ptr<vexil::platform::Observable>& object, const vexil::platform::Key& key,
    std::function<void()> then) {
  auto observer = std::make_shared<NoticeAction>(std::move(then));
  object->addObserver(observer, key, vexil::platform::ObservingOptions::both, nullptr);
  return observer;
}

/// Keeps the lines of the log while it lives.
class LogLines {
 public:
  LogLines()
      : _before(vexil::platform::setLogSink(
            [this](std::string_view line) { _lines.emplace_back(line); })) {}
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;
  ~LogLines() { vexil::platform::setLogSink(_before); }
  [[nodiscard]] Lines take() { return std::exchange(_lines, {}); }

 private:
  Lines _lines;
  vexil::platform::LogSink _before;
};

/// A host's kind that does something when it is asked for its label.
class AskedItem : public KRAVTWVKind<AskedItem, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  std::function<void()> whenAsked;
  [[nodiscard]] vexil::platform::Value label() const override {
    if (const auto then = whenAsked) {
      then();
    }
    return KRAVTWVKind::label();
  }
};
[[nodiscard]] inline std::shared_ptr<AskedItem> askedItem(const char* uniqueID) {
  auto item = AskedItem::itemWithRepresentedObject(uniqueID);
  item->setUniqueID(uniqueID);
  return item;
}

}  // namespace test
