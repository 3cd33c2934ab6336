// SPDX-License-Identifier: Apache-2.0
// A host of the service browser: shows what it finds in the tree of a collection, a line a change.
//
//     browsing_host TYPE
//
// Ends with its standard input. After a line there, the handler throws at the next service found.
#include <unistd.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/avahi/PollLoop.h>
#include <vexil/avahi/ServiceBrowser.h>
#include <vexil/platform/Log.h>
#include <vexil/platform/Observing.h>

#include <array>
#include <chrono>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace platform = vexil::platform;

namespace {

using vexil::avahi::ServiceBrowser;

const char* text(ServiceBrowser::State state) {
  switch (state) {
    case ServiceBrowser::State::waiting:
      return "waiting";
    case ServiceBrowser::State::browsing:
      return "browsing";
    case ServiceBrowser::State::settled:
      return "settled";
  }
  return "unknown";
}

/// Who is told of services.
enum class Mode {
  each,        // a handler, one by one
  many,        // handlers that take many at once as well
  collection,  // the collection itself; the host prints what changes in its tree
};

class Host {
 public:
  Host(std::string_view type, Mode mode) {
    _services->setGroupByDomain(true);
    if (mode == Mode::collection) {
      _changes =
          platform::observe(_services->root(), KRAVTWVItemVexilKeyPathChildren,
                            platform::ObservingOptions::none, [this](const auto&) { show(); });
      _browser = std::make_unique<ServiceBrowser>(_loop.poll(), type, _services);
    } else {
      _browser = std::make_unique<ServiceBrowser>(_loop.poll(), type, handlers(mode));
    }
    tell(_browser->state());
  }

  void run() {
    std::array others = {pollfd{STDIN_FILENO, POLLIN, 0}};
    std::array<char, 64> line;
    while (!_loop.wait(std::chrono::seconds(60), others) ||
           ::read(STDIN_FILENO, line.data(), line.size()) > 0) {
      _throwsNext = _throwsNext || others[0].revents != 0;
    }
  }

 private:
  ServiceBrowser::Handlers handlers(Mode mode) {
    ServiceBrowser::Handlers handlers = {[this](const auto& service) { found(service); },
                                         [this](const auto& service) { lost(service); },
                                         [this](auto state) { tell(state); }};
    if (mode == Mode::many) {
      handlers.foundMany = [this](const auto& services) {
        std::cout << "found at once: " << services.size() << std::endl;
        _services->addServices(services);
        show();
      };
      handlers.lostMany = [this](const auto& services) {
        std::cout << "lost at once: " << services.size() << std::endl;
        _services->removeServices(services);
        show();
      };
    }
    return handlers;
  }

  void found(const ServiceBrowser::Service& service) {
    _services->addService(service);
    show();
    if (_throwsNext) {
      _throwsNext = false;
      throw std::runtime_error("a handler in trouble");
    }
  }

  void lost(const ServiceBrowser::Service& service) {
    _services->removeService(service);
    show();
  }

  void tell(ServiceBrowser::State state) {
    std::cout << text(state);
    if (!_browser->problem().empty()) {
      std::cout << ": " << _browser->problem();
    }
    std::cout << std::endl;
  }

  void show() {
    std::cout << "tree:";
    for (const auto& domain : *_services->root()->children()) {
      std::cout << ' ' << domain->label().string();
      for (const auto& item : *domain->children()) {
        const auto& service = dynamic_cast<const KRAVTWVNetServiceVexil&>(*item);
        std::cout << " [" << service.label().string() << ' ' << service.uniqueID().string() << ']';
      }
    }
    std::cout << std::endl;
  }

  vexil::avahi::PollLoop _loop;
  const std::shared_ptr<KRAVTWVServicesVexil> _services = std::make_shared<KRAVTWVServicesVexil>();
  bool _throwsNext = false;
  platform::Observation _changes;
  std::unique_ptr<ServiceBrowser> _browser;
};

}  // namespace

int main(int count, char** arguments) {
  const std::string_view how = count == 3 ? arguments[2] : "each";
  const Mode mode = how == "many"         ? Mode::many
                    : how == "collection" ? Mode::collection
                                          : Mode::each;
  if (count < 2 || count > 3) {
    std::cerr << "usage: browsing_host TYPE [each | many | collection]\n";
    return 2;
  }
  platform::setLogSink([](std::string_view line) { std::cout << "log: " << line << std::endl; });
  try {
    Host(arguments[1], mode).run();
  } catch (const vexil::avahi::BrowsingFailed& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
