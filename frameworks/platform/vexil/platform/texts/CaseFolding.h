// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace vexil::platform {

/// The text with every difference of case taken out (Unicode's full case folding, without regard to
/// any language): texts that differ in case alone become the same. Compared byte by byte, folded
/// texts stand in the order of their code points. Bytes that are no UTF-8 stay as they are.
[[nodiscard]] std::string caseFolded(std::string_view text);

}  // namespace vexil::platform
