// SPDX-License-Identifier: Apache-2.0
// A factory exists for the kinds that it can make.
#include <vexil/KRAVTWVItemVexil.h>

int main() {
#ifdef TERNWOODVEXIL_WRONG
  const auto item = KRAVTWVOnDemandVexil::itemWithLabelUniqueID("label", "id");
#else
  const auto item = KRAVTWVNetDomainVexil::itemWithLabelUniqueID("label", "id");
#endif
  return item ? 0 : 1;
}
