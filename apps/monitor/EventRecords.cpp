// SPDX-License-Identifier: Apache-2.0
#include "monitor/EventRecords.h"

#include <ternwood/Ternwood.h>

#include <utility>
#include <vector>

namespace monitor {

constinit const std::string_view kMonitorSchedule = "monitor.schedule";
constinit const std::string_view kMonitorCommand = "monitor.command";
constinit const std::string_view kMonitorUser = "monitor.user";
constinit const std::string_view kMonitorTableName = "monitor.table";

using platform::Key;
using platform::Value;

Value eventRecords(const Tables& tables) {
  static const platform::RecordShape shape(
      {Key(kTWEventUniqueID), Key(kTWEventName), Key(kTWEventEnabled), Key(kTWEventDomain),
       Key(kMonitorSchedule), Key(kMonitorCommand), Key(kMonitorUser), Key(kMonitorTableName)});
  std::vector<Value> records;
  for (const Table& table : tables.tables) {
    for (const Job& job : table.jobs) {
      records.push_back(shape.record({job.identifier, job.name, job.enabled, job.table,
                                      job.scheduleText, job.command, job.user, table.info.name}));
    }
  }
  return Value::array(std::move(records));
}

}  // namespace monitor
