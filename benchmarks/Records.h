// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// What one event record is made from, so that equal records can be made as often as needed.
struct EventModel {
  std::string uniqueID;
  std::string name;
  bool enabled = false;
  std::string domain;
  std::int64_t priority = 0;
  std::int64_t interval = 0;
  double start = 0;

  /// A new record of six keys, one of them a nested record of three.
  [[nodiscard]] vexil::platform::Value record() const;
};

/// The events of an engine, always the same for one size: names of about twenty characters, of
/// which one in a hundred occurs twice, spread over domains ("domain-0" and on).
class EngineModel {
 public:
  explicit EngineModel(std::size_t count, std::size_t domains = 50);

  /// New records of all events in a new random order.
  [[nodiscard]] vexil::platform::Value freshRecords();

  /// The elements of `records` in a new random order.
  [[nodiscard]] vexil::platform::Value shuffled(const vexil::platform::Value& records);

  void changeOne();
  /// One in a hundred gone, as many new ones, and as many others changed.
  void removeInsertAndChange();
  /// The event whose name is first gets one that is last.
  void renameAcross();

  [[nodiscard]] std::size_t size() const { return _events.size(); }

 private:
  EventModel newEvent();

  std::mt19937_64 _random{12345};
  std::size_t _domains;
  std::size_t _made = 0;
  std::size_t _renamed = 0;
  std::vector<EventModel> _events;
};
