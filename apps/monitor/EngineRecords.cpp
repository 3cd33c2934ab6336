// SPDX-License-Identifier: Apache-2.0
#include "monitor/EngineRecords.h"

#include <ternwood/Ternwood.h>
#include <vexil/platform/RecordShape.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include "monitor/EventRecords.h"
#include "monitor/NextDue.h"

namespace platform = vexil::platform;

namespace monitor {

using platform::Value;

namespace {

/// The instant from which dates of records count seconds.
constexpr Instant kReference = std::chrono::sys_days(std::chrono::year(2001) / 1 / 1);

struct Trigger {
  Instant due;
  const Job* job;
  const Value* event;
};

std::string activityOf(const Process& process, Instant now, const Zone& zone) {
  std::string text = "PID " + std::to_string(process.id);
  if (process.started) {
    constexpr std::size_t dayLength = std::string_view("2026-03-29").size();
    const std::string since = zone.text(*process.started);
    const bool today = since.substr(0, dayLength) == zone.text(now).substr(0, dayLength);
    text += ", since " + (today ? since.substr(dayLength + 1) : since);
  }
  return text;
}

}  // namespace

platform::Date dateOf(Instant instant) {
  return {static_cast<double>((instant - kReference).count())};
}

Instant instantOf(platform::Date date) {
  return kReference + std::chrono::seconds(static_cast<std::int64_t>(date.seconds));
}

Value pendingRecords(const Tables& tables, const Value& events, Instant now, const Zone& zone) {
  std::vector<Trigger> triggers;
  const Value* event = events.elements().data();
  for (const Table& table : tables.tables) {
    for (const Job& job : table.jobs) {
      const auto due = job.enabled ? nextDue(job.schedule, now, zone) : std::nullopt;
      if (due) {
        triggers.push_back({*due, &job, event});
      }
      ++event;
    }
  }
  std::ranges::stable_sort(triggers, {}, &Trigger::due);
  static const Zone universal = Zone::named("UTC");
  static const platform::RecordShape shape({platform::Key(kTWQueuedTriggerTriggerID),
                                            platform::Key(kTWQueuedTriggerEvent),
                                            platform::Key(kTWQueuedTriggerTrigger)});
  std::vector<Value> records;
  records.reserve(triggers.size());
  for (const Trigger& trigger : triggers) {
    records.push_back(
        shape.record({trigger.job->identifier + "@" + universal.text(trigger.due), *trigger.event,
                      Value::dictionary({{kTWTriggerDate, dateOf(trigger.due)}})}));
  }
  return Value::array(std::move(records));
}

Value activeRecord(const Value& event, const Process& process, Instant now, const Zone& zone) {
  return Value::dictionary(
      {{kTWActiveEventActiveID, textOf(event, kTWEventUniqueID) + "|" + std::to_string(process.id)},
       {kTWActiveEventActivity, activityOf(process, now, zone)},
       {kTWActiveEventEvent, event}});
}

Value activeRecords(const std::vector<JobRun>& runs, const Value& events, Instant now,
                    const Zone& zone) {
  std::unordered_map<Value, const Value*> byIdentifier;
  for (const Value& event : events.elements()) {
    byIdentifier.emplace(event[kTWEventUniqueID], &event);
  }
  std::vector<Value> records;
  for (const JobRun& run : runs) {
    const auto event = byIdentifier.find(Value(run.job->identifier));
    if (event != byIdentifier.end()) {
      records.push_back(activeRecord(*event->second, run.process, now, zone));
    }
  }
  return Value::array(std::move(records));
}

}  // namespace monitor
