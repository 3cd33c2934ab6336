// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/ValueTransformer.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "monitor/Terminal.h"

namespace monitor {

// Trees of items as lines of text: a heading that counts, then a row an item, in columns as wide as
// they need to be.

/// A row a table, and below it a row a job with its switch, name, schedule, user and command. The
/// only table there is has no row of its own.
[[nodiscard]] std::string eventsOutline(const KRAVTWVEventStoreVexil& events, const Style& style);

/// The three groups, and below them a row an event with its name, what it is doing or when it is
/// due, its table and command. `dates` turns dates into text.
[[nodiscard]] std::string engineOutline(const KRAVTWVEngineVexil& engine,
                                        const vexil::platform::ValueTransformer& dates,
                                        const Style& style);

/// A row a domain, and below it a row a service with its name and type.
[[nodiscard]] std::string servicesOutline(const KRAVTWVServicesVexil& services, const Style& style);

/// A row a job, with its switch and whatever of name, schedule, user and command its record has.
[[nodiscard]] std::string scheduleOutline(const KRAVTWVItemVexil& schedule, const Style& style);

/// The rows of that alone.
[[nodiscard]] std::string scheduleRows(const KRAVTWVItemVexil& schedule, const Style& style);

/// A line an item, with the path that it is found by from this root on, a tab, and its label.
[[nodiscard]] std::string pathsOutline(const KRAVTWVItemVexil& root, const Style& style);

/// "1 job", "2 jobs".
[[nodiscard]] std::string counted(std::size_t count, std::string_view one);

}  // namespace monitor
