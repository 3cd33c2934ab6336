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

/// Browsing could not begin: there is no message bus to reach the service daemon, or the daemon
/// refused. `what()` gives the reason in the client library's words, `code()` its number
/// (AVAHI_ERR_...).
class BrowsingFailed : public std::runtime_error {
 public:
  BrowsingFailed(const std::string& what, int code) : std::runtime_error(what), _code(code) {}
  [[nodiscard]] int code() const noexcept { return _code; }

 private:
  int _code;
};

/// Finds the services of one type on the network, through the system's service daemon, and reports
/// when a service comes or goes. It reports to handlers, or to the collection that shows the
/// services.
///
/// It starts no thread. Everything happens in the host's event loop, which it takes as the client
/// library's `AvahiPoll`: the loop of a toolkit, or a `PollLoop`. The loop must outlive the
/// browser. Only the loop's thread may use the browser.
///
/// The browser reports a service once, however many interfaces and protocols reach it
/// (`ServiceFold`): as found with the first, as lost with the last. Type and domain have their
/// final dot ("_ipp._tcp.", "local."). The name is plain UTF-8. The browser looks in the daemon's
/// default domain.
///
/// The daemon may come and go. When it ends, the browser reports all services as lost. When it is
/// back, or starts only after the browser was made, browsing begins again without help. The same
/// holds when the message bus ends and comes back; the browser tries to reach it every two seconds.
///
/// The browser reports nothing before its constructor has returned or after its destructor was
/// entered. When the browser is destroyed, the services it found stay in the collection. A handler
/// must not destroy the browser. An exception from a handler (or from an observer of the
/// collection) cannot pass through the client library: it is logged, and browsing goes on.
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
/// daemon has come back, a few milliseconds each time.
class ServiceBrowser {
 public:
  using Service = std::shared_ptr<platform::NetService>;

  enum class State {
    waiting,   ///< The daemon cannot be reached. No services are known.
    browsing,  ///< The daemon looks for services.
    settled,   ///< All services on the network were reported. Only changes follow.
  };

  /// The functions that the browser calls. Each may be empty.
  struct Handlers {
    std::function<void(const Service&)> found;
    /// Gets the same object as `found` did.
    std::function<void(const Service&)> lost;
    /// Called when `state()` has changed: for `waiting` after all services were reported as lost,
    /// for `browsing` before the first is found.
    std::function<void(State)> stateChanged;
    /// When set, services found while `browsing` are not reported to `found` one by one, but to
    /// this, many at once, in the order in which they were found: first those that the daemon knows
    /// already, then the rest before `settled`. A service that is lost before it was reported is
    /// never reported.
    std::function<void(const std::vector<Service>&)> foundMany = {};
    /// When set, services that are lost because the daemon was lost are reported to this, all at
    /// once.
    std::function<void(const std::vector<Service>&)> lostMany = {};
  };

  /// Begins to browse for a type such as "_ipp._tcp", with or without its final dot, or a subtype
  /// such as "_color._sub._ipp._tcp". It is no error when the daemon does not run.
  ///
  /// Throws `platform::InvalidArgument` when `type` is no type of a service, and `BrowsingFailed`
  /// when browsing could not begin.
  ServiceBrowser(const AvahiPoll& loop, std::string_view type, Handlers handlers);

  /// The same, with a collection: the handlers are its `addService`, `removeService`, `addServices`
  /// and `removeServices`, so that many services at once rebuild its items once. The browser keeps
  /// the collection alive. Several browsers, each for another type, can fill one collection. Throws
  /// `platform::InvalidArgument` also when `services` is null.
  ServiceBrowser(const AvahiPoll& loop, std::string_view type,
                 const std::shared_ptr<KRAVTWVServicesVexil>& services);

  ServiceBrowser(const ServiceBrowser&) = delete;
  ServiceBrowser& operator=(const ServiceBrowser&) = delete;
  ~ServiceBrowser();

  /// The type, with its final dot.
  [[nodiscard]] const std::string& type() const noexcept;

  [[nodiscard]] State state() const noexcept;

  /// Why the browser waits, in the client library's words; empty when it does not wait.
  [[nodiscard]] std::string problem() const;

 private:
  class Session;
  std::unique_ptr<Session> _session;
};

}  // namespace vexil::avahi
