// SPDX-License-Identifier: Apache-2.0
#include "monitor/Outline.h"

#include "monitor/EventRecords.h"
#include "monitor/Grid.h"
#include "monitor/Text.h"

namespace platform = vexil::platform;

namespace monitor {

using platform::Value;

namespace {

void addEvent(Grid& grid, const KRAVTWVItemVexil& item, const Style& style) {
  const Value record = item.representedObject();
  Grid::Row row;
  row.faint = !item.enabled();
  row.mark = item.enabled() ? style.green("●") : style.red("○");
  // A record that was read from a schedule file may hold any text.
  row.cells = {printable(item.label().displayText()), printable(textOf(record, kMonitorSchedule)),
               printable(textOf(record, kMonitorUser))};
  row.tail = printable(textOf(record, kMonitorCommand));
  grid.addRow(std::move(row));
}

/// What an item of the engine is doing, or when it is due.
std::string stateOf(const KRAVTWVItemVexil& item, const platform::ValueTransformer& dates) {
  if (const auto* trigger = dynamic_cast<const KRAVTWVQueuedTriggerVexil*>(&item)) {
    return dates.transformedValue(trigger->triggerDate()).displayText();
  }
  const auto* active = dynamic_cast<const KRAVTWVActiveEventVexil*>(&item);
  return active == nullptr ? std::string() : active->activity().displayText();
}

std::string markOf(const KRAVTWVItemVexil& item, const Style& style) {
  return dynamic_cast<const KRAVTWVActiveEventVexil*>(&item) != nullptr ? style.green("▶") : " ";
}

}  // namespace

std::string counted(std::size_t count, std::string_view one) {
  return std::to_string(count) + " " + std::string(one) + (count == 1 ? "" : "s");
}

std::string eventsOutline(const KRAVTWVEventStoreVexil& events, const Style& style) {
  Grid grid;
  std::size_t jobs = 0;
  std::size_t disabled = 0;
  for (const auto& item : events.root()->recursiveChildren()) {
    const bool isEvent = dynamic_cast<const KRAVTWVEventVexil*>(item.get()) != nullptr;
    jobs += isEvent ? 1U : 0U;
    disabled += isEvent && !item->enabled() ? 1U : 0U;
  }
  for (const auto& item : *events.root()->children()) {
    if (!item->isGroup()) {
      addEvent(grid, *item, style);
      continue;
    }
    grid.addHeading(style.bold(item->label().displayText()));
    for (const auto& event : *item->children()) {
      addEvent(grid, *event, style);
    }
  }
  return style.bold("Events") + "  " + counted(jobs, "job") + " in " +
         counted(events.orderedDomains().elements().size(), "table") +
         (disabled > 0 ? ", " + std::to_string(disabled) + " disabled\n" : "\n") + grid.text(style);
}

std::string engineOutline(const KRAVTWVEngineVexil& engine, const platform::ValueTransformer& dates,
                          const Style& style) {
  Grid grid;
  for (const auto& group : *engine.root()->children()) {
    grid.addHeading(style.bold(group->label().displayText()));
    for (const auto& item : *group->children()) {
      const auto* event = dynamic_cast<const KRAVTWVEventRepresenting*>(item.get());
      const Value record = event == nullptr ? Value() : event->representedEvent();
      Grid::Row row;
      row.mark = markOf(*item, style);
      row.cells = {item->label().displayText(), stateOf(*item, dates),
                   textOf(record, kMonitorTableName)};
      row.tail = textOf(record, kMonitorCommand);
      grid.addRow(std::move(row));
    }
  }
  return style.bold("Engine") + "  " + std::to_string(engine.activeEvents().elements().size()) +
         " running, " + std::to_string(engine.onDemandAvailable().elements().size()) +
         " on demand, " + std::to_string(engine.pendingTriggers().elements().size()) +
         " pending\n" + grid.text(style);
}

std::string scheduleRows(const KRAVTWVItemVexil& schedule, const Style& style) {
  Grid grid;
  for (const auto& event : *schedule.children()) {
    addEvent(grid, *event, style);
  }
  return grid.text(style);
}

std::string scheduleOutline(const KRAVTWVItemVexil& schedule, const Style& style) {
  return style.bold("Schedule") + "  " + counted(schedule.children()->size(), "job") + "\n" +
         scheduleRows(schedule, style);
}

std::string pathsOutline(const KRAVTWVItemVexil& root, const Style& style) {
  std::string text;
  const auto add = [&](const std::string& path, const KRAVTWVItemVexil& item) {
    text += printable(path) + "\t" + style.faint(printable(item.label().displayText())) + "\n";
  };
  // Built on the way down, because an item's own path can differ: the jobs of the only table are
  // shown without the table.
  const std::string top = "/" + root.uniqueID().displayText();
  add(top, root);
  for (const auto& item : *root.children()) {
    const std::string path = top + "/" + item->uniqueID().displayText();
    add(path, *item);
    for (const auto& below : *item->children()) {
      add(path + "/" + below->uniqueID().displayText(), *below);
    }
  }
  return text;
}

std::string servicesOutline(const KRAVTWVServicesVexil& services, const Style& style) {
  Grid grid;
  for (const auto& item : *services.root()->children()) {
    const auto* service = dynamic_cast<const KRAVTWVNetServiceVexil*>(item.get());
    if (service == nullptr) {
      grid.addHeading(style.bold(item->label().displayText()));
      continue;
    }
    Grid::Row row;
    row.mark = " ";
    row.cells[0] = item->label().displayText();
    row.tail = service->netService()->type().displayText();
    grid.addRow(std::move(row));
  }
  const std::size_t count = services.sortedServices()->size();
  return style.bold("Services") + "  " + (count == 0 ? "no services" : counted(count, "service")) +
         "\n" + grid.text(style);
}

}  // namespace monitor
