// SPDX-License-Identifier: Apache-2.0
// An item is shared and never copied: its observers and its place in a tree are its own.
#include <vexil/KRAVTWVItemVexil.h>

int main() {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject("x");
#ifdef TERNWOODVEXIL_WRONG
  const auto other = std::make_shared<KRAVTWVItemVexil>(*item);
#else
  const auto other = item;
#endif
  return other ? 0 : 1;
}
