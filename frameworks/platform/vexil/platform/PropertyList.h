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

/// Property lists: values as bytes, and bytes as values.
///
/// A property list is a tree of arrays and dictionaries with text keys, whose leaves are strings,
/// data, dates, integers, reals and booleans. Three formats carry it: the binary one, which records
/// are exchanged in; XML; and the old text format, in which people write strings tables.
///
///     const PropertyListResult<Value> read = readPropertyListFile("schedule.plist");
///     if (!read) {
///       log(read.error().description());  // "schedule.plist: line 7: a key without a value"
///       return;
///     }
///     for (const Value& event : read->elements()) ...
///
/// The bytes may come from anywhere. A reader takes them or refuses them with an error that says
/// what stands where; it never guesses, drops or repairs. What it takes is bounded, too:
///
/// - The stack it uses does not depend on the input, nor does that of the operations on the value.
/// - Time and memory are a multiple of the length of the input: at most 128 bytes of memory for
/// each
///   byte of it (a dictionary of the shortest keys takes 75, an array of the shortest
///   strings takes 48, prose 2), and nothing is allocated for a length that the input only claims.
///   Memory running out is an exception all the same, `std::bad_alloc`.
/// - Because a binary property list may refer to one object many times, a small file can be an
///   enormous tree. Such objects are shared in the value as they are in the file, and a value that
///   would be larger than `PropertyListLimits` allows once everything that walks it (comparison,
///   printing, writing it as text) has come by is refused.
///
/// A writer makes a file of a value, or refuses it with an error that tells the way to what it
/// cannot write; it never drops or alters anything. Its stack does not depend on the value either,
/// its time is in proportion to the value as it is shared, or in XML to the file, and its memory is
/// at most 32 bytes for each byte of the file, the file among them.
///
/// All three readers keep the keys of a dictionary in the order of the input.
namespace vexil::platform {

/// The formats, with the numbers that stand for them outside of this program.
enum class PropertyListFormat : int {
  text = 1,
  xml = 100,
  binary = 200,
};

/// What a reader accepts. The defaults suit any file that is meant honestly.
struct PropertyListLimits {
  /// How deep arrays and dictionaries may stand in one another: `((1))` has depth 2.
  std::size_t depth = 512;

  /// The longest input, in bytes.
  std::size_t inputBytes = std::size_t{1} << 30;

  /// How many objects a value may consist of when every reference to an object counts as an object
  /// of its own: `expandedObjects` and another `expandedObjectsPerByte` for each byte of the input.
  /// Keys count, and each full 64 bytes of a string or of data count as one object more. A schedule
  /// of 100,000 events which all are one and the same record stays within these.
  std::uint64_t expandedObjects = 1'000'000;
  std::uint64_t expandedObjectsPerByte = 64;
};

/// Why bytes were refused, and where.
struct PropertyListError {
  enum class Code {
    // Files.
    fileMissing,     ///< There is no file at the path.
    notAFile,        ///< A directory or something else that is no regular file is at the path.
    fileUnreadable,  ///< The system refuses to open or to read the file.

    // Any format.
    noBytes,       ///< The input is empty.
    tooLong,       ///< The input is longer than the limits allow.
    tooDeep,       ///< Containers stand in one another deeper than the limits allow.
    duplicateKey,  ///< A dictionary has a key twice.
    badEncoding,   ///< The characters are not in the encoding they should be in.
    badNumber,     ///< An integer or a real is malformed, or out of the range of its type.
    badDate,       ///< A date is malformed, or no point in time.
    badData,       ///< Data is not what its notation demands (base64, pairs of hex digits).

    // Binary.
    badHeader,      ///< Not the magic and the version of the binary format, or cut short.
    badTrailer,     ///< The trailer contradicts itself or the length of the input.
    badOffset,      ///< An entry of the offset table points outside of the objects.
    badReference,   ///< A container refers to an object that does not exist.
    badLength,      ///< An object says that it is longer than the space it has, or says it wrongly.
    badKind,        ///< An object is of no kind, or of one that property lists do not have.
    badKey,         ///< A key of a dictionary is not a string.
    cycle,          ///< A container contains itself.
    overlap,        ///< Objects overlap: together they have more bytes than there are for them.
    expandsTooFar,  ///< Shared objects make the value larger than the limits allow.

    // XML.
    notWellFormed,   ///< Not well-formed XML.
    declarations,    ///< A document type with declarations of its own, or an entity of no XML.
    unknownElement,  ///< An element or an attribute that property lists do not have.
    misplaced,       ///< An element or text where it must not stand, or one missing where it must.

    // Text, and misplaced things in it.
    unexpectedCharacter,  ///< Another character is needed here.
    unterminated,         ///< The input ends within a string, data, a comment or a container.
    badEscape,            ///< A backslash is followed by what stands for no character.

    // Strings tables.
    notAStringsTable,  ///< A property list, but not a dictionary of strings.

    // Writing.
    notAPropertyList,  ///< A value, or a part of one, of a kind that property lists do not have.
    inexpressible,     ///< A string or a date that the format has no notation for.
  };

  Code code;
  std::string message;                     ///< What is wrong, for people: "a key without a value".
  std::optional<std::size_t> offset = {};  ///< Where in the bytes; of the binary format.
  std::optional<std::size_t> line = {};    ///< In which line, from 1; of XML and text.
  std::string file = {};                   ///< The path, where a file was read.

  /// The message after its place, for people: "line 7: a key without a value", "a.plist: offset 41:
  /// a container contains itself", "a.plist: No such file or directory".
  [[nodiscard]] std::string description() const;
};

/// What was asked for, or the error that came instead. Which of the two, `if (result)` tells;
/// taking the one that is not there raises `std::bad_variant_access`.
template <class T>
class [[nodiscard]] PropertyListResult {
 public:
  // Implicit, so that a function returns either as it is.
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

/// The format that `readPropertyList` takes bytes for: binary when they begin with "bplist"; XML
/// when the first character behind a byte order mark and white space is "<" and begins something
/// other than hexadecimal data; text otherwise. It says nothing about whether they can be read.
[[nodiscard]] PropertyListFormat propertyListFormatOf(std::span<const std::byte> bytes) noexcept;

/// Reads a property list of any format.
PropertyListResult<Value> readPropertyList(std::span<const std::byte> bytes,
                                           const PropertyListLimits& limits = {});

/// Reads a property list of any format from a regular file, which nothing else is accepted for: a
/// pipe without a writer does not make the caller wait.
PropertyListResult<Value> readPropertyListFile(const std::filesystem::path& path,
                                               const PropertyListLimits& limits = {});

/// Reads a binary property list, version 00.
///
/// Integers of 1, 2 and 4 bytes are unsigned, those of 8 are signed, and 16 bytes serve the numbers
/// from 2^63 to 2^64-1 alone. Reals keep every bit, dates too; a real of 4 bytes reads as the
/// double of the same number. References and offsets may have any size from 1 to 8. Whatever is
/// referred to more than once is shared in the value.
///
/// Refused are, beyond what cannot be read at all: gaps or anything else between the parts of the
/// file (header, objects, offset table, trailer); objects that together have more bytes than there
/// are; a container within itself; keys that are not strings and keys that occur twice; strings
/// with surrogates that are not in pairs, or with other than ASCII characters under the ASCII
/// marker; dates that are not finite; and the kinds that are not part of a property list, though
/// the format has markers for them (null, fill, URL, UUID, UID, sets, UTF-8 strings).
PropertyListResult<Value> readBinaryPropertyList(std::span<const std::byte> bytes,
                                                 const PropertyListLimits& limits = {});

/// Reads an XML property list: UTF-8, UTF-16, ISO-8859-1 or US-ASCII.
///
/// A document type may be named, and is not fetched; with declarations of its own in brackets it is
/// refused, so there are no entities but XML's five. The root is `<plist>` around one element, or
/// that element itself. Attributes are allowed on `<plist>` alone, and ignored.
///
/// - `<integer>`: decimal digits or "0x" and hexadecimal ones, with or without a sign, from -2^63
/// to
///   2^64-1. `<real>`: decimal, with or without fraction and exponent, not too large and not too
///   small for a double; or "nan", "inf", "infinity" with or without a sign, in any case.
/// - `<date>`: `YYYY-MM-DDThh:mm:ssZ` by the Gregorian calendar, also where it was not yet in use.
///   Years before 0 have a minus, years after 9999 more digits.
/// - White space around these three is ignored.
/// - `<data>`: base64 with its padding, white space anywhere.
/// - `<string>` and `<key>`: text, also in CDATA sections. `<true/>`, `<false/>`: empty.
///
/// Comments and processing instructions are skipped between elements and refused within text. Keys
/// that occur twice in a dictionary are refused.
PropertyListResult<Value> readXMLPropertyList(std::span<const std::byte> bytes,
                                              const PropertyListLimits& limits = {});

/// Reads a property list in the old text format. Its leaves are strings and data only.
///
///     { name = Backup; "days of week" = (mon, "tue", ); token = <0fbd77 1c>; enabled; }
///
/// - The bytes are UTF-8, or UTF-16 with a byte order mark. Comments are as in C++.
/// - Strings of the characters A-Z a-z 0-9 _ $ / : . - need no quotes; `"` and `'` both quote.
/// - In quotes, backslash and `a b f n r t v` stand for control characters; one to three octal
///   digits, at most 377, for a character of the NextStep set; `U` and one to four hexadecimal
///   digits for a unit of UTF-16, of which surrogates must come in pairs; anything else for itself.
/// - Each entry of a dictionary ends in ";", the last one too; "key;" stands for "key = key;". A
/// key
///   that occurs again replaces the earlier value. An array may have a comma behind its last
///   element.
/// - The braces of a dictionary at the root may be left out: that is a strings table. White space
///   and comments alone are an empty dictionary.
PropertyListResult<Value> readTextPropertyList(std::span<const std::byte> bytes,
                                               const PropertyListLimits& limits = {});

/// Writes a binary property list, version 00.
///
/// The file is the one that the format's own writers make of the value. Objects are numbered from
/// the root on: a container, then the keys of a dictionary, then what it contains, one after the
/// other with everything below it. Strings (keys among them), data, numbers and dates that are the
/// same in type and in every bit are written once, and so is a container for as often as copies of
/// it occur (`Value::sharesStorageWith`); containers that are merely equal, empty ones too, remain
/// separate objects. So a file is no larger than what the value takes in memory, and takes time in
/// proportion, however large the value would be with every copy written out.
///
/// Reading the file gives a value that is the same to the last bit, with the keys in the same order
/// and with the same parts shared. A value may be nested, or expand, further than the default
/// `PropertyListLimits` of a reader; none is refused for that here.
///
/// Refused are values with a part that property lists do not have: absent or null, or a reference
/// to an object (`notAPropertyList`); with a date that is not finite (`badDate`); with a string or
/// a key that is not well-formed UTF-8 (`badEncoding`); and those of 2^32 objects (`tooLong`). The
/// message says where, from the root: `at [3]."start": a date that is not finite`. It has neither
/// offset nor line.
PropertyListResult<std::vector<std::byte>> writeBinaryPropertyList(const Value& value);

/// Writes an XML property list, in UTF-8: an element `<plist version="1.0">` with the value in it,
/// each element on a line of its own behind as many tabs (at most 32) as containers are around it,
/// keys in their order. Reals have the fewest digits that read back the same, data is base64
/// without line breaks. There is no document type: readers take the file without one, and ours
/// would not fetch it.
///
/// Reading the file gives the value back, keys in the same order. What XML does not say is which
/// NaN a real was, the sign of a date at 0, and what the value shares; the last of these is why a
/// value that expands too far is refused (`expandsTooFar`): one of more objects, when each
/// reference counts, than `expandedObjects` and another `expandedObjectsPerByte` for each reference
/// in its distinct containers. `depth` and `inputBytes` hold for the file as they do for a reader
/// of it
/// (`tooDeep`, `tooLong`).
///
/// Refused is beyond that what the binary writer refuses, and what XML has no notation for
/// (`inexpressible`): strings and keys with control characters other than tab, line feed and
/// carriage return, or with U+FFFE or U+FFFF; dates with a fraction of a second, which rounding
/// would change, and those more than 2^53 seconds from 2001. Messages are as there.
PropertyListResult<std::string> writeXMLPropertyList(const Value& value,
                                                     const PropertyListLimits& limits = {});

}  // namespace vexil::platform
