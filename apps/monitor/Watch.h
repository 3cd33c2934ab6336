// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "monitor/Descriptor.h"

namespace monitor {

/// The system gives no (more) means to watch: too many watchers or watches, or nothing there to
/// watch. `code()` is what the system said.
class WatchFailed : public std::system_error {
 public:
  using std::system_error::system_error;
};

/// Tells that the cron tables below a root may have changed, some time after the change.
///
/// Noticed are: a table that is written or appended to, created, removed, renamed, or replaced by
/// another file (as editors and `sed -i` do it); a change of its permissions; and the same for the
/// directories that lead to the tables, from the root itself down. A directory that is not there
/// yet, or is removed and made again, is watched as soon as it is there. Not noticed are files that
/// are no tables by their name, files that a link in one of the places leads to (the link itself
/// is), and what happens above the root.
///
/// A change is reported when nothing has happened for `settle`, so that an edit of many writes is
/// one report, but `longest` after the first change even if there is no rest. What is reported is
/// that something has changed, not what: read the tables again. It can happen that they turn out
/// equal. If the system lost notices because there were too many, that is a change too.
///
/// From the moment the constructor returns nothing is missed: whoever makes the watcher first and
/// reads the tables then has either read a change or is told of it.
///
/// A program with an event loop of its own waits until `descriptor()` is readable, then calls
/// `drain`; any other calls `wait`. No thread is started, no time is spent while nothing happens.
/// To be used by one thread at a time.
///
///     monitor::Watcher watcher(root);
///     show(monitor::readTables(root));
///     while (running)
///       if (watcher.wait(std::chrono::seconds(60)))
///         show(monitor::readTables(root));
class Watcher {
 public:
  using Milliseconds = std::chrono::milliseconds;

  /// How long it takes until a change is reported.
  struct Timing {
    Milliseconds settle{50};
    Milliseconds longest{500};
  };

  /// Begins to watch. `root` need not be there yet, but the directory it is in must. Raises
  /// `WatchFailed`.
  explicit Watcher(const std::filesystem::path& root) : Watcher(root, Timing()) {}
  Watcher(const std::filesystem::path& root, Timing timing);

  /// Readable (for poll, select, epoll) when `drain` has something to do, and only then. Belongs to
  /// the watcher; do not read from it.
  [[nodiscard]] int descriptor() const { return _events.number(); }

  /// Takes in what has happened, without waiting. True once a change has settled; false if there
  /// was none, or one that has not settled yet: then the descriptor becomes readable again.
  /// Raises `WatchFailed` where a directory that has appeared cannot be watched any more.
  bool drain();

  /// Waits until a change has settled, at most `timeout`. True if one has; false when the time is
  /// up, or early when a signal was handled by this thread. A change that has not settled by then
  /// is not lost, the next call reports it. Raises as `drain` does.
  bool wait(Milliseconds timeout);

 private:
  using Clock = std::chrono::steady_clock;

  /// A directory on the way to the tables.
  struct Place {
    std::filesystem::path directory;
    /// The entries that are places themselves.
    std::vector<std::string> places;
    /// Which of the other entries are tables; null where none is.
    bool (*isTable)(std::string_view) = nullptr;
    int watch = -1;
  };

  void addPlaces(const std::filesystem::path& root);
  void synchronize();
  void watchPlace(Place& place);
  void forget(int watch);
  bool readNotices();
  bool takeNotice(int watch, unsigned mask, std::string_view name);
  void startTimer(Clock::time_point now);

  Timing _timing;
  Descriptor _notify;
  Descriptor _timer;
  /// Readable when one of the two is.
  Descriptor _events;
  std::vector<Place> _places;
  bool _placesMayDiffer = false;
  bool _changed = false;
  Clock::time_point _firstChange;
  Clock::time_point _due;
};

}  // namespace monitor
