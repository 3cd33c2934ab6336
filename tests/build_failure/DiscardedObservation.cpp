// SPDX-License-Identifier: Apache-2.0
// An observation that nobody keeps would end at once; the compiler says so.
#include <vexil/KRAVTWVItemVexil.h>

namespace platform = vexil::platform;

int main() {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject("x");
  const auto notify = [](const platform::ChangeRecord&) {};
#ifdef TERNWOODVEXIL_WRONG
  platform::observe(item, "label", platform::ObservingOptions::both, notify);
#else
  const auto observation =
      platform::observe(item, "label", platform::ObservingOptions::both, notify);
#endif
  item->setLabel("y");
}
