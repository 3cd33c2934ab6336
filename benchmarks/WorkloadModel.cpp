// SPDX-License-Identifier: Apache-2.0
#include "WorkloadModel.h"

#include <ternwood/Ternwood.h>
#include <vexil/platform/RecordShape.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <tuple>
#include <utility>

namespace platform = vexil::platform;

using platform::Key;
using platform::RecordShape;
using platform::Value;

namespace {

constexpr std::array<std::string_view, 32> words = {
    "Backup",  "Nightly", "Weekly", "Monthly", "Clean",   "Check",   "Mirror",  "Publish",
    "Archive", "Rotate",  "Update", "Verify",  "Import",  "Export",  "Index",   "Purge",
    "Sync",    "Deploy",  "Report", "Collect", "Notify",  "Restart", "Refresh", "Scan",
    "Upload",  "Fetch",   "Merge",  "Split",   "Compact", "Repair",  "Render",  "Encode"};
constexpr std::array<std::string_view, 32> subjects = {
    "disk",   "mail",  "logs",    "photos", "music",    "server",   "web",   "cache",
    "users",  "build", "tests",   "docs",   "database", "index",    "queue", "tickets",
    "images", "video", "reports", "orders", "stock",    "invoices", "feeds", "news",
    "maps",   "tiles", "keys",    "certs",  "hosts",    "routes",   "jobs",  "tasks"};
constexpr std::array<std::string_view, 4> kinds = {"daily", "weekly", "monthly", "once only"};

/// splitmix64
std::uint64_t draw(std::uint64_t& state) {
  std::uint64_t z = (state += 0x9E3779B97F4A7C15U);
  z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
  z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
  return z ^ (z >> 31U);
}

std::string padded(std::size_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width - std::min(width, digits.size()), '0') + digits;
}

Value domainName(std::size_t number) {
  static const std::vector<Value> known = [] {
    std::vector<Value> names;
    for (unsigned i = 0; i < WorkloadModel::domains; ++i) {
      names.emplace_back("domain-" + padded(i, 2));
    }
    return names;
  }();
  return number < known.size() ? known[number] : Value("domain-" + padded(number, 2));
}

bool comesBefore(const WorkloadEvent& a, const WorkloadEvent& b) {
  return std::tuple(a.name.view(), a.uniqueID.view()) <
         std::tuple(b.name.view(), b.uniqueID.view());
}

}  // namespace

WorkloadModel::WorkloadModel(std::size_t count) : _events(count) {
  for (WorkloadEvent& event : _events) {
    fill(event);
  }
  for (std::size_t i = 0; i < count / 100; ++i) {
    _events[i].name = _events[count - 1 - i].name;
  }
}

void WorkloadModel::fill(WorkloadEvent& event) {
  constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
  constexpr std::size_t longestName = 22;
  const std::uint64_t bits = draw(_random);
  event.number = _made++;
  event.uniqueID = "evt-" + padded(event.number, 6);
  std::string name(words[bits & 31U]);
  name.append(" ").append(subjects[bits >> 5U & 31U]).append(" ");
  std::generate_n(std::back_inserter(name), 8,
                  [&] { return letters[(draw(_random) >> 20U) % letters.size()]; });
  event.name = std::string_view(name).substr(0, longestName);
  event.enabled = (bits >> 10U & 1U) != 0;
  event.domain = static_cast<unsigned>((bits >> 11U) % domains);
  event.interval = static_cast<int>(bits >> 20U & 0xFFFFU);
  event.start = 700'000'000.0 + static_cast<double>(bits >> 36U & 0xFFFFFFU);
  event.kind = static_cast<unsigned>(bits >> 60U & 3U);
}

std::vector<WorkloadEvent> WorkloadModel::shuffled(std::uint64_t seed) const {
  std::vector<WorkloadEvent> events;
  events.reserve(size());
  for (const std::size_t i : permutation(size(), seed)) {
    events.push_back(_events[i]);
  }
  return events;
}

std::vector<WorkloadEvent> WorkloadModel::sorted() const {
  std::vector<WorkloadEvent> events = _events;
  std::ranges::sort(events, comesBefore);
  return events;
}

void WorkloadModel::changeOne() {
  WorkloadEvent& event = _events[draw(_random) % size()];
  ++event.interval;
  event.enabled = !event.enabled;
}

void WorkloadModel::renameSome() {
  const std::vector<std::size_t> order = permutation(size(), draw(_random));
  for (std::size_t i = 0; i < share(); ++i) {
    WorkloadEvent other;
    fill(other);
    _events[order[i]].name = other.name.view();
  }
}

void WorkloadModel::moveSome() {
  const std::vector<std::size_t> order = permutation(size(), draw(_random));
  for (std::size_t i = 0; i < share(); ++i) {
    WorkloadEvent& event = _events[order[i]];
    event.domain = (event.domain + 1) % domains;
  }
}

void WorkloadModel::exchangeSome() {
  const std::vector<std::size_t> order = permutation(size(), draw(_random));
  for (std::size_t i = 0; i < share(); ++i) {
    fill(_events[order[i]]);
  }
  for (std::size_t i = share(); i < std::min(2 * share(), size()); ++i) {
    ++_events[order[i]].interval;
  }
}

void WorkloadModel::moveFirstToEnd() {
  std::ranges::min_element(_events, comesBefore)->name = "~moved last " + padded(_moved++, 8);
}

std::vector<std::size_t> permutation(std::size_t count, std::uint64_t seed) {
  std::vector<std::size_t> order(count);
  std::iota(order.begin(), order.end(), std::size_t{0});
  for (std::size_t i = count; i-- > 1;) {
    std::swap(order[i], order[draw(seed) % (i + 1)]);
  }
  return order;
}

Value domainOf(const WorkloadEvent& event, Spread spread) {
  return domainName(spread == Spread::asModelled ? event.domain
                    : spread == Spread::allInOne ? 0
                                                 : event.number / 100);
}

Value recordOf(const WorkloadEvent& event, Spread spread) {
  static const RecordShape eventShape({Key(kTWEventUniqueID), Key(kTWEventName),
                                       Key(kTWEventEnabled), Key(kTWEventDomain), Key("schedule")});
  static const RecordShape scheduleShape({Key("interval"), Key("start"), Key("kind")});
  return eventShape.record(
      {event.uniqueID.view(), event.name.view(), event.enabled, domainOf(event, spread),
       scheduleShape.record({event.interval, event.start, kinds[event.kind]})});
}

Value recordsOf(const std::vector<WorkloadEvent>& events, Spread spread) {
  std::vector<Value> records;
  records.reserve(events.size());
  for (const WorkloadEvent& event : events) {
    records.push_back(recordOf(event, spread));
  }
  return Value::array(std::move(records));
}

Value domainRecords(std::size_t count) {
  static const RecordShape shape({Key(kTWDomainUniqueID), Key(kTWDomainName)});
  std::vector<Value> records;
  for (std::size_t i = 0; i < count; ++i) {
    records.push_back(shape.record({domainName(i), domainName(i)}));
  }
  return Value::array(std::move(records));
}
