// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/propertylists/PropertyListBuilder.h>
#include <vexil/platform/texts/TextEncoding.h>

#include <array>
#include <cstdint>
#include <vector>

namespace vexil::platform {

namespace {

using Code = PropertyListError::Code;
using Place = detail::PropertyListBuilder::Place;

/// The characters of the NextStep set from octal 200 on. Those below are ASCII.
constexpr std::array<char16_t, 128> nextStepCharacters = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB,
    0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9,
    0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3,
    0x2044, 0x00A5, 0x0192, 0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB,
    0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9, 0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9,
    0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD,
    0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x0141, 0x00D8, 0x0152, 0x00BA,
    0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB, 0x0131, 0x00FC, 0x00FD,
    0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0xFFFD, 0xFFFD,
};

bool isUnquoted(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') ||
         std::string_view("_$/:.-").find(character) != std::string_view::npos;
}

class TextReader {
 public:
  TextReader(std::span<const std::byte> bytes, const PropertyListLimits& limits)
      : _text(detail::textOf(bytes)), _depth(limits.depth) {}

  PropertyListResult<Value> read() {
    if (!decode() || !readRoot() || !readContents() || !readNothing()) {
      return std::move(*_error);
    }
    return _builder.take();
  }

 private:
  bool fail(Code code, std::string message) {
    _error = PropertyListError{code, std::move(message), {}, detail::lineOf(_text, _at)};
    return false;
  }
  bool failAtEnd(const char* within) {
    _at = _text.size();
    return fail(Code::unterminated, std::string("the input ends within ") + within);
  }

  [[nodiscard]] bool isAtEnd() const { return _at == _text.size(); }
  [[nodiscard]] bool isAt(std::string_view text) const {
    return _text.substr(_at).starts_with(text);
  }
  bool take(char character) {
    const bool isThere = !isAtEnd() && _text[_at] == character;
    _at += isThere ? 1 : 0;
    return isThere;
  }

  /// How many bytes a line or paragraph separator of Unicode has here; 0 when none stands here.
  [[nodiscard]] std::size_t separatorLength() const {
    return isAt("\xE2\x80\xA8") || isAt("\xE2\x80\xA9") ? 3 : 0;
  }

  bool decode();
  bool skipSpace();
  bool readRoot();
  bool readContents();
  bool readNothing();
  bool readKey();
  bool readValue();
  bool beginContainer(bool isDictionary);
  bool endContainer();
  bool finishValue();
  bool readString(std::string_view& string);
  bool readEscape();
  bool readUnit(char32_t& unit);
  bool readData();

  std::string_view _text;
  std::size_t _depth;
  std::size_t _at = 0;
  std::string _decoded;
  std::string _unescaped;
  bool _isStringsTable = false;  // a dictionary at the root without braces
  detail::PropertyListBuilder _builder;
  std::optional<PropertyListError> _error;
};

bool TextReader::decode() {
  if (const auto order = detail::utf16MarkOf(_text)) {
    const std::string_view units = _text.substr(2);
    const auto end = detail::endOfValidUTF16(units, *order);
    _decoded = detail::utf8FromUTF16(units.substr(0, end.value_or(units.size())), *order);
    _text = _decoded;
    _at = end ? _text.size() : 0;
    return !end || fail(Code::badEncoding, "not well-formed UTF-16");
  }
  if (_text.starts_with(detail::utf8Mark)) {
    _text.remove_prefix(detail::utf8Mark.size());
  }
  const auto end = detail::endOfValidUTF8(_text);
  _at = end.value_or(0);
  return !end || fail(Code::badEncoding, "neither UTF-8 nor UTF-16 with a byte order mark");
}

bool TextReader::skipSpace() {
  while (!isAtEnd()) {
    const char character = _text[_at];
    if (character == ' ' || (character >= '\t' && character <= '\r')) {
      ++_at;
    } else if (const std::size_t length = separatorLength(); length != 0) {
      _at += length;
    } else if (isAt("//")) {
      while (!isAtEnd() && _text[_at] != '\n' && _text[_at] != '\r' && separatorLength() == 0) {
        ++_at;
      }
    } else if (isAt("/*")) {
      const std::size_t end = _text.find("*/", _at + 2);
      if (end == std::string_view::npos) {
        return failAtEnd("a comment");
      }
      _at = end + 2;
    } else {
      break;
    }
  }
  return true;
}

/// Reads the root; when it is a container, only its beginning.
bool TextReader::readRoot() {
  if (!skipSpace()) {
    return false;
  }
  if (isAtEnd()) {
    _builder.add(Value::dictionary({}));
    return true;
  }
  const std::size_t start = _at;
  const bool isString = !isAt("{") && !isAt("(") && !isAt("<");
  if (!readValue()) {
    return false;
  }
  if (!isString || !skipSpace() || isAtEnd()) {
    return !_error;
  }
  // What looked like a string is the first key of a strings table.
  _builder = {};
  _at = start;
  _isStringsTable = true;
  return beginContainer(true);
}

/// Reads to the end of the root.
bool TextReader::readContents() {
  while (_builder.place() != Place::end) {
    if (!skipSpace()) {
      return false;
    }
    const bool isTable = _isStringsTable && _builder.depth() == 1;
    const bool isDictionary = _builder.isInDictionary();
    bool isRead = false;
    if (isAtEnd() && isTable && _builder.place() == Place::key) {
      _builder.end();
      return true;
    }
    if (isAtEnd()) {
      return failAtEnd(isDictionary ? "a dictionary" : "an array");
    }
    switch (_builder.place()) {
      case Place::key:
        isRead = !isTable && take('}') ? endContainer() : readKey();
        break;
      case Place::element:
        isRead = take(')') ? endContainer() : readValue();
        break;
      default:
        isRead = readValue();
    }
    if (!isRead) {
      return false;
    }
  }
  return true;
}

bool TextReader::readNothing() {
  return skipSpace() &&
         (isAtEnd() || fail(Code::unexpectedCharacter, "something follows the end of the root"));
}

bool TextReader::readKey() {
  std::string_view key;
  if (!readString(key)) {
    return false;
  }
  _builder.addKey(key);
  const std::size_t end = _at;
  if (!skipSpace()) {
    return false;
  }
  if (take('=')) {
    return true;
  }
  if (isAt(";")) {
    _builder.add(key);
    return finishValue();
  }
  if (isAtEnd()) {
    return failAtEnd("a dictionary");
  }
  _at = end;
  return fail(Code::unexpectedCharacter, "a key is not followed by = or ;");
}

/// Reads a value; when it is a container, only its beginning.
bool TextReader::readValue() {
  if (take('{')) {
    return beginContainer(true);
  }
  if (take('(')) {
    return beginContainer(false);
  }
  if (take('<')) {
    return readData() && finishValue();
  }
  std::string_view string;
  if (!readString(string)) {
    return false;
  }
  _builder.add(string);
  return finishValue();
}

bool TextReader::beginContainer(bool isDictionary) {
  if (_builder.depth() == _depth) {
    return fail(Code::tooDeep, "containers are nested deeper than " + std::to_string(_depth));
  }
  if (isDictionary) {
    _builder.beginDictionary();
  } else {
    _builder.beginArray();
  }
  return true;
}

bool TextReader::endContainer() {
  _builder.end();
  return finishValue();
}

/// Reads what must follow a value.
bool TextReader::finishValue() {
  if (_builder.depth() == 0) {
    return true;
  }
  const std::size_t end = _at;
  if (!skipSpace()) {
    return false;
  }
  const bool isDictionary = _builder.isInDictionary();
  if (isDictionary ? take(';') : take(',') || isAt(")")) {
    return true;
  }
  if (isAtEnd()) {
    return failAtEnd(isDictionary ? "a dictionary" : "an array");
  }
  _at = end;
  return fail(Code::unexpectedCharacter, isDictionary ? "a value is not followed by ;"
                                                      : "an element is not followed by , or )");
}

/// Reads a string. `string` is valid until the next one is read.
bool TextReader::readString(std::string_view& string) {
  const std::size_t start = _at;
  if (!take('"') && !take('\'')) {
    while (!isAtEnd() && isUnquoted(_text[_at])) {
      ++_at;
    }
    string = _text.substr(start, _at - start);
    return !string.empty() || fail(Code::unexpectedCharacter, "no value begins like this");
  }
  const char quote = _text[start];
  std::size_t plain = _at;  // where the text without escapes begins
  bool isPlain = true;
  _unescaped.clear();
  while (!isAtEnd() && _text[_at] != quote) {
    if (_text[_at] != '\\') {
      ++_at;
      continue;
    }
    _unescaped += _text.substr(plain, _at - plain);
    isPlain = false;
    ++_at;
    if (!readEscape()) {
      return false;
    }
    plain = _at;
  }
  if (isAtEnd()) {
    return failAtEnd("a string");
  }
  string = _text.substr(plain, _at - plain);
  if (!isPlain) {
    _unescaped += string;
    string = _unescaped;
  }
  ++_at;
  return true;
}

/// Reads what follows a backslash.
bool TextReader::readEscape() {
  if (isAtEnd()) {
    return failAtEnd("a string");
  }
  constexpr unsigned mostDigits = 3;
  unsigned code = 0;
  unsigned count = 0;
  for (; count < mostDigits && !isAtEnd(); ++count, ++_at) {
    const auto digit = detail::digit(_text[_at], 8);
    if (!digit) {
      break;
    }
    code = code * 8 + *digit;
  }
  if (count > 0) {
    if (code > 0377) {
      return fail(Code::badEscape, "an octal escape is greater than 377");
    }
    detail::appendUTF8(_unescaped, code < 0200 ? code : nextStepCharacters[code - 0200]);
    return true;
  }
  constexpr std::string_view letters = "abfnrtv";
  constexpr std::string_view meanings = "\a\b\f\n\r\t\v";
  const char character = _text[_at++];
  if (character != 'U') {
    const std::size_t letter = letters.find(character);
    _unescaped += letter == std::string_view::npos ? character : meanings[letter];
    return true;
  }
  char32_t unit = 0;
  if (!readUnit(unit)) {
    return false;
  }
  if (detail::isHighSurrogate(unit) && isAt("\\U")) {
    _at += 2;
    char32_t low = 0;
    if (!readUnit(low)) {
      return false;
    }
    unit = detail::isLowSurrogate(low) ? detail::joined(unit, low) : unit;
  }
  if (detail::isHighSurrogate(unit) || detail::isLowSurrogate(unit)) {
    return fail(Code::badEscape, "a surrogate is not one of a pair");
  }
  detail::appendUTF8(_unescaped, unit);
  return true;
}

/// Reads the digits behind `\U`.
bool TextReader::readUnit(char32_t& unit) {
  constexpr unsigned mostDigits = 4;
  unsigned count = 0;
  for (; count < mostDigits && !isAtEnd(); ++count, ++_at) {
    const auto digit = detail::digit(_text[_at], 16);
    if (!digit) {
      break;
    }
    unit = unit * 16 + *digit;
  }
  return count > 0 || fail(Code::badEscape, "\\U is not followed by a hexadecimal digit");
}

/// Reads data behind its `<`.
bool TextReader::readData() {
  std::vector<std::byte> bytes;
  while (!take('>')) {
    if (isAtEnd()) {
      return failAtEnd("data");
    }
    const char character = _text[_at];
    const std::size_t separator = separatorLength();
    if (character == ' ' || character == '\t' || character == '\n' || character == '\r') {
      ++_at;
      continue;
    }
    if (separator != 0) {
      _at += separator;
      continue;
    }
    const auto high = detail::digit(character, 16);
    const auto low = _at + 1 < _text.size() ? detail::digit(_text[_at + 1], 16) : std::nullopt;
    if (!high || !low) {
      return fail(Code::badData, "data is not pairs of hexadecimal digits");
    }
    bytes.push_back(static_cast<std::byte>(*high * 16 + *low));
    _at += 2;
  }
  _builder.add(Value::data(bytes));
  return true;
}

}  // namespace

PropertyListResult<Value> readTextPropertyList(std::span<const std::byte> bytes,
                                               const PropertyListLimits& limits) {
  if (auto error = detail::errorOfLength(bytes, limits)) {
    return *std::move(error);
  }
  return TextReader(bytes, limits).read();
}

}  // namespace vexil::platform
