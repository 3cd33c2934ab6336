// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace vexil::platform {

/// Types that programs exchange without knowing each other: the URL of a file, and text.
extern const std::string_view kUTTypeFileURL;          ///< "public.file-url"
extern const std::string_view NSPasteboardTypeString;  ///< "public.utf8-plain-text"

/// Whether two identifiers name the same type. They do when they differ only in the case of ASCII
/// letters, so types must not be compared with `==`.
[[nodiscard]] bool typeIdentifiersAreEqual(std::string_view a, std::string_view b) noexcept;

}  // namespace vexil::platform
