// SPDX-License-Identifier: Apache-2.0
// What the binary reader refuses, and where it says the fault is.
#include "tests/support/BinaryPropertyListBuilder.h"
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <cstdint>
#include <limits>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::BinaryPropertyListBuilder;
using test::Code;
using test::hex;
using test::Offset;
using test::readBinary;
using test::refused;

constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();

/// The first object stands right behind the magic.
constexpr Offset first{8};

std::string fileOf(std::vector<std::string> objects) {
  BinaryPropertyListBuilder list;
  list.objects = std::move(objects);
  return list.file();
}

/// A good file to spoil: (1).
BinaryPropertyListBuilder good() {
  BinaryPropertyListBuilder list;
  list.objects = {hex("A1 01"), hex("10 01")};
  return list;
}

// The offsets of the fields of the trailer of `list`.
Offset offsetSizeOf(const BinaryPropertyListBuilder& list) {
  return {list.trailerOffset() + 6};
}
Offset referenceSizeOf(const BinaryPropertyListBuilder& list) {
  return {list.trailerOffset() + 7};
}
Offset countOf(const BinaryPropertyListBuilder& list) {
  return {list.trailerOffset() + 8};
}
Offset rootOf(const BinaryPropertyListBuilder& list) {
  return {list.trailerOffset() + 16};
}
Offset tableOf(const BinaryPropertyListBuilder& list) {
  return {list.trailerOffset() + 24};
}

TEST(BinaryPropertyListErrors, TheFileToSpoilIsGood) {
  EXPECT_TRUE(test::reads(readBinary(good().file()), Value::array({1})));
}

TEST(BinaryPropertyListErrors, NoBytes) {
  EXPECT_TRUE(refused(readBinary(""), Code::noBytes, Offset{0}));
}

TEST(BinaryPropertyListErrors, TheMagicAlone) {
  EXPECT_TRUE(refused(readBinary("bplist00"), Code::badHeader, Offset{8}));
}

TEST(BinaryPropertyListErrors, PartOfTheMagic) {
  EXPECT_TRUE(refused(readBinary("bplist"), Code::badHeader, Offset{0}));
}

TEST(BinaryPropertyListErrors, TooShortForATrailer) {
  EXPECT_TRUE(refused(readBinary("bplist00" + std::string(31, '\0')), Code::badHeader, Offset{39}));
  EXPECT_TRUE(refused(readBinary("bplist00" + std::string(33, '\0')), Code::badHeader, Offset{41}));
}

TEST(BinaryPropertyListErrors, AnotherMagicOrVersion) {
  for (const char* magic : {"bplist01", "bplist15", "bplist0\xFF", "Bplist00", "xplist00"}) {
    BinaryPropertyListBuilder list = good();
    list.magic = magic;
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badHeader, Offset{0})) << magic;
  }
}

TEST(BinaryPropertyListErrors, AnotherVersionIsToldFromWhatIsNoneAtAll) {
  const auto messageOf = [](const std::string& magic) { return readBinary(magic).error().message; };
  EXPECT_EQ(messageOf("bplist15" + std::string(50, '\0')),
            "a binary property list of another version than 00");
  for (const char* text : {"bplist", "bplist0", "xplist00 and more", "{ a = b; }"}) {
    EXPECT_EQ(messageOf(text), "a binary property list begins with bplist00") << text;
  }
}

TEST(BinaryPropertyListErrors, NoObjects) {
  BinaryPropertyListBuilder list = good();
  list.count = 0;
  EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, countOf(list)));
}

TEST(BinaryPropertyListErrors, MoreObjectsThanTheTableHas) {
  for (const std::uint64_t count : {std::uint64_t{1}, std::uint64_t{3}, most}) {
    BinaryPropertyListBuilder list = good();
    list.count = count;
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, countOf(list))) << count;
  }
}

TEST(BinaryPropertyListErrors, ACountThatOverflowsWithTheSizeOfOffsets) {
  BinaryPropertyListBuilder list = good();
  list.offsetSize = 2;
  list.count = (std::uint64_t{1} << 63) + 2;  // times two, it is the right size again
  EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, countOf(list)));
}

TEST(BinaryPropertyListErrors, MoreObjectsThanBytesForThem) {
  BinaryPropertyListBuilder list;
  list.objects = {hex("09")};
  list.offsets = {8, 8};
  EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, countOf(list)));
}

TEST(BinaryPropertyListErrors, OffsetsOfImpossibleSizes) {
  for (unsigned size = 9; size <= 256; ++size) {
    BinaryPropertyListBuilder list = good();
    list.offsetSizeInTrailer = size % 256;  // and 0
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, offsetSizeOf(list))) << size;
    EXPECT_EQ(readBinary(list.file()).error().message, "the size of offsets is not 1 to 8 bytes");
  }
}

TEST(BinaryPropertyListErrors, ReferencesOfImpossibleSizes) {
  for (unsigned size = 9; size <= 256; ++size) {
    BinaryPropertyListBuilder list = good();
    list.referenceSizeInTrailer = size % 256;  // and 0
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, referenceSizeOf(list))) << size;
    EXPECT_EQ(readBinary(list.file()).error().message,
              "the size of references is not 1 to 8 bytes");
  }
}

TEST(BinaryPropertyListErrors, ARootThatDoesNotExist) {
  for (const std::uint64_t root : {std::uint64_t{2}, most}) {
    BinaryPropertyListBuilder list = good();
    list.root = root;
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, rootOf(list))) << root;
  }
}

TEST(BinaryPropertyListErrors, ATableThatIsElsewhere) {
  const BinaryPropertyListBuilder right = good();
  for (const std::uint64_t table :
       {most, most - 31, std::uint64_t{right.trailerOffset()},
        std::uint64_t{right.trailerOffset() + 8}, std::uint64_t{right.file().size()},
        std::uint64_t{0}, std::uint64_t{7}, std::uint64_t{8}}) {
    BinaryPropertyListBuilder list = good();
    list.table = table;
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, tableOf(list))) << table;
  }
}

TEST(BinaryPropertyListErrors, AGapBeforeTheTrailer) {
  for (const std::size_t size : {1U, 2U, 100U}) {
    BinaryPropertyListBuilder list = good();
    list.gap = std::string(size, '\0');
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, countOf(list))) << size;
  }
}

TEST(BinaryPropertyListErrors, AGapShorterThanAnOffset) {
  for (const std::size_t size : {1U, 7U}) {
    BinaryPropertyListBuilder list = good();
    list.offsetSize = 8;
    list.gap = std::string(size, '\0');
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, countOf(list))) << size;
  }
}

TEST(BinaryPropertyListErrors, BytesBehindTheTrailer) {
  EXPECT_FALSE(readBinary(good().file() + '\n'));
  EXPECT_FALSE(readBinary(good().file() + std::string(32, '\0')));
}

TEST(BinaryPropertyListErrors, AnOffsetOutsideOfTheObjects) {
  const std::size_t table = good().tableOffset();
  for (const std::uint64_t offset :
       {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{7}, std::uint64_t{table},
        std::uint64_t{table + 1}, std::uint64_t{good().trailerOffset()}, std::uint64_t{255}}) {
    BinaryPropertyListBuilder list = good();
    list.offsets = {8, offset};
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badOffset, Offset{table + 1})) << offset;
  }
}

TEST(BinaryPropertyListErrors, AnOffsetOutsideOfTheObjectsThatNobodyRefersTo) {
  BinaryPropertyListBuilder list;
  list.objects = {hex("09"), hex("09")};
  list.offsets = {8, 3};
  EXPECT_TRUE(refused(readBinary(list.file()), Code::badOffset, Offset{11}));
}

TEST(BinaryPropertyListErrors, AnOffsetOfEightBytesThatWrapsAround) {
  BinaryPropertyListBuilder list = good();
  list.offsetSize = 8;
  list.offsets = {8, most - 3};
  EXPECT_TRUE(refused(readBinary(list.file()), Code::badOffset, Offset{list.tableOffset() + 8}));
}

TEST(BinaryPropertyListErrors, ReferencesTooSmallForTheCount) {
  for (const std::size_t objects : {256U, 300U}) {
    BinaryPropertyListBuilder list;
    list.offsetSize = 2;
    list.objects.assign(objects, hex("09"));
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, referenceSizeOf(list)));
    list.referenceSize = 2;
    EXPECT_TRUE(test::reads(readBinary(list.file()), true));
  }
}

TEST(BinaryPropertyListErrors, OffsetsTooSmallForTheFile) {
  BinaryPropertyListBuilder list;
  list.objects = {BinaryPropertyListBuilder::ascii(std::string(300, 'x'))};
  EXPECT_TRUE(refused(readBinary(list.file()), Code::badTrailer, offsetSizeOf(list)));
}

TEST(BinaryPropertyListErrors, AnArrayWithFewerReferencesThanItSays) {
  EXPECT_TRUE(
      refused(readBinary(fileOf({hex("AE") + std::string(13, '\0')})), Code::badLength, first));
}

TEST(BinaryPropertyListErrors, AnArrayOfMoreReferencesThanCanBe) {
  for (const std::uint64_t count : {std::uint64_t{1} << 63, most, std::uint64_t{1} << 61}) {
    BinaryPropertyListBuilder list;
    list.referenceSize = 8;
    list.objects = {hex("AF 13") + test::bigEndian(count, 8) + std::string(16, '\0')};
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badLength, first)) << count;
  }
}

TEST(BinaryPropertyListErrors, ADictionaryWhoseSizeOverflows) {
  for (const std::uint64_t count : {std::uint64_t{1} << 63, std::uint64_t{1} << 60, most}) {
    BinaryPropertyListBuilder list;
    list.referenceSize = 8;
    list.objects = {hex("DF 13") + test::bigEndian(count, 8) + std::string(16, '\0')};
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badLength, first)) << count;
  }
}

TEST(BinaryPropertyListErrors, ADictionaryWithRoomForItsKeysOnly) {
  EXPECT_TRUE(refused(readBinary(fileOf({hex("D2 01 01"), hex("09")})), Code::badLength, first));
}

TEST(BinaryPropertyListErrors, AReferenceThatDoesNotExist) {
  EXPECT_TRUE(
      refused(readBinary(fileOf({hex("A2 01 02"), hex("09")})), Code::badReference, Offset{10}));
  BinaryPropertyListBuilder list;
  list.referenceSize = 8;
  list.objects = {hex("A1 FFFFFFFFFFFFFFFF")};
  EXPECT_TRUE(refused(readBinary(list.file()), Code::badReference, Offset{9}));
}

TEST(BinaryPropertyListErrors, AStringOfMoreUnitsThanCanBe) {
  for (const std::uint64_t count : {std::uint64_t{1} << 62, std::uint64_t{1} << 63, most}) {
    EXPECT_TRUE(refused(readBinary(fileOf({hex("6F 13") + test::bigEndian(count, 8) + "abcd"})),
                        Code::badLength, first))
        << count;
  }
}

TEST(BinaryPropertyListErrors, ContentsOneByteTooLong) {
  EXPECT_TRUE(refused(readBinary(fileOf({hex("43 0102")})), Code::badLength, first));
  EXPECT_TRUE(refused(readBinary(fileOf({hex("53 6161")})), Code::badLength, first));
  EXPECT_TRUE(refused(readBinary(fileOf({hex("62 0061 00")})), Code::badLength, first));
  EXPECT_TRUE(refused(readBinary(fileOf({hex("11 01")})), Code::badLength, first));
  EXPECT_TRUE(refused(readBinary(fileOf({hex("23 00000000000000")})), Code::badLength, first));
  EXPECT_TRUE(refused(readBinary(fileOf({hex("33")})), Code::badLength, first));
  EXPECT_TRUE(refused(readBinary(fileOf({hex("4F 11 01")})), Code::badLength, first));
}

TEST(BinaryPropertyListErrors, ALengthThatIsNoInteger) {
  EXPECT_TRUE(refused(readBinary(fileOf({hex("AF 50")})), Code::badLength, first));
  EXPECT_TRUE(refused(readBinary(fileOf({hex("4F 23 0000000000000000")})), Code::badLength, first));
  EXPECT_TRUE(refused(readBinary(fileOf({hex("5F")})), Code::badLength, first));
}

TEST(BinaryPropertyListErrors, ALengthOfSixteenBytes) {
  EXPECT_TRUE(refused(readBinary(fileOf({hex("4F 14") + std::string(15, '\0') + "\x01x"})),
                      Code::badLength, first));
}

TEST(BinaryPropertyListErrors, ANegativeLength) {
  EXPECT_TRUE(
      refused(readBinary(fileOf({hex("5F 13 FFFFFFFFFFFFFFFF 61")})), Code::badLength, first));
}

TEST(BinaryPropertyListErrors, AnArrayThatContainsItself) {
  EXPECT_TRUE(refused(readBinary(fileOf({hex("A1 00")})), Code::cycle, Offset{9}));
}

TEST(BinaryPropertyListErrors, ADictionaryThatIsItsOwnValue) {
  EXPECT_TRUE(
      refused(readBinary(fileOf({hex("D1 01 00"), hex("51 61")})), Code::cycle, Offset{10}));
}

TEST(BinaryPropertyListErrors, ADictionaryThatIsItsOwnKey) {
  EXPECT_TRUE(refused(readBinary(fileOf({hex("D1 00 01"), hex("51 61")})), Code::cycle, Offset{9}));
}

TEST(BinaryPropertyListErrors, ACycleOfAThousandArrays) {
  constexpr std::size_t length = 1000;
  BinaryPropertyListBuilder list;
  list.offsetSize = 2;
  list.referenceSize = 2;
  for (std::size_t i = 0; i < length; ++i) {
    list.objects.push_back(list.array({(i + 1) % length}));
  }
  const std::size_t last = list.offsetOf(length - 1) + 1;
  EXPECT_TRUE(refused(readBinary(list.file()), Code::cycle, Offset{last}));
}

TEST(BinaryPropertyListErrors, KeysThatAreNotStrings) {
  for (const char* key : {"10 01", "A0", "D0", "09", "41 61", "33 0000000000000000"}) {
    BinaryPropertyListBuilder list;
    list.objects = {hex("D1 01 02"), hex(key), hex("09")};
    EXPECT_TRUE(refused(readBinary(list.file()), Code::badKey, Offset{9})) << key;
  }
}

TEST(BinaryPropertyListErrors, AKeyTwiceThroughOneObject) {
  EXPECT_TRUE(refused(readBinary(fileOf({hex("D2 01 01 02 02"), hex("51 61"), hex("09")})),
                      Code::duplicateKey, first));
}

TEST(BinaryPropertyListErrors, AKeyTwiceThroughEqualObjects) {
  EXPECT_TRUE(
      refused(readBinary(fileOf({hex("D2 01 02 03 03"), hex("51 61"), hex("61 0061"), hex("09")})),
              Code::duplicateKey, first));
}

TEST(BinaryPropertyListErrors, AKeyTwiceAmongMany) {
  BinaryPropertyListBuilder list;
  list.offsetSize = 2;
  std::vector<std::uint64_t> keys;
  for (std::uint64_t i = 1; i <= 100; ++i) {
    keys.push_back(i);
  }
  list.objects = {list.dictionary(keys, keys)};
  for (int i = 0; i < 100; ++i) {
    list.objects.push_back(BinaryPropertyListBuilder::ascii("key" + std::to_string(i % 99)));
  }
  const auto read = readBinary(list.file());
  ASSERT_TRUE(refused(read, Code::duplicateKey, first));
  EXPECT_EQ(read.error().message, "a dictionary has the key \"key0\" twice");
}

TEST(BinaryPropertyListErrors, SurrogatesWithoutPartner) {
  const auto read = [](std::u16string_view units) {
    return readBinary(fileOf({BinaryPropertyListBuilder::utf16(units)}));
  };
  const char16_t high = 0xD83D;
  const char16_t low = 0xDE00;
  EXPECT_TRUE(refused(read({&high, 1}), Code::badEncoding, Offset{9}));
  EXPECT_TRUE(refused(read({&low, 1}), Code::badEncoding, Offset{9}));
  EXPECT_TRUE(refused(read(std::u16string{u'a', high, u'b'}), Code::badEncoding, Offset{11}));
  EXPECT_TRUE(refused(read(std::u16string{low, high}), Code::badEncoding, Offset{9}));
  EXPECT_TRUE(refused(read(std::u16string{high, high, low}), Code::badEncoding, Offset{9}));
  EXPECT_TRUE(refused(read(std::u16string{high, low, low}), Code::badEncoding, Offset{13}));
}

TEST(BinaryPropertyListErrors, AnAsciiStringThatIsNot) {
  EXPECT_TRUE(refused(readBinary(fileOf({hex("52 61 80")})), Code::badEncoding, Offset{10}));
  EXPECT_TRUE(refused(readBinary(fileOf({hex("52 C3 A9")})), Code::badEncoding, Offset{9}));
}

TEST(BinaryPropertyListErrors, DatesThatAreNotFinite) {
  for (const char* date : {"33 7FF8000000000000", "33 7FF0000000000000", "33 FFF0000000000000"}) {
    EXPECT_TRUE(refused(readBinary(fileOf({hex(date)})), Code::badDate, first)) << date;
  }
}

TEST(BinaryPropertyListErrors, DatesOfOtherSizes) {
  for (int size = 0; size < 16; ++size) {
    if (size != 3) {
      EXPECT_TRUE(refused(readBinary(fileOf({static_cast<char>(0x30 + size) + std::string(16, 0)})),
                          Code::badDate, first))
          << size;
    }
  }
}

TEST(BinaryPropertyListErrors, RealsOfOtherSizes) {
  for (int size = 0; size < 16; ++size) {
    if (size != 2 && size != 3) {
      EXPECT_TRUE(refused(readBinary(fileOf({static_cast<char>(0x20 + size) + std::string(16, 0)})),
                          Code::badNumber, first))
          << size;
    }
  }
}

TEST(BinaryPropertyListErrors, IntegersOutOfRange) {
  for (const char* integer : {
           "14 0000000000000001 0000000000000000",  // 2^64
           "14 0100000000000000 0000000000000000",  // 2^120
           "14 FFFFFFFFFFFFFFFF FFFFFFFFFFFFFFFF",  // -1, which has 8 bytes
           "14 0000000000000000 7FFFFFFFFFFFFFFF",  // 2^63-1 too
           "15 0000000000000000 0000000000000000 0000000000000000 0000000000000001",
       }) {
    EXPECT_TRUE(refused(readBinary(fileOf({hex(integer)})), Code::badNumber, first)) << integer;
  }
}

TEST(BinaryPropertyListErrors, KindsThatPropertyListsDoNotHave) {
  for (const char* object : {
           "00",                                   // null
           "0C 50",                                // URL
           "0D 50 50",                             // URL with a base
           "0E 00000000000000000000000000000000",  // UUID
           "0F",                                   // fill
           "71 61",                                // UTF-8 string
           "80 01",                                // UID
           "B0",                                   // ordered set
           "C0",                                   // set
           "90", "E0", "F0", "01", "07", "0A",     // nothing at all
       }) {
    EXPECT_TRUE(refused(readBinary(fileOf({hex(object)})), Code::badKind, first)) << object;
  }
}

TEST(BinaryPropertyListErrors, ObjectsThatOverlap) {
  // Two strings of the same bytes, and a string within the bytes of another.
  BinaryPropertyListBuilder same;
  same.objects = {hex("A2 01 02"), hex("53 616263"), hex("09")};
  same.offsets = {8, 11, 11};
  EXPECT_TRUE(refused(readBinary(same.file()), Code::overlap, Offset{11}));
  BinaryPropertyListBuilder within;
  within.objects = {hex("A2 01 02"), hex("43 516162"), hex("09")};
  within.offsets = {8, 11, 12};
  EXPECT_TRUE(refused(readBinary(within.file()), Code::overlap, Offset{12}));
}

TEST(BinaryPropertyListErrors, TheDescriptionSaysWhereAndWhat) {
  const auto read = readBinary(fileOf({hex("A1 00")}));
  ASSERT_FALSE(read);
  EXPECT_EQ(read.error().description(), "offset 9: a container contains itself");
}

}  // namespace
