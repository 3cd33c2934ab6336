// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <poll.h>

#include <chrono>
#include <memory>
#include <span>

struct AvahiPoll;
struct AvahiSimplePoll;

namespace vexil::avahi {

/// An event loop over poll(2), for a program that has no loop which the daemon's client library can
/// use. A host with a toolkit does not need it: it gives the browser the toolkit's own loop (for
/// GLib, `avahi_glib_poll_get`).
///
/// The program keeps its own `while` loop and calls `wait` in each turn. `wait` can also watch
/// descriptors of the program. It starts no thread. Only one thread at a time may use it, and it
/// must outlive every browser that was made with it.
class PollLoop {
 public:
  /// Throws `std::system_error` when the system gives no descriptors for it.
  PollLoop();
  PollLoop(const PollLoop&) = delete;
  PollLoop& operator=(const PollLoop&) = delete;
  ~PollLoop();

  /// The loop in the form that the client library needs. It belongs to this object.
  [[nodiscard]] const AvahiPoll& poll() const noexcept;

  /// Waits until there is something to do for a browser or one of `others` is ready, but at most
  /// `timeout` (without limit when it is negative). Then it does what there is to do for one
  /// browser, and calls its handlers. It may return early with nothing done, and always does when
  /// the thread has handled a signal; the caller then calls it again.
  ///
  /// `others` are the program's own descriptors, filled in as for poll(2). Returns true when one of
  /// them has `revents`. Throws `std::system_error` when poll(2) fails. A handler must not call
  /// this.
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
