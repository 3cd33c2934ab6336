// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/TypeIdentifier.h>
#include <vexil/platform/texts/ASCIICase.h>

namespace vexil::platform {

constinit const std::string_view kUTTypeFileURL = "public.file-url";
constinit const std::string_view NSPasteboardTypeString = "public.utf8-plain-text";

bool typeIdentifiersAreEqual(std::string_view a, std::string_view b) noexcept {
  return detail::equalIgnoringASCIICase(a, b);
}

}  // namespace vexil::platform
