// SPDX-License-Identifier: Apache-2.0
#include <replay/Constants.h>
#include <replay/Objects.h>
#include <replay/Printer.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace replay {

using platform::Value;

namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";

std::string printedInteger(const Value& integer) {
  return integer.integer() ? std::to_string(*integer.integer())
                           : std::to_string(*integer.unsignedInteger());
}

std::string printedStrings(const std::set<std::string>& strings) {
  std::string text = "(";
  for (const std::string& string : strings) {
    text += text.size() > 1 ? ", " : "";
    text += printedString(nameOfString(string));
  }
  return text + ")";
}

}  // namespace

std::string printedReal(double real) {
  // The longest is a sign, 17 digits, a point, and an exponent of three digits with its sign.
  std::array<char, 32> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), real,
                                 std::chars_format::general, 17);
  std::string text(buffer.data(), end.ptr);
  if (text.find_first_of(".en") == std::string::npos) {
    text += ".0";
  }
  return text;
}

std::string printedData(std::span<const std::byte> bytes) {
  std::string text = "<";
  for (const std::byte byte : bytes) {
    text += hexDigits[std::to_integer<std::size_t>(byte >> 4)];
    text += hexDigits[std::to_integer<std::size_t>(byte & std::byte{15})];
  }
  return text + ">";
}

std::string printedIndexes(const std::optional<platform::IndexSet>& indexes) {
  return indexes ? indexes->description() : "absent";
}

std::string_view printedKind(platform::ChangeKind kind) noexcept {
  switch (kind) {
    case platform::ChangeKind::setting:
      return "setting";
    case platform::ChangeKind::insertion:
      return "insertion";
    case platform::ChangeKind::removal:
      return "removal";
    case platform::ChangeKind::replacement:
      return "replacement";
  }
  return "unknown";
}

std::string printedString(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    switch (character) {
      case '"':
        result += "\\\"";
        break;
      case '\\':
        result += "\\\\";
        break;
      case '\n':
        result += "\\n";
        break;
      case '\r':
        result += "\\r";
        break;
      case '\t':
        result += "\\t";
        break;
      default:
        if (const auto code = static_cast<unsigned char>(character); code < 0x20) {
          result += "\\u00";
          result += hexDigits[code >> 4];
          result += hexDigits[code & 15];
        } else {
          result += character;
        }
    }
  }
  return result + "\"";
}

std::string printedClass(const platform::Object& object) {
  const std::string name = object.className();
  constexpr std::string_view own = "replay::";
  return name.starts_with(own) ? name.substr(own.size()) : name;
}

/// A container or an item whose end has not been printed yet.
struct Printer::Open {
  Value content;
  std::vector<std::pair<std::string, std::size_t>> entries;  // of a dictionary: printed key, index
  std::size_t next = 0;
};

std::string Printer::value(const Value& value) {
  std::string text;
  std::vector<Open> open;
  begin(text, open, value);
  while (!open.empty()) {
    Open& innermost = open.back();
    const std::size_t position = innermost.next++;
    const char* const separator = position == 0 ? "" : ", ";
    if (innermost.content.isObject()) {
      if (position == 0) {
        begin(text, open,
              static_cast<const KRAVTWVItemVexil&>(*innermost.content.object()).uniqueID());
      } else {
        text += ')';
        open.pop_back();
      }
    } else if (innermost.content.isDictionary()) {
      if (position < innermost.entries.size()) {
        const auto& [key, index] = innermost.entries[position];
        text += separator + key + ": ";
        begin(text, open, Value(innermost.content.values()[index]));
      } else {
        text += '}';
        open.pop_back();
      }
    } else {
      if (position < innermost.content.elements().size()) {
        text += separator;
        begin(text, open, Value(innermost.content.elements()[position]));
      } else {
        text += ']';
        open.pop_back();
      }
    }
  }
  return text;
}

void Printer::begin(std::string& text, std::vector<Open>& open, const Value& value) {
  switch (value.kind()) {
    case Value::Kind::absent:
      text += "absent";
      return;
    case Value::Kind::null:
      text += "null";
      return;
    case Value::Kind::boolean:
      text += *value.boolean() ? "true" : "false";
      return;
    case Value::Kind::integer:
      text += printedInteger(value);
      return;
    case Value::Kind::real:
      text += printedReal(*value.real());
      return;
    case Value::Kind::string:
      text += string(value.string());
      return;
    case Value::Kind::data:
      text += data(value.bytes());
      return;
    case Value::Kind::date:
      text += '@';
      text += printedReal(value.date()->seconds);
      return;
    case Value::Kind::array:
      text += '[';
      open.push_back({value, {}});
      return;
    case Value::Kind::dictionary:
      beginDictionary(text, open, value);
      return;
    case Value::Kind::object:
      beginObject(text, open, value);
      return;
  }
}

void Printer::beginDictionary(std::string& text, std::vector<Open>& open, const Value& value) {
  text += '{';
  Open dictionary{value, {}};
  for (std::size_t index = 0; index < value.keys().size(); ++index) {
    dictionary.entries.emplace_back(printedString(nameOfRecordKey(value.keys()[index].text())),
                                    index);
  }
  std::ranges::sort(dictionary.entries);
  open.push_back(std::move(dictionary));
}

void Printer::beginObject(std::string& text, std::vector<Open>& open, const Value& value) {
  const auto& object = value.object();
  if (dynamic_cast<const KRAVTWVItemVexil*>(object.get()) != nullptr) {
    text += '#' + std::to_string(_registry.numberOf(object));
    // An identifier may hold the item itself. There, only its number is printed.
    const bool isInside = std::ranges::any_of(
        open, [&](const Open& outer) { return outer.content.object() == object; });
    if (!isInside) {
      text += '(' + printedClass(*object) + ' ';
      open.push_back({value, {}});
    }
  } else if (const auto* service = dynamic_cast<const platform::NetService*>(object.get())) {
    text += "service(" + this->value(service->name()) + ", " + this->value(service->type()) + ", " +
            this->value(service->domain()) + ")";
  } else if (const auto* indexes = dynamic_cast<const Indexes*>(object.get())) {
    text += indexes->indexes().description();
  } else if (const auto* strings = dynamic_cast<const StringSet*>(object.get())) {
    text += printedStrings(strings->strings());
  } else {
    text += name(*object);
  }
}

std::string Printer::items(const KRAVTWVItemArray& items) {
  return value(Value::arrayOfObjects(items));
}

std::string Printer::name(const platform::Object& object) const {
  const std::optional<std::string> name = _registry.nameOf(object);
  return name ? *name : printedClass(object);
}

std::string Printer::data(std::span<const std::byte> bytes) const {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return _files.isOneOfTheirURLs(text) ? "<url>" : printedData(bytes);
}

std::string Printer::string(std::string_view string) const {
  const std::string_view name = nameOfString(string);
  return name != string ? printedString(name) : printedString(_files.withoutTheirURLs(string));
}

}  // namespace replay
