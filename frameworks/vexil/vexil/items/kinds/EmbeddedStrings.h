// SPDX-License-Identifier: Apache-2.0
// Internal: the strings tables that the build embeds.
#pragma once

#include <vexil/platform/Bundle.h>

#include <span>

namespace vexil::detail {

/// The library's own strings tables, one a language.
[[nodiscard]] std::span<const platform::EmbeddedStrings> embeddedStrings();

}  // namespace vexil::detail
