// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <vexil/platform/CaseFolding.h>

namespace platform = vexil::platform;

using platform::caseFolded;

TEST(CaseFolding, MakesTextsThatDifferInCaseTheSame) {
  EXPECT_EQ(caseFolded("Local."), "local.");
  EXPECT_EQ(caseFolded("LOCAL."), caseFolded("local."));
  EXPECT_EQ(caseFolded("M\u00dcLLER"), caseFolded("m\u00fcller"));
  EXPECT_EQ(caseFolded("STRASSE"), caseFolded("stra\u00dfe"));
}

TEST(CaseFolding, KeepsWhatHasNoCase) {
  EXPECT_EQ(caseFolded(""), "");
  EXPECT_EQ(caseFolded("42 \u5929\u6c17 _.-"), "42 \u5929\u6c17 _.-");
  EXPECT_EQ(caseFolded(std::string_view("a\0B", 3)), std::string("a\0b", 3));
}

TEST(CaseFolding, KnowsNoLanguage) {
  // Not the dotless i that Turkish would have.
  EXPECT_EQ(caseFolded("I"), "i");
}

TEST(CaseFolding, LeavesBytesThatAreNoTextAsTheyAre) {
  EXPECT_EQ(caseFolded("A\xff"), "a\xff");
}
