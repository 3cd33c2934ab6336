// SPDX-License-Identifier: Apache-2.0
#include <replay/Operations.h>
#include <vexil/KRAVTWVItemsVexil.h>

namespace replay {

std::vector<Operation> collectionOperations() {
  return {
      method("root", &KRAVTWVItemsVexil::root),
      method("setRoot:", &KRAVTWVItemsVexil::setRoot),
      method("replaceRootChildren:", &KRAVTWVItemsVexil::replaceRootChildren),

      method("setEvents:",
             [](KRAVTWVEventsVexil& list, const Records& events) { list.setEvents(events.array); }),
      method("sortedEvents", &KRAVTWVEventsVexil::sortedEvents),
      method("setSortedEvents:", [](KRAVTWVEventsVexil& list,
                                    const Records& events) { list.setSortedEvents(events.array); }),
  };
}

}  // namespace replay
