// SPDX-License-Identifier: Apache-2.0
#include "monitor/Host.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "monitor/EngineRecords.h"
#include "monitor/EventRecords.h"
#include "monitor/Processes.h"
#include "monitor/Runs.h"
#include "monitor/Scripts.h"

namespace platform = vexil::platform;

namespace monitor {

Host::Host(std::filesystem::path root, Zone zone)
    : _root(std::move(root)), _zone(std::move(zone)) {}

std::vector<Warning> Host::refresh(Instant now) {
  _tables = readTables(_root);
  // Events first, so that a new table is inserted together with its rows.
  _collections.events->setEvents(eventRecords(_tables));
  _collections.events->setDomains(domainRecords(_tables));
  return refreshEngine(now);
}

std::vector<Warning> Host::refreshEngine(Instant now) {
  const Scripts scripts = readScripts(_root);
  const platform::Value events = eventRecords(_tables);
  const auto runs = runsOf(_tables, readCronProcesses(_root / "proc", _root / "etc/passwd"));
  KRAVTWVEngineVexil& engine = *_collections.engine;
  engine.setActive(activeRecords(runs, events, now, _zone));
  engine.setAvailable(eventRecords(scripts));
  engine.setPending(pendingRecords(_tables, events, now, _zone));

  std::vector<Warning> warnings = _tables.warnings;
  warnings.insert(warnings.end(), scripts.warnings.begin(), scripts.warnings.end());
  std::vector<Warning> newWarnings;
  std::ranges::copy_if(warnings, std::back_inserter(newWarnings), [this](const Warning& warning) {
    return std::ranges::find(_warnings, warning) == _warnings.end();
  });
  _warnings = std::move(warnings);
  return newWarnings;
}

}  // namespace monitor
