// SPDX-License-Identifier: Apache-2.0
// What a watcher is told, as lines of text:
//
//     one: will removal {1-2}          one: the recorder, when several write to one list
//     one: did removal {1-2}
//     one: drop removal {1-2}
//     one: set label
//     one: end
//
// A recorder that is given a name for objects writes "will root removal {1-2}".
#pragma once

#include "Lines.h"
#include "Recorder.h"

#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/Watcher.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace test {

/// A watcher that keeps a line of each thing it is told.
class WatchRecorder : public vexil::platform::detail::Watcher {
 public:
  WatchRecorder(const std::string& name, Lines& lines) : _prefix(name + ": "), _lines(lines) {}
  WatchRecorder(const WatchRecorder&) = delete;
  WatchRecorder& operator=(const WatchRecorder&) = delete;

  static std::shared_ptr<WatchRecorder> make(const std::string& name, Lines& lines) {
    return std::make_shared<WatchRecorder>(name, lines);
  }

  /// Returns the text for an object. Null leaves it out.
  std::function<std::string(const vexil::platform::Observable&)> nameOfObject;
  /// Called after each line was written.
  std::function<void()> then;
  /// Whether some record had a value.
  bool hasSeenValues = false;

  void willChange(const vexil::platform::Observable& object,
                  const vexil::platform::ChangeRecord& change) noexcept override {
    tell("will ", object, change);
  }
  void didChange(const vexil::platform::Observable& object,
                 const vexil::platform::ChangeRecord& change) noexcept override {
    tell("did ", object, change);
  }
  void didDrop(const vexil::platform::Observable& object,
               const vexil::platform::ChangeRecord& change) noexcept override {
    tell("drop ", object, change);
  }
  void didSet(const vexil::platform::Observable& object,
              const vexil::platform::Key& key) noexcept override {
    tell("set " + nameBefore(object) + std::string(key.text()));
  }
  void didEnd(const vexil::platform::Observable& object) noexcept override {
    tell(nameBefore(object) + "end");
  }

 private:
  [[nodiscard]] std::string nameBefore(const vexil::platform::Observable& object) const {
    return nameOfObject ? nameOfObject(object) + " " : "";
  }
  void tell(const std::string& what, const vexil::platform::Observable& object,
            const vexil::platform::ChangeRecord& change) {
    hasSeenValues |= !change.oldValue.isAbsent() || !change.newValue.isAbsent();
    tell(what + nameBefore(object) + nameOf(change.kind) +
         (change.indexes ? " " + change.indexes->description() : ""));
  }
  void tell(const std::string& line) {
    _lines.push_back(_prefix + line);
    if (const auto action = then) {
      action();
    }
  }

  std::string _prefix;
  Lines& _lines;
};

/// Registers a watcher on one object.
inline void watch(
    vexil::platform::Observable& object,
    const std::shared_ptr<vexil::platform::detail::Watcher>& watcher,
    const vexil::platform::Key& key,
    vexil::platform::detail::Watching watching = vexil::platform::detail::Watching::oneKey) {
  vexil::platform::detail::ManyWatches(watcher, key, watching).addTo(object);
}
inline void unwatch(vexil::platform::Observable& object,
                    const std::shared_ptr<vexil::platform::detail::Watcher>& watcher,
                    const vexil::platform::Key& key) {
  vexil::platform::detail::ManyUnwatches(watcher, key).removeFrom(object);
}

}  // namespace test
