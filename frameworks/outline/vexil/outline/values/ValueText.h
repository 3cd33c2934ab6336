// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: values as text.
#pragma once

#include <vexil/platform/Value.h>

#include <span>
#include <string>
#include <string_view>

namespace vexil::detail {

/// A value on one line, the same in every run:
///
///     absent  null  true  7  2.0  @86400.0  <00ff>  "text"  [1, 2]  {"key": 1}
///     service("Office", "_ipp._tcp.", "local.")  HostClass
///
/// The keys of a dictionary stand in the order of their bytes. A reference to an object is printed
/// as the name of its class. No foreign code runs.
[[nodiscard]] std::string textOfValue(const platform::Value& value);

/// The text in quotes. Quotes, backslashes and control characters are escaped with a backslash.
[[nodiscard]] std::string quoted(std::string_view text);

/// The bytes in hexadecimal digits: "<00ff>".
[[nodiscard]] std::string textOfBytes(std::span<const std::byte> bytes);

}  // namespace vexil::detail
