// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemVexil.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/Terminal.h"

/// Copying items, and opening schedule files.
namespace monitor {

/// An item cannot be copied, or a file cannot be opened as a schedule. `what()` names it and says
/// why.
class ExchangeFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using Items = std::vector<std::shared_ptr<KRAVTWVItemVexil>>;

/// The item at a path, in the first root that has one there. Throws `ExchangeFailed` when none has.
[[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> itemAt(std::string_view path, const Items& roots);

/// Puts an item on the general pasteboard, in place of what was there, and returns a description of
/// what a paste gets: for each type, in the order of preference, its size and below it the content;
/// for a file its URL and size. The file is written for this. It stays, and whoever has its URL
/// owns it. Throws `ExchangeFailed` when the item cannot be copied.
[[nodiscard]] std::string copied(const std::shared_ptr<KRAVTWVItemVexil>& item, const Style& style);

/// The schedule in a file, as a group of its events. `file` is a path or a URL. Throws
/// `ExchangeFailed` when the file cannot be read or holds no schedule.
[[nodiscard]] std::shared_ptr<KRAVTWVGroupVexil> openedSchedule(const std::string& file);

}  // namespace monitor
