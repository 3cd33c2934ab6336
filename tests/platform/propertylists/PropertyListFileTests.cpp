// SPDX-License-Identifier: Apache-2.0
// Which format a reader takes bytes for, and property lists in files.
#include "tests/support/BinaryPropertyListBuilder.h"
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <type_traits>

namespace platform = vexil::platform;

namespace {

using platform::PropertyListFormat;
using platform::PropertyListResult;
using platform::Value;
using test::Code;
using test::reads;

PropertyListFormat formatOf(std::string_view text) {
  return platform::propertyListFormatOf(test::bytesOf(text));
}

static_assert(static_cast<int>(PropertyListFormat::text) == 1);
static_assert(static_cast<int>(PropertyListFormat::xml) == 100);
static_assert(static_cast<int>(PropertyListFormat::binary) == 200);
static_assert(std::is_nothrow_move_constructible_v<PropertyListResult<Value>>);
static_assert(!std::is_convertible_v<PropertyListResult<Value>, bool>);

TEST(PropertyListFormat, BinaryBeginsWithItsMagic) {
  EXPECT_EQ(formatOf("bplist00"), PropertyListFormat::binary);
  EXPECT_EQ(formatOf("bplist15"), PropertyListFormat::binary);
  EXPECT_EQ(formatOf("bplist"), PropertyListFormat::binary);
  EXPECT_EQ(formatOf("bplis"), PropertyListFormat::text);
  EXPECT_EQ(formatOf(" bplist00"), PropertyListFormat::text);
}

TEST(PropertyListFormat, XMLBeginsWithAnElementADeclarationOrAComment) {
  for (const char* text :
       {"<?xml", "<!DOCTYPE", "<!--", "<plist", "<dict/>", "<array>", "<data>", "<date>", "<string",
        "\n\t <true/>", "\xEF\xBB\xBF<true/>", "\xEF\xBB\xBF \r\n<a:b", "<zz>"}) {
    EXPECT_EQ(formatOf(text), PropertyListFormat::xml) << text;
  }
}

TEST(PropertyListFormat, HexadecimalDataIsText) {
  for (const char* text :
       {"<>", "<dead beef>", "<0fbd>", "< 00>", " <ab", "<", "<abc>", "<dada\n>"}) {
    EXPECT_EQ(formatOf(text), PropertyListFormat::text) << text;
  }
}

TEST(PropertyListFormat, AnythingElseIsText) {
  for (const char* text :
       {"", " ", "{a=b;}", "()", "word", "// <plist>", "\xEF\xBB\xBF{}", "\xFF"}) {
    EXPECT_EQ(formatOf(text), PropertyListFormat::text) << text;
  }
}

TEST(PropertyListFormat, UTF16WithAndWithoutItsMark) {
  const auto bytes = [](std::u16string_view text, bool isBigEndian) {
    std::string result;
    for (const char16_t unit : text) {
      const char high = static_cast<char>(unit >> 8);
      const char low = static_cast<char>(unit & 0xFF);
      result += isBigEndian ? std::string{high, low} : std::string{low, high};
    }
    return result;
  };
  for (const bool isBigEndian : {false, true}) {
    EXPECT_EQ(formatOf(bytes(u"\uFEFF <plist>", isBigEndian)), PropertyListFormat::xml);
    EXPECT_EQ(formatOf(bytes(u"<plist>", isBigEndian)), PropertyListFormat::xml);
    EXPECT_EQ(formatOf(bytes(u"\uFEFF<00>", isBigEndian)), PropertyListFormat::text);
    EXPECT_EQ(formatOf(bytes(u"\uFEFF{}", isBigEndian)), PropertyListFormat::text);
    EXPECT_EQ(formatOf(bytes(u"\uFEFF\u3c00", isBigEndian)), PropertyListFormat::text);
  }
}

TEST(PropertyListFormat, EachIsReadByItsReader) {
  test::BinaryPropertyListBuilder list;
  list.objects = {test::hex("A1 01"), test::hex("51 61")};
  for (const std::string& file : {list.file(), std::string("<array><string>a</string></array>"),
                                  std::string("(a)"), std::string("\xEF\xBB\xBF( 'a', )")}) {
    EXPECT_TRUE(reads(platform::readPropertyList(test::bytesOf(file)), Value::array({"a"})))
        << file;
  }
  EXPECT_TRUE(
      reads(platform::readPropertyList(test::bytesOf("<61>")), Value::data(test::bytesOf("a"))));
  EXPECT_TRUE(test::refused(platform::readPropertyList({}), Code::noBytes));
}

TEST(PropertyListResult, HoldsAValueOrAnError) {
  const PropertyListResult<Value> value = test::readText("(a)");
  EXPECT_TRUE(value);
  EXPECT_EQ(value->elements().size(), 1U);
  EXPECT_TRUE(*value == value.value());
  EXPECT_THROW((void)value.error(), std::bad_variant_access);
  const PropertyListResult<Value> error = test::readText("(a");
  EXPECT_FALSE(error);
  EXPECT_EQ(error.error().description(), "line 1: the input ends within an array");
  EXPECT_THROW((void)error.value(), std::bad_variant_access);
  EXPECT_THROW((void)*error, std::bad_variant_access);
}

class PropertyListFile : public ::testing::Test {
 protected:
  PropertyListFile() {
    std::string name = (std::filesystem::temp_directory_path() / "property-list-XXXXXX").string();
    _directory = ::mkdtemp(name.data());
  }
  ~PropertyListFile() override { std::filesystem::remove_all(_directory); }

  [[nodiscard]] std::filesystem::path path(const std::string& name) const {
    return _directory / name;
  }

  [[nodiscard]] std::filesystem::path write(const std::string& name,
                                            const std::string& contents) const {
    std::ofstream(path(name), std::ios::binary) << contents;
    return path(name);
  }

 private:
  std::filesystem::path _directory;
};

TEST_F(PropertyListFile, IsReadInAnyFormat) {
  test::BinaryPropertyListBuilder list;
  list.objects = {test::hex("A1 01"), test::hex("51 61")};
  const Value value = Value::array({"a"});
  EXPECT_TRUE(reads(platform::readPropertyListFile(write("binary", list.file())), value));
  EXPECT_TRUE(reads(platform::readPropertyListFile(write("text", "(a)")), value));
  EXPECT_TRUE(reads(platform::readPropertyListFile(
                        write("xml", "<plist><array><string>a</string></array></plist>")),
                    value));
}

TEST_F(PropertyListFile, OfAnyLengthIsReadWhole) {
  for (const std::size_t length : {1U, 4094U, 4095U, 4096U, 4097U, 100'000U}) {
    const std::string text(length, 'x');
    EXPECT_TRUE(reads(platform::readPropertyListFile(write("text", text)), text)) << length;
  }
}

TEST_F(PropertyListFile, LongerThanTheLimitIsRefused) {
  platform::PropertyListLimits limits;
  limits.inputBytes = 10;
  EXPECT_TRUE(
      reads(platform::readPropertyListFile(write("text", "0123456789"), limits), "0123456789"));
  EXPECT_TRUE(test::refused(platform::readPropertyListFile(write("text", "0123456789a"), limits),
                            Code::tooLong));
  limits.inputBytes = 0;
  EXPECT_TRUE(test::refused(platform::readPropertyListFile(path("text"), limits), Code::tooLong));
}

TEST_F(PropertyListFile, ThatIsMissing) {
  const auto read = platform::readPropertyListFile(path("missing"));
  ASSERT_TRUE(test::refused(read, Code::fileMissing));
  EXPECT_EQ(read.error().file, path("missing").string());
  EXPECT_EQ(read.error().description(), path("missing").string() + ": No such file or directory");
  EXPECT_TRUE(
      test::refused(platform::readPropertyListFile(path("missing/further")), Code::fileMissing));
  EXPECT_TRUE(test::refused(platform::readPropertyListFile(write("file", "a") / "further"),
                            Code::fileMissing));
  EXPECT_TRUE(test::refused(platform::readPropertyListFile(""), Code::fileMissing));
}

TEST_F(PropertyListFile, ThatHasNULInItsNameIsMissing) {
  const auto file = write("file", "a");
  EXPECT_TRUE(test::refused(platform::readPropertyListFile(file.native() + std::string("\0b", 2)),
                            Code::fileMissing));
}

TEST_F(PropertyListFile, ThatIsADirectory) {
  const auto read = platform::readPropertyListFile(path(""));
  ASSERT_TRUE(test::refused(read, Code::notAFile));
  EXPECT_EQ(read.error().message, "a directory");
}

TEST_F(PropertyListFile, ThatIsAPipeDoesNotMakeTheCallerWait) {
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_TRUE(test::refused(platform::readPropertyListFile(path("pipe")), Code::notAFile));
  EXPECT_TRUE(test::refused(platform::readPropertyListFile("/dev/zero"), Code::notAFile));
}

/// Whether an ordinary user is refused a file that he may not read, and reads one that he may. Call
/// it in a process of its own, because it gives up the rights of root.
bool ordinaryUserIsRefused(const std::filesystem::path& secret, const std::filesystem::path& open) {
  constexpr unsigned nobody = 65534;
  if (::geteuid() == 0 &&
      (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)) {
    return false;
  }
  return test::refused(platform::readPropertyListFile(secret), Code::fileUnreadable) &&
         reads(platform::readPropertyListFile(open), "a");
}

TEST_F(PropertyListFile, ThatMayNotBeRead) {
  namespace fs = std::filesystem;
  const auto secret = write("secret", "a");
  const auto open = write("open", "a");
  fs::permissions(secret, fs::perms::none);
  fs::permissions(secret.parent_path(), fs::perms(0755));
  // The superuser may read every file.
  EXPECT_EXIT(std::_Exit(ordinaryUserIsRefused(secret, open) ? 0 : 1), testing::ExitedWithCode(0),
              "");
}

TEST_F(PropertyListFile, ThatHasTooLongAName) {
  const std::string tooLongAName(5000, 'x');
  EXPECT_TRUE(
      test::refused(platform::readPropertyListFile(path(tooLongAName)), Code::fileUnreadable));
}

TEST_F(PropertyListFile, ThatIsEmpty) {
  EXPECT_TRUE(test::refused(platform::readPropertyListFile(write("empty", "")), Code::noBytes));
}

TEST_F(PropertyListFile, FaultsNameTheFileAndTheLine) {
  const auto file = write("bad", "{\n  a = b\n}");
  const auto read = platform::readPropertyListFile(file);
  ASSERT_TRUE(test::refused(read, Code::unexpectedCharacter, test::Line{2}));
  EXPECT_EQ(read.error().description(), file.string() + ": line 2: a value is not followed by ;");
}

TEST_F(PropertyListFile, ThatTheKernelMakesUpHasNoSizeAndIsReadAllTheSame) {
  // Prose is in none of the formats. The error shows that the file was read.
  const auto read = platform::readPropertyListFile("/proc/self/status");
  ASSERT_FALSE(read);
  EXPECT_EQ(read.error().code, Code::unexpectedCharacter);
}

/// A program that waits with a text as its name, and the file in which the kernel shows that.
class NamedProcess {
 public:
  explicit NamedProcess(const std::string& name) {
    std::array<int, 2> input{};
    if (::pipe2(input.data(), O_CLOEXEC) != 0) {
      return;
    }
    _input = input[1];
    _id = ::fork();
    if (_id == 0) {
      ::dup2(input[0], 0);
      ::execl("/bin/cat", name.c_str(), nullptr);
      ::_exit(1);
    }
    ::close(input[0]);
  }
  NamedProcess(const NamedProcess&) = delete;
  NamedProcess& operator=(const NamedProcess&) = delete;
  ~NamedProcess() {
    ::close(_input);
    ::waitpid(_id, nullptr, 0);
  }
  [[nodiscard]] std::filesystem::path nameFile() const {
    return "/proc/" + std::to_string(_id) + "/cmdline";
  }

 private:
  int _input = -1;
  pid_t _id = -1;
};

TEST_F(PropertyListFile, OfNoStatedSizeIsReadWholeHoweverLong) {
  for (const std::size_t length : {10U, 4091U, 4092U, 4093U, 4094U, 8188U, 50'000U}) {
    const std::string text(length, 'x');
    // The kernel ends the name with NUL, which may stand in a comment.
    const NamedProcess process(text + " //");
    ASSERT_EQ(std::filesystem::file_size(process.nameFile()), 0U);
    // Until it is the other program, it has the name of this one.
    auto read = platform::readPropertyListFile(process.nameFile());
    for (int attempt = 0; attempt < 1000 && !reads(read, text); ++attempt) {
      ::usleep(1000);
      read = platform::readPropertyListFile(process.nameFile());
    }
    EXPECT_TRUE(reads(read, text)) << length;
    platform::PropertyListLimits limits;
    limits.inputBytes = length + 4;
    EXPECT_TRUE(reads(platform::readPropertyListFile(process.nameFile(), limits), text)) << length;
    limits.inputBytes = length + 3;
    EXPECT_TRUE(
        test::refused(platform::readPropertyListFile(process.nameFile(), limits), Code::tooLong))
        << length;
  }
}

}  // namespace
