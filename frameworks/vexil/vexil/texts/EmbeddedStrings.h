// SPDX-License-Identifier: Apache-2.0
// Internal: the strings tables that the build embeds. Every source that looks a text up includes
// this.
#pragma once

#include <vexil/platform/Bundle.h>

#include <span>

namespace vexil::detail {

/// The library's own strings tables, one a language.
[[nodiscard]] std::span<const platform::EmbeddedStrings> embeddedStrings();

/// Here, and not in a source of its own: a program that uses the library as an archive would not
/// link that source.
inline const platform::BundleRegistration ownStrings(embeddedStrings().data(), embeddedStrings());

}  // namespace vexil::detail
