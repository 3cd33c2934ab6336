// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsObserver.h>

#include <memory>
#include <string>
#include <vector>

namespace monitor {

/// Listens to all changes of one tree of items and keeps what is announced.
class Announcements {
 public:
  /// Listens from now on. The tree may already have items.
  explicit Announcements(const std::shared_ptr<KRAVTWVItemVexil>& root);
  Announcements(const Announcements&) = delete;
  Announcements& operator=(const Announcements&) = delete;
  ~Announcements();

  /// Returns what was announced since the last call, in order, one line for each announcement:
  ///
  ///     removal in /root at {0}: Backup
  ///     replacement in /scheduler.pending at {0-1}: Backup, Report
  [[nodiscard]] std::vector<std::string> takeLines();

 private:
  class Listener;
  std::shared_ptr<Listener> _listener;
  std::shared_ptr<KRAVTWVItemsObserver> _observer = KRAVTWVItemsObserver::init();
};

}  // namespace monitor
