// SPDX-License-Identifier: Apache-2.0
#include <platform/Key.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>

namespace platform {

namespace detail {

/// One interned string; its characters follow in the same allocation.
struct KeyText {
  RefCount references;
  std::uint32_t unused = 0;
  std::size_t hash;
  std::size_t length;

  explicit KeyText(std::string_view text) : hash(hashOfText(text)), length(text.size()) {
    if (!text.empty()) {
      std::memcpy(characters(), text.data(), text.size());
    }
  }
  char* characters() { return reinterpret_cast<char*>(this + 1); }
  [[nodiscard]] std::string_view text() const {
    return {reinterpret_cast<const char*>(this + 1), length};
  }
};

namespace {

struct KeyTable {
  std::mutex mutex;
  std::unordered_map<std::string_view, KeyText*> texts;
};

// Never destroyed: keys in static storage outlive any order of destruction.
KeyTable& keyTable() {
  static auto& table = *new KeyTable;
  return table;
}

const KeyText* intern(std::string_view text) {
  KeyTable& table = keyTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.texts.find(text);
  if (found != table.texts.end() && found->second->references.retainUnlessGone()) {
    return found->second;
  }
  // A text whose last key is just going on another thread is replaced; that thread sees, under
  // the lock, that the entry is no longer its own.
  if (found != table.texts.end()) {
    table.texts.erase(found);
  }
  void* memory = ::operator new(sizeof(KeyText) + text.size());
  auto* made = new (memory) KeyText(text);
  table.texts.emplace(made->text(), made);
  return made;
}

void discard(const KeyText* text) {
  KeyTable& table = keyTable();
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.texts.find(text->text());
    if (found != table.texts.end() && found->second == text) {
      table.texts.erase(found);
    }
  }
  text->~KeyText();
  ::operator delete(const_cast<KeyText*>(text));
}

}  // namespace
}  // namespace detail

Key::Key(std::string_view text) : _text(detail::intern(text)) {}

Key::Key(const Key& other) noexcept : _text(other._text) {
  _text->references.retain();
}

Key::~Key() {
  if (_text != nullptr && _text->references.release()) {
    detail::discard(_text);
  }
}

std::string_view Key::text() const noexcept {
  return _text->text();
}

std::size_t Key::hash() const noexcept {
  return _text->hash;
}

std::size_t hashOfText(std::string_view text) noexcept {
  constexpr std::size_t most = 23;  // what a value holds without an allocation
  if (text.size() > most) {
    return std::hash<std::string_view>{}(text);
  }
  // As the bits of such a value: the characters, zeros, and the length at the end.
  std::array<char, most + 1> bytes{};
  std::ranges::copy(text, bytes.begin());
  bytes[most] = static_cast<char>(text.size());
  const auto words = std::bit_cast<std::array<std::uint64_t, 3>>(bytes);
  return detail::hashOfShortText(words[0], words[1], words[2]);
}

}  // namespace platform
