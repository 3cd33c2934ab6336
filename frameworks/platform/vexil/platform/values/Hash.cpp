// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Hash.h>
#include <vexil/platform/detail/Hash.h>

#include <array>
#include <bit>
#include <chrono>
#include <cstring>
#include <exception>
#include <random>

namespace vexil::platform {

namespace detail {

constinit HashSecret theHashSecret{};

namespace {

/// Asks the system for randomness. When that fails, uses what differs between processes: the time
/// and an address.
std::uint64_t randomWord() noexcept {
  const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
  std::uint64_t word = static_cast<std::uint64_t>(now) * 0x9e3779b97f4a7c15U;
  word ^= std::bit_cast<std::uintptr_t>(&word);
  try {
    std::random_device device;
    word ^= std::uint64_t{device()} << 32U;
    word ^= device();
  } catch (const std::exception&) {
    word *= 0xe7037ed1a0b428dbU;
  }
  return word;
}

}  // namespace

void HashSecret::make() noexcept {
  // Runs once, on the first thread that comes here.
  [[maybe_unused]] static const bool isMade = [this] {
    second.store(randomWord(), std::memory_order_relaxed);
    third.store(randomWord(), std::memory_order_relaxed);
    factor.store(randomWord() | 1U, std::memory_order_relaxed);
    first.store(randomWord() | 1U, std::memory_order_release);
    return true;
  }();
}

namespace {

std::uint64_t wordAt(const char* bytes) noexcept {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

/// Mixes sixteen bytes at a time, as for short texts: each step multiplies two factors that depend
/// on the secret. Hashes never leave the process, so nobody outside can learn anything from them.
/// That is why this need not be as strong as a hash for messages, and takes a fraction of the time.
std::size_t hashOfLongText(std::string_view text) noexcept {
  constexpr std::ptrdiff_t step = 2 * sizeof(std::uint64_t);
  const HashSecret& secret = HashSecret::shared();
  const std::uint64_t key = secret.second.load(std::memory_order_relaxed);
  const char* at = text.data();
  const char* const end = at + text.size();
  std::uint64_t state = secret.first.load(std::memory_order_relaxed) ^ text.size();
  for (; end - at > step; at += step) {
    state = folded(wordAt(at) ^ key, wordAt(at + sizeof key) ^ state);
  }
  // The last sixteen bytes. Some of them may already have been mixed in.
  state = folded(wordAt(end - step) ^ key, wordAt(end - step / 2) ^ state);
  return finishedHash(state);
}

}  // namespace
}  // namespace detail

std::size_t hashOfText(std::string_view text) noexcept {
  constexpr std::size_t most = 23;  // what a value holds without an allocation
  if (text.size() > most) {
    return detail::hashOfLongText(text);
  }
  // The same bits as those of such a value: the characters, zeros, and the length at the end.
  std::array<char, most + 1> bytes{};
  if (!text.empty()) {
    std::memcpy(bytes.data(), text.data(), text.size());
  }
  bytes[most] = static_cast<char>(text.size());
  const auto words = std::bit_cast<std::array<std::uint64_t, 3>>(bytes);
  return detail::hashOfShortText(words[0], words[1], words[2]);
}

}  // namespace vexil::platform
