// SPDX-License-Identifier: Apache-2.0
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/uchar.h>
#include <vexil/platform/CaseFolding.h>

#include <stdexcept>

namespace vexil::platform {

std::string caseFolded(std::string_view text) {
  std::string folded;
  icu::StringByteSink<std::string> sink(&folded);
  UErrorCode error = U_ZERO_ERROR;
  icu::CaseMap::utf8Fold(U_FOLD_CASE_DEFAULT, {text.data(), static_cast<int32_t>(text.size())},
                         sink, nullptr, error);
  if (U_FAILURE(error)) {
    throw std::runtime_error(std::string("case folding: ") + u_errorName(error));
  }
  return folded;
}

}  // namespace vexil::platform
