// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemVexil.h>

#include <string>

#include "monitor/Terminal.h"

namespace monitor {

/// The event items below `root` as lines of text: a heading that counts them, then a row an item
/// with its switch, name, schedule, user, table and command, in columns as wide as they need to be.
[[nodiscard]] std::string outline(const KRAVTWVItemVexil& root, const Style& style);

/// A record's text under a key, empty when there is none.
[[nodiscard]] std::string textOf(const platform::Value& record, std::string_view key);

}  // namespace monitor
