// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <string>

namespace interop {

enum class Order { asItStands, byKey };

/// A value as one line that says everything about it, the bits of its reals and dates included,
/// and that a program in another language can write as well (`canonical` in exchange.py does):
///
///     {"name": "caf\xc3\xa9", "times": [1, true, r3ff8000000000000, @0000000000000000, <0fbd>]}
///
/// Reals are `r` and their bits, dates `@` and those of their seconds since 2001-01-01 00:00:00
/// UTC. In strings, bytes of UTF-8 other than printable ASCII, quotes and backslashes are escaped.
std::string canonicalText(const vexil::platform::Value& value, Order order);

}  // namespace interop
