// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "monitor/Tables.h"
#include "monitor/Terminal.h"

namespace monitor {

/// Keeps an event list of the jobs below a root, and hears through an items observer what each
/// refresh does to it.
class Host {
 public:
  explicit Host(std::filesystem::path root);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host();

  /// What a refresh brought.
  struct Report {
    std::vector<Warning> newWarnings;        ///< those that the last refresh did not give
    std::vector<std::string> announcements;  ///< what the observer was told, as it came
    platform::Value before;                  ///< the event records, in the order of the list
    platform::Value after;
  };

  /// Reads the tables and hands them to the list. Raises `TablesNotFound`, with nothing changed.
  Report refresh();

  [[nodiscard]] const KRAVTWVItemVexil& eventRoot() const { return *_root; }

 private:
  class Listener;

  std::filesystem::path _directory;
  std::vector<Warning> _warnings;
  std::shared_ptr<KRAVTWVEventsVexil> _events = std::make_shared<KRAVTWVEventsVexil>();
  std::shared_ptr<KRAVTWVItemVexil> _root = _events->root();
  std::shared_ptr<Listener> _listener;
  std::shared_ptr<KRAVTWVItemsObserver> _observer = KRAVTWVItemsObserver::init();
};

}  // namespace monitor
