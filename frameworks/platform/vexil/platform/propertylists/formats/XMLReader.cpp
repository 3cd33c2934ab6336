// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/propertylists/PropertyListBuilder.h>
#include <vexil/platform/propertylists/PropertyListScalars.h>
#include <vexil/platform/texts/TextEncoding.h>

#include <expat.h>

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <new>

namespace vexil::platform {

namespace {

using Code = PropertyListError::Code;
using Place = detail::PropertyListBuilder::Place;

enum class Element { plist, array, dict, key, string, integer, real, date, data, yes, no };

std::optional<Element> elementOf(std::string_view name) {
  static constexpr std::array<std::pair<std::string_view, Element>, 11> elements = {{
      {"string", Element::string},
      {"key", Element::key},
      {"dict", Element::dict},
      {"array", Element::array},
      {"integer", Element::integer},
      {"true", Element::yes},
      {"false", Element::no},
      {"real", Element::real},
      {"date", Element::date},
      {"data", Element::data},
      {"plist", Element::plist},
  }};
  const auto found = std::ranges::find(elements, name, &decltype(elements)::value_type::first);
  return found == elements.end() ? std::nullopt : std::optional(found->second);
}

bool isContainer(Element element) {
  return element == Element::array || element == Element::dict;
}

std::string quoted(std::string_view name) {
  constexpr std::size_t most = 40;
  return "<" + std::string(name.substr(0, most)) + (name.size() > most ? "...>" : ">");
}

class XMLReader {
 public:
  XMLReader(std::span<const std::byte> bytes, const PropertyListLimits& limits);
  PropertyListResult<Value> read() {
    if (!checkEncoding()) {
      return std::move(*_error);
    }
    // The parser takes lengths as int.
    constexpr std::size_t most = std::size_t{1} << 30;
    XML_Status status = XML_STATUS_OK;
    for (std::string_view rest = _text; status == XML_STATUS_OK;) {
      const std::string_view part = rest.substr(0, most);
      rest.remove_prefix(part.size());
      status = XML_Parse(_parser.get(), part.data(), static_cast<int>(part.size()),
                         rest.empty() ? XML_TRUE : XML_FALSE);
      if (rest.empty()) {
        break;
      }
    }
    if (_exception) {
      std::rethrow_exception(_exception);
    }
    if (!_error && status != XML_STATUS_OK) {
      failAsParser(XML_GetErrorCode(_parser.get()));
    }
    if (_error) {
      return std::move(*_error);
    }
    return _builder.take();
  }

 private:
  struct FreeParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  /// Makes a method a function that the parser can call. It keeps exceptions out of the parser.
  /// After the first error it does nothing, though the parser may still call it.
  template <auto method>
  static auto handler() {
    return handlerOf<method>(method);
  }
  template <auto method, class... Arguments>
  static auto handlerOf(void (XMLReader::*)(Arguments...)) {
    return +[](void* data, Arguments... arguments) noexcept {
      XMLReader& reader = *static_cast<XMLReader*>(data);
      if (reader._error || reader._exception) {
        return;
      }
      try {
        (reader.*method)(arguments...);
      } catch (...) {
        reader._exception = std::current_exception();
        XML_StopParser(reader._parser.get(), XML_FALSE);
      }
    };
  }

  void fail(Code code, std::string message) {
    _error = PropertyListError{code,
                               std::move(message),
                               {},
                               static_cast<std::size_t>(XML_GetCurrentLineNumber(_parser.get()))};
    XML_StopParser(_parser.get(), XML_FALSE);
  }

  void failAsParser(XML_Error error) {
    switch (error) {
      case XML_ERROR_NO_MEMORY:
        throw std::bad_alloc();
      case XML_ERROR_UNKNOWN_ENCODING:
      case XML_ERROR_INCORRECT_ENCODING:
        return fail(Code::badEncoding, XML_ErrorString(error));
      case XML_ERROR_UNDEFINED_ENTITY:
        return fail(Code::declarations, XML_ErrorString(error));
      default:
        return fail(Code::notWellFormed, XML_ErrorString(error));
    }
  }

  bool checkEncoding();
  void declaration(const XML_Char* version, const XML_Char* encoding, int standalone);
  void documentType(const XML_Char* name, const XML_Char* system, const XML_Char* id, int internal);
  void entityDeclaration(const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                         const XML_Char*, const XML_Char*, const XML_Char*);
  void skippedEntity(const XML_Char* name, int isParameter);
  void start(const XML_Char* name, const XML_Char** attributes);
  void end(const XML_Char* name);
  void endLeaf(Element element);
  void endDictionary();
  void add(std::optional<Value> value, Code code, const char* message);
  void characters(const XML_Char* text, int length);
  void section();
  void comment(const XML_Char* text);
  void instruction(const XML_Char* target, const XML_Char* data);

  std::string_view _text;
  std::size_t _depth;
  std::unique_ptr<XML_ParserStruct, FreeParser> _parser;
  detail::PropertyListBuilder _builder;
  std::optional<Element> _leaf;  // the leaf or key whose text is being read
  std::string _contents;         // its text so far
  bool _isInPlist = false;
  bool _hasMark = false;
  std::optional<PropertyListError> _error;
  std::exception_ptr _exception;
};

XMLReader::XMLReader(std::span<const std::byte> bytes, const PropertyListLimits& limits)
    : _text(detail::textOf(bytes)), _depth(limits.depth), _parser(XML_ParserCreate(nullptr)) {
  if (!_parser) {
    throw std::bad_alloc();
  }
  XML_SetUserData(_parser.get(), this);
  XML_SetXmlDeclHandler(_parser.get(), handler<&XMLReader::declaration>());
  XML_SetDoctypeDeclHandler(_parser.get(), handler<&XMLReader::documentType>(), [](void*) {});
  XML_SetEntityDeclHandler(_parser.get(), handler<&XMLReader::entityDeclaration>());
  XML_SetSkippedEntityHandler(_parser.get(), handler<&XMLReader::skippedEntity>());
  XML_SetElementHandler(_parser.get(), handler<&XMLReader::start>(), handler<&XMLReader::end>());
  XML_SetCharacterDataHandler(_parser.get(), handler<&XMLReader::characters>());
  XML_SetCdataSectionHandler(_parser.get(), handler<&XMLReader::section>(), [](void*) {});
  XML_SetCommentHandler(_parser.get(), handler<&XMLReader::comment>());
  XML_SetProcessingInstructionHandler(_parser.get(), handler<&XMLReader::instruction>());
}

/// Checks UTF-16, because the parser joins surrogates without checking that they are a pair.
bool XMLReader::checkEncoding() {
  std::optional<std::endian> order = detail::utf16MarkOf(_text);
  _hasMark = _text.starts_with(detail::utf8Mark);
  if (!order && _text.size() >= 2) {
    order = _text[0] == '\0'   ? std::optional(std::endian::big)
            : _text[1] == '\0' ? std::optional(std::endian::little)
                               : std::nullopt;
  }
  const auto invalid = order ? detail::endOfValidUTF16(_text, *order) : std::nullopt;
  if (!invalid) {
    return true;
  }
  const std::string before = detail::utf8FromUTF16(_text.substr(0, *invalid), *order);
  _error = PropertyListError{
      Code::badEncoding, "not well-formed UTF-16", {}, detail::lineOf(before, before.size())};
  return false;
}

void XMLReader::declaration(const XML_Char* version, const XML_Char* encoding, int /*standalone*/) {
  if (version != nullptr && std::string_view(version) != "1.0") {
    return fail(Code::notWellFormed, "XML of another version than 1.0");
  }
  // The parser trusts the declaration more than the mark.
  if (_hasMark && encoding != nullptr) {
    std::string name(encoding);
    std::ranges::transform(name, name.begin(), [](char character) {
      return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                  : character;
    });
    if (name != "UTF-8") {
      fail(Code::badEncoding, "the encoding declared is not that of the byte order mark");
    }
  }
}

void XMLReader::documentType(const XML_Char* /*name*/, const XML_Char* /*system*/,
                             const XML_Char* /*id*/, int internal) {
  if (internal != 0) {
    fail(Code::declarations, "the document type has declarations of its own");
  }
}

void XMLReader::entityDeclaration(const XML_Char* /*name*/, int /*isParameter*/,
                                  const XML_Char* /*value*/, int /*length*/,
                                  const XML_Char* /*base*/, const XML_Char* /*system*/,
                                  const XML_Char* /*id*/, const XML_Char* /*notation*/) {
  fail(Code::declarations, "an entity is declared");
}

/// When a document type is named, the parser assumes that it declares the unknown entities, and
/// skips them.
void XMLReader::skippedEntity(const XML_Char* /*name*/, int /*isParameter*/) {
  fail(Code::declarations, "an entity that XML does not have");
}

void XMLReader::start(const XML_Char* name, const XML_Char** attributes) {
  const auto element = elementOf(name);
  if (!element) {
    return fail(Code::unknownElement, "an unknown element " + quoted(name));
  }
  if (_leaf) {
    return fail(Code::misplaced, "an element " + quoted(name) + " within text");
  }
  const Place place = _builder.place();
  if (*element == Element::plist) {
    if (_isInPlist || place != Place::root) {
      return fail(Code::misplaced, "<plist> is not the outermost element");
    }
    _isInPlist = true;
    return;
  }
  if (attributes[0] != nullptr) {
    return fail(Code::unknownElement, "an attribute of " + quoted(name));
  }
  if (place == Place::end) {
    return fail(Code::misplaced, "a second root " + quoted(name));
  }
  if ((place == Place::key) != (*element == Element::key)) {
    return fail(Code::misplaced, place == Place::key ? "a value " + quoted(name) + " without a key"
                                                     : "<key> where a value must stand");
  }
  if (!isContainer(*element)) {
    _leaf = element;
    return;
  }
  if (_builder.depth() == _depth) {
    return fail(Code::tooDeep, "containers are nested deeper than " + std::to_string(_depth));
  }
  if (*element == Element::array) {
    _builder.beginArray();
  } else {
    _builder.beginDictionary();
  }
}

void XMLReader::end(const XML_Char* name) {
  const Element element = *elementOf(name);
  switch (element) {
    case Element::plist:
      if (_builder.place() == Place::root) {
        fail(Code::misplaced, "<plist> is empty");
      }
      return;
    case Element::array:
      return _builder.end();
    case Element::dict:
      return endDictionary();
    default:
      endLeaf(element);
      _leaf.reset();
      _contents.clear();
  }
}

void XMLReader::endDictionary() {
  if (_builder.place() != Place::key) {
    return fail(Code::misplaced, "a key without a value");
  }
  if (const auto key = detail::repeatedKey(_builder.keys())) {
    return fail(Code::duplicateKey,
                "the dictionary has the key \"" + std::string(key->text()) + "\" twice");
  }
  _builder.end();
}

void XMLReader::endLeaf(Element element) {
  std::string_view text = _contents;
  if (element == Element::integer || element == Element::real || element == Element::date) {
    while (!text.empty() && detail::isXMLSpace(text.front())) {
      text.remove_prefix(1);
    }
    while (!text.empty() && detail::isXMLSpace(text.back())) {
      text.remove_suffix(1);
    }
  }
  switch (element) {
    case Element::key:
      return _builder.addKey(text);
    case Element::string:
      return _builder.add(text);
    case Element::yes:
    case Element::no:
      return _builder.add(element == Element::yes);
    case Element::integer:
      return add(detail::integerFromText(text), Code::badNumber,
                 "not an integer from -2^63 to 2^64-1");
    case Element::real:
      return add(detail::realFromText(text), Code::badNumber, "not a real that a double can hold");
    case Element::date:
      return add(detail::dateFromText(text), Code::badDate, "not a date like 2001-12-31T23:59:59Z");
    default:
      return add(detail::dataFromBase64(text), Code::badData, "not base64");
  }
}

void XMLReader::add(std::optional<Value> value, Code code, const char* message) {
  if (!value) {
    return fail(code, message);
  }
  _builder.add(std::move(*value));
}

void XMLReader::characters(const XML_Char* text, int length) {
  const std::string_view part(text, static_cast<std::size_t>(length));
  if (_leaf && *_leaf != Element::yes && *_leaf != Element::no) {
    _contents += part;
  } else if (_leaf || !std::ranges::all_of(part, detail::isXMLSpace)) {
    fail(Code::misplaced, "text where none must stand");
  }
}

void XMLReader::section() {
  if (_leaf != Element::string && _leaf != Element::key) {
    fail(Code::misplaced, "a CDATA section outside of a string and a key");
  }
}

void XMLReader::comment(const XML_Char* /*text*/) {
  if (_leaf) {
    fail(Code::misplaced, "a comment within text");
  }
}

void XMLReader::instruction(const XML_Char* /*target*/, const XML_Char* /*data*/) {
  if (_leaf) {
    fail(Code::misplaced, "a processing instruction within text");
  }
}

}  // namespace

PropertyListResult<Value> readXMLPropertyList(std::span<const std::byte> bytes,
                                              const PropertyListLimits& limits) {
  if (auto error = detail::errorOfLength(bytes, limits)) {
    return *std::move(error);
  }
  return XMLReader(bytes, limits).read();
}

}  // namespace vexil::platform
