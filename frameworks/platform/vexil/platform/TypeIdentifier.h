// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace vexil::platform {

/// Types that programs which know nothing of each other exchange: the URL of a file, and text.
extern const std::string_view kUTTypeFileURL;          ///< "public.file-url"
extern const std::string_view NSPasteboardTypeString;  ///< "public.utf8-plain-text"

/// Whether two identifiers name the same type. They do when they differ in nothing but the case of
/// ASCII letters, so types are never told apart by plain comparison.
[[nodiscard]] bool typeIdentifiersAreEqual(std::string_view a, std::string_view b) noexcept;

}  // namespace vexil::platform
