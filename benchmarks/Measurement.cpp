// SPDX-License-Identifier: Apache-2.0
#include "Measurement.h"

#include <malloc.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

namespace platform = vexil::platform;

extern "C" {
extern unsigned long long wl_alloc_count __attribute__((weak));
}

void NoticeCounts::add(platform::ChangeKind kind, std::size_t items) {
  switch (kind) {
    case platform::ChangeKind::insertion:
      inserted += items;
      break;
    case platform::ChangeKind::removal:
      removed += items;
      break;
    case platform::ChangeKind::replacement:
      replaced += items;
      break;
    case platform::ChangeKind::setting:
      throw WrongResult("a list of children was set as a whole");
  }
  ++notices;
}

NoticeCounts& NoticeCounts::operator+=(const NoticeCounts& other) {
  removed += other.removed;
  inserted += other.inserted;
  replaced += other.replaced;
  notices += other.notices;
  return *this;
}

std::string NoticeCounts::description() const {
  return std::to_string(removed) + " removed, " + std::to_string(inserted) + " inserted, " +
         std::to_string(replaced) + " replaced in " + std::to_string(notices) + " notices";
}

void CountingObserver::observeValueForKeyPathOfObjectChangeContext(
    const platform::Key&, const std::shared_ptr<platform::Observable>&,
    const platform::ChangeRecord& change, const platform::ContextToken*) {
  const bool isInsertion = change.kind == platform::ChangeKind::insertion;
  counts.add(change.kind, (isInsertion ? change.newValue : change.oldValue).elements().size());
}

void CountingTreeDelegate::itemsObserverDidObserveItemsIndexesParent(
    const std::shared_ptr<KRAVTWVItemsObserver>&, platform::ChangeKind kind,
    const KRAVTWVItemArray& items, const std::optional<platform::IndexSet>&,
    const std::shared_ptr<KRAVTWVItemVexil>&) {
  counts.add(kind, items.size());
}

void require(bool holds, std::string_view workload, std::string_view what) {
  if (!holds) {
    throw WrongResult(std::string(workload) + ": " + std::string(what));
  }
}

long long Measurement::allocationsSoFar() {
  return &wl_alloc_count == nullptr ? -1 : static_cast<long long>(wl_alloc_count);
}

void Measurement::report(std::string_view workload, std::size_t size, const NoticeCounts& counts,
                         std::uint64_t checksum) {
  if (_nanoseconds.empty()) {
    return;
  }
  std::ranges::sort(_nanoseconds);
  const std::size_t runs = _nanoseconds.size();
  std::printf("vexil %.*s %zu %.0f %.0f %zu %zu %zu %zu %lld %016" PRIx64 "\n",
              static_cast<int>(workload.size()), workload.data(), size, _nanoseconds[runs / 2],
              _nanoseconds.front(), counts.removed / runs, counts.inserted / runs,
              counts.replaced / runs, counts.notices / runs, _allocations, checksum);
  std::fflush(stdout);
}

bool isWanted(std::string_view workload) {
  const char* only = std::getenv("WL_ONLY");
  return only == nullptr || std::string_view(only).find(workload) != std::string_view::npos;
}

std::size_t repetitions(std::size_t size) {
  if (const char* asked = std::getenv("WL_REPS")) {
    return std::strtoul(asked, nullptr, 10);
  }
  return size <= 1'000 ? 25 : size <= 10'000 ? 9 : size <= 100'000 ? 5 : 2;
}

std::size_t bytesHeld() {
  const struct mallinfo2 held = ::mallinfo2();
  return held.uordblks + held.hblkhd;
}
