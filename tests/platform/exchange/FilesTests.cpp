// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vexil/platform/Files.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "tests/support/Bytes.h"
#include "tests/support/Property.h"

namespace platform = vexil::platform;

namespace {

namespace fs = std::filesystem;
using platform::createDirectory;
using platform::FileURL;
using platform::randomUUID;
using platform::temporaryDirectory;
using test::bytesOf;
using test::contentOf;

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

/// The path that a URL names, with a slash at the end for a directory. "none" when it names none.
std::string placeOf(std::string_view url) {
  const auto file = FileURL::fromAbsoluteString(url);
  return !file ? "none" : file->path().string() + (file->isDirectory() ? "/" : "");
}

TEST(FileURL, IsReadInEachWayToWriteAFileOfThisHost) {
  EXPECT_EQ(placeOf("file:///tmp/a"), "/tmp/a");
  EXPECT_EQ(placeOf("file:/tmp/a"), "/tmp/a");
  EXPECT_EQ(placeOf("file://localhost/tmp/a"), "/tmp/a");
  EXPECT_EQ(placeOf("FILE://LocalHost/tmp/A"), "/tmp/A");
}

TEST(FileURL, WithASlashAtTheEndIsReadAsADirectory) {
  EXPECT_EQ(placeOf("file:///tmp/a/"), "/tmp/a/");
  EXPECT_TRUE(FileURL::fromAbsoluteString("file:///")->isDirectory());
}

TEST(FileURL, IsDecoded) {
  EXPECT_EQ(placeOf("file:///a%20b%2Fc%2fd%C3%A9%25"), "/a b/c/d\u00e9%");
  EXPECT_EQ(placeOf("file:///%FF"), "/\xff");
  EXPECT_EQ(placeOf("file:///a+b"), "/a+b");
}

TEST(FileURL, IgnoresWhatIsNoPartOfAPlace) {
  EXPECT_EQ(placeOf("file:///a?b/c#d?e"), "/a");
  EXPECT_EQ(placeOf("file:///a#b"), "/a");
}

TEST(FileURL, IsNoneOfAnotherSchemeOrHost) {
  EXPECT_EQ(placeOf("http:///tmp/a"), "none");
  EXPECT_EQ(placeOf("files:///tmp/a"), "none");
  EXPECT_EQ(placeOf("file://example.org/tmp/a"), "none");
  EXPECT_EQ(placeOf("file://localhost:80/tmp/a"), "none");
  EXPECT_EQ(placeOf("file://me@localhost/tmp/a"), "none");
}

TEST(FileURL, IsNoneWithoutAnAbsolutePath) {
  EXPECT_EQ(placeOf("file:tmp/a"), "none");
  EXPECT_EQ(placeOf("file://localhost"), "none");
  EXPECT_EQ(placeOf("file:"), "none");
  EXPECT_EQ(placeOf("/tmp/a"), "none");
  EXPECT_EQ(placeOf("//localhost/tmp/a"), "none");
  EXPECT_EQ(placeOf(""), "none");
}

TEST(FileURL, IsNoneOfATextThatIsNoURL) {
  for (const char* text : {"file:///a b", "file:///caf\u00e9", "file:///a%", "file:///a%2",
                           "file:///a%2g", "file:///a%g2", "file:///a\\b", "file:///a#b#c",
                           "file:///[a]", " file:///a", "file:///a?%", "file:///a#%"}) {
    EXPECT_EQ(placeOf(text), "none") << text;
  }
}

TEST(FileURL, IsNoneOfAPathWithNUL) {
  EXPECT_EQ(placeOf("file:///a%00b"), "none");
  EXPECT_EQ(placeOf(std::string_view("file:///a\0b", 11)), "none");
}

TEST(FileURL, ThatWasWrittenNamesTheSamePlace) {
  for (const char* path : {"/tmp/a", "/a b%20#?&=", "/\u65e5\u672c\xff\x01", "/", "/:@", "/a//b"}) {
    EXPECT_EQ(placeOf(FileURL::file(path).absoluteString()),
              std::string(path) + (FileURL::file(path).absoluteString().ends_with('/') ? "/" : ""));
    EXPECT_EQ(placeOf(FileURL::directory(path).absoluteString()), std::string(path) + "/");
  }
}

PROPERTY(FileURL, OfAnyNameNamesTheSamePlaceWhenReadAgain, (std::string name)) {
  std::erase(name, '/');
  std::erase(name, '\0');
  const FileURL file = FileURL::directory("/tmp").appendingFile("x" + name);
  RC_ASSERT(platform::isURL(file.absoluteString()));
  RC_ASSERT(FileURL::fromAbsoluteString(file.absoluteString())->path() == file.path());
}

TEST(URL, IsAbsoluteOrRelative) {
  for (const char* text :
       {"http://example.org/a?b=c#d", "http://[::1]:80/", "mailto:a@b.c", "a+b-c.1:x", "/a/b", "a",
        "../a", "//host", "?query", "#fragment", "", "a/b:c", "%41", "a?b?c/d#e?f/g"}) {
    EXPECT_TRUE(platform::isURL(text)) << text;
  }
}

TEST(URL, HasAnAuthorityOfUserHostAndPort) {
  for (const char* text :
       {"//host:80", "//host:", "//me@host", "//me:secret@host:80/a", "//@host", "//:80", "//",
        "///a", "//a%20b", "//!$&'()*+,;=", "//[::]", "//[::1]:80/a", "//me@[2001:db8::ff00]",
        "//[1:2:3:4:5:6:7:8]", "//[::ffff:192.0.2.1]", "//[v1.a:b]", "//[vF.-._~!$&'()*+,;=:]"}) {
    EXPECT_TRUE(platform::isURL(text)) << text;
  }
}

TEST(URL, HasBracketsOnlyAroundAnAddress) {
  for (const char* text :
       {"//]][[",       "//[",          "//]",           "//[]",      "//][",
        "//[::1",       "//::1]",       "//[[::1]]",     "//[::1]a",  "//a[::1]",
        "//[::1][::1]", "//[host]",     "//[192.0.2.1]", "//[1:2:3]", "//[1:2:3:4:5:6:7:8:9]",
        "//[::12345]",  "//[v1]",       "//[v.a]",       "//[v1.]",   "//[vg.a]",
        "//[v1.a@b]",   "//[::1]@host", "//[@::1]",      "file://[/a"}) {
    EXPECT_FALSE(platform::isURL(text)) << text;
  }
}

TEST(URL, MayNameTheZoneOfALocalAddress) {
  EXPECT_TRUE(platform::isURL("http://[fe80::1%25eth0]/a"));
  EXPECT_FALSE(platform::isURL("http://[fe80::1%eth0]/a"));
}

TEST(URL, HasOneUserAndOnePortAtMost) {
  for (const char* text : {"//a@b@c", "//host:80:80", "//host:http", "//host:8a/", "//::1/a"}) {
    EXPECT_FALSE(platform::isURL(text)) << text;
  }
}

TEST(URL, HasOnlyCharactersThatMayStandInOne) {
  for (const char* text : {"no url", "1:a", ":a", "a\"b", "<a>", "a|b", "a^b", "{a}", "`", "a\nb",
                           "\x7f", "\u00e9", "a[b]", "http://a/[b]", "a#b#c", "%", "%4", "%4z"}) {
    EXPECT_FALSE(platform::isURL(text)) << text;
  }
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

TEST_F(Directories, AreNotMadeOfANameWithNUL) {
  const std::string name("new\0er", 6);
  EXPECT_FALSE(createDirectory(FileURL::directory(root / name)));
  EXPECT_FALSE(createDirectory(FileURL::directory(root / name / "below")));
  EXPECT_FALSE(createDirectory(FileURL::directory(root / "above" / name)));
  EXPECT_TRUE(fs::is_empty(root));
}

TEST_F(Directories, ForTemporaryFilesIsTheUsualOneWhereARelativeOneHasNoPlace) {
  const fs::path before = fs::current_path();
  fs::create_directory(root / "gone");
  fs::current_path(root / "gone");
  ::setenv("TMPDIR", "relative", 1);
  EXPECT_EQ(temporaryDirectory().path(), root / "gone" / "relative");
  fs::remove(root / "gone");
  EXPECT_NO_THROW(EXPECT_EQ(temporaryDirectory().absoluteString(), "file:///tmp/"));
  ::setenv("TMPDIR", root.c_str(), 1);
  EXPECT_NO_THROW(EXPECT_EQ(temporaryDirectory().path(), root));
  fs::current_path(before);
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

// --- atomic writing

class AtomicWrite : public Directories {
 protected:
  [[nodiscard]] bool write(const std::string& name, std::string_view content) const {
    return platform::writeFileAtomically(FileURL::directory(root).appendingFile(name),
                                         bytesOf(content));
  }
  /// What is in the directory, hidden or not.
  [[nodiscard]] std::set<std::string> names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(root)) {
      names.insert(entry.path().filename());
    }
    return names;
  }
};

using Names = std::set<std::string>;

TEST_F(AtomicWrite, MakesAFileOfExactlyTheseBytes) {
  const std::string_view content("a\0b\n\xff", 5);
  EXPECT_TRUE(write("file", content));
  EXPECT_EQ(contentOf(root / "file"), content);
  EXPECT_EQ(names(), Names{"file"});
}

TEST_F(AtomicWrite, MakesEmptyAndLongFiles) {
  EXPECT_TRUE(write("empty", ""));
  EXPECT_EQ(fs::file_size(root / "empty"), 0U);
  const std::string content(5'000'000, 'x');
  EXPECT_TRUE(write("long", content));
  EXPECT_EQ(contentOf(root / "long"), content);
}

TEST_F(AtomicWrite, GivesTheFileThePermissionsOfNewFiles) {
  const mode_t before = ::umask(027);
  EXPECT_TRUE(write("file", "content"));
  ::umask(before);
  EXPECT_EQ(fs::status(root / "file").permissions(),
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST_F(AtomicWrite, PutsANewFileInPlaceOfTheOldOne) {
  std::ofstream(root / "file") << "old and longer";
  fs::create_hard_link(root / "file", root / "same");
  EXPECT_TRUE(write("file", "new"));
  EXPECT_EQ(contentOf(root / "file"), "new");
  // The old file was not written to. A reader that has it open still reads all of the old content.
  EXPECT_EQ(contentOf(root / "same"), "old and longer");
}

TEST_F(AtomicWrite, TakesThePlaceOfALinkAndLeavesWhatItLeadsTo) {
  std::ofstream(root / "target") << "target";
  fs::create_symlink(root / "target", root / "link");
  EXPECT_TRUE(write("link", "new"));
  EXPECT_EQ(contentOf(root / "target"), "target");
  EXPECT_EQ(contentOf(root / "link"), "new");
  EXPECT_FALSE(fs::is_symlink(root / "link"));
}

TEST_F(AtomicWrite, LeavesNothingBehindWhenTheNameCannotBeTaken) {
  fs::create_directory(root / "directory");
  EXPECT_FALSE(write("directory", "content"));
  EXPECT_FALSE(write(std::string(300, 'n'), "content"));
  EXPECT_FALSE(write("..", "content"));
  EXPECT_EQ(names(), Names{"directory"});
}

TEST_F(AtomicWrite, FailsWhereThereIsNoDirectory) {
  EXPECT_FALSE(write("missing/file", "content"));
  std::ofstream(root / "file") << "old";
  EXPECT_FALSE(write("file/below", "content"));
  EXPECT_EQ(names(), Names{"file"});
  EXPECT_EQ(contentOf(root / "file"), "old");
}

TEST_F(AtomicWrite, FailsForANameWithNUL) {
  EXPECT_FALSE(write(std::string("file\0.txt", 9), "content"));
  EXPECT_EQ(names(), Names{});
}

TEST_F(AtomicWrite, LeavesTheOldFileWhenThereIsNoRoom) {
  std::ofstream(root / "file") << "old";
  // The only limit that a test can set: files longer than it are refused by the system.
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = ::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{1000, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  const bool isWritten = write("file", std::string(5000, 'x'));
  EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  ::signal(SIGXFSZ, handler);
  EXPECT_FALSE(isWritten);
  EXPECT_EQ(contentOf(root / "file"), "old");
  EXPECT_EQ(names(), Names{"file"});
}

TEST_F(AtomicWrite, LeavesFilesOfOtherWritersAlone) {
  // Earlier processes of the same number ended in the middle and left these files.
  const std::string prefix = "." + std::to_string(::getpid()) + "-";
  constexpr int leftOver = 500;
  for (int number = 0; number < leftOver; ++number) {
    std::ofstream(root / (prefix + std::to_string(number))) << "taken";
  }
  for (int number = 0; number < 3; ++number) {
    EXPECT_TRUE(write("file", std::to_string(number)));
    EXPECT_EQ(contentOf(root / "file"), std::to_string(number));
  }
  for (int number = 0; number < leftOver; ++number) {
    EXPECT_EQ(contentOf(root / (prefix + std::to_string(number))), "taken");
  }
  EXPECT_EQ(names().size(), leftOver + 1U);
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
