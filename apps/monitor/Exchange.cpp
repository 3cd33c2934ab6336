// SPDX-License-Identifier: Apache-2.0
#include "monitor/Exchange.h"

#include <ternwood/Ternwood.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/Log.h>
#include <vexil/platform/Pasteboard.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

#include "monitor/Outline.h"
#include "monitor/Text.h"

namespace platform = vexil::platform;

namespace monitor {

using platform::FileURL;
using platform::Value;

namespace {

constexpr std::string_view kIndent = "    ";

std::string record(const Value& event) {
  std::size_t width = 0;
  for (const platform::Key& key : event.keys()) {
    width = std::max(width, columns(key.text()));
  }
  std::string text;
  for (std::size_t i = 0; i < event.keys().size(); ++i) {
    text += std::string(kIndent) + fitted(printable(event.keys()[i].text()), width) + "  " +
            printable(event.values()[i].displayText()) + "\n";
  }
  return text;
}

std::string file(std::string_view url) {
  const auto place = FileURL::fromAbsoluteString(url);
  std::error_code error;
  const auto size = place ? std::filesystem::file_size(place->path(), error) : 0;
  return std::string(kIndent) + printable(url) + "\n" + std::string(kIndent) +
         (!place || error ? "no file there" : "a file of " + counted(size, "byte")) + "\n";
}

/// The content for a type, for people to read.
std::string content(platform::PasteboardItem& item, const std::string& type, const Style& style) {
  const Value value = item.propertyListForType(type);
  if (platform::typeIdentifiersAreEqual(type, platform::kUTTypeFileURL)) {
    return file(value.string());
  }
  if (value.isArray()) {
    const auto group = KRAVTWVGroupVexil::initWithPasteboardPropertyListOfType(value, type);
    return std::string(kIndent) + counted(value.elements().size(), "event") + "\n" +
           scheduleRows(*group, style);
  }
  return value.isDictionary() ? record(value)
                              : std::string(kIndent) + printable(value.displayText()) + "\n";
}

/// Collects what is written to the log while it lives, in place of the sink.
class LogCapture {
 public:
  LogCapture() : _before(platform::setLogSink([this](std::string_view line) { _lines += line; })) {}
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture() { platform::setLogSink(std::move(_before)); }
  [[nodiscard]] const std::string& lines() const { return _lines; }

 private:
  std::string _lines;
  platform::LogSink _before;
};

}  // namespace

std::shared_ptr<KRAVTWVItemVexil> itemAt(std::string_view path, const Items& roots) {
  for (const auto& root : roots) {
    if (auto item = root->itemWithPath(path)) {
      return item;
    }
  }
  throw ExchangeFailed("there is no item at " + printable(path));
}

std::string copied(const std::shared_ptr<KRAVTWVItemVexil>& item, const Style& style) {
  const auto name = [&] { return printable(item->label().displayText()); };
  const auto writing = std::dynamic_pointer_cast<const platform::PasteboardWriting>(item);
  if (!writing) {
    throw ExchangeFailed(name() + " cannot be copied; jobs and groups of them can");
  }
  const auto board = platform::Pasteboard::general();
  board->clearContents();
  if (!board->writeObjects({writing})) {
    throw ExchangeFailed("there is nothing of " + name() + " to be copied");
  }
  std::string text;
  for (const auto& entry : board->pasteboardItems()) {
    for (const std::string& type : entry->types()) {
      const Value data = entry->dataForType(type);
      text += style.bold(type) + "  ";
      text += data.isAbsent()
                  ? "nothing\n"
                  : counted(data.bytes().size(), "byte") + "\n" + content(*entry, type, style);
    }
  }
  return text;
}

std::shared_ptr<KRAVTWVGroupVexil> openedSchedule(const std::string& file) {
  const auto named = FileURL::fromAbsoluteString(file);
  const FileURL url = named ? *named : FileURL::file(file);
  std::error_code error;
  if (!std::filesystem::is_regular_file(url.path(), error) || !std::ifstream(url.path())) {
    throw ExchangeFailed(printable(file) + ": there is no such file to be read");
  }
  // When a file holds no schedule, the library says so only in the log.
  const LogCapture log;
  auto group = KRAVTWVGroupVexil::initWithPasteboardPropertyListOfType(url.absoluteString(),
                                                                       platform::kUTTypeFileURL);
  if (!log.lines().empty()) {
    throw ExchangeFailed(printable(file) +
                         ": this is no schedule, which is a property list of an array");
  }
  return group;
}

}  // namespace monitor
