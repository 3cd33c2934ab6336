// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsObserver.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace monitor {

/// Listens to all changes of one tree of items, as a view would, and keeps what is announced.
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

  /// How many announcements there were of each kind, and how many rows of a view they changed. When
  /// an item is inserted or removed, it is one row, and each item below it is one more.
  struct Counts {
    std::size_t insertions = 0;
    std::size_t removals = 0;
    std::size_t replacements = 0;
    std::size_t settings = 0;
    std::size_t rowsInserted = 0;
    std::size_t rowsRemoved = 0;
    std::size_t rowsRefreshed = 0;

    [[nodiscard]] std::size_t announcements() const {
      return insertions + removals + replacements + settings;
    }
    [[nodiscard]] std::size_t rows() const { return rowsInserted + rowsRemoved + rowsRefreshed; }
    friend Counts operator+(const Counts& a, const Counts& b);
    friend Counts operator-(const Counts& a, const Counts& b);
  };
  [[nodiscard]] const Counts& counts() const;

 private:
  class Listener;
  std::shared_ptr<Listener> _listener;
  std::shared_ptr<KRAVTWVItemsObserver> _observer = KRAVTWVItemsObserver::init();
};

}  // namespace monitor
