// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemVexil.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/Terminal.h"

/// Copying items, and opening the schedules that come of it.
namespace monitor {

/// There is nothing to copy, or no schedule to open; `what()` says of what and why.
class ExchangeFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using Items = std::vector<std::shared_ptr<KRAVTWVItemVexil>>;

/// The item at a path from one of the roots on, the first that there is. Raises `ExchangeFailed`.
[[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> itemAt(std::string_view path, const Items& roots);

/// Puts an item on the board for copying and pasting, in place of what was there, and tells what
/// somebody who pastes it gets: for each type in the order of preference its size, and below what
/// it holds; of a file its URL, and the size of the file. The file is written for that, and left to
/// whoever has its URL. Raises `ExchangeFailed` for an item that cannot be copied.
[[nodiscard]] std::string copied(const std::shared_ptr<KRAVTWVItemVexil>& item, const Style& style);

/// The schedule in a file, as a group of its events. `file` is a path or a URL. Raises
/// `ExchangeFailed` for a file that cannot be read or holds no schedule.
[[nodiscard]] std::shared_ptr<KRAVTWVGroupVexil> openedSchedule(const std::string& file);

}  // namespace monitor
