// SPDX-License-Identifier: Apache-2.0
#include "PropertyListCheck.h"

#include <vexil/platform/PropertyList.h>

#include <cstddef>
#include <cstdint>

namespace platform = vexil::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::checkReader(platform::readXMLPropertyList, data, size);
  return 0;
}
