// SPDX-License-Identifier: Apache-2.0
#include <avahi-common/simple-watch.h>
#include <vexil/avahi/PollLoop.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <new>
#include <system_error>
#include <vector>

namespace vexil::avahi {

PollLoop::PollLoop() : _loop(avahi_simple_poll_new()) {
  if (!_loop) {
    throw std::system_error(errno, std::generic_category(), "cannot make an event loop");
  }
  avahi_simple_poll_set_func(_loop.get(), &PollLoop::pollAll, this);
}

PollLoop::~PollLoop() = default;

void PollLoop::Deleter::operator()(AvahiSimplePoll* loop) const noexcept {
  avahi_simple_poll_free(loop);
}

const AvahiPoll& PollLoop::poll() const noexcept {
  return *avahi_simple_poll_get(_loop.get());
}

bool PollLoop::wait(std::chrono::milliseconds timeout, std::span<pollfd> others) {
  for (pollfd& other : others) {
    other.revents = 0;
  }
  _others = others;
  const auto limited = std::clamp<std::chrono::milliseconds::rep>(timeout.count(), -1, INT_MAX);
  const int result = avahi_simple_poll_iterate(_loop.get(), static_cast<int>(limited));
  const int error = errno;
  _others = {};
  if (result < 0) {
    throw std::system_error(error, std::generic_category(), "cannot wait for events");
  }
  return std::ranges::any_of(others, [](const pollfd& other) { return other.revents != 0; });
}

int PollLoop::pollAll(pollfd* ours, unsigned count, int timeout, void* loop) noexcept {
  const std::span<pollfd> own(ours, count);
  const std::span<pollfd> others = static_cast<PollLoop*>(loop)->_others;
  try {
    std::vector<pollfd> all(own.begin(), own.end());
    all.insert(all.end(), others.begin(), others.end());
    int ready = ::poll(all.data(), all.size(), timeout);
    if (ready < 0 && errno != EINTR) {
      return -1;
    }
    if (ready < 0) {
      // On an error the library would poll again, and the program would never see its signal.
      for (pollfd& entry : all) {
        entry.revents = 0;
      }
      ready = 0;
    }
    std::copy_n(all.begin(), own.size(), own.begin());
    std::copy_n(all.begin() + static_cast<std::ptrdiff_t>(count), others.size(), others.begin());
    return ready;
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return -1;
  }
}

}  // namespace vexil::avahi
