// SPDX-License-Identifier: Apache-2.0
// An item, of whatever kind, is made with what it represents.
#include <vexil/KRAVTWVItemVexil.h>

namespace platform = vexil::platform;

int main() {
#ifdef TERNWOODVEXIL_WRONG
  const auto item = std::make_shared<KRAVTWVItemVexil>();
#else
  const auto item = std::make_shared<KRAVTWVItemVexil>(platform::Value());
#endif
  return item ? 0 : 1;
}
