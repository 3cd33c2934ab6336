// SPDX-License-Identifier: Apache-2.0
#include <replay/Transcript.h>

#include <utility>

namespace platform = vexil::platform;

namespace replay {

void Transcript::line(std::string_view text) {
  if (_output != nullptr) {
    *_output << text << '\n' << std::flush;
  }
}

void Transcript::lines(std::string_view text) {
  std::size_t end = text.find('\n');
  while (end != std::string_view::npos) {
    line(text.substr(0, end));
    text.remove_prefix(end + 1);
    end = text.find('\n');
  }
  line(text);
}

const platform::ContextToken* Transcript::contextNamed(const platform::Value& text) {
  if (text.isAbsent()) {
    return nullptr;
  }
  const auto [entry, isNew] = _contexts.try_emplace(std::string(text.string()));
  if (isNew) {
    entry->second = std::make_unique<platform::ContextToken>(entry->first);
  }
  return entry->second.get();
}

}  // namespace replay
