// SPDX-License-Identifier: Apache-2.0
// Properties: tests of values that a generator chooses.
#pragma once

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

/// A test of any values:
///
///     PROPERTY(Sum, DoesNotDependOnTheOrder, (int a, int b)) {
///       RC_ASSERT(sum(a, b) == sum(b, a));
///     }
///
/// Half of its cases are the same in every run, so that a fault that they caught once is caught
/// always; the other half is new in every run. A failure says from which seed its cases came, and
/// the report of a run names the seed of each property.
///
/// `RC_PARAMS="seed=17" build/... --gtest_filter=...` runs all cases from that seed. The
/// `reproduce=...` that RapidCheck prints after a failure runs the case that failed alone, and
/// `max_success=10000` runs more cases of both kinds.
#define PROPERTY(Suite, Name, Arguments)                \
  void propertyOf##Suite##_##Name Arguments;            \
  TEST(Suite, Name) {                                   \
    ::test::checkProperty(&propertyOf##Suite##_##Name); \
  }                                                     \
  void propertyOf##Suite##_##Name Arguments

namespace test {

/// Of the cases that every run has.
inline constexpr std::uint64_t seedOfEveryRun = 20'010'101;

inline void expectSuccess(const rc::detail::TestResult& result, const std::string& cases) {
  std::ostringstream message;
  rc::detail::printResultMessage(result, message);
  if (!result.is<rc::detail::SuccessResult>()) {
    ADD_FAILURE() << "Of the cases of " << cases << ":\n" << message.str();
  } else if (!result.get<rc::detail::SuccessResult>().distribution.empty()) {
    std::cout << message.str() << std::endl;
  }
}

/// What PROPERTY does.
template <class Check>
void checkProperty(Check&& check) {
  const ::testing::TestInfo& info = *::testing::UnitTest::GetInstance()->current_test_info();
  rc::detail::TestMetadata metadata;
  metadata.id = std::string(info.test_suite_name()) + "/" + info.name();
  metadata.description = info.name();

  const char* const wish = std::getenv("RC_PARAMS");
  const std::string_view wished = wish == nullptr ? "" : wish;
  if (wished.find("seed=") != wished.npos || wished.find("reproduce=") != wished.npos) {
    expectSuccess(rc::detail::checkTestable(check, metadata), "RC_PARAMS=" + std::string(wished));
    return;
  }
  const auto run = [&](std::uint64_t seed, int count) {
    rc::detail::TestParams params = rc::detail::configuration().testParams;
    params.seed = seed;
    params.maxSuccess = count;
    expectSuccess(rc::detail::checkTestable(check, metadata, params),
                  "seed=" + std::to_string(seed));
  };
  const rc::detail::TestParams params = rc::detail::configuration().testParams;
  ::testing::Test::RecordProperty("seed", std::to_string(params.seed));
  const int sameCases = (params.maxSuccess + 1) / 2;
  run(seedOfEveryRun, sameCases);
  if (!::testing::Test::HasFailure() && params.maxSuccess > sameCases) {
    run(params.seed, params.maxSuccess - sameCases);
  }
}

}  // namespace test
