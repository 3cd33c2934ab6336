// SPDX-License-Identifier: Apache-2.0
#include "monitor/Simulation.h"

#include <ternwood/Ternwood.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <variant>

#include "monitor/Changes.h"
#include "monitor/EngineRecords.h"
#include "monitor/EventRecords.h"
#include "monitor/NextDue.h"
#include "monitor/Outline.h"

namespace platform = vexil::platform;

namespace monitor {

using platform::Value;

namespace {

namespace chrono = std::chrono;

/// 01:25 in Berlin, 35 minutes before its clocks skip an hour.
constexpr Instant kBegin = chrono::sys_days(chrono::year(2026) / 3 / 29) + chrono::minutes(25);
constexpr int kFirstProcess = 2000;

constexpr chrono::seconds kShortestRun(5);
constexpr chrono::seconds kLongestRun = chrono::minutes(25);

/// FNV-1a, because `std::hash` differs between systems.
std::uint64_t hashOf(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
  }
  return hash;
}

Instant dueOf(const Value& trigger) {
  return instantOf(
      trigger[kTWQueuedTriggerTrigger][kTWTriggerDate].date().value_or(platform::Date()));
}

std::shared_ptr<platform::NetService> printer() {
  return std::make_shared<platform::NetService>("Office printer", "_ipp._tcp.", "local.");
}

/// The first enabled job in etc/cron.d that is due by the clock, or else the first in any table.
Job* jobToEdit(std::vector<Table>& tables) {
  Job* found = nullptr;
  for (Table& table : tables) {
    for (Job& job : table.jobs) {
      const bool preferred = table.info.identifier.starts_with(kSystemTables);
      if (job.enabled && !job.schedule.isReboot() && (found == nullptr || preferred)) {
        if (preferred) {
          return &job;
        }
        found = &job;
      }
    }
  }
  return found;
}

std::string grouped(std::size_t number) {
  std::string text = std::to_string(number);
  constexpr std::size_t groupLength = 3;
  for (std::size_t i = text.size(); i > groupLength;) {
    i -= groupLength;
    text.insert(i, ",");
  }
  return text;
}

std::string grouped(std::size_t number, std::string_view one) {
  return grouped(number) + " " + std::string(one) + (number == 1 ? "" : "s");
}

}  // namespace

Simulation::Simulation(const std::filesystem::path& root, const Style& style, Print print)
    : _style(style),
      _print(std::move(print)),
      _zone(Zone::named("Europe/Berlin")),
      _tables(readTables(root)),
      _scripts(readScripts(root)),
      _now(kBegin),
      _lastProcess(kFirstProcess) {}

const std::vector<Simulation::Happening>& Simulation::happenings() {
  using chrono::minutes;
  static const std::vector<Happening> all = {{minutes(12), &Simulation::findService},
                                             {minutes(18), &Simulation::editTable},
                                             {minutes(41), &Simulation::loseService},
                                             {minutes(47), &Simulation::takeEditBack}};
  return all;
}

void Simulation::run(chrono::hours length) {
  const Instant end = kBegin + length;
  fill();
  ViewWork first;  // not counted
  _views.update(first);
  _print(_style.bold("Simulation") + "  " +
         counted(static_cast<std::size_t>(length.count()), "hour") + " from " + _zone.text(kBegin) +
         " on, by the clocks of " + _zone.name());
  for (Instant next = nextInstant(); next <= end; next = nextInstant()) {
    step(next);
  }
  summarize(length);
}

void Simulation::fill() {
  showTables();
  _collections.engine->setAvailable(eventRecords(_scripts));
  showPending();
}

Instant Simulation::nextInstant() const {
  Instant next = Instant::max();
  const auto consider = [&](Instant instant) {
    if (instant > _now) {
      next = std::min(next, instant);
    }
  };
  const Value pending = _collections.engine->pendingTriggers();
  if (!pending.elements().empty()) {
    consider(dueOf(pending.elements().front()));
  }
  for (const Run& run : _runs) {
    consider(run.ends);
  }
  for (const Happening& happening : happenings()) {
    consider(kBegin + happening.after);
  }
  return next;
}

void Simulation::step(Instant now) {
  _now = now;
  const Snapshot before(_collections);
  endRuns();
  // Before a table is edited: an edit replaces the triggers by those that are due later.
  startDueJobs();
  for (const Happening& happening : happenings()) {
    if (kBegin + happening.after == now) {
      (this->*happening.what)();
    }
  }
  report(before);
  ++_moments;
  _views.update(_work);
}

void Simulation::endRuns() {
  const auto ended = std::erase_if(_runs, [this](const Run& run) { return run.ends <= _now; });
  if (ended > 0) {
    _ended += ended;
    showRuns();
  }
}

void Simulation::startDueJobs() {
  const Value pending = _collections.engine->pendingTriggers();
  bool due = false;
  for (const Value& trigger : pending.elements()) {
    if (dueOf(trigger) > _now) {
      break;
    }
    const Value& event = trigger[kTWQueuedTriggerEvent];
    Process process;
    process.id = ++_lastProcess;
    process.started = _now;
    _runs.push_back({event, process, _now + durationOf(textOf(event, kTWEventUniqueID))});
    ++_started;
    due = true;
  }
  if (due) {
    showRuns();
    showPending();
  }
}

/// Short enough for the job to end well before it is due again.
chrono::seconds Simulation::durationOf(const std::string& identifier) const {
  chrono::seconds longest = kLongestRun;
  for (const Table& table : _tables.tables) {
    const auto job = std::ranges::find(table.jobs, identifier, &Job::identifier);
    const auto next = job == table.jobs.end() ? std::nullopt : nextDue(job->schedule, _now, _zone);
    if (next) {
      longest = std::min(longest, (*next - _now) * 3 / 4);
    }
  }
  const auto room =
      static_cast<std::uint64_t>(std::max(longest - kShortestRun, kShortestRun).count());
  return kShortestRun + chrono::seconds(hashOf(identifier) % room);
}

void Simulation::findService() {
  _collections.services->addService(printer());
}

void Simulation::loseService() {
  _collections.services->removeService(printer());
}

void Simulation::editTable() {
  _tablesBefore = _tables;
  if (Job* const job = jobToEdit(_tables.tables)) {
    const char* const schedule = "*/10 * * * *";
    job->schedule = std::get<Schedule>(parseSchedule(schedule));
    job->scheduleText = schedule;
    job->name += " (more often)";
  }
  showTables();
  showPending();
}

void Simulation::takeEditBack() {
  _tables = std::exchange(_tablesBefore, {});
  showTables();
  showPending();
}

void Simulation::showTables() {
  _collections.events->setEvents(eventRecords(_tables));
  _collections.events->setDomains(domainRecords(_tables));
}

void Simulation::showRuns() {
  std::vector<Value> records;
  records.reserve(_runs.size());
  for (const Run& run : _runs) {
    records.push_back(activeRecord(run.event, run.process, _now, _zone));
  }
  _collections.engine->setActive(Value::array(std::move(records)));
}

void Simulation::showPending() {
  _collections.engine->setPending(pendingRecords(_tables, eventRecords(_tables), _now, _zone));
}

void Simulation::report(const Snapshot& before) {
  constexpr std::size_t dayLength = std::string_view("2026-03-29").size();
  const std::string clock = _zone.text(_now, true);
  for (const std::string& line : changes(before, Snapshot(_collections), _style)) {
    if (_day != clock.substr(0, dayLength)) {
      _day = clock.substr(0, dayLength);
      _print(_style.bold(_day));
    }
    _print(clock.substr(dayLength + 1) + "  " + line);
  }
}

void Simulation::summarize(chrono::hours length) {
  _print(_style.bold("Summary") + "  " + counted(static_cast<std::size_t>(length.count()), "hour") +
         ", in which " + grouped(_started, "job") + " started and " + grouped(_ended) +
         " ended, at " + grouped(_moments, "moment"));
  _print("  updates    " + grouped(_work.inserted.steps, "insertion") + ", " +
         grouped(_work.removed.steps, "removal") + ", " + grouped(_work.moved.steps, "move") +
         ", " + grouped(_work.changed.steps, "change"));
  _print("  touched    " + grouped(_work.rowsTouched(), "row") + " of a view: " +
         grouped(_work.inserted.rows) + " inserted, " + grouped(_work.removed.rows) + " removed, " +
         grouped(_work.moved.rows) + " moved, " + grouped(_work.changed.rows) + " changed");
  _print("  shown      " + grouped(_views.rowCount(), "row") +
         "; showing all of them anew at each moment would have been " + grouped(_work.rowsAnew));
}

}  // namespace monitor
