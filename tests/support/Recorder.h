// SPDX-License-Identifier: Apache-2.0
// Notices and reports as lines of text. All suites use this one notation.
//
// A notice is one call of one observer:
//
//     one: root children removal {1-2} old=[b, c] (a context)
//
//     one:           the recorder, when several write to one list
//     root           the observed object: an item's identifier, another object's class.
//                    The platform's tests leave it out, because each has one object.
//     children       the key
//     removal        the kind of change: setting, insertion, removal, replacement
//     {1-2}          the indexes
//     old=, new=     the values. An item is written as its identifier, everything else as
//                    `Value::description` has it: "text", <null>.
//     (a context)    the text of the context
//
// A report is one call of a tree observer's delegate: the kind of change, the children, their
// indexes, their parent:
//
//     report removal [b, c] {1-2} of root
//     report setting [b] without indexes of root
//
// A line leaves out what its change record does not have.
//
// `Recorder` records notices. `TreeRecorder` (TreeRecorder.h) also knows items and records reports.
// It is a class of its own because the platform's tests do not link the items.
#pragma once

#include "Lines.h"

#include <vexil/platform/Observable.h>
#include <vexil/platform/Observing.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace test {

/// The word for a kind of change.
inline std::string nameOf(vexil::platform::ChangeKind kind) {
  static constexpr const char* names[] = {"", "setting", "insertion", "removal", "replacement"};
  return names[static_cast<unsigned>(kind)];
}

/// The line of a notice from the key to the values. `text` writes a value.
template <class Text>
std::string describe(const vexil::platform::Key& key, const vexil::platform::ChangeRecord& change,
                     const Text& text) {
  std::string line = std::string(key.text()) + " " + nameOf(change.kind);
  if (change.indexes) {
    line += " " + change.indexes->description();
  }
  if (!change.oldValue.isAbsent()) {
    line += " old=" + text(change.oldValue);
  }
  if (!change.newValue.isAbsent()) {
    line += " new=" + text(change.newValue);
  }
  return line;
}
inline std::string describe(const vexil::platform::Key& key,
                            const vexil::platform::ChangeRecord& change) {
  return describe(key, change, std::mem_fn(&vexil::platform::Value::description));
}

/// An observer that keeps a line of each notice.
class Recorder : public vexil::platform::Observer {
 public:
  Recorder() : _lines(_own) {}
  /// Writes its name before each line. Other recorders may write to the same list.
  Recorder(const std::string& name, Lines& lines) : _prefix(name + ": "), _lines(lines) {}
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  static std::shared_ptr<Recorder> make(const std::string& name, Lines& lines) {
    return std::make_shared<Recorder>(name, lines);
  }

  /// The lines since the last call, in order.
  [[nodiscard]] Lines take() { return std::exchange(_lines, {}); }

  /// Called within each notice and report, after its line was written.
  std::function<void()> then;

  void observeValueForKeyPathOfObjectChangeContext(
      const vexil::platform::Key& keyPath,
      const std::shared_ptr<vexil::platform::Observable>& object,
      const vexil::platform::ChangeRecord& change,
      const vexil::platform::ContextToken* context) override {
    const auto text = [this](const vexil::platform::Value& value) { return textOf(value); };
    tell(nameBefore(object) + describe(keyPath, change, text) +
         (context == nullptr ? "" : " (" + std::string(context->text()) + ")"));
  }

 protected:
  /// The observed object with a space after it; empty to leave it out.
  [[nodiscard]] virtual std::string nameBefore(
      const std::shared_ptr<vexil::platform::Observable>& /*object*/) const {
    return {};
  }
  [[nodiscard]] virtual std::string textOf(const vexil::platform::Value& value) const {
    return value.description();
  }

  void tell(const std::string& line) {
    _lines.push_back(_prefix + line);
    if (const auto action = then) {  // a copy: the action may replace it, or end the recorder
      action();
    }
  }

 private:
  std::string _prefix;
  Lines _own;
  Lines& _lines;
};

}  // namespace test
