// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsVexil.h>

#include <string>

#include "monitor/Terminal.h"
#include "monitor/Zone.h"

namespace monitor {

// Trees of items as lines of text: a heading that counts, then a row an item, in columns as wide as
// they need to be.

/// A row a table, and below it a row a job with its switch, name, schedule, user and command. The
/// only table there is has no row of its own.
[[nodiscard]] std::string eventsOutline(const KRAVTWVEventStoreVexil& events, const Style& style);

/// The three groups, and below them a row an event with its name, what it is doing or when it is
/// due, its table and command. Times are told as they are at `now` by the clocks of the zone.
[[nodiscard]] std::string engineOutline(const KRAVTWVEngineVexil& engine, Instant now,
                                        const Zone& zone, const Style& style);

/// A row a domain, and below it a row a service with its name and type.
[[nodiscard]] std::string servicesOutline(const KRAVTWVServicesVexil& services, const Style& style);

/// "1 job", "2 jobs".
[[nodiscard]] std::string counted(std::size_t count, std::string_view one);

}  // namespace monitor
