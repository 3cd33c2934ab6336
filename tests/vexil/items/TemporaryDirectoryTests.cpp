// SPDX-License-Identifier: Apache-2.0
// Fresh directories, also when the system does not help. This program defines the system's source
// of random numbers itself, so that a test can make it fail or repeat itself.
#include "tests/vexil/ItemTesting.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vexil/platform/Log.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <regex>

namespace platform = vexil::platform;

namespace {

namespace fs = std::filesystem;

/// What `getentropy` below does.
struct Randomness {
  enum class Source { system, none, script } source = Source::system;
  std::deque<unsigned char> script;  // each byte fills one answer
  int questions = 0;
};
Randomness& randomness() {
  static Randomness instance;
  return instance;
}

}  // namespace

// The program defines it, in place of the system library's function.
extern "C" int getentropy(void* buffer, std::size_t length) {
  Randomness& random = randomness();
  ++random.questions;
  switch (random.source) {
    case Randomness::Source::none:
      errno = ENOSYS;
      return -1;
    case Randomness::Source::script:
      std::memset(buffer, random.script.front(), length);
      random.script.pop_front();
      return 0;
    case Randomness::Source::system:
      break;
  }
  return ::syscall(SYS_getrandom, buffer, length, 0) == static_cast<long>(length) ? 0 : -1;
}

namespace {

/// A temporary directory of the test's own, as TMPDIR.
struct TemporaryDirectory : testing::Test {
  TemporaryDirectory() {
    std::string name = (fs::temp_directory_path() / "vexil-test-XXXXXX").string();
    base = ::mkdtemp(name.data());
    use(base);
    randomness() = {};
    platform::setLogSink([this](std::string_view line) { logged.emplace_back(line); });
  }
  ~TemporaryDirectory() override {
    platform::setLogSink({});
    randomness() = {};
    previous ? ::setenv("TMPDIR", previous->c_str(), 1) : ::unsetenv("TMPDIR");
    fs::remove_all(base);
  }
  static void use(const fs::path& directory) { ::setenv("TMPDIR", directory.c_str(), 1); }
  [[nodiscard]] static std::optional<platform::FileURL> fresh() {
    return KRAVTWVItemVexil::itemWithRepresentedObject({})->URLForUniqueTemporaryDirectory();
  }
  [[nodiscard]] static std::string name(const std::optional<platform::FileURL>& url) {
    return url ? url->path().filename().string() : "(absent)";
  }

  const std::optional<std::string> previous =
      std::getenv("TMPDIR") != nullptr ? std::optional(std::string(std::getenv("TMPDIR")))
                                       : std::nullopt;
  fs::path base;
  std::vector<std::string> logged;
};

TEST_F(TemporaryDirectory, IsNewAndEmptyAndLiesInTheTemporaryDirectory) {
  const auto url = fresh();
  ASSERT_TRUE(url);
  EXPECT_EQ(url->path().parent_path(), base);
  EXPECT_TRUE(fs::is_directory(url->path()));
  EXPECT_TRUE(fs::is_empty(url->path()));
  EXPECT_TRUE(url->isDirectory());
  EXPECT_TRUE(url->absoluteString().starts_with("file:///"));
  EXPECT_TRUE(url->absoluteString().ends_with("/"));
}

TEST_F(TemporaryDirectory, IsAnotherAtEveryCall) {
  const auto first = fresh();
  const auto second = fresh();
  ASSERT_TRUE(first && second);
  EXPECT_NE(first->path(), second->path());
  EXPECT_TRUE(fs::is_directory(first->path()));
  EXPECT_TRUE(fs::is_directory(second->path()));
}

TEST_F(TemporaryDirectory, IsMadeForAnyItem) {
  const auto service = KRAVTWVNetServiceVexil::itemWithNetService(nullptr);
  EXPECT_TRUE(service->URLForUniqueTemporaryDirectory());
  EXPECT_TRUE(KRAVTWVGroupVexil::itemWithLabelUniqueID({}, {})->URLForUniqueTemporaryDirectory());
}

TEST_F(TemporaryDirectory, IsNamedByARandomUUID) {
  const std::regex uuid("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  for (int i = 0; i < 20; ++i) {
    const std::string text = name(fresh());
    EXPECT_TRUE(std::regex_match(text, uuid)) << text;
  }
}

TEST_F(TemporaryDirectory, IsForThisUserAlone) {
  const auto url = fresh();
  ASSERT_TRUE(url);
  struct stat status {};
  ASSERT_EQ(::stat(url->path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(TemporaryDirectory, IsMadeWithTheDirectoriesAboveIt) {
  use(base / "not" / "there");
  const auto url = fresh();
  ASSERT_TRUE(url);
  EXPECT_EQ(url->path().parent_path(), base / "not" / "there");
  EXPECT_TRUE(fs::is_empty(url->path()));
}

TEST_F(TemporaryDirectory, IsAbsentAfterFiveAttemptsWithNothingLogged) {
  std::ofstream(base / "file") << "no directory";
  use(base / "file");
  EXPECT_EQ(fresh(), std::nullopt);
  EXPECT_EQ(randomness().questions, 5) << "a name for each attempt";
  EXPECT_EQ(logged, std::vector<std::string>{});
}

TEST_F(TemporaryDirectory, IsMadeAtTheFifthAttemptAfterFourTakenNames) {
  randomness() = {Randomness::Source::script, {1}, 0};
  const auto first = fresh();
  ASSERT_TRUE(first);
  randomness() = {Randomness::Source::script, {1, 1, 1, 1, 2, 3}, 0};
  const auto second = fresh();
  ASSERT_TRUE(second);
  EXPECT_EQ(name(second), "02020202-0202-4202-8202-020202020202");
  EXPECT_EQ(randomness().questions, 5);
}

TEST_F(TemporaryDirectory, IsAbsentAfterFiveTakenNames) {
  randomness() = {Randomness::Source::script, {1}, 0};
  ASSERT_TRUE(fresh());
  randomness() = {Randomness::Source::script, {1, 1, 1, 1, 1, 2}, 0};
  EXPECT_EQ(fresh(), std::nullopt);
  EXPECT_EQ(randomness().questions, 5);
  EXPECT_EQ(std::distance(fs::directory_iterator(base), {}), 1) << "only the first one's";
}

TEST_F(TemporaryDirectory, IsNotOneThatIsThereAlready) {
  randomness() = {Randomness::Source::script, {7, 7, 8}, 0};
  const auto first = fresh();
  ASSERT_TRUE(first);
  std::ofstream(first->path() / "kept") << "kept";
  const auto second = fresh();
  ASSERT_TRUE(second);
  EXPECT_NE(second->path(), first->path());
  EXPECT_TRUE(fs::exists(first->path() / "kept"));
}

TEST_F(TemporaryDirectory, LiesInTheUsualOneWhereARelativeOneHasNoPlace) {
  const fs::path before = fs::current_path();
  const fs::path gone = base / "gone";
  fs::create_directory(gone);
  fs::current_path(gone);
  fs::remove(gone);
  use("relative");
  const auto url = fresh();
  fs::current_path(before);
  ASSERT_TRUE(url);
  EXPECT_EQ(url->path().parent_path(), "/tmp");
  EXPECT_TRUE(fs::is_empty(url->path()));
  fs::remove(url->path());
}

// --- without randomness

std::string threeNumbers() {
  const long first = ::random();
  const long second = ::random();
  const long third = ::random();
  return std::to_string(first) + "-" + std::to_string(second) + "-" + std::to_string(third);
}

TEST_F(TemporaryDirectory, IsNamedByThreePseudoRandomNumbersWithoutRandomness) {
  ::srandom(42);
  const std::string expected = threeNumbers();
  ::srandom(42);
  randomness() = {Randomness::Source::none, {}, 0};
  const auto url = fresh();
  ASSERT_TRUE(url);
  EXPECT_EQ(name(url), expected);
  EXPECT_TRUE(std::regex_match(expected, std::regex("[0-9]+-[0-9]+-[0-9]+")));
  EXPECT_TRUE(fs::is_empty(url->path()));
}

TEST_F(TemporaryDirectory, TakesTheNextThreeNumbersWhenTheFirstAreTaken) {
  ::srandom(43);
  (void)threeNumbers();
  const std::string expected = threeNumbers();
  ::srandom(43);
  randomness() = {Randomness::Source::none, {}, 0};
  ASSERT_TRUE(fresh());
  ::srandom(43);
  EXPECT_EQ(name(fresh()), expected);
}

}  // namespace
