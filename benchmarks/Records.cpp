// SPDX-License-Identifier: Apache-2.0
#include "Records.h"

#include <ternwood/Ternwood.h>
#include <vexil/platform/RecordShape.h>

#include <algorithm>
#include <array>
#include <numeric>

namespace platform = vexil::platform;

using platform::Key;
using platform::RecordShape;
using platform::Value;

Value EventModel::record() const {
  static const RecordShape eventShape({Key(kTWEventUniqueID), Key(kTWEventName),
                                       Key(kTWEventEnabled), Key(kTWEventDomain), Key("priority"),
                                       Key("schedule")});
  static const RecordShape scheduleShape({Key("kind"), Key("start"), Key("interval")});
  return eventShape.record({uniqueID, name, enabled, domain, priority,
                            scheduleShape.record({"daily", platform::Date{start}, interval})});
}

EngineModel::EngineModel(std::size_t count, std::size_t domains) : _domains(domains) {
  std::generate_n(std::back_inserter(_events), count, [this] { return newEvent(); });
  for (std::size_t i = 0; i < count / 100; ++i) {
    _events[i].name = _events[count - 1 - i].name;
  }
}

EventModel EngineModel::newEvent() {
  constexpr std::array words = {"Backup", "Rotate", "Verify", "Mirror", "Report", "Purge"};
  constexpr std::array subjects = {"disk", "mail", "photos", "music", "tickets", "orders"};
  constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
  const auto pick = [this](const auto& from) { return from[_random() % from.size()]; };
  std::string number = std::to_string(_made++);
  number.insert(0, 6 - std::min<std::size_t>(6, number.size()), '0');
  std::string name = std::string(pick(words)) + " " + pick(subjects) + " ";
  std::generate_n(std::back_inserter(name), 8, [&] { return pick(letters); });
  return {.uniqueID = "evt-" + number,
          .name = std::move(name),
          .enabled = _random() % 2 == 0,
          .domain = "domain-" + std::to_string(_random() % _domains),
          .priority = static_cast<std::int64_t>(_random() % 10),
          .interval = static_cast<std::int64_t>(_random() % 65536),
          .start = 700'000'000.0 + static_cast<double>(_random() % 16'777'216)};
}

Value EngineModel::freshRecords() {
  std::vector<Value> records;
  records.reserve(_events.size());
  for (const EventModel& event : _events) {
    records.push_back(event.record());
  }
  return shuffled(Value::array(std::move(records)));
}

Value EngineModel::shuffled(const Value& records) {
  std::vector<Value> elements(records.elements().begin(), records.elements().end());
  std::ranges::shuffle(elements, _random);
  return Value::array(std::move(elements));
}

void EngineModel::changeOne() {
  ++_events[_random() % _events.size()].interval;
}

void EngineModel::removeInsertAndChange() {
  std::vector<std::size_t> positions(_events.size());
  std::iota(positions.begin(), positions.end(), std::size_t{0});
  std::ranges::shuffle(positions, _random);
  const std::size_t share = std::max<std::size_t>(1, _events.size() / 100);
  for (std::size_t i = 0; i < share; ++i) {
    _events[positions[i]] = newEvent();
    ++_events[positions[share + i]].interval;
  }
}

void EngineModel::renameAcross() {
  const auto first = std::ranges::min_element(_events, [](const auto& a, const auto& b) {
    return std::tie(a.name, a.uniqueID) < std::tie(b.name, b.uniqueID);
  });
  first->name = "~moved last " + std::to_string(100'000'000 + _renamed++);
}
