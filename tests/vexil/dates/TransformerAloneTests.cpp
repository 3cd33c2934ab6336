// SPDX-License-Identifier: Apache-2.0
// A program of its own, so that nothing but the transformer is linked from the library's archive.
#include <gtest/gtest.h>
#include <vexil/KRAVTWVRelativeDateTransformer.h>
#include <vexil/platform/Clock.h>
#include "tests/support/DateTesting.h"

namespace platform = vexil::platform;

namespace {

using test::at;

TEST(RelativeDateTransformerAlone, HasItsWordsInAProgramThatUsesNothingElseOfTheLibrary) {
  const test::User user("de_DE", "Europe/Berlin");
  const platform::ScopedClock clock(at(2026, 1, 14, 12));
  const platform::Value text =
      KRAVTWVRelativeDateTransformer().transformedValue(at(2026, 1, 14, 14, 42));
  EXPECT_EQ(text.displayText(), "Heute, 14:42");
}

}  // namespace
