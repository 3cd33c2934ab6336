// SPDX-License-Identifier: Apache-2.0
#include "monitor/Changes.h"

#include <ternwood/Ternwood.h>

#include <unordered_map>

#include "monitor/EventRecords.h"
#include "monitor/Outline.h"

namespace monitor {

using platform::Value;

namespace {

using RecordsByIdentifier = std::unordered_map<Value, const Value*>;

RecordsByIdentifier byIdentifier(const Value& records) {
  RecordsByIdentifier result;
  for (const Value& record : records.elements()) {
    result.emplace(record[kTWEventUniqueID], &record);
  }
  return result;
}

std::string jobOf(const Value& record, const Style& style) {
  return style.bold(textOf(record, kTWEventName)) + " (" + textOf(record, kMonitorTableName) +
         "): ";
}

std::string differences(const Value& before, const Value& after) {
  std::string text;
  const auto add = [&](const std::string& difference) {
    text += (text.empty() ? "" : ", ") + difference;
  };
  const auto addChange = [&](std::string_view key, const std::string& what) {
    if (before[key] != after[key]) {
      add(what + " from " + textOf(before, key) + " to " + textOf(after, key));
    }
  };
  addChange(kTWEventName, "renamed");
  if (before[kTWEventEnabled] != after[kTWEventEnabled]) {
    add(after[kTWEventEnabled].booleanReading() ? "now enabled" : "now disabled");
  }
  addChange(kMonitorSchedule, "schedule changed");
  return text;
}

}  // namespace

std::vector<std::string> changes(const Value& before, const Value& after, const Style& style) {
  const RecordsByIdentifier old = byIdentifier(before);
  const RecordsByIdentifier current = byIdentifier(after);
  std::vector<std::string> lines;
  for (const Value& record : before.elements()) {
    if (!current.contains(record[kTWEventUniqueID])) {
      lines.push_back(style.red("-") + " " + jobOf(record, style) + "vanished");
    }
  }
  for (const Value& record : after.elements()) {
    const auto known = old.find(record[kTWEventUniqueID]);
    if (known == old.end()) {
      const bool enabled = record[kTWEventEnabled].booleanReading();
      lines.push_back(style.green("+") + " " + jobOf(record, style) + "appeared, " +
                      (enabled ? "" : "disabled, ") + textOf(record, kMonitorSchedule));
      continue;
    }
    if (const std::string text = differences(*known->second, record); !text.empty()) {
      lines.push_back(style.yellow("~") + " " + jobOf(record, style) + text);
    }
  }
  return lines;
}

}  // namespace monitor
