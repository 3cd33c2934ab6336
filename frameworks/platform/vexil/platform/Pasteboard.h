// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Object.h>
#include <vexil/platform/TypeIdentifier.h>
#include <vexil/platform/Value.h>

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Boards on which a program lays what is copied or dragged, in several types at once, and from
/// which it is taken. They live in this process; an adapter connects one with a desktop's own.
///
///     const auto board = Pasteboard::general();
///     board->clearContents();
///     board->writeObjects({event, schedule});
///     ...
///     const auto dropped = board->readObjects({pasteboardReadingClass<Schedule>()});
///
/// What is asked when. An object that is written is asked for its types; then, type by type, for
/// the type's options and, unless these promise the data, for the data, all of it once. Promised
/// data is asked for when somebody first wants it, and then once, whatever comes of it: what came
/// is kept. So data that costs something, such as a file, is only made for someone who takes it.
///
/// Ownership. A board holds an object that has promised something until the last of its promises
/// has been asked for, the contents are cleared, or the board is gone; other objects it does not
/// hold. Boards and items hold themselves while one of their operations is at work.
///
/// Re-entrancy. Objects and classes that are asked may use the board, let go of it and of its
/// items, and change the lists that an operation was handed, which goes on with what it was handed.
/// A board that is cleared while objects are being written takes none of them. Clearing takes back
/// promises, also those of items that somebody still holds; what has been given stays readable
/// there. An object that is asked for promised data and asks for the same gets nothing, as that is
/// not there yet.
///
/// Errors. What an object throws passes through to whoever caused it to be asked: nothing is
/// written then, and a promise has come to nothing. Bad data is absent data.
///
/// Types are compared by `typeIdentifiersAreEqual`, wherever one is named here. A board and what is
/// on it belong to one thread at a time, the one of the user interface.
namespace vexil::platform {

class Pasteboard;

/// How objects are written, with the number that stands for it outside of this program.
enum class PasteboardWritingOptions : unsigned {
  none = 0,
  promised = 512,  ///< The data is asked for only when somebody wants it.
};

/// How data is read, with the numbers that stand for it outside of this program.
enum class PasteboardReadingOptions : unsigned {
  asData = 0,          ///< As the bytes: `PasteboardItem::dataForType`.
  asString = 1,        ///< As text: `PasteboardItem::stringForType`.
  asPropertyList = 2,  ///< As a value: `PasteboardItem::propertyListForType`.
};

/// What can be written to a board. The board is named in questions so that an answer may depend on
/// it; a null pointer asks in general.
class PasteboardWriting {
 public:
  PasteboardWriting() = default;
  PasteboardWriting(const PasteboardWriting&) = delete;
  PasteboardWriting& operator=(const PasteboardWriting&) = delete;
  virtual ~PasteboardWriting() = default;

  /// The types that the object can be had in. The order is that of preference: a consumer takes the
  /// first one that it understands.
  [[nodiscard]] virtual std::vector<std::string> writableTypesForPasteboard(
      const Pasteboard* pasteboard) const = 0;

  [[nodiscard]] virtual PasteboardWritingOptions writingOptionsForTypePasteboard(
      std::string_view /*type*/, const Pasteboard* /*pasteboard*/) const {
    return PasteboardWritingOptions::none;
  }

  /// Data as it is; a string, which is the same as its bytes in UTF-8; or another property list,
  /// which is the same as its bytes in the binary format. Absent, or something that is no property
  /// list, when there is nothing in this type.
  [[nodiscard]] virtual Value pasteboardPropertyListForType(std::string_view type) const = 0;
};

/// A class whose objects can be read from a board: its class operations as a value. Made by
/// `pasteboardReadingClass`.
struct PasteboardReadingClass {
  /// The types, those first in which the class would rather read.
  std::vector<std::string> (*readableTypesForPasteboard)(const Pasteboard* pasteboard);
  PasteboardReadingOptions (*readingOptionsForTypePasteboard)(std::string_view type,
                                                              const Pasteboard* pasteboard);
  /// A new object; a null pointer when it cannot be made of this after all.
  std::shared_ptr<Object> (*initWithPasteboardPropertyListOfType)(const Value& propertyList,
                                                                  std::string_view type);
};

/// The class operations of `Class`: its static functions of the names above. Without one for the
/// options it reads data.
template <std::derived_from<Object> Class>
constexpr PasteboardReadingClass pasteboardReadingClass() {
  return {
      [](const Pasteboard* pasteboard) { return Class::readableTypesForPasteboard(pasteboard); },
      []([[maybe_unused]] std::string_view type, [[maybe_unused]] const Pasteboard* pasteboard) {
        if constexpr (requires { Class::readingOptionsForTypePasteboard(type, pasteboard); }) {
          return Class::readingOptionsForTypePasteboard(type, pasteboard);
        } else {
          return PasteboardReadingOptions::asData;
        }
      },
      [](const Value& propertyList, std::string_view type) -> std::shared_ptr<Object> {
        return Class::initWithPasteboardPropertyListOfType(propertyList, type);
      }};
}

/// One thing on a board, in all its types.
class PasteboardItem : public std::enable_shared_from_this<PasteboardItem> {
 public:
  // For boards; the key has no other owner.
  class Key {
    friend class Pasteboard;
    Key() = default;
  };
  PasteboardItem(Key key, std::shared_ptr<const PasteboardWriting> object,
                 const Pasteboard* pasteboard);

  /// The types in the object's order, of types that are the same the first. Those for which nothing
  /// came when the object was written are not among them; promised ones are, whatever comes of the
  /// promise.
  [[nodiscard]] std::vector<std::string> types() const;

  // What the item holds in one of its types, where needed by asking for what was promised. Absent
  // for other types, and where nothing came.

  /// The bytes, as data.
  [[nodiscard]] Value dataForType(std::string_view type);

  /// The text: a string, or bytes that are UTF-8.
  [[nodiscard]] Value stringForType(std::string_view type);

  /// A string as it is, and bytes as the property list that they are in any format. Bytes of the
  /// two types whose content is text need not be one: under `NSPasteboardTypeString` they are read
  /// as a string, and under `kUTTypeFileURL` too when they are a URL, or UTF-8 and no property
  /// list. So the URL of a file arrives as a string, whoever wrote it.
  [[nodiscard]] Value propertyListForType(std::string_view type);

 private:
  friend class Pasteboard;
  struct Content {
    std::string type;
    bool isPromised;
    Value value;  // data or a string; absent while it is promised, and when nothing came
  };

  [[nodiscard]] Value contentOf(std::string_view type);
  [[nodiscard]] bool has(std::string_view type) const;
  void takeBackPromises();

  std::shared_ptr<const PasteboardWriting> _object;  // while it has promised something
  std::vector<Content> _contents;
};

class Pasteboard : public std::enable_shared_from_this<Pasteboard> {
 public:
  class Key {
    friend class Pasteboard;
    Key() = default;
  };
  Pasteboard(Key /*key*/, std::string name) : _name(std::move(name)) {}
  Pasteboard(const Pasteboard&) = delete;
  Pasteboard& operator=(const Pasteboard&) = delete;
  ~Pasteboard();

  /// The board for copying and pasting.
  [[nodiscard]] static std::shared_ptr<Pasteboard> general();

  /// The board of a name, the same each time; it is made at the first and lives as long as the
  /// program.
  [[nodiscard]] static std::shared_ptr<Pasteboard> named(const std::string& name);

  /// A new board without a name, for whoever is given it.
  [[nodiscard]] static std::shared_ptr<Pasteboard> unnamed();

  [[nodiscard]] const std::string& name() const noexcept { return _name; }

  /// How often the contents have been cleared: another number than last time means other contents.
  [[nodiscard]] std::int64_t changeCount() const noexcept { return _changeCount; }

  /// Takes everything off the board, and returns the new change count. Whoever is about to write
  /// begins with this.
  std::int64_t clearContents();

  /// Adds an item for each object, in their order, behind those already there. An object without
  /// content in any type makes none. Whether all of them made one; false, with nothing added, also
  /// when the board was cleared meanwhile. Throws `InvalidArgument` for a null pointer, with
  /// nothing asked or added.
  bool writeObjects(const std::vector<std::shared_ptr<const PasteboardWriting>>& objects);

  /// The items as they are now, in order.
  [[nodiscard]] std::vector<std::shared_ptr<PasteboardItem>> pasteboardItems() const {
    return _items;
  }

  /// The types of all items, each once, in the order of the items.
  [[nodiscard]] std::vector<std::string> types() const;

  // What the first item that has the type holds in it.
  [[nodiscard]] Value dataForType(std::string_view type);
  [[nodiscard]] Value stringForType(std::string_view type);
  [[nodiscard]] Value propertyListForType(std::string_view type);

  /// An object for each item that one of the classes reads: made by the first class in the order
  /// given, of the first of its types, that the item has and that yields one. Types in which an
  /// item holds nothing are passed over. Nothing is asked for but the types that are tried.
  [[nodiscard]] std::vector<std::shared_ptr<Object>> readObjects(
      const std::vector<PasteboardReadingClass>& classes);

 private:
  [[nodiscard]] std::shared_ptr<PasteboardItem> itemWith(std::string_view type) const;
  [[nodiscard]] std::shared_ptr<Object> objectFrom(
      PasteboardItem& item, const std::vector<PasteboardReadingClass>& classes) const;

  std::string _name;
  std::int64_t _changeCount = 0;
  std::vector<std::shared_ptr<PasteboardItem>> _items;
};

}  // namespace vexil::platform
