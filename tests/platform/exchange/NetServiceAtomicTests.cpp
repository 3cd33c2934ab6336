// SPDX-License-Identifier: Apache-2.0
// A network service makes some values when it is first asked. Several threads ask at once. Most of
// what this can find shows only under a thread sanitizer.
#include <gtest/gtest.h>
#include <vexil/platform/NetService.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::NetService;
using platform::Value;

TEST(NetServiceAtomic, MakesItsTextsOnceThoughManyThreadsAsk) {
  constexpr int threads = 4;
  constexpr int rounds = 200;
  std::vector<std::unique_ptr<NetService>> services;
  for (int i = 0; i < rounds; ++i) {
    services.push_back(std::make_unique<NetService>("A printer of many characters", "_ipp._tcp.",
                                                    "A Domain of many characters."));
  }
  std::vector<std::vector<Value>> seen(threads);
  std::atomic<int> waiting{threads};
  std::vector<std::thread> asking;
  for (auto& texts : seen) {
    asking.emplace_back([&] {
      --waiting;
      while (waiting > 0) {
      }
      for (const auto& service : services) {
        texts.push_back(service->identifier());
        texts.push_back(service->caseFoldedDomain());
      }
    });
  }
  for (std::thread& each : asking) {
    each.join();
  }
  for (const auto& texts : seen) {
    ASSERT_EQ(texts.size(), 2U * rounds);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      EXPECT_TRUE(texts[i].sharesStorageWith(seen[0][i])) << "two were made";
    }
  }
  EXPECT_EQ(seen[0][0], "A Domain of many characters.:_ipp._tcp.:A printer of many characters");
  EXPECT_EQ(seen[0][1], "a domain of many characters.");
}

}  // namespace
