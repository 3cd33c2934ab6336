// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <poll.h>

#include <chrono>
#include <memory>
#include <span>

struct AvahiPoll;
struct AvahiSimplePoll;

namespace vexil::avahi {

/// An event loop over poll(2), for a program that has none which the daemon's client library can
/// use. A host of a toolkit gives the browser the toolkit's own loop instead (for GLib that is
/// `avahi_glib_poll_get`) and needs none of this.
///
/// The program keeps its `while`: each turn is a call of `wait`, which also watches descriptors of
/// the program's own. No thread is started. To be used by one thread at a time; it must outlive
/// every browser that was made with it.
class PollLoop {
 public:
  /// Raises `std::system_error` when the system gives no descriptors for it.
  PollLoop();
  PollLoop(const PollLoop&) = delete;
  PollLoop& operator=(const PollLoop&) = delete;
  ~PollLoop();

  /// The loop as the client library wants it; belongs to this object.
  [[nodiscard]] const AvahiPoll& poll() const noexcept;

  /// Waits until there is something to do for a browser or one of `others` is ready, at most
  /// `timeout` (less than zero: without end), and does what there is to do for one browser: its
  /// handlers are called in here. May return early with nothing done, always so when the thread
  /// has handled a signal; call it again.
  ///
  /// `others` are the program's own, filled in as by poll(2); true when one of them has `revents`.
  /// Raises `std::system_error` when poll(2) fails. Not to be called by a handler.
  bool wait(std::chrono::milliseconds timeout, std::span<pollfd> others = {});

 private:
  static int pollAll(pollfd* ours, unsigned count, int timeout, void* loop) noexcept;

  struct Deleter {
    void operator()(AvahiSimplePoll* loop) const noexcept;
  };

  std::unique_ptr<AvahiSimplePoll, Deleter> _loop;
  std::span<pollfd> _others;
};

}  // namespace vexil::avahi
