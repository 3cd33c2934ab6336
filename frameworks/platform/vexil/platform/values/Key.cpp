// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Hash.h>
#include <vexil/platform/Key.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

namespace vexil::platform {

namespace detail {

/// An interned string. Its characters follow in the same allocation.
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
  std::unordered_map<std::string_view, KeyText*, HashOfText> texts;
};

// Never destroyed, because keys in static storage may outlive any other static.
KeyTable& keyTable() {
  static auto& table = *new KeyTable;
  return table;
}

struct Destroy {
  void operator()(KeyText* text) const noexcept {
    text->~KeyText();
    ::operator delete(text);
  }
};

/// Returns a reference that the caller owns.
const KeyText* intern(std::string_view text) {
  KeyTable& table = keyTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.texts.find(text);
  if (found != table.texts.end() && found->second->references.retainUnlessGone()) {
    return found->second;
  }
  // Another thread is just dropping the last key of this text. The entry is replaced. Under the
  // lock, that thread sees that the entry is no longer its own.
  if (found != table.texts.end()) {
    table.texts.erase(found);
  }
  void* memory = ::operator new(sizeof(KeyText) + text.size());
  std::unique_ptr<KeyText, Destroy> made(new (memory) KeyText(text));
  table.texts.emplace(made->text(), made.get());
  return made.release();
}

void discard(const KeyText* text) noexcept {
  KeyTable& table = keyTable();
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.texts.find(text->text());
    if (found != table.texts.end() && found->second == text) {
      table.texts.erase(found);
    }
  }
  Destroy()(const_cast<KeyText*>(text));
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

}  // namespace vexil::platform
