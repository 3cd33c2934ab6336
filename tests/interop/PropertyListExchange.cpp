// SPDX-License-Identifier: Apache-2.0
// Our end of an exchange of property lists with other programs, which a script arranges:
//
//     property_list_exchange generate SEED COUNT FORMAT [--without=TRAIT...]
//     property_list_exchange generate-array SEED COUNT FORMAT [--without=TRAIT...]
//     property_list_exchange convert FORMAT
//
// `generate` writes COUNT random values, each as a property list of FORMAT and then as its
// canonical text; `generate-array` one array of them. `convert` reads property lists of any format
// from standard input and writes each in FORMAT: `binary`, `xml`, `canonical`, or
// `canonical-sorted` where the order of keys does not count. Whatever goes in or out is preceded by
// its length in bytes and the end of the line.
#include "CanonicalText.h"
#include "RandomValues.h"

#include <vexil/platform/PropertyList.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;

template <class T>
T taken(platform::PropertyListResult<T> result) {
  if (!result) {
    throw std::runtime_error(result.error().description());
  }
  return std::move(result).value();
}

std::string written(const Value& value, std::string_view format) {
  if (format == "binary") {
    const std::vector<std::byte> bytes = taken(platform::writeBinaryPropertyList(value));
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }
  if (format == "xml") {
    return taken(platform::writeXMLPropertyList(value));
  }
  if (format == "canonical") {
    return interop::canonicalText(value, interop::Order::asItStands);
  }
  if (format == "canonical-sorted") {
    return interop::canonicalText(value, interop::Order::byKey);
  }
  throw std::invalid_argument("no format: " + std::string(format));
}

void send(std::string_view bytes) {
  std::cout << bytes.size() << '\n' << bytes;
}

std::optional<std::string> receive() {
  std::size_t size = 0;
  if (!(std::cin >> size) || std::cin.get() != '\n') {
    return std::nullopt;
  }
  std::string bytes(size, '\0');
  if (!std::cin.read(bytes.data(), static_cast<std::streamsize>(size))) {
    throw std::runtime_error("the input ends too early");
  }
  return bytes;
}

void generate(std::span<char*> arguments, bool asArray) {
  if (arguments.size() < 3) {
    throw std::invalid_argument("generate needs a seed, a number and a format");
  }
  constexpr std::string_view option = "--without=";
  std::set<std::string, std::less<>> without;
  for (const std::string_view argument : arguments.subspan(3)) {
    if (!argument.starts_with(option)) {
      throw std::invalid_argument("no option: " + std::string(argument));
    }
    without.emplace(argument.substr(option.size()));
  }
  interop::RandomValues random(std::stoull(arguments[0]), std::move(without));
  std::vector<Value> values;
  for (auto count = std::stoull(arguments[1]); count > 0; --count) {
    values.push_back(random.next());
  }
  if (asArray) {
    values = {Value::array(std::move(values))};
  }
  for (const Value& value : values) {
    send(written(value, arguments[2]));
    send(written(value, "canonical"));
  }
}

void convert(std::span<char*> arguments) {
  if (arguments.size() != 1) {
    throw std::invalid_argument("convert needs a format");
  }
  std::size_t number = 0;
  while (const auto bytes = receive()) {
    const auto value = platform::readPropertyList(std::as_bytes(std::span(*bytes)));
    if (!value) {
      throw std::runtime_error("property list " + std::to_string(number) + ": " +
                               value.error().description());
    }
    send(written(*value, arguments[0]));
    ++number;
  }
}

void perform(std::span<char*> arguments) {
  const std::string_view command = arguments.empty() ? "" : arguments.front();
  if (command == "generate" || command == "generate-array") {
    generate(arguments.subspan(1), command == "generate-array");
  } else if (command == "convert") {
    convert(arguments.subspan(1));
  } else {
    throw std::invalid_argument("generate, generate-array or convert");
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  try {
    perform(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
    std::cout.flush();
    return std::cout ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& error) {
    std::cerr << "property_list_exchange: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
