// SPDX-License-Identifier: Apache-2.0
#include "monitor/Files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "monitor/Descriptor.h"

namespace monitor {

namespace {

namespace fs = std::filesystem;

Problem unreadable(int error) {
  return {"cannot be read: " + std::generic_category().message(error)};
}

}  // namespace

bool isGone(const fs::path& path) {
  std::error_code ignored;
  return fs::symlink_status(path, ignored).type() == fs::file_type::not_found;
}

std::variant<std::string, Problem> contentsOf(const fs::path& path, std::size_t largest) {
  // Without O_NONBLOCK, opening a pipe would wait for somebody to write to it.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status = {};
  if (!file || ::fstat(file.number(), &status) != 0) {
    return unreadable(errno);
  }
  if (S_ISDIR(status.st_mode)) {
    return Problem{"is a directory"};
  }
  if (!S_ISREG(status.st_mode)) {
    return Problem{"is not a regular file"};
  }

  std::string contents;
  std::array<char, 65536> buffer;
  while (contents.size() <= largest) {
    const ssize_t count = ::read(file.number(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return unreadable(errno);
    }
    if (count == 0) {
      break;
    }
    contents.append(buffer.data(), static_cast<std::size_t>(count));
  }
  if (contents.size() > largest) {
    return Problem{"is larger than " + std::to_string(largest >> 20U) + " MiB"};
  }
  return contents;
}

std::variant<std::vector<std::string>, Problem> namesIn(const fs::path& directory,
                                                        bool (*accepts)(std::string_view)) {
  std::vector<std::string> names;
  if (isGone(directory)) {
    return names;
  }
  std::error_code error;
  for (fs::directory_iterator each(directory, error), end; !error && each != end;
       each.increment(error)) {
    std::string name = each->path().filename().string();
    if (accepts(name)) {
      names.push_back(std::move(name));
    }
  }
  if (error) {
    return unreadable(error.value());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace monitor
