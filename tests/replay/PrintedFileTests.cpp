// SPDX-License-Identifier: Apache-2.0
// What items give for pasteboard types, and directories and files by their content.
#include "tests/support/Bytes.h"

#include <gtest/gtest.h>
#include <replay/Printer.h>
#include <ternwood/Ternwood.h>
#include <vexil/platform/TypeIdentifier.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace platform = vexil::platform;

namespace {

using platform::FileURL;
using platform::kUTTypeFileURL;
using platform::NSPasteboardTypeString;
using platform::Value;
using test::bytesOf;
using test::dataOf;

// The binary property list of the array (1).
constexpr std::string_view list(
    "bplist00\xA1\x01\x10\x01"
    "\x08\x0A"
    "\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x02\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0C",
    46);

class PrintedFile : public testing::Test {
 protected:
  std::string printed(const Value& content, std::string_view type) {
    return printer.pasteboardContent(content, type);
  }
  /// The URL of a new file, as items give it.
  Value written(const std::string& name, std::string_view content) {
    return Value::data(bytesOf(files.write(name, bytesOf(content))->absoluteString()));
  }

  replay::Registry registry;
  replay::TemporaryFiles files;
  replay::Printer printer{registry, files};
};

TEST_F(PrintedFile, PropertyListsAreShownByTheirContent) {
  const Value data = dataOf(list);
  EXPECT_EQ(printed(data, kTWWorkspaceUTIEvent), "plist([1])");
  EXPECT_EQ(printed(data, kTWWorkspaceUTISchedule), "plist([1])");
  EXPECT_EQ(printed(data, "ORG.Ternwood.Event"), "plist([1])");
}

TEST_F(PrintedFile, WhatIsNoBinaryPropertyListIsShownAsData) {
  EXPECT_EQ(printed(dataOf("(1)"), kTWWorkspaceUTIEvent), "<283129>");
  EXPECT_EQ(printed(dataOf("bplist00"), kTWWorkspaceUTIEvent), "<62706c6973743030>");
  EXPECT_EQ(printed(dataOf("x"), NSPasteboardTypeString), "<78>");
}

TEST_F(PrintedFile, EverythingElseIsShownAsAValue) {
  EXPECT_EQ(printed({}, kTWWorkspaceUTIEvent), "absent");
  EXPECT_EQ(printed({}, kUTTypeFileURL), "absent");
  EXPECT_EQ(printed("Backup", NSPasteboardTypeString), "\"Backup\"");
  EXPECT_EQ(printed("Backup", kTWWorkspaceUTIEvent), "\"Backup\"");
}

TEST_F(PrintedFile, FilesAreShownByNameAndContent) {
  const Value url = written("Über 100% \"x\".txt", list);
  EXPECT_EQ(printed(url, kUTTypeFileURL), "file(\"Über 100% \\\"x\\\".txt\", plist([1]))");
  EXPECT_EQ(printed(url, "Public.File-URL"), "file(\"Über 100% \\\"x\\\".txt\", plist([1]))");
  EXPECT_EQ(printed(written("x", "no list"), kUTTypeFileURL), "file(\"x\", <6e6f206c697374>)");
  EXPECT_EQ(printed(url, NSPasteboardTypeString), "<url>");
}

TEST_F(PrintedFile, AreNamedNowhereElse) {
  const Value url = written("x y", list);
  EXPECT_EQ(printer.value(Value::array({url, 1})), "[<url>, 1]");
  const std::string text = test::textOf(url);
  EXPECT_EQ(printer.value(text), "\"<url>\"");
  EXPECT_EQ(printer.value(dataOf(text + " ")), replay::printedData(bytesOf(text + " ")));
}

TEST_F(PrintedFile, TheExtensionOfScheduleFilesGoesByItsName) {
  const std::string extension(kTWWorkspaceFileExtensionSchedule);
  EXPECT_EQ(printed(written("Week." + extension, list), kUTTypeFileURL),
            "file(\"Week.kTWWorkspaceFileExtensionSchedule\", plist([1]))");
  EXPECT_EQ(printed(written(extension, list), kUTTypeFileURL),
            "file(\"" + extension + "\", plist([1]))");
}

TEST_F(PrintedFile, URLsOfNoFileStayData) {
  EXPECT_EQ(printed(dataOf("file:///x"), kUTTypeFileURL), "<66696c653a2f2f2f78>");
  EXPECT_EQ(printed(dataOf("file:///%4"), kUTTypeFileURL), "<66696c653a2f2f2f2534>");
  EXPECT_EQ(printed(dataOf("x:y"), kUTTypeFileURL), "<783a79>");
  EXPECT_EQ(printed("file:///x", kUTTypeFileURL), "\"file:///x\"");
}

TEST_F(PrintedFile, DirectoriesAreShownByTheirState) {
  const std::filesystem::path file = files.write("x", {})->path();
  const FileURL directory = FileURL::directory(file.parent_path());
  EXPECT_EQ(replay::Printer::directory(directory), "directory(not empty)");
  std::filesystem::remove(file);
  EXPECT_EQ(replay::Printer::directory(directory), "directory(empty)");
  std::filesystem::remove(file.parent_path());
  EXPECT_EQ(replay::Printer::directory(directory), "directory(missing)");
}

TEST(TemporaryFiles, GoWithTheirOwner) {
  const FileURL directoryBefore = platform::temporaryDirectory();
  std::filesystem::path own;
  {
    replay::TemporaryFiles files;
    own = platform::temporaryDirectory().path();
    EXPECT_EQ(own.parent_path(), directoryBefore.path());
    EXPECT_FALSE(std::filesystem::exists(own));

    const std::filesystem::path written = files.write("x", bytesOf("abc"))->path();
    EXPECT_EQ(std::filesystem::file_size(written), 3U);
    EXPECT_EQ(written.parent_path().parent_path(), own);
    EXPECT_NE(files.write("x", {})->path(), written);

    // As the library makes them.
    const FileURL made = platform::temporaryDirectory().appendingDirectory("made");
    ASSERT_TRUE(platform::createDirectory(made));
    std::ofstream(made.path() / "file") << "content";
  }
  EXPECT_FALSE(std::filesystem::exists(own));
  EXPECT_EQ(platform::temporaryDirectory().path(), directoryBefore.path());
}

TEST(TemporaryFiles, AreThoseOfOneReplay) {
  const FileURL directoryBefore = platform::temporaryDirectory();
  replay::TemporaryFiles first;
  const std::string url = first.write("x", {})->absoluteString();
  EXPECT_TRUE(first.isOneOfTheirURLs(url));
  first.end();
  EXPECT_EQ(platform::temporaryDirectory().path(), directoryBefore.path());
  EXPECT_FALSE(first.isOneOfTheirURLs(url));
  replay::TemporaryFiles second;
  EXPECT_FALSE(second.isOneOfTheirURLs(url));
}

TEST(TemporaryFiles, LieWhereTheEnvironmentSaysNothing) {
  const char* const set = std::getenv("TMPDIR");
  const std::optional<std::string> before =
      set == nullptr ? std::nullopt : std::optional<std::string>(set);
  ::unsetenv("TMPDIR");
  {
    const replay::TemporaryFiles files;
    EXPECT_EQ(platform::temporaryDirectory().path().parent_path(), "/tmp");
  }
  EXPECT_EQ(std::getenv("TMPDIR"), nullptr);
  if (before) {
    ::setenv("TMPDIR", before->c_str(), 1);
  }
}

TEST(TemporaryFiles, AreNotNamedInTexts) {
  replay::TemporaryFiles files;
  const FileURL file = *files.write("a b.sch", {});
  const std::string url = file.absoluteString();
  const std::string directory = url.substr(0, url.rfind('/'));
  EXPECT_EQ(files.withoutTheirURLs("an array: " + url), "an array: <url>");
  EXPECT_EQ(files.withoutTheirURLs(url + " and " + directory + "/, " + directory),
            "<url> and <url>, <url>");
  EXPECT_TRUE(files.isOneOfTheirURLs(url));
  EXPECT_FALSE(files.isOneOfTheirURLs(url + " and " + url));
  EXPECT_FALSE(files.isOneOfTheirURLs("<url>"));
  EXPECT_EQ(files.withoutTheirURLs("file:///etc/x " + url), "file:///etc/x <url>");
  const std::string own = platform::temporaryDirectory().absoluteString();
  const std::string neighbour = own.substr(0, own.size() - 1) + "0/x";
  EXPECT_EQ(files.withoutTheirURLs(neighbour), neighbour);
  EXPECT_EQ(files.withoutTheirURLs("file://"), "file://");
  EXPECT_EQ(files.withoutTheirURLs(""), "");
}

}  // namespace
