// SPDX-License-Identifier: Apache-2.0
#include "monitor/ServicesSource.h"

#include <vexil/avahi/PollLoop.h>
#include <vexil/avahi/ServiceBrowser.h>
#include <vexil/platform/Error.h>

#include <span>
#include <utility>

namespace platform = vexil::platform;

namespace monitor {

struct ServicesSource::Browsing {
  vexil::avahi::PollLoop loop;
  vexil::avahi::ServiceBrowser browser;

  Browsing(const std::string& type, const std::shared_ptr<KRAVTWVServicesVexil>& services)
      : browser(loop.poll(), type, services) {}
};

ServicesSource::ServicesSource(const std::string& type,
                               const std::shared_ptr<KRAVTWVServicesVexil>& services) try
    : _browsing(std::make_unique<Browsing>(type, services)) {
} catch (const vexil::avahi::BrowsingFailed& error) {
  throw NoServices(std::string("services cannot be browsed: ") + error.what());
} catch (const platform::InvalidArgument&) {
  throw NoServices(type + " is not a type of services, such as _ipp._tcp");
}

ServicesSource::~ServicesSource() = default;

void ServicesSource::wait(std::chrono::milliseconds timeout, int descriptor) {
  pollfd other = {descriptor, POLLIN, 0};
  _browsing->loop.wait(timeout, std::span(&other, descriptor < 0 ? 0U : 1U));
}

bool ServicesSource::settled() const {
  return _browsing->browser.state() == vexil::avahi::ServiceBrowser::State::settled;
}

}  // namespace monitor
