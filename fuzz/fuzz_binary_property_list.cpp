// SPDX-License-Identifier: Apache-2.0
#include "PropertyListCheck.h"

#include <platform/PropertyList.h>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::checkReader(platform::readBinaryPropertyList, data, size);
  return 0;
}
