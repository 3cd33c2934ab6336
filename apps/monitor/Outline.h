// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/ValueTransformer.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "monitor/Terminal.h"

namespace monitor {

// Trees of items as lines of text: first a heading with counts, then one row for each item. Columns
// are as wide as they need to be.

/// A row for each table, and below it a row for each job with its switch, name, schedule, user and
/// command. When there is only one table, it has no row.
[[nodiscard]] std::string eventsOutline(const KRAVTWVEventStoreVexil& events, const Style& style);

/// The three groups, and below each a row for each event: its name, what it is doing or when it is
/// due, its table and command. `dates` turns dates into text.
[[nodiscard]] std::string engineOutline(const KRAVTWVEngineVexil& engine,
                                        const vexil::platform::ValueTransformer& dates,
                                        const Style& style);

/// A row for each domain, and below it a row for each service with its name and type.
[[nodiscard]] std::string servicesOutline(const KRAVTWVServicesVexil& services, const Style& style);

/// A row for each job with its switch, and its name, schedule, user and command where its record
/// has them.
[[nodiscard]] std::string scheduleOutline(const KRAVTWVItemVexil& schedule, const Style& style);

/// The rows of `scheduleOutline`, without the heading.
[[nodiscard]] std::string scheduleRows(const KRAVTWVItemVexil& schedule, const Style& style);

/// A line for each item: the path that finds it from this root, a tab, and its label.
[[nodiscard]] std::string pathsOutline(const KRAVTWVItemVexil& root, const Style& style);

/// "1 job", "2 jobs".
[[nodiscard]] std::string counted(std::size_t count, std::string_view one);

}  // namespace monitor
