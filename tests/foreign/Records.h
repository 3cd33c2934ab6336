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
  identifiers,  ///< objects, also as identifiers
};

/// A short form of a record. Versions differ in all content except the identifier. Records sort by
/// `name`.
struct Entry {
  int number;
  int version = 0;
  int name = number;
};
using Entries = std::vector<Entry>;

/// Entries of the numbers from `first` to `last` in one version.
[[nodiscard]] Entries entries(int first, int last, int version = 0);

/// All that a host sends its collections. Each call makes a new value, so that equal ones never
/// share anything.
[[nodiscard]] vexil::platform::Value eventRecord(const Entry& entry, Content content);
[[nodiscard]] vexil::platform::Value domainRecord(const Entry& entry, Content content);
[[nodiscard]] vexil::platform::Value triggerRecord(const Entry& entry, Content content);
[[nodiscard]] vexil::platform::Value activeRecord(const Entry& entry, Content content);
[[nodiscard]] std::shared_ptr<vexil::platform::NetService> service(const Entry& entry);

using MakeRecord = vexil::platform::Value (*)(const Entry& entry, Content content);
[[nodiscard]] vexil::platform::Value recordsOf(const Entries& entries, Content content,
                                               MakeRecord make);

/// The name of a record in a tree as text. Equal records have the same name, others do not.
[[nodiscard]] std::string textOf(const vexil::platform::Value& represented);

/// What is shown below an item, one line for each item, indented by level.
[[nodiscard]] std::string shownBelow(const KRAVTWVItemVexil& item);

// What collections must show of their input. Each function sorts and groups by itself, without the
// library.
[[nodiscard]] std::string modelOfEvents(const vexil::platform::Value& events);
[[nodiscard]] std::string modelOfStore(const vexil::platform::Value& events,
                                       const vexil::platform::Value& domains);
[[nodiscard]] std::string modelOfEngine(const vexil::platform::Value& active,
                                        const vexil::platform::Value& available,
                                        const vexil::platform::Value& pending);
[[nodiscard]] std::string modelOfServices(const KRAVTWVNetServiceArray& services, bool isGrouped);

}  // namespace foreign
