// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/platform/Observing.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// How many items and notices an observer was told of.
struct NoticeCounts {
  std::size_t removed = 0;
  std::size_t inserted = 0;
  std::size_t replaced = 0;
  std::size_t notices = 0;

  void add(vexil::platform::ChangeKind kind, std::size_t items);
  NoticeCounts& operator+=(const NoticeCounts& other);
  bool operator==(const NoticeCounts&) const = default;
  [[nodiscard]] std::string description() const;
};

/// Counts the items of changes of "children": the old ones, of an insertion the new ones.
class CountingObserver : public vexil::platform::Observer {
 public:
  void observeValueForKeyPathOfObjectChangeContext(
      const vexil::platform::Key& keyPath,
      const std::shared_ptr<vexil::platform::Observable>& object,
      const vexil::platform::ChangeRecord& change,
      const vexil::platform::ContextToken* context) override;
  NoticeCounts counts;
};

class CountingTreeDelegate : public KRAVTWVItemsObserverDelegate {
 public:
  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& observer, vexil::platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<vexil::platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) override;
  NoticeCounts counts;
};

/// A workload did not do what it must. Its time would mean nothing.
class WrongResult : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws `WrongResult`, which names the workload and `what`, unless `holds`.
void require(bool holds, std::string_view workload, std::string_view what);

/// How often one workload's work took how long.
class Measurement {
 public:
  template <class Work>
  void run(Work&& work) {
    const long long before = allocationsSoFar();
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    _allocations = before < 0 ? -1 : allocationsSoFar() - before;
    _nanoseconds.push_back(taken.count());
  }

  /// Prints one line, from which tables are made; the counts are those of one run:
  ///
  ///     vexil WORKLOAD size median minimum removed inserted replaced notices allocations checksum
  ///
  /// Times are in nanoseconds. Allocations are those of the last run, or -1 when they are not
  /// counted. A preloaded library counts them in a variable called `wl_alloc_count`.
  void report(std::string_view workload, std::size_t size, const NoticeCounts& counts,
              std::uint64_t checksum);

 private:
  [[nodiscard]] static long long allocationsSoFar();

  std::vector<double> _nanoseconds;
  long long _allocations = -1;
};

/// Whether a workload runs. All do, unless the environment variable WL_ONLY has the names of some.
[[nodiscard]] bool isWanted(std::string_view workload);

/// How often to run a workload of this size; the variable WL_REPS has precedence.
[[nodiscard]] std::size_t repetitions(std::size_t size);

/// What the program holds from the allocator.
[[nodiscard]] std::size_t bytesHeld();
