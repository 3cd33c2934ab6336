// SPDX-License-Identifier: Apache-2.0
// The records that a host hands over, and what a tree must show of them.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/NetService.h>
#include <vexil/platform/Value.h>

#include <memory>
#include <string>
#include <vector>

namespace foreign {

/// What a host's records hold.
enum class Content : unsigned char {
  plain,        ///< nothing that runs foreign code
  objects,      ///< objects: in every second record, and deeper in every third
  identifiers,  ///< objects, and such as identifiers, too
};

/// A record in a few words: its number, and its version, in which all of its content differs but
/// what identifies it. `name` is the number by which it is sorted.
struct Entry {
  int number;
  int version = 0;
  int name = number;
};
using Entries = std::vector<Entry>;

/// Entries of the numbers from `first` to `last` in one version.
[[nodiscard]] Entries entries(int first, int last, int version = 0);

/// All that a host sends its collections. Each is made anew each time, so that equal ones are never
/// the same.
[[nodiscard]] vexil::platform::Value eventRecord(const Entry& entry, Content content);
[[nodiscard]] vexil::platform::Value domainRecord(const Entry& entry, Content content);
[[nodiscard]] vexil::platform::Value triggerRecord(const Entry& entry, Content content);
[[nodiscard]] vexil::platform::Value activeRecord(const Entry& entry, Content content);
[[nodiscard]] std::shared_ptr<vexil::platform::NetService> service(const Entry& entry);

using MakeRecord = vexil::platform::Value (*)(const Entry& entry, Content content);
[[nodiscard]] vexil::platform::Value recordsOf(const Entries& entries, Content content,
                                               MakeRecord make);

/// What a record is called in a tree as text: the same for equal ones, and for no others.
[[nodiscard]] std::string textOf(const vexil::platform::Value& represented);

/// What an item's children show, a line an item, deeper ones further in.
[[nodiscard]] std::string shownBelow(const KRAVTWVItemVexil& item);

// What collections must show of their input. Nothing in here is made by the library: each sorts and
// groups by itself.
[[nodiscard]] std::string modelOfEvents(const vexil::platform::Value& events);
[[nodiscard]] std::string modelOfStore(const vexil::platform::Value& events,
                                       const vexil::platform::Value& domains);
[[nodiscard]] std::string modelOfEngine(const vexil::platform::Value& active,
                                        const vexil::platform::Value& available,
                                        const vexil::platform::Value& pending);
[[nodiscard]] std::string modelOfServices(const KRAVTWVNetServiceArray& services, bool isGrouped);

}  // namespace foreign
