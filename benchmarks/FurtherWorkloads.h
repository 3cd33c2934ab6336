// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// The workloads that show whether costs stay in proportion, printed like the others:
///
///     S1     a store with all events in one of two domains; one event has changed
///     S100   the same with a hundred events in each domain; S1l and S100l taking in all events
///     C      a chain of items, each the child of the one before, at most 10,000; its last item has
///            changed, and nobody watches
///     Co     the same with an observer registered on every item, at most 1,000
///     Ct     the same with an items observer
///     E      an engine's pending triggers; the first fires and comes again at the end
void runFurtherWorkloads(std::size_t size);
