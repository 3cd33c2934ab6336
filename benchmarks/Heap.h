// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// What the program holds from the allocator, counted by its own `operator new` and `delete`:
/// usable bytes and the allocator's own eight a block.
[[nodiscard]] std::size_t heapBytes();

/// How many blocks were ever allocated.
[[nodiscard]] std::size_t heapAllocations();
