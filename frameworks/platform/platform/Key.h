// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/RefCount.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace platform {

namespace detail {
struct KeyText;
}

/// A key of a dictionary or of an observable property: an interned string.
///
/// Two keys are equal exactly when their characters are, and are compared by address. Making one
/// from characters looks it up in a table shared by all threads, so code that uses a key often
/// keeps it (`static const Key name("name")`). A key that nobody holds leaves the table. One that
/// was moved from can only be assigned to or destroyed.
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

  /// The characters, UTF-8; they live as long as any key of them.
  [[nodiscard]] std::string_view text() const noexcept;

  /// A hash of the characters.
  [[nodiscard]] std::size_t hash() const noexcept;

  friend bool operator==(const Key& a, const Key& b) noexcept { return a._text == b._text; }

 private:
  const detail::KeyText* _text;
};

/// The hash of a string's bytes: that of a key, and that of a string value.
[[nodiscard]] std::size_t hashOfText(std::string_view text) noexcept;

namespace detail {

/// Both halves of a product: multiplications of 64 bits to 128 spread every bit over the whole.
[[nodiscard]] inline std::uint64_t folded(std::uint64_t a, std::uint64_t b) noexcept {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// The hash of two in their order.
[[nodiscard]] inline std::size_t mixedHash(std::size_t first, std::size_t second) noexcept {
  return folded(first ^ 0xa0761d6478bd642fU, second ^ 0xe7037ed1a0b428dbU);
}

/// The hash of a text from the bits of a value that holds it as a short string.
[[nodiscard]] inline std::size_t hashOfShortText(std::uint64_t first, std::uint64_t second,
                                                 std::uint64_t third) noexcept {
  return folded(first ^ 0xa0761d6478bd642fU, second ^ 0xe7037ed1a0b428dbU) ^
         folded(third ^ 0x8ebc6af09c88c6e3U, 0x589965cc75374cc3U);
}

}  // namespace detail

}  // namespace platform

template <>
struct std::hash<platform::Key> {
  std::size_t operator()(const platform::Key& key) const noexcept { return key.hash(); }
};
