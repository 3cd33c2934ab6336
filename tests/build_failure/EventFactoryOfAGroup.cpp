// SPDX-License-Identifier: Apache-2.0
// A factory exists for the kinds that it can make.
#include <vexil/KRAVTWVItemVexil.h>

namespace platform = vexil::platform;

int main() {
#ifdef TERNWOODVEXIL_WRONG
  const auto item = KRAVTWVGroupVexil::itemWithEvent(platform::Value::dictionary({}));
#else
  const auto item = KRAVTWVEventVexil::itemWithEvent(platform::Value::dictionary({}));
#endif
  return item ? 0 : 1;
}
