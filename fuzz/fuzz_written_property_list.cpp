// SPDX-License-Identifier: Apache-2.0
// The writers write every value that a reader accepts, and it reads as the same value again.
#include "PropertyListRoundTrip.h"

#include <vexil/platform/PropertyList.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform = vexil::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  platform::PropertyListLimits limits;
  limits.depth = fuzz::mostDepth;
  limits.expandedObjects = 20'000;
  limits.expandedObjectsPerByte = 0;
  const auto value = platform::readPropertyList(std::as_bytes(std::span(data, size)), limits);
  if (value) {
    fuzz::checkBinaryRoundTrip(*value);
    fuzz::checkXMLRoundTrip(*value);
  }
  return 0;
}
