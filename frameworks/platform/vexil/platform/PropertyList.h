// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// Property lists: reading values from bytes, and writing them as bytes.
///
/// A property list is a tree of arrays and dictionaries with text keys, whose leaves are strings,
/// data, dates, integers, reals and booleans. There are three formats: the binary one, in which
/// records are exchanged; XML; and the old text format, in which people write strings tables.
///
///     const PropertyListResult<Value> read = readPropertyListFile("schedule.plist");
///     if (!read) {
///       log(read.error().description());  // "schedule.plist: line 7: a key without a value"
///       return;
///     }
///     for (const Value& event : read->elements()) ...
///
/// The bytes may come from anywhere. A reader accepts them, or refuses them with an error that says
/// what is wrong and where. It never guesses, drops or repairs anything. What it uses is bounded,
/// too:
///
/// - The stack it uses does not depend on the input. Neither does the stack that operations on the
///   value use.
/// - Time and memory are a multiple of the length of the input: at most 128 bytes of memory for
///   each byte of input (a dictionary of the shortest keys takes 75, an array of the shortest
///   strings 48, prose 2). A reader allocates nothing for a length that the input only claims. It
///   throws `std::bad_alloc` when memory runs out.
/// - A binary property list may refer to one object many times, so a small file can be an enormous
///   tree. The value shares such objects as the file does. Comparing the value, printing it or
///   writing it as text goes through the whole tree, so a reader refuses a value whose tree is
///   larger than `PropertyListLimits` allows.
///
/// A writer makes a file of a value, or refuses the value with an error that says what it cannot
/// write and where in the value that is. It never drops or alters anything. Its stack does not
/// depend on the value either. Its time is in proportion to the value with shared parts counted
/// once, or in XML to the file. Its memory is at most 32 bytes for each byte of the file, including
/// the file.
///
/// All three readers keep the keys of a dictionary in the order of the input.
namespace vexil::platform {

/// The formats. The numbers stand for them outside of this program.
enum class PropertyListFormat : int {
  text = 1,
  xml = 100,
  binary = 200,
};

/// What a reader accepts. The defaults suit any honest file.
struct PropertyListLimits {
  /// How deep arrays and dictionaries may be nested: `((1))` has depth 2.
  std::size_t depth = 512;

  /// The longest input, in bytes.
  std::size_t inputBytes = std::size_t{1} << 30;

  /// How many objects a value may have when every reference to an object counts as an object of its
  /// own: `expandedObjects`, plus `expandedObjectsPerByte` for each byte of the input. Keys count
  /// as objects. Each full 64 bytes of a string or of data count as one more. A schedule of 100,000
  /// events that are all the same record stays within the defaults.
  std::uint64_t expandedObjects = 1'000'000;
  std::uint64_t expandedObjectsPerByte = 64;
};

/// Why bytes or a value were refused, and where.
struct PropertyListError {
  enum class Code {
    // Files.
    fileMissing,     ///< There is no file at the path.
    notAFile,        ///< The path leads to something other than a regular file.
    fileUnreadable,  ///< The system refuses to open or to read the file.

    // Any format.
    noBytes,       ///< The input is empty.
    tooLong,       ///< The input is longer than the limits allow.
    tooDeep,       ///< Containers are nested deeper than the limits allow.
    duplicateKey,  ///< A dictionary has the same key twice.
    badEncoding,   ///< The characters are not in the expected encoding.
    badNumber,     ///< An integer or a real is malformed or out of range.
    badDate,       ///< A date is malformed, or is no point in time.
    badData,       ///< Data is not in its notation: base64, or pairs of hex digits.

    // Binary.
    badHeader,      ///< The magic or the version is wrong, or the file is too short.
    badTrailer,     ///< The trailer contradicts itself or the length of the input.
    badOffset,      ///< An entry of the offset table points outside of the objects.
    badReference,   ///< A container refers to an object that does not exist.
    badLength,      ///< The length of an object is malformed, or larger than its space.
    badKind,        ///< An object is of a kind that property lists do not have.
    badKey,         ///< A key of a dictionary is not a string.
    cycle,          ///< A container contains itself.
    overlap,        ///< Objects overlap: together they have more bytes than the file has.
    expandsTooFar,  ///< Shared objects make the value larger than the limits allow.

    // XML.
    notWellFormed,   ///< Not well-formed XML.
    declarations,    ///< The document type declares something, or an entity is not XML's own.
    unknownElement,  ///< An element or an attribute that property lists do not have.
    misplaced,       ///< An element or text stands where it must not, or is missing.

    // Text.
    unexpectedCharacter,  ///< Another character must stand here.
    unterminated,         ///< The input ends within a string, data, a comment or a container.
    badEscape,            ///< What follows a backslash stands for no character.

    // Strings tables.
    notAStringsTable,  ///< A property list, but not a dictionary of strings.

    // Writing.
    notAPropertyList,  ///< A part of the value is of a kind that property lists do not have.
    inexpressible,     ///< The format has no notation for a string or a date.
  };

  Code code;
  std::string message;                     ///< What is wrong, for people: "a key without a value".
  std::optional<std::size_t> offset = {};  ///< The offset in the bytes; in the binary format.
  std::optional<std::size_t> line = {};    ///< The line, from 1; in XML and text.
  std::string file = {};                   ///< The path, when a file was read.

  /// The place and the message, for people: "line 7: a key without a value", "a.plist: offset 41: a
  /// container contains itself", "a.plist: No such file or directory".
  [[nodiscard]] std::string description() const;
};

/// The result that was asked for, or an error. `if (result)` tells which. Taking the one that is
/// not there throws `std::bad_variant_access`.
template <class T>
class [[nodiscard]] PropertyListResult {
 public:
  // Implicit, so that a function can return either directly.
  // NOLINTBEGIN(google-explicit-constructor)
  PropertyListResult(T value) : _content(std::in_place_index<0>, std::move(value)) {}
  PropertyListResult(PropertyListError error)
      : _content(std::in_place_index<1>, std::move(error)) {}
  // NOLINTEND(google-explicit-constructor)

  explicit operator bool() const noexcept { return _content.index() == 0; }

  [[nodiscard]] const T& value() const& { return std::get<0>(_content); }
  [[nodiscard]] T&& value() && { return std::get<0>(std::move(_content)); }
  [[nodiscard]] const T& operator*() const& { return value(); }
  [[nodiscard]] T&& operator*() && { return std::move(*this).value(); }
  [[nodiscard]] const T* operator->() const { return &value(); }

  [[nodiscard]] const PropertyListError& error() const { return std::get<1>(_content); }

 private:
  std::variant<T, PropertyListError> _content;
};

/// The format that `readPropertyList` assumes for these bytes: binary when they begin with
/// "bplist"; XML when the first character behind a byte order mark and white space is "<" and
/// begins something other than hexadecimal data; text otherwise. It does not say whether the bytes
/// can be read.
[[nodiscard]] PropertyListFormat propertyListFormatOf(std::span<const std::byte> bytes) noexcept;

/// Reads a property list of any format.
PropertyListResult<Value> readPropertyList(std::span<const std::byte> bytes,
                                           const PropertyListLimits& limits = {});

/// Reads a property list of any format from a regular file. Refuses anything else that a path can
/// lead to, so that a pipe without a writer does not make the caller wait.
PropertyListResult<Value> readPropertyListFile(const std::filesystem::path& path,
                                               const PropertyListLimits& limits = {});

/// Reads a binary property list, version 00.
///
/// Integers of 1, 2 and 4 bytes are unsigned, those of 8 bytes are signed. 16 bytes are only for
/// the numbers from 2^63 to 2^64-1. Reals and dates keep every bit; a real of 4 bytes becomes the
/// double of the same number. References and offsets may have any size from 1 to 8 bytes. The value
/// shares what the file refers to more than once.
///
/// The reader refuses what it cannot read, and also:
/// - gaps or anything else between the parts of the file (header, objects, offset table, trailer),
/// - objects that together have more bytes than there are,
/// - a container within itself,
/// - keys that are not strings, and keys that occur twice in a dictionary,
/// - strings with surrogates that are not in pairs, and characters other than ASCII under the ASCII
///   marker,
/// - dates that are not finite,
/// - the kinds that are not part of a property list, though the format has markers for them (null,
///   fill, URL, UUID, UID, sets, UTF-8 strings).
PropertyListResult<Value> readBinaryPropertyList(std::span<const std::byte> bytes,
                                                 const PropertyListLimits& limits = {});

/// Reads an XML property list in UTF-8, UTF-16, ISO-8859-1 or US-ASCII.
///
/// A document type may be named; the reader does not fetch it. It refuses a document type with
/// declarations of its own in brackets, so the only entities are the five of XML. The root is
/// `<plist>` around one element, or that element itself. Attributes are allowed only on `<plist>`,
/// and ignored.
///
/// - `<integer>`: decimal digits, or "0x" and hexadecimal digits, with or without a sign, from
///   -2^63 to 2^64-1.
/// - `<real>`: decimal, with or without fraction and exponent, not too large and not too small for
///   a double; or "nan", "inf", "infinity" with or without a sign, in any case.
/// - `<date>`: `YYYY-MM-DDThh:mm:ssZ` in the Gregorian calendar, also for times before that
///   calendar. Years before 0 have a minus, years after 9999 have more digits.
/// - White space around these three is ignored.
/// - `<data>`: base64 with its padding. White space may stand anywhere.
/// - `<string>` and `<key>`: text, also in CDATA sections. `<true/>`, `<false/>`: empty.
///
/// The reader skips comments and processing instructions between elements, and refuses them within
/// text. It refuses keys that occur twice in a dictionary.
PropertyListResult<Value> readXMLPropertyList(std::span<const std::byte> bytes,
                                              const PropertyListLimits& limits = {});

/// Reads a property list in the old text format. Its only leaves are strings and data.
///
///     { name = Backup; "days of week" = (mon, "tue", ); token = <0fbd77 1c>; enabled; }
///
/// - The bytes are UTF-8, or UTF-16 with a byte order mark. Comments are as in C++.
/// - Strings of the characters A-Z a-z 0-9 _ $ / : . - need no quotes; `"` and `'` both quote.
/// - In quotes, a backslash and one of `a b f n r t v` stand for a control character. A backslash
///   and one to three octal digits, at most 377, stand for a character of the NextStep set. `\U`
///   and one to four hexadecimal digits stand for a unit of UTF-16; surrogates must come in pairs.
///   A backslash and any other character stand for that character.
/// - Each entry of a dictionary ends in ";", the last one too. "key;" stands for "key = key;". When
///   a key occurs again, the later value replaces the earlier one. An array may have a comma behind
///   its last element.
/// - The braces of a dictionary at the root may be left out: that is a strings table. White space
///   and comments alone are an empty dictionary.
PropertyListResult<Value> readTextPropertyList(std::span<const std::byte> bytes,
                                               const PropertyListLimits& limits = {});

/// Writes a binary property list, version 00.
///
/// The file is the one that the format's own writers make of the value. Objects are numbered from
/// the root on: a container, then the keys of a dictionary, then what it contains, each with
/// everything below it before the next. Strings (and keys), data, numbers and dates that have the
/// same type and the same bits are written once. A container and its copies
/// (`Value::sharesStorageWith`) are written once, too. Containers that are only equal, empty ones
/// too, remain separate objects. So a file is no larger than the value is in memory, and takes time
/// in proportion to that, however large the value would be with every copy written out.
///
/// Reading the file gives the same value to the last bit, with the keys in the same order and the
/// same parts shared. The writer accepts values that are nested deeper, or expand further, than the
/// default `PropertyListLimits` allow a reader.
///
/// The writer refuses:
/// - an absent value, a null marker or a reference to an object, anywhere in the value
///   (`notAPropertyList`),
/// - a date that is not finite (`badDate`),
/// - a string or a key that is not well-formed UTF-8 (`badEncoding`),
/// - a value of 2^32 objects or more (`tooLong`).
///
/// The message says where, from the root: `at [3]."start": a date that is not finite`. The error
/// has neither offset nor line.
PropertyListResult<std::vector<std::byte>> writeBinaryPropertyList(const Value& value);

/// Writes an XML property list in UTF-8: an element `<plist version="1.0">` with the value in it.
/// Each element stands on a line of its own, indented by one tab for each container around it, at
/// most 32. Keys keep their order. Reals have the fewest digits that read back the same. Data is
/// base64 without line breaks. There is no document type: readers accept the file without one, and
/// ours would not fetch it.
///
/// Reading the file gives the value back, with the keys in the same order. XML does not keep which
/// NaN a real was, the sign of a date at 0, and what the value shares. A container that
/// stands at several places is written at each of them. So the writer refuses a value that becomes
/// too large by that (`expandsTooFar`). It counts the objects that it would write. It allows
/// `expandedObjects` of them, and `expandedObjectsPerByte` more for each element, key or
/// value in the containers, each container counted once. `depth` and `inputBytes` limit the file as
/// they do for a reader (`tooDeep`, `tooLong`).
///
/// The writer also refuses what the binary writer refuses, and what XML has no notation for
/// (`inexpressible`): strings and keys with control characters other than tab, line feed and
/// carriage return, or with U+FFFE or U+FFFF; dates with a fraction of a second, which rounding
/// would change, and dates more than 2^53 seconds from 2001. Messages have the same form as those
/// of the binary writer.
PropertyListResult<std::string> writeXMLPropertyList(const Value& value,
                                                     const PropertyListLimits& limits = {});

}  // namespace vexil::platform
