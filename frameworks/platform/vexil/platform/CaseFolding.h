// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace vexil::platform {

/// Unicode's full case folding, the same for all languages: texts that differ only in case become
/// the same. Compared byte by byte, folded texts are in the order of their code points. Bytes that
/// are not UTF-8 stay as they are.
[[nodiscard]] std::string caseFolded(std::string_view text);

}  // namespace vexil::platform
