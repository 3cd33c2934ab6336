// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/propertylists/PropertyListBuilder.h>
#include <vexil/platform/propertylists/PropertyListScalars.h>
#include <vexil/platform/propertylists/PropertyListWriting.h>
#include <vexil/platform/texts/TextEncoding.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace vexil::platform {

namespace {

using Code = PropertyListError::Code;
using detail::OpenContainer;

/// The size of a value: its objects as the limits count them, when every reference counts; and the
/// number of references in its distinct containers. Neither grows beyond 2^64-1.
struct Extent {
  std::uint64_t expanded = 0;
  std::uint64_t references = 0;
};

std::uint64_t sizeOfBytes(std::size_t bytes) {
  return 1 + bytes / 64;
}

Extent extentOf(const Value& root) {
  Extent extent;
  detail::AddressTable<std::uint64_t>
      known;  // the expanded size of each container that was finished
  std::vector<OpenContainer> open;
  std::vector<std::uint64_t> sums;  // for each open container, so far
  const auto isContainer = [](const Value& value) {
    return value.isArray() || value.isDictionary();
  };
  sums.push_back(0);
  const auto visit = [&](const Value& value) {
    if (!isContainer(value)) {
      const std::size_t bytes = value.string().size() + value.bytes().size();
      sums.back() = detail::saturatingSum(sums.back(), sizeOfBytes(bytes));
      return;
    }
    OpenContainer container(value);
    const auto [expanded, isNew] = known.find(container.contents.data());
    if (!isNew) {
      sums.back() = detail::saturatingSum(sums.back(), expanded);
      return;
    }
    extent.references += container.contents.size() + value.keys().size();
    std::uint64_t sum = 1;
    for (const Key& key : value.keys()) {
      sum += sizeOfBytes(key.text().size());
    }
    open.push_back(container);
    sums.push_back(sum);
  };
  visit(root);
  while (!open.empty()) {
    OpenContainer& innermost = open.back();
    if (innermost.next < innermost.contents.size()) {
      visit(innermost.contents[innermost.next++]);
      continue;
    }
    const std::uint64_t sum = sums.back();
    known.find(innermost.contents.data()).first = sum;
    open.pop_back();
    sums.pop_back();
    sums.back() = detail::saturatingSum(sums.back(), sum);
  }
  extent.expanded = sums.back();
  return extent;
}

/// Why a text cannot stand in XML.
struct Flaw {
  Code code;
  std::string_view message;
};
std::optional<Flaw> flawOf(std::string_view text) {
  if (detail::endOfValidUTF8(text)) {
    return Flaw{Code::badEncoding, "that is not well-formed UTF-8"};
  }
  const auto isControl = [](char character) {
    return static_cast<unsigned char>(character) < 0x20 && !detail::isXMLSpace(character);
  };
  if (std::ranges::any_of(text, isControl)) {
    return Flaw{Code::inexpressible, "with a control character"};
  }
  if (text.find("\xEF\xBF\xBE") != text.npos || text.find("\xEF\xBF\xBF") != text.npos) {
    return Flaw{Code::inexpressible, "with U+FFFE or U+FFFF"};
  }
  return std::nullopt;
}

class XMLWriter {
 public:
  explicit XMLWriter(const PropertyListLimits& limits) : _limits(limits) {}

  PropertyListResult<std::string> write(const Value& root) {
    const Extent extent = extentOf(root);
    if (extent.expanded > detail::budgetOf(_limits, extent.references)) {
      fail(Code::expandsTooFar, "shared containers make too many objects when each is written out");
      return std::move(*_error);
    }
    _text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
    if (!add(root)) {
      return std::move(*_error);
    }
    while (!_open.empty()) {
      if (!advance()) {
        return std::move(*_error);
      }
    }
    _text += "</plist>\n";
    if (_text.size() > _limits.inputBytes) {
      failAsTooLong();
      return std::move(*_error);
    }
    return std::move(_text);
  }

 private:
  bool fail(Code code, std::string_view message) {
    _error = detail::errorAt(_open, code, message);
    return false;
  }
  bool failAsTooLong() {
    return fail(Code::tooLong,
                "the file is longer than " + std::to_string(_limits.inputBytes) + " bytes");
  }

  void indent() {
    constexpr std::size_t most = 32;
    _text.append(std::min(most, _open.size()), '\t');
  }

  bool advance();
  bool add(const Value& value);
  bool addContainer(const Value& value);
  bool addDate(double seconds);
  bool addText(std::string_view name, std::string_view what, std::string_view text);
  void appendEscaped(std::string_view text);

  const PropertyListLimits& _limits;
  std::string _text;
  std::vector<OpenContainer> _open;
  std::optional<PropertyListError> _error;
};

/// Writes the next part of the innermost container, or its end.
bool XMLWriter::advance() {
  OpenContainer& open = _open.back();
  const bool isDictionary = open.container->isDictionary();
  if (open.next == open.contents.size()) {
    _open.pop_back();
    indent();
    _text += isDictionary ? "</dict>\n" : "</array>\n";
    return true;
  }
  const std::size_t at = open.next++;
  if (_text.size() > _limits.inputBytes) {
    return failAsTooLong();
  }
  return (!isDictionary || addText("key", "a key ", open.container->keys()[at].text())) &&
         add(open.contents[at]);
}

/// Writes a value; when it is a container, only its beginning.
bool XMLWriter::add(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::array:
    case Value::Kind::dictionary:
      return addContainer(value);
    case Value::Kind::string:
      return addText("string", "a string ", value.string());
    case Value::Kind::date:
      return addDate(value.date()->seconds);
    case Value::Kind::boolean:
      indent();
      _text += *value.boolean() ? "<true/>\n" : "<false/>\n";
      return true;
    case Value::Kind::integer:
      indent();
      _text += "<integer>";
      detail::appendInteger(_text, value);
      _text += "</integer>\n";
      return true;
    case Value::Kind::real:
      indent();
      _text += "<real>";
      detail::appendReal(_text, *value.real());
      _text += "</real>\n";
      return true;
    case Value::Kind::data:
      indent();
      _text += "<data>";
      detail::appendBase64(_text, value.bytes());
      _text += "</data>\n";
      return true;
    default:
      return fail(Code::notAPropertyList, detail::nameOfForeign(value));
  }
}

bool XMLWriter::addContainer(const Value& value) {
  OpenContainer open(value);
  if (_open.size() >= _limits.depth) {
    return fail(Code::tooDeep,
                "containers are nested deeper than " + std::to_string(_limits.depth));
  }
  indent();
  if (open.contents.empty()) {
    _text += value.isArray() ? "<array/>\n" : "<dict/>\n";
    return true;
  }
  _text += value.isArray() ? "<array>\n" : "<dict>\n";
  _open.push_back(open);
  return true;
}

bool XMLWriter::addDate(double seconds) {
  if (!std::isfinite(seconds)) {
    return fail(Code::badDate, "a date that is not finite");
  }
  if (!detail::hasDateText(seconds)) {
    return fail(Code::inexpressible, seconds == std::trunc(seconds)
                                         ? "a date too far away for XML"
                                         : "a date with a fraction of a second, which XML has not");
  }
  indent();
  _text += "<date>";
  detail::appendDate(_text, seconds);
  _text += "</date>\n";
  return true;
}

/// Writes an element with a text in it. `what` names the element in an error message.
bool XMLWriter::addText(std::string_view name, std::string_view what, std::string_view text) {
  if (const auto flaw = flawOf(text)) {
    return fail(flaw->code, std::string(what).append(flaw->message));
  }
  indent();
  _text.append("<").append(name).append(">");
  appendEscaped(text);
  _text.append("</").append(name).append(">\n");
  return true;
}

void XMLWriter::appendEscaped(std::string_view text) {
  for (;;) {
    const std::size_t at = text.find_first_of("&<>\r");
    _text += text.substr(0, at);
    if (at == text.npos) {
      return;
    }
    switch (text[at]) {
      case '&':
        _text += "&amp;";
        break;
      case '<':
        _text += "&lt;";
        break;
      case '>':
        _text += "&gt;";
        break;
      default:
        _text += "&#13;";  // readers turn a plain carriage return into a line feed
    }
    text.remove_prefix(at + 1);
  }
}

}  // namespace

PropertyListResult<std::string> writeXMLPropertyList(const Value& value,
                                                     const PropertyListLimits& limits) {
  return XMLWriter(limits).write(value);
}

}  // namespace vexil::platform
