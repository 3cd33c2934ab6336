// SPDX-License-Identifier: Apache-2.0
#include <avahi-common/error.h>
#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/avahi/PollLoop.h>
#include <vexil/avahi/ServiceBrowser.h>
#include <vexil/platform/Error.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>

namespace platform = vexil::platform;

// What needs no daemon; network_test.py has the rest.

namespace {

using vexil::avahi::BrowsingFailed;
using vexil::avahi::PollLoop;
using vexil::avahi::ServiceBrowser;

static_assert(!std::is_copy_constructible_v<ServiceBrowser>);
static_assert(!std::is_move_constructible_v<ServiceBrowser>);

/// A machine without a message bus.
class ServiceBrowserWithoutBus : public testing::Test {
 protected:
  ServiceBrowserWithoutBus() {
    if (const char* address = std::getenv(kVariable)) {
      _before = std::make_unique<std::string>(address);
    }
    ::setenv(kVariable, "unix:path=/nonexistent/bus", 1);
  }
  ~ServiceBrowserWithoutBus() override {
    if (_before) {
      ::setenv(kVariable, _before->c_str(), 1);
    } else {
      ::unsetenv(kVariable);
    }
  }

  PollLoop _loop;
  const std::shared_ptr<KRAVTWVServicesVexil> _services = std::make_shared<KRAVTWVServicesVexil>();

 private:
  static constexpr const char* kVariable = "DBUS_SYSTEM_BUS_ADDRESS";
  std::unique_ptr<std::string> _before;
};

TEST_F(ServiceBrowserWithoutBus, CannotBeMade) {
  try {
    const ServiceBrowser browser(_loop.poll(), "_ipp._tcp", _services);
    FAIL() << "browses without a bus";
  } catch (const BrowsingFailed& failure) {
    EXPECT_EQ(failure.code(), AVAHI_ERR_NO_DAEMON);
    EXPECT_EQ(std::string(failure.what()).rfind("cannot browse for _ipp._tcp.: ", 0), 0U)
        << failure.what();
  }
}

TEST_F(ServiceBrowserWithoutBus, LeavesNothingInTheLoopAndNothingAliveWhenItCannotBeMade) {
  int states = 0;
  ServiceBrowser::Handlers handlers;
  handlers.stateChanged = [&](ServiceBrowser::State) { ++states; };
  EXPECT_THROW(ServiceBrowser(_loop.poll(), "_ipp._tcp", handlers), BrowsingFailed);
  auto services = std::make_shared<KRAVTWVServicesVexil>();
  const std::weak_ptr<KRAVTWVServicesVexil> collection = services;
  EXPECT_THROW(ServiceBrowser(_loop.poll(), "_ipp._tcp", services), BrowsingFailed);
  services.reset();
  EXPECT_TRUE(collection.expired());
  EXPECT_FALSE(_loop.wait(std::chrono::milliseconds(0)));
  EXPECT_EQ(states, 0);
}

TEST_F(ServiceBrowserWithoutBus, TakesTypesWithAndWithoutTheirFinalDotAndSubtypes) {
  for (const char* type : {"_ipp._tcp", "_ipp._tcp.", "_ntp._udp", "_color._sub._ipp._tcp"}) {
    // Good types get as far as the bus.
    EXPECT_THROW(ServiceBrowser(_loop.poll(), type, _services), BrowsingFailed) << type;
  }
}

TEST_F(ServiceBrowserWithoutBus, RefusesWhatIsNoTypeOfAService) {
  using namespace std::string_view_literals;
  for (const std::string_view type :
       {""sv, "."sv, "ipp"sv, "_ipp"sv, "_ipp._sctp"sv, "ipp._tcp"sv, "_ipp._tcp.."sv,
        "_ipp._tcp.local"sv, "_ipp._tcp\0"sv, "_ipp._tcp\0.x"sv, " _ipp._tcp"sv}) {
    EXPECT_THROW(ServiceBrowser(_loop.poll(), type, _services), platform::InvalidArgument) << type;
  }
}

TEST_F(ServiceBrowserWithoutBus, RefusesAnAbsentCollection) {
  EXPECT_THROW(ServiceBrowser(_loop.poll(), "_ipp._tcp", std::shared_ptr<KRAVTWVServicesVexil>()),
               platform::InvalidArgument);
}

}  // namespace
