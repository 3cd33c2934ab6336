// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

namespace monitor {

/// How text looks. For output that is no terminal, plain and of any width.
class Style {
 public:
  explicit Style(bool coloured, std::size_t width = anyWidth)
      : _coloured(coloured), _width(width) {}

  static constexpr std::size_t anyWidth = std::numeric_limits<std::size_t>::max();

  /// How many columns a line may fill.
  [[nodiscard]] std::size_t width() const { return _width; }

  [[nodiscard]] std::string bold(std::string_view text) const { return in("1", text); }
  [[nodiscard]] std::string faint(std::string_view text) const { return in("2", text); }
  [[nodiscard]] std::string red(std::string_view text) const { return in("31", text); }
  [[nodiscard]] std::string green(std::string_view text) const { return in("32", text); }
  [[nodiscard]] std::string yellow(std::string_view text) const { return in("33", text); }

 private:
  [[nodiscard]] std::string in(std::string_view code, std::string_view text) const;
  bool _coloured;
  std::size_t _width;
};

/// How many columns of a terminal a text fills. Wide characters of East Asian scripts and most
/// emoji fill two, combining marks none. Each byte of malformed UTF-8 fills one.
[[nodiscard]] std::size_t columns(std::string_view text);

/// The text filled with spaces to `width` columns. Longer text is cut, and "…" is its last column.
[[nodiscard]] std::string fitted(std::string_view text, std::size_t width);

}  // namespace monitor
