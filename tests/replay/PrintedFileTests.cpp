// SPDX-License-Identifier: Apache-2.0
// What items give for pasteboard types, and directories and files by their content.
#include <gtest/gtest.h>
#include <replay/Constants.h>
#include <replay/Printer.h>
#include <ternwood/Ternwood.h>

#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>

namespace {

using platform::FileURL;
using platform::Value;

// The binary property list of the array (1).
constexpr std::string_view list(
    "bplist00\xA1\x01\x10\x01"
    "\x08\x0A"
    "\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x02\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0C",
    46);

std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

class PrintedFile : public testing::Test {
 protected:
  std::string printed(const Value& content, std::string_view type) {
    return printer.pasteboardContent(content, type);
  }
  Value written(const std::string& name, std::string_view content) {
    return files.write(name, bytesOf(content))->absoluteString();
  }

  replay::Registry registry;
  replay::TemporaryFiles files;
  replay::Printer printer{registry, files};
};

TEST_F(PrintedFile, PropertyListsAreShownByTheirContent) {
  const Value data = Value::data(bytesOf(list));
  EXPECT_EQ(printed(data, kTWWorkspaceUTIEvent), "plist([1])");
  EXPECT_EQ(printed(data, kTWWorkspaceUTISchedule), "plist([1])");
  EXPECT_EQ(printed(data, "ORG.Ternwood.Event"), "plist([1])");
}

TEST_F(PrintedFile, WhatIsNoBinaryPropertyListIsShownAsData) {
  EXPECT_EQ(printed(Value::data(bytesOf("(1)")), kTWWorkspaceUTIEvent), "<283129>");
  EXPECT_EQ(printed(Value::data(bytesOf("bplist00")), kTWWorkspaceUTIEvent), "<62706c6973743030>");
  EXPECT_EQ(printed(Value::data(bytesOf("x")), replay::pasteboardTypeString), "<78>");
}

TEST_F(PrintedFile, EverythingElseIsShownAsAValue) {
  EXPECT_EQ(printed({}, kTWWorkspaceUTIEvent), "absent");
  EXPECT_EQ(printed({}, replay::pasteboardTypeFileURL), "absent");
  EXPECT_EQ(printed("Backup", replay::pasteboardTypeString), "\"Backup\"");
}

TEST_F(PrintedFile, FilesAreShownByNameAndContent) {
  const Value url = written("Über 100% \"x\".txt", list);
  EXPECT_EQ(printed(url, replay::pasteboardTypeFileURL),
            "file(\"Über 100% \\\"x\\\".txt\", plist([1]))");
  EXPECT_EQ(printed(url, "Public.File-URL"), "file(\"Über 100% \\\"x\\\".txt\", plist([1]))");
  EXPECT_EQ(printed(written("x", "no list"), replay::pasteboardTypeFileURL),
            "file(\"x\", <6e6f206c697374>)");
  EXPECT_EQ(printed(url, replay::pasteboardTypeString), "\"<url>\"");
}

TEST_F(PrintedFile, TheExtensionOfScheduleFilesGoesByItsName) {
  const std::string extension(kTWWorkspaceFileExtensionSchedule);
  EXPECT_EQ(printed(written("Week." + extension, list), replay::pasteboardTypeFileURL),
            "file(\"Week.kTWWorkspaceFileExtensionSchedule\", plist([1]))");
  EXPECT_EQ(printed(written(extension, list), replay::pasteboardTypeFileURL),
            "file(\"" + extension + "\", plist([1]))");
}

TEST_F(PrintedFile, URLsOfNoFileStayStrings) {
  EXPECT_EQ(printed("file:///nowhere/x", replay::pasteboardTypeFileURL), "\"file:///nowhere/x\"");
  EXPECT_EQ(printed("file:///%zz", replay::pasteboardTypeFileURL), "\"file:///%zz\"");
  EXPECT_EQ(printed("file:///%4", replay::pasteboardTypeFileURL), "\"file:///%4\"");
  EXPECT_EQ(printed("http://example.org/", replay::pasteboardTypeFileURL),
            "\"http://example.org/\"");
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
  std::filesystem::path written;
  std::filesystem::path noted;
  std::filesystem::path used;
  {
    replay::TemporaryFiles files;
    written = files.write("x", bytesOf("abc"))->path();
    EXPECT_EQ(std::filesystem::file_size(written), 3U);
    EXPECT_NE(files.write("x", {})->path(), written);

    noted = std::filesystem::path(platform::temporaryDirectory().path()) / *platform::randomUUID();
    used = std::filesystem::path(platform::temporaryDirectory().path()) / *platform::randomUUID();
    for (const auto& directory : {noted, used}) {
      ASSERT_TRUE(platform::createDirectory(FileURL::directory(directory)));
      files.note(FileURL::directory(directory));
    }
    std::ofstream(used / "kept") << "by somebody else";
  }
  EXPECT_FALSE(std::filesystem::exists(written.parent_path()));
  EXPECT_FALSE(std::filesystem::exists(noted));
  EXPECT_TRUE(std::filesystem::exists(used / "kept"));
  std::filesystem::remove_all(used);
}

TEST(TemporaryFiles, AreNotNamedInTexts) {
  replay::TemporaryFiles files;
  const FileURL file = *files.write("a b.sch", {});
  const std::string url = file.absoluteString();
  const std::string directory = url.substr(0, url.rfind('/'));
  EXPECT_EQ(files.withoutTheirURLs("an array: " + url), "an array: <url>");
  EXPECT_EQ(files.withoutTheirURLs(url + " and " + directory + "/, " + directory),
            "<url> and <url>, <url>");
  EXPECT_EQ(files.withoutTheirURLs("file:///etc/x " + url), "file:///etc/x <url>");
  EXPECT_EQ(files.withoutTheirURLs(directory + "0/x"), directory + "0/x");
  EXPECT_EQ(files.withoutTheirURLs("file://"), "file://");
  EXPECT_EQ(files.withoutTheirURLs(""), "");
}

}  // namespace
