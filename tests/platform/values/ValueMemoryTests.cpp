// SPDX-License-Identifier: Apache-2.0
// Nothing is left behind when an allocation fails.
#include <gtest/gtest.h>
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/RecordShape.h>
#include <vexil/platform/Value.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/AllocationCounter.h"

namespace platform = vexil::platform;

namespace {

using platform::Key;
using platform::Object;
using platform::RecordShape;
using platform::Value;

/// Lets every allocation of `make` fail in turn. Expects that as much memory is in use afterwards
/// as before: nothing is leaked, and nothing stays in a table.
template <class Make>
void expectNothingLeftBehind(const Make& make) {
  make();  // tables of all texts and shapes grow once
  const std::ptrdiff_t before = test::liveAllocations();
  EXPECT_GT(test::failEachAllocation(make), 0U);
  EXPECT_EQ(test::liveAllocations(), before);
}

std::string lengthy(int number) {
  return "a text that does not fit into a value " + std::to_string(number);
}

TEST(ValueMemory, OfAKeyThatCouldNotBeMadeComesBack) {
  expectNothingLeftBehind([] { const Key key(lengthy(1)); });
}

TEST(ValueMemory, OfTextsAndDataThatCouldNotBeMadeComesBack) {
  expectNothingLeftBehind([] {
    const std::string text = lengthy(1);
    const Value value(text);
    const Value data = Value::data(std::as_bytes(std::span(text)));
  });
}

TEST(ValueMemory, OfAnArrayThatCouldNotBeMadeComesBack) {
  expectNothingLeftBehind([] {
    std::vector<Value> elements{lengthy(1), 2, Value::array({lengthy(3)})};
    const Value array = Value::array(std::span(elements));
    platform::ArrayMaker maker(3);
    maker.set(1, Value(array));
    const Value made = maker.take();
  });
}

TEST(ValueMemory, OfAnArrayOfObjectsThatCouldNotBeMadeComesBack) {
  class Any : public Object {};
  expectNothingLeftBehind([] {
    const std::vector<std::shared_ptr<Object>> objects{std::make_shared<Any>(),
                                                       std::make_shared<Any>()};
    const Value array = Value::arrayOfObjects(objects);
  });
}

TEST(ValueMemory, OfADictionaryThatCouldNotBeMadeComesBack) {
  expectNothingLeftBehind([] {
    const Value small = Value::dictionary({{lengthy(1), 1}, {"list", Value::array({lengthy(2)})}});
  });
}

TEST(ValueMemory, OfADictionaryWithKeysThatOccurTwiceComesBack) {
  expectNothingLeftBehind([] {
    const Value settled =
        Value::dictionary({{lengthy(1), 1}, {lengthy(2), Value()}, {lengthy(1), lengthy(3)}});
  });
}

TEST(ValueMemory, OfALargeDictionaryThatCouldNotBeMadeComesBack) {
  expectNothingLeftBehind([] {
    std::vector<std::pair<Key, Value>> entries;
    for (int i = 0; i < 40; ++i) {
      entries.emplace_back(lengthy(i), i);
    }
    const Value large = Value::dictionary(std::move(entries));
  });
}

TEST(ValueMemory, OfARecordThatCouldNotBeMadeComesBack) {
  expectNothingLeftBehind([] {
    const RecordShape shape({lengthy(1), "name"});
    const Value record = shape.record({1, lengthy(2)});
    const Value shorter = shape.record({Value(), lengthy(2)});
    std::vector<Value> values{lengthy(3), 4};
    const Value moved = shape.record(std::span(values));
  });
}

TEST(ValueMemory, OfAShapeWhoseRecordCouldNotBeMadeComesBack) {
  expectNothingLeftBehind([] {
    const Value record = RecordShape({lengthy(1), lengthy(2)}).record({1, 2});
  });
}

TEST(ValueMemory, OfAComparisonThatCouldNotBeMadeComesBack) {
  const auto doubling = [] {
    Value value = Value::array({lengthy(1)});
    for (int level = 0; level < 40; ++level) {
      value = Value::array({value, value});
    }
    return value;
  };
  const Value one = doubling();
  const Value other = doubling();
  expectNothingLeftBehind([&] {
    (void)one.plainlyEquals(other);
    (void)one.hash();
  });
}

TEST(ValueMemory, OfAPropertyListThatCouldNotBeReadComesBack) {
  const std::string text =
      "{ list = ( { \"a key that is long enough to be kept apart\" = 1; }, ( \"and a text that is "
      "as long as that key\" ) ); second = { \"a key that is long enough to be kept apart\" = 2; };"
      " }";
  const Value list = Value::array(
      {Value::dictionary({{lengthy(1), lengthy(2)}, {"second", Value::array({3, 4.5})}}),
       Value::dictionary({{lengthy(1), lengthy(3)}, {"second", Value::array({3, 4.5})}})});
  const auto binary = platform::writeBinaryPropertyList(list);
  const auto xml = platform::writeXMLPropertyList(list);
  expectNothingLeftBehind(
      [&] { (void)platform::readTextPropertyList(std::as_bytes(std::span(text))); });
  expectNothingLeftBehind([&] { (void)platform::readBinaryPropertyList(binary.value()); });
  expectNothingLeftBehind(
      [&] { (void)platform::readXMLPropertyList(std::as_bytes(std::span(xml.value()))); });
  expectNothingLeftBehind([&] { (void)platform::writeBinaryPropertyList(list); });
  expectNothingLeftBehind([&] { (void)platform::writeXMLPropertyList(list); });
}

/// Holds the next one and lets go of it without recursion.
class Link : public Object {
 public:
  explicit Link(std::shared_ptr<Object> next) : _next(std::move(next)) {}
  ~Link() override { platform::releaseWithoutRecursion(std::move(_next)); }

 private:
  std::shared_ptr<Object> _next;
};

TEST(ValueMemory, OfObjectsThatCannotBeQueuedForTheirEndComesBack) {
  expectNothingLeftBehind([] {
    auto chain = std::make_shared<Link>(nullptr);
    for (int i = 0; i < 10; ++i) {
      chain = std::make_shared<Link>(std::move(chain));
    }
    platform::releaseWithoutRecursion(std::move(chain));
  });
}

}  // namespace
