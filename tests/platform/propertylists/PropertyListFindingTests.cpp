// SPDX-License-Identifier: Apache-2.0
// Inputs that the fuzz targets found, each as small as possible.
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Value;

// This copied zero bytes from a null pointer, which only the sanitizer reports.
TEST(PropertyListFinding, ContainersWithoutALeafAmongThem) {
  const Value value = Value::array({Value::array({}), Value::dictionary({})});
  const auto bytes = platform::writeBinaryPropertyList(value);
  ASSERT_TRUE(bytes) << bytes.error().description();
  EXPECT_TRUE(test::reads(platform::readBinaryPropertyList(*bytes), value));
}

}  // namespace
