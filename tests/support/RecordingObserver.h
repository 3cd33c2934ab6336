// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Observable.h>
#include <vexil/platform/Observing.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// What observers heard, one line a notice.
using Notices = std::vector<std::string>;

/// `label set old="a" new="b"`, `books insert {0-1} new=[...]`; parts that are absent are left out.
inline std::string describe(const vexil::platform::Key& key,
                            const vexil::platform::ChangeRecord& change) {
  static constexpr const char* kinds[] = {"?", "set", "insert", "remove", "replace"};
  std::string text = std::string(key.text()) + " " + kinds[static_cast<unsigned>(change.kind)];
  if (change.indexes) {
    text += " " + change.indexes->description();
  }
  if (!change.oldValue.isAbsent()) {
    text += " old=" + change.oldValue.description();
  }
  if (!change.newValue.isAbsent()) {
    text += " new=" + change.newValue.description();
  }
  return text;
}

/// Writes down what it hears under its name, then does what it was told to do.
class RecordingObserver : public vexil::platform::Observer {
 public:
  RecordingObserver(std::string name, Notices& notices)
      : _name(std::move(name)), _notices(notices) {}

  static std::shared_ptr<RecordingObserver> make(const std::string& name, Notices& notices) {
    return std::make_shared<RecordingObserver>(name, notices);
  }

  /// Done with every notice, until it is replaced.
  std::function<void()> then;

  void observeValueForKeyPathOfObjectChangeContext(
      const vexil::platform::Key& keyPath,
      const std::shared_ptr<vexil::platform::Observable>& /*object*/,
      const vexil::platform::ChangeRecord& change,
      const vexil::platform::ContextToken* context) override {
    _notices.push_back(_name + ": " + describe(keyPath, change) +
                       (context == nullptr ? "" : " (" + std::string(context->text()) + ")"));
    if (const auto action = then) {  // a copy, since the observer may go meanwhile
      action();
    }
  }

 private:
  std::string _name;
  Notices& _notices;
};

}  // namespace test
