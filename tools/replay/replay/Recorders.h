// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Outline.h>
#include <replay/Transcript.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Observing.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace replay {

/// Prints what it is told. It may be asked to update an outline each time, in the middle of what is
/// going on.
class Recorder {
 public:
  virtual ~Recorder() = default;

  /// The recorder does not keep the outline alive. Absent: it updates none from now on.
  void updateWhenTold(const std::shared_ptr<Outline>& outline) { _outline = outline; }

 protected:
  explicit Recorder(std::shared_ptr<Transcript> transcript) : _transcript(std::move(transcript)) {}
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  [[nodiscard]] Printer& printer() const { return _transcript->printer(); }
  void record(std::string_view line);

 private:
  std::shared_ptr<Transcript> _transcript;
  std::weak_ptr<Outline> _outline;
};

/// Prints each notice that it gets:
///
///     notice w #1(KRAVTWVGroupVexil "root") children removal indexes={0} old=[...] new=absent
class Watch final : public vexil::platform::Object,
                    public vexil::platform::Observer,
                    public Recorder {
 public:
  /// Makes a watch of this name and registers it for `key`, for both values, with a context of its
  /// own. Neither the watch nor the registration keeps `object` alive.
  static std::shared_ptr<Watch> on(const std::shared_ptr<vexil::platform::Observable>& object,
                                   const vexil::platform::Key& key, std::string name,
                                   std::shared_ptr<Transcript> transcript);

  Watch(const std::shared_ptr<vexil::platform::Observable>& object, vexil::platform::Key key,
        std::string name, std::shared_ptr<Transcript> transcript);

  /// Withdraws the registration. Does nothing when the object is gone, because the registration is
  /// gone with it. Throws what `Observable::removeObserver` throws when it was withdrawn before.
  static void end(const std::shared_ptr<Watch>& watch);

  void observeValueForKeyPathOfObjectChangeContext(
      const vexil::platform::Key& keyPath,
      const std::shared_ptr<vexil::platform::Observable>& object,
      const vexil::platform::ChangeRecord& change,
      const vexil::platform::ContextToken* context) override;

 private:
  std::weak_ptr<vexil::platform::Observable> _object;
  vexil::platform::Key _key;
  std::string _name;
  vexil::platform::ContextToken _context{"replay::Watch"};
};

/// Prints each report of an items observer:
///
///     report d observer=o kind=insertion items=[...] indexes={0} parent=#1(...)
class Delegate final : public KRAVTWVItemsObserverDelegate, public Recorder {
 public:
  explicit Delegate(std::shared_ptr<Transcript> transcript) : Recorder(std::move(transcript)) {}

  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& observer, vexil::platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<vexil::platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) override;
};

}  // namespace replay
