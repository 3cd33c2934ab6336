// SPDX-License-Identifier: Apache-2.0
#include "monitor/Text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/Property.h"

namespace monitor {
namespace {

using namespace std::string_literals;

/// Counts characters of well-formed UTF-8 and tells by -1 that the text is not.
int charactersOf(std::string_view text) {
  int count = 0;
  for (std::size_t i = 0; i < text.size(); ++count) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || i + length > text.size()) {
      return -1;
    }
    for (std::size_t k = 1; k < length; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0U) != 0x80U) {
        return -1;
      }
    }
    i += length;
  }
  return count;
}

TEST(PrintableText, KeepsWhatIsWellFormed) {
  EXPECT_EQ(printable(""), "");
  EXPECT_EQ(printable("0 3 * * *\troot\tbackup"), "0 3 * * *\troot\tbackup");
  EXPECT_EQ(printable("Záloha, 天気, 🎫"), "Záloha, 天気, 🎫");
}

TEST(PrintableText, ReplacesIllFormedSequences) {
  EXPECT_EQ(printable("a\xFFz"), "a\uFFFDz");
  EXPECT_EQ(printable("caf\xE9"), "caf\uFFFD");
  EXPECT_EQ(printable("\xE2\x82"), "\uFFFD") << "a character cut short is one mark";
  EXPECT_EQ(printable("\xC0\xAF"), "\uFFFD\uFFFD") << "an overlong slash is no slash";
  EXPECT_EQ(printable("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD") << "half a surrogate pair";
}

TEST(PrintableText, ReplacesControlCharacters) {
  EXPECT_EQ(printable("a\0b"s), "a\uFFFDb");
  EXPECT_EQ(printable("\x1B[31mred"), "\uFFFD[31mred");
  EXPECT_EQ(printable("one\rtwo\nthree\x7F"), "one\uFFFDtwo\uFFFDthree\uFFFD");
  EXPECT_EQ(printable("\u0085\u009Bx\u00A0"), "\uFFFD\uFFFDx\u00A0");
}

PROPERTY(PrintableText, IsWellFormedWhateverTheBytes, (const std::string& bytes)) {
  RC_ASSERT(charactersOf(printable(bytes)) >= 0);
  RC_ASSERT(printable(printable(bytes)) == printable(bytes));
}

TEST(Words, AreTakenFromTheFront) {
  std::string_view rest = " \t one\ttwo  three ";
  EXPECT_EQ(takeWord(rest), "one");
  EXPECT_EQ(takeWord(rest), "two");
  EXPECT_EQ(rest, "  three ");
  EXPECT_EQ(takeWord(rest), "three");
  EXPECT_EQ(takeWord(rest), "");
  EXPECT_EQ(takeWord(rest), "");
}

TEST(Words, AreJoinedBySingleSpaces) {
  EXPECT_EQ(singleSpaced("\t a \t b  c "), "a b c");
  EXPECT_EQ(singleSpaced(" \t "), "");
}

TEST(TrimmedText, LosesOnlyTheBlanksAround) {
  EXPECT_EQ(trimmed("\t a  b \t"), "a  b");
  EXPECT_EQ(trimmed(" \t"), "");
  EXPECT_EQ(trimmed("\u00A0a"), "\u00A0a") << "a no-break space is no blank to cron";
}

TEST(LowercasedText, TouchesOnlyAsciiLetters) {
  EXPECT_EQ(lowercased("MoN-Ä@Z["), "mon-Ä@z[");
}

TEST(ShortenedText, EndsInAnEllipsisWhereItWasCut) {
  EXPECT_EQ(shortened("abc", 3), "abc");
  EXPECT_EQ(shortened("abcd", 3), "ab…");
  EXPECT_EQ(shortened("ab cd", 4), "ab…") << "no blank before the ellipsis";
  EXPECT_EQ(shortened("abcd", 1), "…");
  EXPECT_EQ(shortened("", 1), "");
}

TEST(ShortenedText, CutsBetweenCharacters) {
  EXPECT_EQ(shortened("天気予報", 4), "天気予報");
  EXPECT_EQ(shortened("天気予報", 3), "天気…");
  EXPECT_EQ(shortened("🎫🎫🎫", 2), "🎫…");
}

PROPERTY(ShortenedText, NeverHasMoreCharactersThanAllowed, (const std::string& bytes)) {
  const std::string text = printable(bytes);
  const auto limit = *rc::gen::inRange<int>(1, 20);
  const std::string cut = shortened(text, static_cast<std::size_t>(limit));
  RC_ASSERT(charactersOf(cut) >= 0);
  RC_ASSERT(charactersOf(cut) <= limit);
  if (charactersOf(text) <= limit) {
    RC_ASSERT(cut == text);
  } else {
    RC_ASSERT(cut.ends_with("…"));
  }
}

}  // namespace
}  // namespace monitor
