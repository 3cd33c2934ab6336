// SPDX-License-Identifier: Apache-2.0
// Writes and reads a schedule when it is told to, and says how long it took:
//
//     property_list_timer ours|libplist EVENTS FILE
//
// Writes the schedule to FILE, so that other programs can be timed with it. Then each line of
// standard input says what to do, such as "write binary" or "read xml". The answer is the time in
// seconds. Each library is timed in a process of its own, because the heap that one leaves slows
// down another.
#include "Records.h"

#include <plist/plist.h>
#include <ternwood/Ternwood.h>
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/RecordShape.h>

#include <cstdlib>
#include <ctime>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;

struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void require(bool holds, const char* otherwise) {
  if (!holds) {
    throw Failure(otherwise);
  }
}

/// The processor's time, which does not contain what else the machine does. All work is on one
/// thread.
template <class Work>
double secondsFor(const Work& work) {
  const std::clock_t start = std::clock();
  work();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/// Events of five keys, the last of them a schedule of three.
Value schedule(std::size_t events) {
  static const platform::RecordShape shape(
      {platform::Key(kTWEventUniqueID), platform::Key(kTWEventName), platform::Key(kTWEventEnabled),
       platform::Key(kTWEventDomain), platform::Key("schedule")});
  const Value longer = EngineModel(events).freshRecords();
  std::vector<Value> records;
  for (const Value& event : longer.elements()) {
    records.push_back(
        shape.record({event[kTWEventUniqueID], event[kTWEventName], event[kTWEventEnabled],
                      event[kTWEventDomain], event["schedule"]}));
  }
  return Value::array(std::move(records));
}

// What is made is destroyed while the clock stands.

struct Ours {
  Value value;
  std::string binary;
  std::string xml;

  explicit Ours(Value schedule) : value(std::move(schedule)) {
    const auto bytes = platform::writeBinaryPropertyList(value);
    binary.assign(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    xml = *platform::writeXMLPropertyList(value);
  }

  [[nodiscard]] double write(bool asXML) const {
    std::unique_ptr<platform::PropertyListResult<std::vector<std::byte>>> bytes;
    std::unique_ptr<platform::PropertyListResult<std::string>> text;
    const double seconds = secondsFor([&] {
      if (asXML) {
        text = std::make_unique<platform::PropertyListResult<std::string>>(
            platform::writeXMLPropertyList(value));
      } else {
        bytes = std::make_unique<platform::PropertyListResult<std::vector<std::byte>>>(
            platform::writeBinaryPropertyList(value));
      }
    });
    require(asXML ? text->value().size() == xml.size() : bytes->value().size() == binary.size(),
            "ours wrote something else");
    return seconds;
  }

  [[nodiscard]] double read(bool asXML) const {
    std::unique_ptr<platform::PropertyListResult<Value>> result;
    const auto bytes = std::as_bytes(std::span(asXML ? xml : binary));
    const double seconds = secondsFor([&] {
      result =
          std::make_unique<platform::PropertyListResult<Value>>(platform::readPropertyList(bytes));
    });
    require(result->value() == value, "ours read something else");
    return seconds;
  }
};

class Libplist {
 public:
  explicit Libplist(const Ours& ours) : _ours(ours), _value(read(ours.binary, false)) {}
  Libplist(const Libplist&) = delete;
  Libplist& operator=(const Libplist&) = delete;
  ~Libplist() { plist_free(_value); }

  [[nodiscard]] double write(bool asXML) const {
    char* bytes = nullptr;
    std::uint32_t size = 0;
    const double seconds = secondsFor(
        [&] { asXML ? plist_to_xml(_value, &bytes, &size) : plist_to_bin(_value, &bytes, &size); });
    const auto read = platform::readPropertyList(std::as_bytes(std::span(bytes, size)));
    require(read && *read == _ours.value, "libplist wrote something else");
    std::free(bytes);  // what both ways of writing give is from the C library's memory
    return seconds;
  }

  [[nodiscard]] double read(bool asXML) const {
    plist_t value = nullptr;
    const double seconds =
        secondsFor([&] { value = read(asXML ? _ours.xml : _ours.binary, asXML); });
    require(plist_array_get_size(value) == _ours.value.elements().size(),
            "libplist read something else");
    plist_free(value);
    return seconds;
  }

 private:
  static plist_t read(const std::string& bytes, bool asXML) {
    plist_t value = nullptr;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    asXML ? plist_from_xml(bytes.data(), size, &value) : plist_from_bin(bytes.data(), size, &value);
    require(value != nullptr, "libplist read nothing");
    return value;
  }

  const Ours& _ours;
  plist_t _value;
};

template <class Library>
void answer(const Library& library) {
  std::cout << "ready" << std::endl;
  std::string what;
  std::string format;
  while (std::cin >> what >> format) {
    const bool asXML = format == "xml";
    std::cout << (what == "write" ? library.write(asXML) : library.read(asXML)) << std::endl;
  }
}

void perform(std::string_view who, std::size_t events, const char* file) {
  const Ours ours(schedule(events));
  std::ofstream(file, std::ios::binary) << ours.binary << std::flush;
  if (who == "ours") {
    answer(ours);
  } else {
    answer(Libplist(ours));
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    require(argc == 4, "usage: property_list_timer ours|libplist EVENTS FILE");
    perform(argv[1], std::stoull(argv[2]), argv[3]);
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << "property_list_timer: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
