// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <platform/Files.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;
using platform::createDirectory;
using platform::FileURL;
using platform::randomUUID;
using platform::temporaryDirectory;

TEST(FileURL, IsAbsoluteWhateverItIsMadeOf) {
  EXPECT_EQ(FileURL::file("/tmp/a").path(), "/tmp/a");
  EXPECT_EQ(FileURL::file("a/b").path(), fs::current_path() / "a/b");
  EXPECT_TRUE(FileURL::directory("").path().is_absolute());
}

TEST(FileURL, KnowsWhetherItIsADirectory) {
  EXPECT_FALSE(FileURL::file("/tmp/a").isDirectory());
  EXPECT_TRUE(FileURL::directory("/tmp/a").isDirectory());
}

TEST(FileURL, OfADirectoryEndsInOneSlash) {
  EXPECT_EQ(FileURL::directory("/tmp/a").absoluteString(), "file:///tmp/a/");
  EXPECT_EQ(FileURL::directory("/tmp/a/").absoluteString(), "file:///tmp/a/");
  EXPECT_EQ(FileURL::directory("/").absoluteString(), "file:///");
  EXPECT_EQ(FileURL::file("/tmp/a").absoluteString(), "file:///tmp/a");
}

TEST(FileURL, OfADirectoryIsTheSameWithAndWithoutASlashAtTheEnd) {
  EXPECT_EQ(FileURL::directory("/tmp/a/").path(), FileURL::directory("/tmp/a").path());
  EXPECT_EQ(FileURL::directory("/").path(), "/");
}

TEST(FileURL, EncodesEveryByteThatIsNotPlain) {
  EXPECT_EQ(FileURL::file("/tmp/a b").absoluteString(), "file:///tmp/a%20b");
  EXPECT_EQ(FileURL::file("/%25#?").absoluteString(), "file:///%2525%23%3F");
  EXPECT_EQ(FileURL::file("/caf\u00e9").absoluteString(), "file:///caf%C3%A9");
  EXPECT_EQ(FileURL::file("/AZaz09-._~").absoluteString(), "file:///AZaz09-._~");
  EXPECT_EQ(FileURL::file("/a\n\x7f\xff").absoluteString(), "file:///a%0A%7F%FF");
}

TEST(FileURL, AppendsFilesAndDirectories) {
  const FileURL directory = FileURL::directory("/tmp/a");
  EXPECT_EQ(directory.appendingFile("b.c").absoluteString(), "file:///tmp/a/b.c");
  EXPECT_EQ(directory.appendingDirectory("b").absoluteString(), "file:///tmp/a/b/");
  EXPECT_EQ(FileURL::directory("/tmp/a/").appendingFile("b").absoluteString(), "file:///tmp/a/b");
}

TEST(FileURL, AppendsANameThatLooksLikeAnAbsolutePathBelowItself) {
  // Names come from labels, and a label may begin with a slash.
  const FileURL directory = FileURL::directory("/tmp/a");
  EXPECT_EQ(directory.appendingFile("/etc/passwd").path(), "/tmp/a/etc/passwd");
  EXPECT_EQ(directory.appendingDirectory("//b").path(), "/tmp/a/b");
}

/// A fresh directory, with `TMPDIR` as it was before at the end.
class Directories : public testing::Test {
 protected:
  void SetUp() override {
    if (const char* before = std::getenv("TMPDIR")) {
      _before = before;
    }
    std::string pattern = (fs::temp_directory_path() / "filesXXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    root = pattern;
  }
  void TearDown() override {
    fs::remove_all(root);
    if (_before) {
      ::setenv("TMPDIR", _before->c_str(), 1);
    } else {
      ::unsetenv("TMPDIR");
    }
  }

  fs::path root;

 private:
  std::optional<std::string> _before;
};

TEST_F(Directories, AreMadeForThisUserAlone) {
  const FileURL made = FileURL::directory(root / "new");
  EXPECT_TRUE(createDirectory(made));
  EXPECT_TRUE(fs::is_directory(root / "new"));
  EXPECT_EQ(fs::status(root / "new").permissions(), fs::perms::owner_all);
}

TEST_F(Directories, AreMadeWithTheOnesAboveThem) {
  EXPECT_TRUE(createDirectory(FileURL::directory(root / "a/b/c")));
  EXPECT_TRUE(fs::is_directory(root / "a/b/c"));
}

TEST_F(Directories, WrittenWithASlashAtTheEndAreMadeAsWell) {
  EXPECT_TRUE(createDirectory(FileURL::directory(root / "a/b/")));
  EXPECT_EQ(fs::status(root / "a/b").permissions(), fs::perms::owner_all);
  EXPECT_FALSE(createDirectory(FileURL::directory(root / "a/b/")));
}

TEST_F(Directories, AreNotMadeTwice) {
  const FileURL made = FileURL::directory(root / "new");
  EXPECT_TRUE(createDirectory(made));
  EXPECT_FALSE(createDirectory(made));
}

TEST_F(Directories, AreNotMadeInPlaceOfOrBelowAFile) {
  std::ofstream(root / "file") << "content";
  EXPECT_FALSE(createDirectory(FileURL::directory(root / "file")));
  EXPECT_FALSE(createDirectory(FileURL::directory(root / "file/below")));
  EXPECT_FALSE(createDirectory(FileURL::directory(root / std::string(300, 'n'))));
}

TEST_F(Directories, ForTemporaryFilesIsWhatTheEnvironmentSays) {
  ::setenv("TMPDIR", root.c_str(), 1);
  EXPECT_EQ(temporaryDirectory().path(), root);
  EXPECT_TRUE(temporaryDirectory().isDirectory());
  ::setenv("TMPDIR", (root.string() + "/").c_str(), 1);
  EXPECT_EQ(temporaryDirectory().absoluteString(), FileURL::directory(root).absoluteString());
}

TEST_F(Directories, ForTemporaryFilesIsTheUsualOneWhenTheEnvironmentSaysNothing) {
  ::unsetenv("TMPDIR");
  EXPECT_EQ(temporaryDirectory().absoluteString(), "file:///tmp/");
  ::setenv("TMPDIR", "", 1);
  EXPECT_EQ(temporaryDirectory().absoluteString(), "file:///tmp/");
}

TEST(RandomUUID, HasTheFormOfVersionFourInUpperCase) {
  // Eight, four, four, four and twelve digits; the version is 4 and the variant 10xx in binary.
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  for (int i = 0; i < 100; ++i) {
    const auto uuid = randomUUID();
    ASSERT_TRUE(uuid);
    EXPECT_TRUE(std::regex_match(*uuid, form)) << *uuid;
  }
}

TEST(RandomUUID, IsAnotherEachTime) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    seen.insert(randomUUID().value());
  }
  EXPECT_EQ(seen.size(), 1000U);
}

}  // namespace
