// SPDX-License-Identifier: Apache-2.0
#include "tests/outline/UpdateTesting.h"
#include "tests/support/Bytes.h"
#include "tests/support/SmallStack.h"

#include <gtest/gtest.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/platform/NetService.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Value;
using test::row;
using vexil::OutlineStep;
using vexil::OutlineUpdate;
using vexil::RowState;

RowState event(vexil::RowNumber number, const char* uniqueID, const char* label, bool enabled) {
  return RowState(RowState::Parts{.number = number,
                                  .uniqueID = uniqueID,
                                  .label = label,
                                  .className = "KRAVTWVEventVexil",
                                  .supportsEnabled = true,
                                  .enabled = enabled});
}

/// The line of an inserted row with this label, from the label on.
std::string printed(const Value& value) {
  const std::string text =
      OutlineUpdate({test::insertion(0, 0, {row(1, "id", value)})}, 1).description();
  const std::string before = "update steps=1 rows=1 of 1\ninserted 0 of #0\n  #1 \"id\" ";
  EXPECT_EQ(text.substr(0, before.size()), before);
  return text.substr(std::min(text.size(), before.size()));
}

std::string changed(const RowState& before, const RowState& after) {
  const std::string text = OutlineUpdate({test::change(0, 0, {{before, after}})}, 1).description();
  const std::string head = "update steps=1 rows=1 of 1\nchanged 0 of #0\n  ";
  EXPECT_EQ(text.substr(0, head.size()), head);
  return text.substr(std::min(text.size(), head.size()));
}

std::string changedObject(const Value& before, const Value& after) {
  return changed(RowState(RowState::Parts{.number = 1, .representedObject = before}),
                 RowState(RowState::Parts{.number = 1, .representedObject = after}));
}

// The example of docs/outline.md.
TEST(OutlineUpdateText, HasALineForEachStepAndEachRow) {
  const OutlineStep removal =
      test::removal(0, 3, {row(7, "e3", "Backup"), row(8, "e4", "Mail"), row(9, "e4", "Mail", 1)});
  const OutlineStep move =
      test::moveToOther({}, 4, {row(12, "g0")}, 1, {row(11, "e9", "Report", 2)}, {0});
  const RowState group(RowState::Parts{.number = 20,
                                       .uniqueID = "g1",
                                       .label = "Logs",
                                       .className = "KRAVTWVGroupVexil",
                                       .isGroup = true,
                                       .isExpandable = true});
  const RowState item(
      RowState::Parts{.number = 22, .uniqueID = 7, .className = "KRAVTWVItemVexil"});
  const OutlineStep insertion =
      test::insertion(12, 0, 2, {{group, 1}, {event(21, "e7", "Rotate", true), 0}, {item, 0}});
  const RowState before(RowState::Parts{
      .number = 15,
      .uniqueID = "e2",
      .label = "Old",
      .representedObject = Value::dictionary({{"kTWEventName", "Old"}, {"same", 1}}),
      .enabled = true});
  const RowState after(RowState::Parts{
      .number = 15,
      .uniqueID = "e2",
      .label = "New",
      .representedObject = Value::dictionary(
          {{"two words", Value::array({1, 2})}, {"same", 1.0}, {"kTWEventName", "New"}})});
  const Value service(std::make_shared<platform::NetService>("Office", "_ipp._tcp.", "local."));
  const RowState unknown(
      RowState::Parts{.number = 16, .uniqueID = "s1", .representedObject = Value::null()});
  const RowState known(
      RowState::Parts{.number = 16, .uniqueID = "s1", .representedObject = service});
  const OutlineStep change = test::change(12, 7, {{before, after}, {unknown, known}});

  EXPECT_EQ(OutlineUpdate({removal, move, insertion, change}, 120).description(),
            R"(update steps=4 rows=9 of 120
removed 3-5 of #0
  #7 "e3" "Backup"
  #8 "e4" "Mail"
  #9 "e4" "Mail" occurrence=1
moved 4 of #0 to 1 of #12
  #11 "e9" "Report" occurrence=2->0
inserted 0-1 of #12
  #20 "g1" "Logs" KRAVTWVGroupVexil flags=group,expandable
    #21 "e7" "Rotate" KRAVTWVEventVexil flags=supportsEnabled,enabled
  #22 7 absent KRAVTWVItemVexil
changed 7-8 of #12
  #15 "e2" label="Old"->"New" enabled=true->false record kTWEventName="Old"->"New" "two words"=absent->[1, 2]
  #16 "s1" object=null->service("Office", "_ipp._tcp.", "local."))");
}

TEST(OutlineUpdateText, OfNothingIsOneLine) {
  EXPECT_EQ(OutlineUpdate().description(), "update steps=0 rows=0 of 0");
  EXPECT_EQ(OutlineUpdate({}, 17).description(), "update steps=0 rows=0 of 17");
}

TEST(OutlineUpdateText, CountsRowsBelowThoseThatItPrints) {
  EXPECT_EQ(OutlineUpdate({test::removal(3, 1, {row(4, "a", "A")}, 90)}, 9).description(),
            "update steps=1 rows=90 of 9\nremoved 1 of #3\n  #4 \"a\" \"A\"");
}

TEST(OutlineUpdateText, OfAMoveWithinAParentHasItTwice) {
  EXPECT_EQ(OutlineUpdate({test::moveWithin(3, 1, 5, {row(4, "a", "A"), row(5, "b", {}, 3)})}, 9)
                .description(),
            "update steps=1 rows=2 of 9\nmoved 1-2 of #3 to 5-6 of #3\n  #4 \"a\" \"A\"\n"
            "  #5 \"b\" absent occurrence=3");
}

TEST(OutlineUpdateText, IndentsRowsBelowInsertedOnes) {
  const OutlineStep step = test::insertion(0, 0, 2,
                                           {{row(1, "a"), 2},
                                            {row(2, "b"), 1},
                                            {row(3, "c"), 0},
                                            {row(4, "d"), 0},
                                            {row(5, "e"), 1},
                                            {row(6, "f"), 0}});
  EXPECT_EQ(OutlineUpdate({step}, 6).description(),
            "update steps=1 rows=6 of 6\ninserted 0-1 of #0\n"
            "  #1 \"a\" absent\n    #2 \"b\" absent\n      #3 \"c\" absent\n    #4 \"d\" absent\n"
            "  #5 \"e\" absent\n    #6 \"f\" absent");
}

TEST(OutlineUpdateText, PrintsEveryKindOfValue) {
  EXPECT_EQ(printed({}), "absent");
  EXPECT_EQ(printed(Value::null()), "null");
  EXPECT_EQ(printed(true), "true");
  EXPECT_EQ(printed(false), "false");
  EXPECT_EQ(printed(-7), "-7");
  EXPECT_EQ(printed(UINT64_MAX), "18446744073709551615");
  EXPECT_EQ(printed(2.0), "2.0");
  EXPECT_EQ(printed(-0.5), "-0.5");
  EXPECT_EQ(printed(0.1), "0.10000000000000001");
  EXPECT_EQ(printed(1e20), "1e+20");
  EXPECT_EQ(printed(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(printed(std::nan("")), "nan");
  EXPECT_EQ(printed(Date{86400}), "@86400.0");
  EXPECT_EQ(printed(Date{-0.5}), "@-0.5");
  EXPECT_EQ(printed(test::dataOf(std::string_view("\x00\xFF\x1A", 3))), "<00ff1a>");
  EXPECT_EQ(printed(Value::array({})), "[]");
  EXPECT_EQ(printed(Value::array({1, Value(), Value::array({"a"}), Value::null()})),
            "[1, absent, [\"a\"], null]");
  EXPECT_EQ(printed(Value::dictionary({})), "{}");
}

TEST(OutlineUpdateText, KeepsEveryValueOnOneLine) {
  EXPECT_EQ(printed("a\"b\\c\nd\re\tf\x01g\x1F"), R"("a\"b\\c\nd\re\tf\u0001g\u001f")");
  EXPECT_EQ(printed("\xC3\xBC\x7F"), "\"\xC3\xBC\x7F\"");
  EXPECT_EQ(printed(Value::dictionary({{"line\nfeed", "a\nb"}})), R"({"line\nfeed": "a\nb"})");
}

// The key a" is printed as "a\"". Its backslash stands behind the quote that ends "a", and before
// the letter in "aa".
TEST(OutlineUpdateText, PrintsKeysInTheOrderOfTheirBytes) {
  EXPECT_EQ(printed(Value::dictionary({{"b", 1},
                                       {"a", Value::dictionary({{"z", 1}, {"y", 2}})},
                                       {"B", 2},
                                       {"", 3},
                                       {"aa", 4},
                                       {"a\"", 5}})),
            R"({"": 3, "B": 2, "a": {"y": 2, "z": 1}, "a\"": 5, "aa": 4, "b": 1})");
}

class HostObject : public platform::Object {
 public:
  [[nodiscard]] std::string description() const override { return "not printed"; }
};

TEST(OutlineUpdateText, PrintsObjectsWithoutAddresses) {
  const std::string text = printed(Value::array({Value(std::make_shared<HostObject>())}));
  EXPECT_EQ(text, "[" + HostObject().className() + "]");
  EXPECT_EQ(printed(Value(std::make_shared<platform::NetService>(Value("a\""), Value(), Value()))),
            R"(service("a\"", absent, absent))");
}

TEST(OutlineUpdateText, NamesEveryAspectInOneOrder) {
  const RowState before(RowState::Parts{.number = 3,
                                        .uniqueID = "x",
                                        .occurrence = 2,
                                        .label = "A",
                                        .representedObject = 1,
                                        .isGroup = true});
  const RowState after(RowState::Parts{.number = 3,
                                       .uniqueID = "x",
                                       .occurrence = 2,
                                       .label = "B",
                                       .representedObject = "two",
                                       .supportsEnabled = true,
                                       .enabled = true,
                                       .isExpandable = true});
  EXPECT_EQ(
      changed(before, after),
      "#3 \"x\" occurrence=2 label=\"A\"->\"B\" enabled=false->true "
      "supportsEnabled=false->true group=true->false expandable=false->true object=1->\"two\"");
  EXPECT_EQ(changed(before, before), "#3 \"x\" occurrence=2");
}

TEST(OutlineUpdateText, ShowsOnlyTheKeysOfARecordThatChanged) {
  EXPECT_EQ(changedObject(Value::dictionary({{"b", 1}, {"a", 1}, {"c", 1}}),
                          Value::dictionary({{"a", 2}, {"c", 1}, {"d", Value::array({1})}})),
            "#1 absent record b=1->absent a=1->2 d=absent->[1]");
  EXPECT_EQ(changedObject(Value::dictionary({{"a", 1}}), {}),
            "#1 absent object={\"a\": 1}->absent");
  EXPECT_EQ(changedObject({}, Value::dictionary({})), "#1 absent object=absent->{}");
}

TEST(OutlineUpdateText, QuotesKeysThatAreNoNames) {
  const auto line = [](const char* key) {
    return changedObject(Value::dictionary({{key, 1}}), Value::dictionary({{key, 2}}));
  };
  EXPECT_EQ(line("org.ternwood:a-b_C$9"), "#1 absent record org.ternwood:a-b_C$9=1->2");
  EXPECT_EQ(line(""), "#1 absent record \"\"=1->2");
  EXPECT_EQ(line("a b"), "#1 absent record \"a b\"=1->2");
  EXPECT_EQ(line("a=1"), "#1 absent record \"a=1\"=1->2");
  EXPECT_EQ(line("\xC3\xBC\n"), "#1 absent record \"\xC3\xBC\\n\"=1->2");
}

TEST(OutlineUpdateText, LetsTheCallerPrintValues) {
  const OutlineUpdate update(
      {test::insertion(0, 0, {event(1, "e", "E", false)}),
       test::change(0, 0, {{event(1, "e", "E", false), event(1, "e", "F", true)}})},
      1);
  const auto print = [](const Value& value) { return "<" + value.displayText() + ">"; };
  EXPECT_EQ(update.description(print),
            "update steps=2 rows=2 of 1\ninserted 0 of #0\n"
            "  #1 <e> <E> KRAVTWVEventVexil flags=supportsEnabled\n"
            "changed 0 of #0\n  #1 <e> label=<E>-><F> enabled=<false>-><true>");
}

TEST(OutlineUpdateText, SurvivesAPrinterThatTakesTheUpdateAway) {
  const std::string longText(100, 'x');
  OutlineUpdate update({test::insertion(0, 0, {row(1, longText, longText)}),
                        test::removal(0, 0, {row(1, longText, longText)})},
                       0);
  const std::string expected = update.description();
  std::function<std::string(const Value&)> print = [&](const Value& value) {
    const std::string text = '"' + std::string(value.string()) + '"';
    update = OutlineUpdate();
    return text;
  };
  EXPECT_EQ(update.description(print), expected);
  EXPECT_TRUE(update.isEmpty());
}

// The lines of a chain of rows are not indented without end: that would take 10 gigabytes here.
TEST(OutlineUpdateText, OfADeepChainIsLinearAndDoesNotRecurse) {
  test::runOnSmallStack([] {
    const std::string text =
        OutlineUpdate({test::insertion(0, 0, 1, test::chainOfRows(1, test::deepNesting))}, 0)
            .description();
    EXPECT_EQ(std::ranges::count(text, '\n'), 1 + static_cast<int>(test::deepNesting));
    EXPECT_LT(text.size(), test::deepNesting * 200);
    EXPECT_NE(text.find("\n" + std::string(128, ' ') + "#100000 \"n\" absent"), std::string::npos);
  });
}

TEST(OutlineUpdateText, OfADeepValueDoesNotRecurse) {
  test::runOnSmallStack([] {
    Value value = "innermost";
    for (std::size_t i = 0; i < test::deepNesting; ++i) {
      value = i % 2 == 0 ? Value::array({value}) : Value::dictionary({{"k", value}});
    }
    EXPECT_EQ(printed(value).size(),
              std::string("\"innermost\"").size() + test::deepNesting / 2 * (2 + 7));
  });
}

}  // namespace
