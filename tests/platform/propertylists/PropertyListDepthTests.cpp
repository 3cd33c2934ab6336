// SPDX-License-Identifier: Apache-2.0
// Values from files, nested far deeper than the stack allows to recurse. Every operation on them
// runs on a small stack.
#include "tests/support/BinaryPropertyListBuilder.h"
#include "tests/support/PropertyListTesting.h"
#include "tests/support/SmallStack.h"

#include <vexil/platform/PropertyList.h>

#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace {

using platform::PropertyListLimits;
using platform::Value;

PropertyListLimits deepLimits() {
  PropertyListLimits limits;
  limits.depth = test::deepNesting;
  return limits;
}

/// An array in a dictionary in an array, and so on, with other values before and after each. Two of
/// these share nothing.
Value made() {
  Value value = "innermost";
  for (std::size_t level = 0; level < test::deepNesting; ++level) {
    value = level % 2 == 0 ? Value::array({1, std::move(value), 2})
                           : Value::dictionary({{"a", 1}, {"inner", std::move(value)}, {"z", 2}});
  }
  return value;
}

std::string binary() {
  test::BinaryPropertyListBuilder list;
  list.offsetSize = 4;
  list.referenceSize = 4;
  for (std::size_t level = 1; level <= test::deepNesting; ++level) {
    list.objects.push_back(list.array({level}));
  }
  list.objects.push_back(test::hex("09"));
  return list.file();
}

Value read() {
  static const std::string file = binary();
  auto value = platform::readBinaryPropertyList(test::bytesOf(file), deepLimits());
  EXPECT_TRUE(value);
  return std::move(value).value();
}

TEST(DeepPropertyList, IsReadFromBinary) {
  test::runOnSmallStack([] { EXPECT_TRUE(read().isArray()); });
}

TEST(DeepPropertyList, IsReadFromXML) {
  const std::string file =
      test::repeated("<array>", test::deepNesting) + test::repeated("</array>", test::deepNesting);
  test::runOnSmallStack(
      [&] { EXPECT_TRUE(platform::readXMLPropertyList(test::bytesOf(file), deepLimits())); });
}

TEST(DeepPropertyList, IsReadFromText) {
  const std::string file =
      test::repeated("{a=(", test::deepNesting / 2) + test::repeated(");}", test::deepNesting / 2);
  test::runOnSmallStack(
      [&] { EXPECT_TRUE(platform::readTextPropertyList(test::bytesOf(file), deepLimits())); });
}

TEST(DeepPropertyList, IsWrittenAsBinary) {
  test::runOnSmallStack([] {
    const auto file = platform::writeBinaryPropertyList(made());
    ASSERT_TRUE(file);
    const auto again = platform::readBinaryPropertyList(*file, deepLimits());
    ASSERT_TRUE(again);
    EXPECT_TRUE(test::identical(*again, made()));
  });
}

TEST(DeepPropertyList, IsWrittenAsItWasRead) {
  test::runOnSmallStack([] { EXPECT_EQ(test::binaryFile(read()), binary()); });
}

TEST(DeepPropertyList, IsWrittenAsXML) {
  test::runOnSmallStack([] {
    const auto file = platform::writeXMLPropertyList(made(), deepLimits());
    ASSERT_TRUE(file);
    EXPECT_LT(file->size(), 300 * test::deepNesting);
    const auto again = platform::readXMLPropertyList(test::bytesOf(*file), deepLimits());
    ASSERT_TRUE(again);
    EXPECT_TRUE(test::identical(*again, made()));
  });
}

TEST(DeepPropertyList, IsTooDeepForXMLByDefault) {
  test::runOnSmallStack([] {
    const auto file = platform::writeXMLPropertyList(made());
    ASSERT_FALSE(file);
    EXPECT_EQ(file.error().code, test::Code::tooDeep);
  });
}

TEST(DeepPropertyList, IsRefusedForItsInnermostPart) {
  test::runOnSmallStack([] {
    Value value = Value::null();
    for (std::size_t level = 0; level < test::deepNesting; ++level) {
      value = Value::array({std::move(value)});
    }
    const std::string message =
        "at " + test::repeated("[0]", 8) + "..." + test::repeated("[0]", 8) + ": a null marker";
    EXPECT_TRUE(test::refusedWriting(platform::writeBinaryPropertyList(value),
                                     test::Code::notAPropertyList, message));
    EXPECT_TRUE(test::refusedWriting(platform::writeXMLPropertyList(value, deepLimits()),
                                     test::Code::notAPropertyList, message));
  });
}

TEST(DeepPropertyList, IsComparedWithAnother) {
  test::runOnSmallStack([] {
    EXPECT_TRUE(read() == read());
    EXPECT_FALSE(read() == made());
  });
}

TEST(DeepPropertyList, IsHashed) {
  test::runOnSmallStack([] { EXPECT_EQ(read().hash(), read().hash()); });
}

TEST(DeepPropertyList, IsPrinted) {
  test::runOnSmallStack([] {
    EXPECT_EQ(read().description(), test::repeated("[", test::deepNesting) + "true" +
                                        test::repeated("]", test::deepNesting));
  });
}

TEST(DeepPropertyList, IsDestroyed) {
  test::runOnSmallStack([] {
    Value value = read();
    value = Value();
    EXPECT_TRUE(value.isAbsent());
  });
}

}  // namespace
