// SPDX-License-Identifier: Apache-2.0
// Compares an outline with the tree that it follows.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/Outline.h>

#include <memory>
#include <optional>
#include <string>

namespace foreign {

/// Where the rows of an outline differ from the items below a root. Nothing when they do not
/// differ. Null stands for a tree that is gone: then there must be no rows.
[[nodiscard]] std::optional<std::string> differenceOf(
    const vexil::Outline& outline, const std::shared_ptr<KRAVTWVItemVexil>& root);

}  // namespace foreign
