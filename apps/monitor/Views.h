// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/outline/Outline.h>

#include <cstddef>

#include "monitor/Collections.h"

namespace monitor {

/// What updates make a view do.
struct ViewWork {
  struct Part {
    std::size_t steps = 0;
    std::size_t rows = 0;
    friend bool operator==(const Part&, const Part&) = default;
  };
  Part inserted;  ///< with the rows below those that are inserted
  Part removed;   ///< the same
  Part moved;
  Part changed;
  std::size_t rowsAnew =
      0;  ///< how many rows there were to show, had the view begun anew each time

  void add(const vexil::OutlineUpdate& update);
  [[nodiscard]] std::size_t rowsTouched() const {
    return inserted.rows + removed.rows + moved.rows + changed.rows;
  }
};

/// The rows of three views, one a collection.
class Views {
 public:
  /// There are no rows before the first update.
  explicit Views(const Collections& collections);

  /// Brings the rows up to date and adds to `work` what that took.
  void update(ViewWork& work);

  [[nodiscard]] std::size_t rowCount() const;

 private:
  vexil::Outline _events;
  vexil::Outline _engine;
  vexil::Outline _services;
};

}  // namespace monitor
