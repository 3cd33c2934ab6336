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

/// Pasteboards: a program puts what is copied or dragged on a board, in several types at once, and
/// takes it from there. Boards live in this process. An adapter can connect one with the board of a
/// desktop.
///
///     const auto board = Pasteboard::general();
///     board->clearContents();
///     board->writeObjects({event, schedule});
///     ...
///     const auto dropped = board->readObjects({pasteboardReadingClass<Schedule>()});
///
/// What is asked when. A board that writes an object asks it for its types. Then it asks, type by
/// type, for the type's options and, unless these promise the data, for the data. It asks for each
/// of these once. Promised data is asked for when somebody first wants it, also only once: the
/// board keeps the answer, even when there is none. So data that is costly to make, such as a file,
/// is made only when somebody takes it.
///
/// Ownership. A board holds an object that promised something until the last of its promises was
/// asked for, the contents are cleared, or the board is destroyed. It does not hold other objects.
/// Boards and items keep themselves alive during their operations.
///
/// Re-entrancy. Objects and classes that are asked may use the board, release it and its items, and
/// change the lists that an operation was given: the operation goes on with the lists as they were.
/// A board that is cleared while objects are being written takes none of them. Clearing also takes
/// back the promises of items that somebody still holds; data that was already given stays readable
/// there. An object that asks for the very data it is being asked for gets nothing, because the
/// data is not there yet.
///
/// Errors. What an object throws passes through to the caller of the operation that asked it. Then
/// nothing is written, and a promise counts as asked for, without data. Bad data is absent data.
///
/// All operations compare types with `typeIdentifiersAreEqual`. Only one thread at a time, that of
/// the user interface, may use a board and what is on it.
namespace vexil::platform {

class Pasteboard;

/// How objects are written. Other programs know an option by its number.
enum class PasteboardWritingOptions : unsigned {
  none = 0,
  promised = 512,  ///< The data is asked for only when somebody wants it.
};

/// How data is read. Other programs know an option by its number.
enum class PasteboardReadingOptions : unsigned {
  asData = 0,          ///< As the bytes: `PasteboardItem::dataForType`.
  asString = 1,        ///< As text: `PasteboardItem::stringForType`.
  asPropertyList = 2,  ///< As a value: `PasteboardItem::propertyListForType`.
};

/// What can be written to a board. Each question names the board, so that the answer may depend on
/// it; a null pointer asks for the answer in general.
class PasteboardWriting {
 public:
  PasteboardWriting() = default;
  PasteboardWriting(const PasteboardWriting&) = delete;
  PasteboardWriting& operator=(const PasteboardWriting&) = delete;
  virtual ~PasteboardWriting() = default;

  /// The types in which the object is available, in the order of preference: a consumer takes the
  /// first one that it understands.
  [[nodiscard]] virtual std::vector<std::string> writableTypesForPasteboard(
      const Pasteboard* pasteboard) const = 0;

  [[nodiscard]] virtual PasteboardWritingOptions writingOptionsForTypePasteboard(
      std::string_view /*type*/, const Pasteboard* /*pasteboard*/) const {
    return PasteboardWritingOptions::none;
  }

  /// What the object is in this type: data; a string, which means its bytes in UTF-8; or any other
  /// property list, which means its bytes in the binary format. Absent, or a value that is no
  /// property list, when there is nothing in this type.
  [[nodiscard]] virtual Value pasteboardPropertyListForType(std::string_view type) const = 0;
};

/// A class whose objects can be read from a board: its class operations as a value.
/// `pasteboardReadingClass` makes it.
struct PasteboardReadingClass {
  /// The types that the class can read, in the order of preference.
  std::vector<std::string> (*readableTypesForPasteboard)(const Pasteboard* pasteboard);
  PasteboardReadingOptions (*readingOptionsForTypePasteboard)(std::string_view type,
                                                              const Pasteboard* pasteboard);
  /// A new object; a null pointer when it cannot be made of this value.
  std::shared_ptr<Object> (*initWithPasteboardPropertyListOfType)(const Value& propertyList,
                                                                  std::string_view type);
};

/// The class operations of `Class`: its static functions with the names above. A class without a
/// function for the options reads data.
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
  // Only boards can make a key.
  class Key {
    friend class Pasteboard;
    Key() = default;
  };
  PasteboardItem(Key key, std::shared_ptr<const PasteboardWriting> object,
                 const Pasteboard* pasteboard);

  /// The types in the object's order. When two types are the same, only the first is there. A type
  /// for which the object gave nothing when it was written is left out. A promised type is there
  /// even when the promise gives nothing.
  [[nodiscard]] std::vector<std::string> types() const;

  // What the item holds in a type. Asks the object when the data was promised. Absent when the item
  // does not have the type, or the object gave nothing.

  /// The bytes, as data.
  [[nodiscard]] Value dataForType(std::string_view type);

  /// The text: a string, or bytes that are UTF-8.
  [[nodiscard]] Value stringForType(std::string_view type);

  /// A string as it is; bytes as the property list that they are, in any format. There are two
  /// types whose bytes may be plain text instead. Under `NSPasteboardTypeString` bytes are always
  /// read as a string. Under `kUTTypeFileURL` they are read as a string when they are a URL, or are
  /// UTF-8 and no property list. So the URL of a file arrives as a string, whichever program wrote
  /// it.
  [[nodiscard]] Value propertyListForType(std::string_view type);

 private:
  friend class Pasteboard;
  struct Content {
    std::string type;
    bool isPromised;
    Value value;  // data or a string; absent while promised, or when the object gave nothing
  };

  [[nodiscard]] Value contentOf(std::string_view type);
  [[nodiscard]] bool has(std::string_view type) const;
  void takeBackPromises();

  std::shared_ptr<const PasteboardWriting> _object;  // while there are promises
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

  /// The board with a name, the same one each time. The first call makes it. It lives as long as
  /// the program.
  [[nodiscard]] static std::shared_ptr<Pasteboard> named(const std::string& name);

  /// A new board without a name. The caller decides who gets it.
  [[nodiscard]] static std::shared_ptr<Pasteboard> unnamed();

  [[nodiscard]] const std::string& name() const noexcept { return _name; }

  /// How often the contents were cleared. When the number differs from an earlier one, the contents
  /// are others.
  [[nodiscard]] std::int64_t changeCount() const noexcept { return _changeCount; }

  /// Removes everything from the board and returns the new change count. Code that is about to
  /// write must call this first.
  std::int64_t clearContents();

  /// Adds an item for each object, in their order, behind the items already there. An object
  /// without content in any type gets no item. Returns true when all objects got one. Returns false
  /// and adds nothing when the board was cleared meanwhile. Throws `InvalidArgument` when a pointer
  /// is null; then it asks for nothing and adds nothing.
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

  /// Returns an object for each item that one of the classes can read. For an item, it tries the
  /// classes in the order given, and the types of a class in the order of the class. The first
  /// object that is made counts. It skips types in which the item holds nothing. It asks for no
  /// other types than those it tries.
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
