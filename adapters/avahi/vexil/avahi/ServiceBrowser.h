// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/NetService.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

class KRAVTWVServicesVexil;
struct AvahiPoll;

namespace vexil::avahi {

/// Browsing could not begin: there is no message bus to reach the service daemon by, or the daemon
/// refused. `what()` says why in the client library's words, `code()` is its number
/// (AVAHI_ERR_...).
class BrowsingFailed : public std::runtime_error {
 public:
  BrowsingFailed(const std::string& what, int code) : std::runtime_error(what), _code(code) {}
  [[nodiscard]] int code() const noexcept { return _code; }

 private:
  int _code;
};

/// Finds the services of one type on the network, through the system's service daemon, and tells
/// when one comes and goes: to handlers, or straight to the collection that shows them.
///
/// It starts no thread. Everything happens in the host's event loop, which it is given as the
/// client library's `AvahiPoll`: that of a toolkit, or a `PollLoop`. The loop must outlive it. All
/// of it belongs to the loop's thread.
///
/// A service is told once, however many interfaces and protocols it is reached by (`ServiceFold`):
/// found with the first, lost with the last. Type and domain have their final dot ("_ipp._tcp.",
/// "local."), the name is plain UTF-8. It looks in the daemon's default domain.
///
/// The daemon may come and go. When it ends, all services are told lost; when it is back, or when
/// it starts only after the browser, browsing begins anew by itself. The same when the message bus
/// ends and comes back, which is tried every two seconds.
///
/// Nothing is told before the constructor has returned or after the destructor was entered; what
/// was found stays in the collection when the browser goes. A handler must not destroy the browser.
/// An exception out of a handler (or out of an observer of the collection) cannot pass through the
/// client library: it is logged, and browsing goes on.
///
///     avahi::PollLoop loop;
///     const auto services = std::make_shared<KRAVTWVServicesVexil>();
///     avahi::ServiceBrowser browser(loop.poll(), "_ipp._tcp", services);
///     std::array others = {pollfd{watcher.descriptor(), POLLIN, 0}};
///     while (running) {
///       if (loop.wait(std::chrono::seconds(60), others)) {
///         watcher.drain();
///       }
///     }
///
/// Cost: the client library waits for the daemon's answer when the browser is made and when the
/// daemon has come back; a few milliseconds each.
class ServiceBrowser {
 public:
  using Service = std::shared_ptr<platform::NetService>;

  enum class State {
    waiting,   ///< The daemon cannot be reached; no services are known.
    browsing,  ///< The daemon looks for services.
    settled,   ///< What is on the network now has been told; only news follow.
  };

  /// What is called; each may be empty.
  struct Handlers {
    std::function<void(const Service&)> found;
    /// With the object that `found` was called with.
    std::function<void(const Service&)> lost;
    /// `state()` has changed. `waiting` is told after all services are lost, `browsing` before the
    /// first is found.
    std::function<void(State)> stateChanged;
    /// With one, services that are found while `browsing` are not told to `found` one by one, but
    /// to this, many at once in the order in which they were found: what the daemon knows already,
    /// and before `settled` the rest. One that is lost before it was told is never told.
    std::function<void(const std::vector<Service>&)> foundMany = {};
    /// With one, services that are lost because the daemon is are told to this, all at once.
    std::function<void(const std::vector<Service>&)> lostMany = {};
  };

  /// Begins to browse for a type such as "_ipp._tcp", with or without its final dot; a subtype
  /// ("_color._sub._ipp._tcp") is one too. That the daemon does not run is no error.
  ///
  /// Raises `platform::InvalidArgument` when that is no type of a service, and `BrowsingFailed`.
  ServiceBrowser(const AvahiPoll& loop, std::string_view type, Handlers handlers);

  /// The same, with `addService`, `removeService`, `addServices` and `removeServices` of a
  /// collection as the handlers, so that a burst of services rebuilds its items once. The browser
  /// keeps the collection alive. Several browsers can fill one collection, each with another type.
  ServiceBrowser(const AvahiPoll& loop, std::string_view type,
                 const std::shared_ptr<KRAVTWVServicesVexil>& services);

  ServiceBrowser(const ServiceBrowser&) = delete;
  ServiceBrowser& operator=(const ServiceBrowser&) = delete;
  ~ServiceBrowser();

  /// The type, with its final dot.
  [[nodiscard]] const std::string& type() const noexcept;

  [[nodiscard]] State state() const noexcept;

  /// Why there is nothing to browse with, in the client library's words; empty unless waiting.
  [[nodiscard]] std::string problem() const;

 private:
  class Session;
  std::unique_ptr<Session> _session;
};

}  // namespace vexil::avahi
