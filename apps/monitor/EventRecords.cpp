// SPDX-License-Identifier: Apache-2.0
#include "monitor/EventRecords.h"

#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/RecordShape.h>

#include <typeinfo>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace monitor {

constinit const std::string_view kMonitorSchedule = "monitor.schedule";
constinit const std::string_view kMonitorCommand = "monitor.command";
constinit const std::string_view kMonitorUser = "monitor.user";
constinit const std::string_view kMonitorTableName = "monitor.table";

using platform::Key;
using platform::Value;

namespace {

std::string localizedName(const TableInfo& table) {
  return table.user ? localized("Crontab of %@", *table.user) : localized(table.name);
}

}  // namespace

Value domainRecords(const Tables& tables) {
  std::vector<Value> records;
  for (const Table& table : tables.tables) {
    const std::string name = table.info.user ? localizedName(table.info) : table.info.name;
    records.push_back(
        Value::dictionary({{kTWDomainUniqueID, table.info.identifier}, {kTWDomainName, name}}));
  }
  return Value::array(std::move(records));
}

Value eventRecords(const Tables& tables) {
  static const platform::RecordShape shape(
      {Key(kTWEventUniqueID), Key(kTWEventName), Key(kTWEventEnabled), Key(kTWEventDomain),
       Key(kMonitorSchedule), Key(kMonitorCommand), Key(kMonitorUser), Key(kMonitorTableName)});
  std::vector<Value> records;
  for (const Table& table : tables.tables) {
    const Value tableName = localizedName(table.info);
    for (const Job& job : table.jobs) {
      records.push_back(shape.record({job.identifier, job.name, job.enabled, job.table,
                                      job.scheduleText, job.command, job.user, tableName}));
    }
  }
  return Value::array(std::move(records));
}

Value eventRecords(const Scripts& scripts) {
  std::vector<Value> records;
  records.reserve(scripts.scripts.size());
  for (const Script& script : scripts.scripts) {
    records.push_back(
        Value::dictionary({{kTWEventUniqueID, script.identifier()},
                           {kTWEventName, script.name},
                           {kTWEventEnabled, true},
                           {kTWEventDomain, script.place},
                           {kMonitorCommand, script.command},
                           {kMonitorTableName, script.place.substr(script.place.find('/') + 1)}}));
  }
  return Value::array(std::move(records));
}

std::string localized(std::string_view key, std::string_view argument) {
  constexpr std::string_view placeholder = "%@";
  const auto& bundle = platform::Bundle::forClass(typeid(KRAVTWVDomainVexil));
  std::string text = bundle.localizedString(key, key);
  if (const std::size_t at = text.find(placeholder); at != std::string::npos) {
    text.replace(at, placeholder.size(), argument);
  }
  return text;
}

std::string textOf(const Value& record, std::string_view key) {
  const Value& value = record[key];
  return value.isAbsent() ? std::string() : value.displayText();
}

}  // namespace monitor
