// SPDX-License-Identifier: Apache-2.0
// Internal to kinds: schedules and their files, as groups and events write and read them on a
// pasteboard.
#pragma once

#include <vexil/kinds/Item.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/Pasteboard.h>
#include <vexil/platform/Value.h>

#include <functional>
#include <string_view>

namespace vexil::detail {

// Each says whether `type` is that type. Types are compared by `typeIdentifiersAreEqual`.
[[nodiscard]] bool isScheduleType(std::string_view type);
[[nodiscard]] bool isEventType(std::string_view type);
[[nodiscard]] bool isFileURLType(std::string_view type);

/// Promised for files, which are written when somebody asks for them.
[[nodiscard]] platform::PasteboardWritingOptions writingOptionsForType(std::string_view type);

/// `propertyList` as data in the binary format. Absent when it cannot be encoded, which is logged
/// with the class of `writer`.
[[nodiscard]] platform::Value encoded(const platform::Value& propertyList,
                                      const KRAVTWVItemVexil& writer);

/// Makes the schedule file of an item: `schedule` returns what it holds, encoded, and is called
/// once there is a new directory for it. Returns the file's URL as data; absent when it cannot be
/// made.
[[nodiscard]] platform::Value newScheduleFile(const KRAVTWVItemVexil& item,
                                              const std::function<platform::Value()>& schedule);

/// The array in the schedule file at a URL. The file can be of any property-list format. When there
/// is none to be read, that is logged, and the result is absent.
[[nodiscard]] platform::Value scheduleAt(std::string_view url);

}  // namespace vexil::detail
