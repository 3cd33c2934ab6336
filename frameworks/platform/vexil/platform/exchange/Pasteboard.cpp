// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/Pasteboard.h>
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/texts/TextEncoding.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <span>
#include <utility>

namespace vexil::platform {

namespace {

/// What an object gave, in the form that an item keeps: data or a string; absent for what is no
/// property list.
Value content(const Value& given) {
  if (given.isString() || given.kind() == Value::Kind::data) {
    return given;
  }
  const auto bytes = writeBinaryPropertyList(given);
  return bytes ? Value::data(*bytes) : Value();
}

/// Bytes as text; absent when they are not UTF-8.
Value text(std::span<const std::byte> bytes) {
  const std::string_view text = detail::textOf(bytes);
  return detail::endOfValidUTF8(text) ? Value() : Value(text);
}

Value propertyList(std::span<const std::byte> bytes, std::string_view type) {
  if (typeIdentifiersAreEqual(type, NSPasteboardTypeString)) {
    return text(bytes);
  }
  // A URL can also be read as a property list of the text format, but with another meaning.
  const bool isOfURLs = typeIdentifiersAreEqual(type, kUTTypeFileURL);
  if (isOfURLs && isURL(detail::textOf(bytes))) {
    return text(bytes);
  }
  const auto list = readPropertyList(bytes);
  if (!list && isOfURLs) {
    return text(bytes);
  }
  return list ? *list : Value();
}

}  // namespace

// --- items

PasteboardItem::PasteboardItem(Key /*key*/, std::shared_ptr<const PasteboardWriting> object,
                               const Pasteboard* pasteboard) {
  bool hasPromises = false;
  for (std::string& type : object->writableTypesForPasteboard(pasteboard)) {
    if (has(type)) {
      continue;
    }
    const auto options =
        static_cast<unsigned>(object->writingOptionsForTypePasteboard(type, pasteboard));
    const bool isPromised =
        (options & static_cast<unsigned>(PasteboardWritingOptions::promised)) != 0;
    Value value = isPromised ? Value() : content(object->pasteboardPropertyListForType(type));
    if (isPromised || !value.isAbsent()) {
      hasPromises = hasPromises || isPromised;
      _contents.push_back({std::move(type), isPromised, std::move(value)});
    }
  }
  if (hasPromises) {
    _object = std::move(object);
  }
}

std::vector<std::string> PasteboardItem::types() const {
  std::vector<std::string> types;
  std::ranges::transform(_contents, std::back_inserter(types), &Content::type);
  return types;
}

bool PasteboardItem::has(std::string_view type) const {
  return std::ranges::any_of(_contents, [&](const Content& content) {
    return typeIdentifiersAreEqual(content.type, type);
  });
}

Value PasteboardItem::contentOf(std::string_view type) {
  const auto found = std::ranges::find_if(_contents, [&](const Content& content) {
    return typeIdentifiersAreEqual(content.type, type);
  });
  if (found == _contents.end()) {
    return {};
  }
  if (found->isPromised) {
    // The object that is asked may release this item.
    const auto self = shared_from_this();
    found->isPromised = false;
    // The last promise may be what keeps the object alive.
    const auto object = _object;
    if (std::ranges::none_of(_contents, &Content::isPromised)) {
      _object.reset();
    }
    found->value = content(object->pasteboardPropertyListForType(found->type));
    return found->value;  // here, because `self` keeps this item alive
  }
  return found->value;
}

void PasteboardItem::takeBackPromises() {
  for (Content& content : _contents) {
    content.isPromised = false;
  }
  // Releasing the object may run code that uses the item.
  const auto object = std::exchange(_object, nullptr);
}

Value PasteboardItem::dataForType(std::string_view type) {
  const Value content = contentOf(type);
  return content.isString() ? Value::data(std::as_bytes(std::span(content.string()))) : content;
}

Value PasteboardItem::stringForType(std::string_view type) {
  const Value content = contentOf(type);
  return content.kind() == Value::Kind::data ? text(content.bytes()) : content;
}

Value PasteboardItem::propertyListForType(std::string_view type) {
  // The object that is asked may own the text of the type.
  const std::string asked(type);
  const Value content = contentOf(asked);
  return content.kind() == Value::Kind::data ? propertyList(content.bytes(), asked) : content;
}

// --- boards

Pasteboard::~Pasteboard() = default;

std::shared_ptr<Pasteboard> Pasteboard::general() {
  return named("general");
}

std::shared_ptr<Pasteboard> Pasteboard::named(const std::string& name) {
  // Never destroyed, because objects on the boards may use anything when they are destroyed.
  static auto& boards = *new std::map<std::string, std::shared_ptr<Pasteboard>>;
  std::shared_ptr<Pasteboard>& board = boards[name];
  if (!board) {
    board = std::make_shared<Pasteboard>(Key(), name);
  }
  return board;
}

std::shared_ptr<Pasteboard> Pasteboard::unnamed() {
  return std::make_shared<Pasteboard>(Key(), "");
}

std::int64_t Pasteboard::clearContents() {
  const std::int64_t count = ++_changeCount;
  for (const auto& item : std::exchange(_items, {})) {
    item->takeBackPromises();
  }
  return count;
}

bool Pasteboard::writeObjects(
    const std::vector<std::shared_ptr<const PasteboardWriting>>& objects) {
  if (std::ranges::find(objects, nullptr) != objects.end()) {
    throw InvalidArgument("a null pointer cannot be written to a pasteboard");
  }
  const std::int64_t count = _changeCount;
  // The objects that are asked may change the array and release this board.
  const std::vector asked(objects);
  const auto self = shared_from_this();
  std::vector<std::shared_ptr<PasteboardItem>> written;
  for (const auto& object : asked) {
    auto item = std::make_shared<PasteboardItem>(PasteboardItem::Key(), object, this);
    if (!item->_contents.empty()) {
      written.push_back(std::move(item));
    }
  }
  if (_changeCount != count) {
    return false;
  }
  const bool areAll = written.size() == asked.size();
  _items.reserve(_items.size() + written.size());
  std::ranges::move(written, std::back_inserter(_items));
  return areAll;
}

std::vector<std::string> Pasteboard::types() const {
  std::vector<std::string> types;
  for (const auto& item : _items) {
    for (std::string& type : item->types()) {
      const auto isSame = [&](const std::string& other) {
        return typeIdentifiersAreEqual(type, other);
      };
      if (std::ranges::none_of(types, isSame)) {
        types.push_back(std::move(type));
      }
    }
  }
  return types;
}

std::shared_ptr<PasteboardItem> Pasteboard::itemWith(std::string_view type) const {
  const auto found =
      std::ranges::find_if(_items, [&](const auto& item) { return item->has(type); });
  return found == _items.end() ? nullptr : *found;
}

Value Pasteboard::dataForType(std::string_view type) {
  const auto item = itemWith(type);
  return item ? item->dataForType(type) : Value();
}

Value Pasteboard::stringForType(std::string_view type) {
  const auto item = itemWith(type);
  return item ? item->stringForType(type) : Value();
}

Value Pasteboard::propertyListForType(std::string_view type) {
  const auto item = itemWith(type);
  return item ? item->propertyListForType(type) : Value();
}

std::vector<std::shared_ptr<Object>> Pasteboard::readObjects(
    const std::vector<PasteboardReadingClass>& classes) {
  // The objects that are asked may change the array and release this board.
  const std::vector asked(classes);
  const auto self = shared_from_this();
  std::vector<std::shared_ptr<Object>> objects;
  for (const auto& item : pasteboardItems()) {
    if (auto object = objectFrom(*item, asked)) {
      objects.push_back(std::move(object));
    }
  }
  return objects;
}

std::shared_ptr<Object> Pasteboard::objectFrom(
    PasteboardItem& item, const std::vector<PasteboardReadingClass>& classes) const {
  for (const PasteboardReadingClass& readingClass : classes) {
    for (const std::string& type : readingClass.readableTypesForPasteboard(this)) {
      if (!item.has(type)) {
        continue;
      }
      Value content;
      switch (readingClass.readingOptionsForTypePasteboard(type, this)) {
        case PasteboardReadingOptions::asPropertyList:
          content = item.propertyListForType(type);
          break;
        case PasteboardReadingOptions::asString:
          content = item.stringForType(type);
          break;
        case PasteboardReadingOptions::asData:
          content = item.dataForType(type);
          break;
      }
      if (content.isAbsent()) {
        continue;
      }
      if (auto object = readingClass.initWithPasteboardPropertyListOfType(content, type)) {
        return object;
      }
    }
  }
  return nullptr;
}

}  // namespace vexil::platform
