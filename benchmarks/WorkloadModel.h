// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

/// A short text without memory on the heap, so that models do not disturb the heap in which records
/// are measured.
template <std::size_t size>
class InlineText {
 public:
  InlineText& operator=(std::string_view text) {
    _length = text.copy(_characters.data(), size);
    return *this;
  }
  [[nodiscard]] std::string_view view() const { return {_characters.data(), _length}; }

 private:
  std::array<char, size> _characters{};
  std::size_t _length = 0;
};

/// What one event record of the workloads is made from.
struct WorkloadEvent {
  InlineText<16> uniqueID;  // "evt-000123"
  InlineText<24> name;      // about 20 characters, cut off after 22
  std::size_t number = 0;   // the one in its identifier
  bool enabled = false;
  unsigned domain = 0;  // below `WorkloadModel::domains`
  int interval = 0;
  double start = 0;
  unsigned kind = 0;  // below the number of kinds of schedules
};

/// Which events a domain record gets.
enum class Spread : std::uint8_t { asModelled, allInOne, aHundredEach };

/// The events of an engine. Events, orders and changes depend only on the size: they follow from
/// one sequence of numbers (splitmix64). A program that draws the same numbers does the same work
/// and gets the same checksums.
class WorkloadModel {
 public:
  static constexpr unsigned domains = 50;

  explicit WorkloadModel(std::size_t count);

  [[nodiscard]] std::size_t size() const { return _events.size(); }

  /// The events in the order that `seed` stands for.
  [[nodiscard]] std::vector<WorkloadEvent> shuffled(std::uint64_t seed) const;
  /// By name and then by identifier.
  [[nodiscard]] std::vector<WorkloadEvent> sorted() const;

  /// One event gets another interval and is switched.
  void changeOne();
  /// One in a hundred gone, as many new ones, and as many others changed.
  void exchangeSome();
  /// The event whose name is first gets one that is last.
  void moveFirstToEnd();
  /// One in a hundred get new names, or other domains.
  void renameSome();
  void moveSome();
  /// How many of each `exchangeSome` takes, and those take.
  [[nodiscard]] std::size_t share() const { return size() < 100 ? 1 : size() / 100; }

 private:
  void fill(WorkloadEvent& event);

  std::uint64_t _random = 12345;
  std::size_t _made = 0;
  std::size_t _moved = 0;
  std::vector<WorkloadEvent> _events;
};

/// The numbers below `count` in the order that `seed` stands for.
[[nodiscard]] std::vector<std::size_t> permutation(std::size_t count, std::uint64_t seed);

/// The record of an event: five keys, one of them for a nested record of three.
[[nodiscard]] vexil::platform::Value recordOf(const WorkloadEvent& event,
                                              Spread spread = Spread::asModelled);
[[nodiscard]] vexil::platform::Value recordsOf(const std::vector<WorkloadEvent>& events,
                                               Spread spread = Spread::asModelled);
/// What stands for its domain in the record.
[[nodiscard]] vexil::platform::Value domainOf(const WorkloadEvent& event, Spread spread);

[[nodiscard]] vexil::platform::Value domainRecords(std::size_t count);
