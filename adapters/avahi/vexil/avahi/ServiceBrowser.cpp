// SPDX-License-Identifier: Apache-2.0
#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/domain.h>
#include <avahi-common/error.h>
#include <avahi-common/timeval.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/avahi/ServiceBrowser.h>
#include <vexil/avahi/ServiceFold.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Log.h>

#include <exception>
#include <new>
#include <set>
#include <utility>
#include <vector>

namespace vexil::avahi {

namespace {

/// The time until the next try, when no event says when to try: while there is no bus, and after
/// the daemon has refused.
constexpr unsigned kMillisecondsToNextTry = 2000;

/// Runs work in a callback of the client library, and keeps exceptions out of that library's
/// frames.
template <class Work>
void guarded(const Work& work) noexcept {
  try {
    work();
  } catch (const std::exception& exception) {
    platform::log(std::string("While browsing for services: ") + exception.what());
  } catch (...) {
    platform::log("While browsing for services: an exception of an unknown type");
  }
}

template <class Handler, class Argument>
void tell(const Handler& handler, const Argument& argument) noexcept {
  if (handler) {
    guarded([&] { handler(argument); });
  }
}

std::string serviceType(std::string_view text) {
  std::string type(text.ends_with('.') ? text.substr(0, text.size() - 1) : text);
  const char* const name = type.c_str();
  const bool isValid =
      avahi_is_valid_service_type_strict(name) != 0 || avahi_is_valid_service_subtype(name) != 0;
  // The library does not notice "_ipp._tcp.." or a NUL in the middle.
  if (!isValid || type.ends_with('.') || type.find('\0') != type.npos) {
    throw platform::InvalidArgument("not the type of a service: " + std::string(text));
  }
  return type;
}

ServiceBrowser::Handlers handlersOf(const std::shared_ptr<KRAVTWVServicesVexil>& services) {
  if (!services) {
    throw platform::InvalidArgument("no collection to show services in");
  }
  return {[services](const auto& service) { services->addService(service); },
          [services](const auto& service) { services->removeService(service); },
          {},
          [services](const auto& found) { services->addServices(found); },
          [services](const auto& lost) { services->removeServices(lost); }};
}

}  // namespace

/// The part that the client library calls back. It is separate so that its address stays the same.
class ServiceBrowser::Session {
 public:
  Session(const AvahiPoll& loop, std::string_view type, Handlers handlers);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  [[nodiscard]] const std::string& type() const noexcept { return _shownType; }
  [[nodiscard]] State state() const noexcept { return _state; }
  [[nodiscard]] int error() const noexcept { return _error; }

 private:
  struct ClientDeleter {
    void operator()(AvahiClient* client) const noexcept { avahi_client_free(client); }
  };

  void connect();
  void clientChanged(AvahiClient* client, AvahiClientState state);
  void search(AvahiClient* client);
  void reported(AvahiBrowserEvent event, ServiceFold::Place place, const char* name,
                const char* type, const char* domain);
  void found(const Service& service);
  void lost(const Service& service);
  /// Reports the services in `_untold`.
  void tellFound();
  void loseAll(int error);
  void tryAgainIn(unsigned milliseconds);
  void enter(State state);

  const AvahiPoll& _loop;
  const std::string _type;
  const std::string _shownType;
  const Handlers _handlers;
  AvahiTimeout* _nextTry = nullptr;
  /// Also frees what was made with it, such as the search.
  std::unique_ptr<AvahiClient, ClientDeleter> _client;
  ServiceFold _services;
  /// The services that were found but not reported yet, in the order in which they were found.
  std::vector<Service> _untold;
  State _state = State::waiting;
  /// Why the state is `waiting`; AVAHI_OK in other states.
  int _error = AVAHI_ERR_NO_DAEMON;
  bool _isMade = false;
};

ServiceBrowser::Session::Session(const AvahiPoll& loop, std::string_view type, Handlers handlers)
    : _loop(loop),
      _type(serviceType(type)),
      _shownType(withFinalDot(_type)),
      _handlers(std::move(handlers)) {
  const auto onNextTry = [](AvahiTimeout*, void* session) {
    guarded([&] { static_cast<Session*>(session)->connect(); });
  };
  _nextTry = loop.timeout_new(&loop, nullptr, onNextTry, this);
  if (_nextTry == nullptr) {
    throw std::bad_alloc();
  }
  connect();
  if (!_client || (_error != AVAHI_OK && _error != AVAHI_ERR_NO_DAEMON)) {
    _client.reset();
    loop.timeout_free(_nextTry);
    throw BrowsingFailed("cannot browse for " + _shownType + ": " + avahi_strerror(_error), _error);
  }
  _isMade = true;
}

ServiceBrowser::Session::~Session() {
  _client.reset();
  _loop.timeout_free(_nextTry);
}

void ServiceBrowser::Session::connect() {
  const auto onChange = [](AvahiClient* client, AvahiClientState state, void* session) {
    guarded([&] { static_cast<Session*>(session)->clientChanged(client, state); });
  };
  _client.reset();
  int error = AVAHI_OK;
  _client.reset(avahi_client_new(&_loop, AVAHI_CLIENT_NO_FAIL, onChange, this, &error));
  if (!_client) {
    loseAll(error);
    tryAgainIn(kMillisecondsToNextTry);
  }
}

void ServiceBrowser::Session::clientChanged(AvahiClient* client, AvahiClientState state) {
  switch (state) {
    case AVAHI_CLIENT_S_REGISTERING:
    case AVAHI_CLIENT_S_RUNNING:
    case AVAHI_CLIENT_S_COLLISION:
      // A browser looks for other services, so a problem of the daemon with this host's name does
      // not matter.
      if (_state == State::waiting) {
        search(client);
      }
      break;
    case AVAHI_CLIENT_CONNECTING:
      loseAll(AVAHI_ERR_NO_DAEMON);
      break;
    case AVAHI_CLIENT_FAILURE: {
      // A client that has failed stays failed. Another one replaces it later, because this one is
      // still in use here.
      const int error = avahi_client_errno(client);
      const bool hasEnded = error == AVAHI_ERR_DISCONNECTED;
      loseAll(hasEnded ? AVAHI_ERR_NO_DAEMON : error);
      tryAgainIn(hasEnded ? 0 : kMillisecondsToNextTry);
      break;
    }
  }
}

void ServiceBrowser::Session::search(AvahiClient* client) {
  const auto onReport = [](AvahiServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                           AvahiBrowserEvent event, const char* name, const char* type,
                           const char* domain, AvahiLookupResultFlags, void* session) {
    guarded([&] {
      static_cast<Session*>(session)->reported(event, {interface, protocol}, name, type, domain);
    });
  };
  const auto* search =
      avahi_service_browser_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, _type.c_str(), nullptr,
                                AvahiLookupFlags{}, onReport, this);
  if (search == nullptr) {
    loseAll(avahi_client_errno(client));
    tryAgainIn(kMillisecondsToNextTry);
    return;
  }
  _error = AVAHI_OK;
  enter(State::browsing);
}

void ServiceBrowser::Session::reported(AvahiBrowserEvent event, ServiceFold::Place place,
                                       const char* name, const char* type, const char* domain) {
  if (_state == State::waiting) {
    return;  // the last reports of a client that is about to be replaced
  }
  switch (event) {
    case AVAHI_BROWSER_NEW:
      if (const Service service = _services.appeared(name, type, domain, place)) {
        found(service);
      }
      break;
    case AVAHI_BROWSER_REMOVE:
      if (const Service service = _services.disappeared(name, type, domain, place)) {
        lost(service);
      }
      break;
    case AVAHI_BROWSER_ALL_FOR_NOW:
      tellFound();
      enter(State::settled);
      break;
    case AVAHI_BROWSER_CACHE_EXHAUSTED:
      tellFound();
      break;
    case AVAHI_BROWSER_FAILURE:
      loseAll(avahi_client_errno(_client.get()));
      tryAgainIn(kMillisecondsToNextTry);
      break;
  }
}

void ServiceBrowser::Session::found(const Service& service) {
  if (_handlers.foundMany && _state == State::browsing) {
    _untold.push_back(service);
  } else {
    tell(_handlers.found, service);
  }
}

void ServiceBrowser::Session::lost(const Service& service) {
  if (std::erase(_untold, service) == 0) {
    tell(_handlers.lost, service);
  }
}

void ServiceBrowser::Session::tellFound() {
  if (!_untold.empty()) {
    tell(_handlers.foundMany, std::exchange(_untold, {}));
  }
}

void ServiceBrowser::Session::loseAll(int error) {
  std::vector<Service> services = _services.clear();
  const std::set<Service> untold(_untold.begin(), _untold.end());
  _untold.clear();
  std::erase_if(services, [&](const Service& service) { return untold.contains(service); });
  if (!_handlers.lostMany) {
    for (const Service& service : services) {
      tell(_handlers.lost, service);
    }
  } else if (!services.empty()) {
    tell(_handlers.lostMany, services);
  }
  _error = error;
  enter(State::waiting);
}

void ServiceBrowser::Session::tryAgainIn(unsigned milliseconds) {
  timeval time = {};
  _loop.timeout_update(_nextTry, avahi_elapse_time(&time, milliseconds, 0));
}

void ServiceBrowser::Session::enter(State state) {
  if (std::exchange(_state, state) != state && _isMade) {
    tell(_handlers.stateChanged, state);
  }
}

ServiceBrowser::ServiceBrowser(const AvahiPoll& loop, std::string_view type, Handlers handlers)
    : _session(std::make_unique<Session>(loop, type, std::move(handlers))) {}

ServiceBrowser::ServiceBrowser(const AvahiPoll& loop, std::string_view type,
                               const std::shared_ptr<KRAVTWVServicesVexil>& services)
    : ServiceBrowser(loop, type, handlersOf(services)) {}

ServiceBrowser::~ServiceBrowser() = default;

const std::string& ServiceBrowser::type() const noexcept {
  return _session->type();
}

ServiceBrowser::State ServiceBrowser::state() const noexcept {
  return _session->state();
}

std::string ServiceBrowser::problem() const {
  return _session->error() == AVAHI_OK ? std::string() : avahi_strerror(_session->error());
}

}  // namespace vexil::avahi
