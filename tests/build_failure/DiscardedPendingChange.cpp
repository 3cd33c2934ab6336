// SPDX-License-Identifier: Apache-2.0
// A change that is announced must be closed; dropping it drops the announcement.
#include <vexil/KRAVTWVItemVexil.h>

int main() {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject("x");
#ifdef TERNWOODVEXIL_WRONG
  item->willChangeValueForKey("label");
#else
  item->didChangeValueForKey(item->willChangeValueForKey("label"));
#endif
}
