// SPDX-License-Identifier: Apache-2.0
// What the tests of watchers share.
#pragma once

#include "Shelf.h"
#include "tests/support/Recorder.h"
#include "tests/support/WatchRecorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace test {

/// A shelf, two watchers and an observer, which write to one list.
class WatchedShelf : public testing::Test {
 protected:
  Lines lines;
  Lines heard() { return std::exchange(lines, {}); }
  std::shared_ptr<Shelf> shelf = Shelf::make();
  std::shared_ptr<WatchRecorder> one = WatchRecorder::make("one", lines);
  std::shared_ptr<WatchRecorder> two = WatchRecorder::make("two", lines);
  std::shared_ptr<Recorder> observer = Recorder::make("observer", lines);
};

}  // namespace test
