// SPDX-License-Identifier: Apache-2.0
#include "monitor/Changes.h"

#include <ternwood/Ternwood.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "monitor/EventRecords.h"

namespace platform = vexil::platform;

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

std::unordered_set<Value> identifiersOf(const Value& active) {
  std::unordered_set<Value> identifiers;
  for (const Value& record : active.elements()) {
    identifiers.insert(record[kTWActiveEventActiveID]);
  }
  return identifiers;
}

std::string serviceOf(const platform::NetService& service, const Style& style) {
  return style.bold(service.name().displayText()) + " (" + service.type().displayText() + ", " +
         service.domain().displayText() + "): ";
}

bool contains(const KRAVTWVNetServiceArray& services, const platform::NetService& service) {
  return std::ranges::any_of(services, [&](const auto& each) { return each->isEqual(service); });
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

std::vector<std::string> runChanges(const Value& before, const Value& after, const Style& style) {
  std::vector<std::string> lines;
  const auto add = [&](const Value& list, const std::unordered_set<Value>& others, bool started) {
    for (const Value& record : list.elements()) {
      if (!others.contains(record[kTWActiveEventActiveID])) {
        lines.push_back((started ? style.green("▶") : style.faint("■")) + " " +
                        jobOf(record[kTWActiveEventEvent], style) +
                        (started ? "started, " + textOf(record, kTWActiveEventActivity) : "ended"));
      }
    }
  };
  add(before, identifiersOf(after), false);
  add(after, identifiersOf(before), true);
  return lines;
}

std::vector<std::string> serviceChanges(const KRAVTWVNetServiceArray& before,
                                        const KRAVTWVNetServiceArray& after, const Style& style) {
  std::vector<std::string> lines;
  for (const auto& service : before) {
    if (!contains(after, *service)) {
      lines.push_back(style.red("-") + " " + serviceOf(*service, style) + "gone");
    }
  }
  for (const auto& service : after) {
    if (!contains(before, *service)) {
      lines.push_back(style.green("+") + " " + serviceOf(*service, style) + "found");
    }
  }
  return lines;
}

std::vector<std::string> changes(const Snapshot& before, const Snapshot& after,
                                 const Style& style) {
  std::vector<std::string> lines = changes(before.events, after.events, style);
  const auto append = [&](const std::vector<std::string>& more) {
    lines.insert(lines.end(), more.begin(), more.end());
  };
  append(runChanges(before.active, after.active, style));
  append(serviceChanges(before.services, after.services, style));
  return lines;
}

}  // namespace monitor
