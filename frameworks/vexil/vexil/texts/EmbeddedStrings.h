// SPDX-License-Identifier: Apache-2.0
// Internal: the strings tables that the build embeds. A source that looks a text up must include
// this header, which registers them in the program.
#pragma once

#include <vexil/platform/Bundle.h>

#include <span>

namespace vexil::detail {

/// The library's own strings tables, one for each language.
[[nodiscard]] std::span<const platform::EmbeddedStrings> embeddedStrings();

/// Registered in this header because a program that links the library as an archive would leave out
/// a source that only registers.
inline const platform::BundleRegistration ownStrings(embeddedStrings().data(), embeddedStrings());

}  // namespace vexil::detail
