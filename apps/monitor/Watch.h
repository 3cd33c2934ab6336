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

/// The system does not let us watch, or not any more: there are too many watchers or watches, or
/// there is nothing to watch. `code()` is the system's error.
class WatchFailed : public std::system_error {
 public:
  using std::system_error::system_error;
};

/// Reports that the cron tables below a root may have changed, some time after the change.
///
/// The watcher sees when a table is written or appended to, created, removed, renamed, or replaced
/// by another file (as editors and `sed -i` do it), and when its permissions change. It sees the
/// same for the directories that lead to the tables, from the root itself down. When a directory is
/// not there yet, or is removed and made again, it is watched as soon as it is there. The watcher
/// does not see changes of files whose names are not those of tables, of files that a link in one
/// of the places leads to (it sees changes of the link itself), and of what is above the root.
///
/// A change is reported when nothing has happened for `settle`, so that an edit of many writes is
/// one report. It is reported at the latest `longest` after the first change. The report does not
/// say what has changed: the caller must read the tables again, and may find them equal. When the
/// system loses inotify events because there are too many, that is a change too.
///
/// After the constructor returns, no change is missed. So a caller who first makes the watcher and
/// then reads the tables either reads a change or gets a report of it.
///
/// A program with an event loop waits until `descriptor()` is readable and then calls `drain`. Any
/// other program calls `wait`. The watcher starts no thread, and uses no time while nothing
/// happens. Only one thread at a time may use it.
///
///     monitor::Watcher watcher(root);
///     show(monitor::readTables(root));
///     while (running)
///       if (watcher.wait(std::chrono::seconds(60)))
///         show(monitor::readTables(root));
class Watcher {
 public:
  using Milliseconds = std::chrono::milliseconds;

  /// How long a report may take.
  struct Timing {
    Milliseconds settle{50};
    Milliseconds longest{500};
  };

  /// Begins to watch. `root` may be missing, but the directory that it is in must be there. Throws
  /// `WatchFailed`.
  explicit Watcher(const std::filesystem::path& root) : Watcher(root, Timing()) {}
  Watcher(const std::filesystem::path& root, Timing timing);

  /// Readable (for poll, select, epoll) when `drain` has something to do, and only then. The
  /// watcher owns it; the caller must not read from it.
  [[nodiscard]] int descriptor() const { return _events.number(); }

  /// Reads what has happened, without waiting. Returns true when a change is to be reported.
  /// Returns false when there is none, or when the change has not settled; then the descriptor
  /// becomes readable again. Throws `WatchFailed` when a directory has appeared and the system lets
  /// us watch no more.
  bool drain();

  /// Waits for a change, at most `timeout`. Returns true when one is to be reported. Returns false
  /// when the time has passed, and earlier when this thread handled a signal. A change that has not
  /// settled by then is not lost: a later call reports it. Throws as `drain` does.
  bool wait(Milliseconds timeout);

 private:
  using Clock = std::chrono::steady_clock;

  /// A directory on the way to the tables.
  struct Place {
    std::filesystem::path directory;
    /// The names of its entries that are places themselves.
    std::vector<std::string> places;
    /// Whether another entry is a table, by its name. Null when none is.
    bool (*isTable)(std::string_view) = nullptr;
    int watch = -1;
  };

  void addPlaces(const std::filesystem::path& root);
  void synchronize();
  void watchPlace(Place& place);
  void forget(int watch);
  bool readInotifyEvents();
  bool takeInotifyEvent(int watch, unsigned mask, std::string_view name);
  void startTimer(Clock::time_point now);

  Timing _timing;
  Descriptor _notify;
  Descriptor _timer;
  /// An epoll, readable when one of the two is.
  Descriptor _events;
  std::vector<Place> _places;
  bool _placesMayDiffer = false;
  bool _changed = false;
  Clock::time_point _firstChange;
  Clock::time_point _due;
};

}  // namespace monitor
