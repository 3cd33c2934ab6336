// SPDX-License-Identifier: Apache-2.0
#include <replay/TemporaryFiles.h>

#include <algorithm>
#include <fstream>
#include <system_error>

namespace replay {
namespace {

constexpr std::string_view scheme = "file://";

// What `FileURL` writes; everything else comes percent-encoded.
constexpr std::string_view charactersOfURLs =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/%:";

}  // namespace

TemporaryFiles::~TemporaryFiles() {
  std::error_code ignored;
  for (const platform::FileURL& file : _written) {
    std::filesystem::remove(file.path(), ignored);
    std::filesystem::remove(file.path().parent_path(), ignored);
  }
  for (const platform::FileURL& directory : _noted) {
    if (std::filesystem::is_directory(directory.path(), ignored)) {
      std::filesystem::remove(directory.path(), ignored);
    }
  }
}

std::optional<platform::FileURL> TemporaryFiles::write(const std::string& name,
                                                       std::span<const std::byte> bytes) {
  const std::optional<std::string> directoryName = platform::randomUUID();
  if (!directoryName) {
    return std::nullopt;
  }
  const auto directory = platform::temporaryDirectory().appendingDirectory(*directoryName);
  if (!platform::createDirectory(directory)) {
    return std::nullopt;
  }
  const platform::FileURL file = directory.appendingFile(name);
  _written.push_back(file);
  _directories.push_back(directory.absoluteString());
  std::ofstream stream(file.path(), std::ios::binary);
  stream.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  stream.close();
  return stream ? std::optional(file) : std::nullopt;
}

void TemporaryFiles::note(const platform::FileURL& directory) {
  _noted.push_back(directory);
  _directories.push_back(directory.absoluteString());
}

std::string TemporaryFiles::withoutTheirURLs(std::string_view text) const {
  std::string result;
  while (true) {
    const std::size_t begin = text.find(scheme);
    result += text.substr(0, begin);
    if (begin == std::string_view::npos) {
      return result;
    }
    text.remove_prefix(begin);
    const std::string_view url = text.substr(0, text.find_first_not_of(charactersOfURLs));
    result += covers(url) ? "<url>" : url;
    text.remove_prefix(url.size());
  }
}

bool TemporaryFiles::covers(std::string_view url) const {
  return std::ranges::any_of(_directories, [&](std::string_view directory) {
    return url.starts_with(directory) || url == directory.substr(0, directory.size() - 1);
  });
}

}  // namespace replay
