// SPDX-License-Identifier: Apache-2.0
#include <replay/Input.h>
#include <vexil/platform/PropertyList.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace platform = vexil::platform;

namespace replay {

std::optional<std::string> contentOf(std::istream& stream) {
  const std::size_t limit = platform::PropertyListLimits().inputBytes + 1;
  std::string content;
  std::array<char, 65536> buffer{};
  while (stream && content.size() < limit) {
    const std::size_t wanted = std::min(buffer.size(), limit - content.size());
    stream.read(buffer.data(), static_cast<std::streamsize>(wanted));
    content.append(buffer.data(), static_cast<std::size_t>(stream.gcount()));
  }
  return stream.bad() ? std::nullopt : std::optional(std::move(content));
}

}  // namespace replay
