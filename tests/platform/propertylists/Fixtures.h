// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Bytes.h"

#include <string>

namespace test {

/// The content of a file of fixtures/, which make_fixtures.py wrote.
inline std::string fixture(const std::string& name) {
  return contentOf(PROPERTY_LIST_FIXTURES "/" + name + ".plist");
}

}  // namespace test
