// SPDX-License-Identifier: Apache-2.0
#include "monitor/Watch.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <utility>

#include "monitor/Tables.h"

namespace monitor {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kEntriesChange = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                         IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t kContentsChange = IN_MODIFY | IN_CLOSE_WRITE;

/// Many inotify events are read in portions, so that a report can be given in between.
constexpr int kMostReads = 64;

[[noreturn]] void fail(const char* what) {
  throw WatchFailed(errno, std::generic_category(), what);
}

Descriptor required(int number, const char* what) {
  if (number < 0) {
    fail(what);
  }
  return Descriptor(number);
}

void listen(const Descriptor& events, const Descriptor& source) {
  epoll_event event = {};
  event.events = EPOLLIN;
  if (::epoll_ctl(events.number(), EPOLL_CTL_ADD, source.number(), &event) != 0) {
    fail("cannot wait for changes");
  }
}

bool isSystemTable(std::string_view name) {
  return name == fs::path(kSystemTable).filename().string();
}

}  // namespace

Watcher::Watcher(const fs::path& root, Timing timing)
    : _timing(timing),
      _notify(required(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC), "cannot watch directories")),
      _timer(required(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC),
                      "cannot start a timer")),
      _events(required(::epoll_create1(EPOLL_CLOEXEC), "cannot wait for changes")) {
  listen(_events, _notify);
  listen(_events, _timer);
  addPlaces(root);
  synchronize();
  if (std::all_of(_places.begin(), _places.end(), [](const Place& p) { return p.watch < 0; })) {
    errno = ENOENT;
    fail(("cannot watch " + root.string()).c_str());
  }
}

void Watcher::addPlaces(const fs::path& root) {
  fs::path top = fs::absolute(root).lexically_normal();
  if (!top.has_filename()) {
    top = top.parent_path();
  }
  if (top.has_filename()) {
    _places.push_back({top.parent_path(), {top.filename().string()}});
  }
  const auto add = [&](const char* below, std::vector<std::string> places,
                       bool (*isTable)(std::string_view)) {
    _places.push_back({top / below, std::move(places), isTable});
  };
  add("", {"etc", "var"}, nullptr);
  add("etc", {"cron.d"}, isSystemTable);
  add("var", {"spool"}, nullptr);
  add("var/spool", {"cron"}, nullptr);
  add("var/spool/cron", {"crontabs"}, nullptr);
  add("etc/cron.d", {}, isSystemTableName);
  add("var/spool/cron/crontabs", {}, isUserTableName);
}

void Watcher::synchronize() {
  // From the top down. When a directory is made after its parent is watched, there is an inotify
  // event. One that was made before is there when the loop comes to it.
  _placesMayDiffer = false;
  for (Place& place : _places) {
    watchPlace(place);
  }
}

void Watcher::watchPlace(Place& place) {
  const std::uint32_t mask = kEntriesChange | (place.isTable ? kContentsChange : 0U) | IN_MASK_ADD;
  const int watch = ::inotify_add_watch(_notify.number(), place.directory.c_str(), mask);
  if (watch < 0 && (errno == ENOSPC || errno == ENOMEM)) {
    fail(("cannot watch " + place.directory.string()).c_str());
  }
  if (watch == place.watch) {
    return;
  }
  const int before = std::exchange(place.watch, watch);
  // The directory may still be there under another name. If that name is another of our places, the
  // inotify event that its watch has ended makes us watch it again.
  if (before >= 0) {
    ::inotify_rm_watch(_notify.number(), before);
  }
}

void Watcher::forget(int watch) {
  for (Place& place : _places) {
    if (place.watch == watch) {
      place.watch = -1;
    }
  }
}

bool Watcher::takeInotifyEvent(int watch, unsigned mask, std::string_view name) {
  if ((mask & IN_Q_OVERFLOW) != 0) {
    _placesMayDiffer = true;
    return true;
  }
  bool ours = false;
  for (const Place& place : _places) {
    if (place.watch != watch) {
      continue;
    }
    const bool self = (mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT)) != 0;
    const bool isPlace =
        std::find(place.places.begin(), place.places.end(), name) != place.places.end();
    _placesMayDiffer = _placesMayDiffer || self || isPlace;
    ours = ours || self || isPlace || (place.isTable && place.isTable(name));
  }
  if ((mask & IN_IGNORED) != 0) {
    forget(watch);
  }
  return ours;
}

bool Watcher::readInotifyEvents() {
  alignas(inotify_event) std::array<char, 16384> buffer;
  bool ours = false;
  for (int i = 0; i < kMostReads; ++i) {
    const ssize_t size = ::read(_notify.number(), buffer.data(), buffer.size());
    if (size <= 0) {
      break;
    }
    for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
      inotify_event event;
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const char* const name = buffer.data() + at + sizeof event;
      const std::string_view entry(name, ::strnlen(name, event.len));
      ours = takeInotifyEvent(event.wd, event.mask, entry) || ours;
      at += sizeof event + event.len;
    }
  }
  if (_placesMayDiffer) {
    synchronize();
  }
  return ours;
}

void Watcher::startTimer(Clock::time_point now) {
  using std::chrono::nanoseconds;
  // At least 1, because 0 would stop the timer.
  const nanoseconds left = std::max<nanoseconds>(_due - now, nanoseconds(1));
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
  itimerspec time = {};
  time.it_value.tv_sec = seconds.count();
  time.it_value.tv_nsec = (left - seconds).count();
  if (::timerfd_settime(_timer.number(), 0, &time, nullptr) != 0) {
    fail("cannot start a timer");
  }
}

bool Watcher::drain() {
  const bool more = readInotifyEvents();
  if (!more && !_changed) {
    return false;
  }

  const Clock::time_point now = Clock::now();
  if (more) {
    if (!std::exchange(_changed, true)) {
      _firstChange = now;
    }
    _due = std::min(now + _timing.settle, _firstChange + _timing.longest);
  }
  if (now >= _due) {
    // This also makes the timer no longer readable.
    const itimerspec stopped = {};
    ::timerfd_settime(_timer.number(), 0, &stopped, nullptr);
    _changed = false;
    return true;
  }
  if (more) {
    startTimer(now);
  }
  return false;
}

bool Watcher::wait(Milliseconds timeout) {
  const Clock::time_point end =
      Clock::now() + std::clamp<Milliseconds>(timeout, Milliseconds(0), std::chrono::hours(10000));
  while (!drain()) {
    const auto left = std::chrono::ceil<Milliseconds>(end - Clock::now());
    if (left.count() <= 0) {
      return false;
    }
    pollfd events = {_events.number(), POLLIN, 0};
    const int slice = static_cast<int>(std::min<Milliseconds>(left, std::chrono::hours(1)).count());
    const int ready = ::poll(&events, 1, slice);
    if (ready < 0 && errno == EINTR) {
      return false;
    }
    if (ready < 0) {
      fail("cannot wait for changes");
    }
  }
  return true;
}

}  // namespace monitor
