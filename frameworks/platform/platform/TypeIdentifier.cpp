// SPDX-License-Identifier: Apache-2.0
#include <platform/ASCIICase.h>
#include <platform/TypeIdentifier.h>

namespace platform {

constinit const std::string_view kUTTypeFileURL = "public.file-url";
constinit const std::string_view NSPasteboardTypeString = "public.utf8-plain-text";

bool typeIdentifiersAreEqual(std::string_view a, std::string_view b) noexcept {
  return detail::differInASCIICaseAtMost(a, b);
}

}  // namespace platform
