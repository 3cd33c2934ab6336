// SPDX-License-Identifier: Apache-2.0
// A value is made of the input, not read from it. Every format that can carry it must read as the
// same value.
#include "PropertyListRoundTrip.h"
#include "TextWriter.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <vexil/platform/PropertyList.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Value;

class ValueMaker {
 public:
  ValueMaker(FuzzedDataProvider& input, bool isForText) : _input(input), _isForText(isForText) {}

  Value make(std::size_t depth) {
    const std::size_t before = _expanded++;
    Value value = makeAny(depth);
    if (!value.isNumber() && _earlier.size() < 100) {
      _earlier.push_back({value, _expanded - before});
    }
    return value;
  }

 private:
  struct Earlier {
    Value value;
    std::size_t expanded;  // how many objects it is when each reference counts
  };

  Value makeAny(std::size_t depth) {
    enum : int { string, data, array, dictionary, earlier, boolean, integer, real, date };
    switch (_input.ConsumeIntegralInRange<int>(string, _isForText ? earlier : date)) {
      case data:
        return makeData();
      case array:
        return Value::array(contents(depth));
      case dictionary:
        return makeDictionary(depth);
      case earlier:
        return shared();
      case boolean:
        return _input.ConsumeBool();
      case integer:
        return makeInteger();
      case real:
        return _input.ConsumeBool() ? _input.ConsumeFloatingPoint<double>() : makeDouble();
      case date:
        return makeDate();
      default:
        return makeText();
    }
  }

  std::size_t index(std::size_t size) {
    return _input.ConsumeIntegralInRange<std::size_t>(0, size - 1);
  }
  std::size_t length() { return _input.ConsumeIntegralInRange<std::size_t>(0, 20); }

  /// Something that occurs elsewhere, too, unless that would make the value too large to print.
  Value shared() {
    constexpr std::size_t mostObjects = 20'000;
    if (_earlier.empty()) {
      return "";
    }
    const Earlier& earlier = _earlier[index(_earlier.size())];
    if (_expanded + earlier.expanded > mostObjects) {
      return "";
    }
    _expanded += earlier.expanded;
    return earlier.value;
  }

  std::vector<Value> contents(std::size_t depth) {
    std::vector<Value> contents;
    if (depth == 0) {
      return contents;
    }
    for (std::size_t count = length(); count > 0 && _input.remaining_bytes() > 0; --count) {
      contents.push_back(make(depth - 1));
    }
    return contents;
  }

  Value makeDictionary(std::size_t depth) {
    std::vector<std::pair<platform::Key, Value>> entries;
    for (Value& content : contents(depth)) {
      entries.emplace_back(platform::Key(makeText()), std::move(content));
    }
    return Value::dictionary(std::move(entries));
  }

  Value makeData() {
    const auto bytes = _input.ConsumeBytes<std::uint8_t>(length());
    return Value::data(std::as_bytes(std::span(bytes)));
  }

  Value makeInteger() {
    const auto number = _input.ConsumeIntegral<std::uint64_t>();
    const auto shorter = number >> _input.ConsumeIntegralInRange<unsigned>(0, 63);
    return _input.ConsumeBool() ? Value(shorter) : Value(static_cast<std::int64_t>(number));
  }

  double makeDouble() { return std::bit_cast<double>(_input.ConsumeIntegral<std::uint64_t>()); }

  Value makeDate() {
    const double seconds = _input.ConsumeBool()
                               ? static_cast<double>(_input.ConsumeIntegral<std::int64_t>() >>
                                                     _input.ConsumeIntegralInRange<unsigned>(0, 63))
                               : makeDouble();
    return Date{std::isfinite(seconds) ? seconds : -0.0};
  }

  std::string makeText() {
    std::string text;
    for (std::size_t count = length(); count > 0 && _input.remaining_bytes() > 0; --count) {
      const auto most = std::array{0x7FU, 0x7FFU, 0xFFFFU, 0x10FFFFU}[index(4)];
      const auto character = _input.ConsumeIntegralInRange<unsigned>(0, most);
      const bool isSurrogate = character >= 0xD800 && character < 0xE000;
      appendUTF8(text, isSurrogate ? '?' : character);
    }
    return text;
  }

  static void appendUTF8(std::string& text, unsigned character) {
    const auto add = [&](unsigned byte) { text += static_cast<char>(byte); };
    const auto addRest = [&](unsigned shift) { add(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
      add(character);
    } else if (character < 0x800) {
      add(0xC0 | (character >> 6));
      addRest(0);
    } else if (character < 0x10000) {
      add(0xE0 | (character >> 12));
      addRest(6);
      addRest(0);
    } else {
      add(0xF0 | (character >> 18));
      addRest(12);
      addRest(6);
      addRest(0);
    }
  }

  FuzzedDataProvider& _input;
  bool _isForText;
  std::size_t _expanded = 0;
  std::vector<Earlier> _earlier;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const bool isForText = input.ConsumeBool();
  constexpr std::size_t mostDepth = 6;
  const Value value = ValueMaker(input, isForText).make(mostDepth);
  fuzz::checkBinaryRoundTrip(value);
  fuzz::checkXMLRoundTrip(value);
  if (isForText) {
    const std::string text = fuzz::TextWriter(input).text(value);
    const auto read =
        platform::readTextPropertyList(std::as_bytes(std::span(text)), fuzz::generousLimits());
    fuzz::demand(read && test::identical(*read, value));
  }
  return 0;
}
