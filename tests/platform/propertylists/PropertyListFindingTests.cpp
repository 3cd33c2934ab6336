// SPDX-License-Identifier: Apache-2.0
// What the fuzz targets found, each as small as can be.
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Value;

// Copied no bytes from no memory, which is undefined behaviour: only the sanitizer minds.
TEST(PropertyListFinding, ContainersWithoutALeafAmongThem) {
  const Value value = Value::array({Value::array({}), Value::dictionary({})});
  const auto bytes = platform::writeBinaryPropertyList(value);
  ASSERT_TRUE(bytes) << bytes.error().description();
  EXPECT_TRUE(test::reads(platform::readBinaryPropertyList(*bytes), value));
}

}  // namespace
