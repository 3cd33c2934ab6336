// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/detail/Hash.h>
#include <vexil/platform/detail/RefCount.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace vexil::platform {

namespace detail {
struct KeyText;
}

/// A key of a dictionary or of an observable property: an interned string.
///
/// Two keys are equal when their characters are the same; the comparison is one of addresses.
/// Making a key from characters looks them up in a table that all threads share, so code that uses
/// a key often keeps it (`static const Key name("name")`). The table drops a text when its last key
/// is gone. A key that was moved from can only be assigned to or destroyed.
class Key {
 public:
  // NOLINTBEGIN(google-explicit-constructor): keys are written as text
  Key(std::string_view text);
  Key(const char* text) : Key(std::string_view(text)) {}
  Key(const std::string& text) : Key(std::string_view(text)) {}
  // NOLINTEND(google-explicit-constructor)
  Key(const Key& other) noexcept;
  Key(Key&& other) noexcept : _text(std::exchange(other._text, nullptr)) {}
  Key& operator=(Key other) noexcept {
    std::swap(_text, other._text);
    return *this;
  }
  ~Key();

  /// The characters in UTF-8. They live as long as any key with these characters.
  [[nodiscard]] std::string_view text() const noexcept;

  /// A hash of the characters.
  [[nodiscard]] std::size_t hash() const noexcept;

  friend bool operator==(const Key& a, const Key& b) noexcept { return a._text == b._text; }

 private:
  const detail::KeyText* _text;
};

}  // namespace vexil::platform

template <>
struct std::hash<vexil::platform::Key> {
  std::size_t operator()(const vexil::platform::Key& key) const noexcept { return key.hash(); }
};
