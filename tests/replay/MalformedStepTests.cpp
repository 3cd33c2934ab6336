// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ScenarioSupport.h"

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::absentArgument;
using test::reference;
using test::Replayed;
using test::send;
using test::sendToClass;

/// A step that cannot be performed, and why.
struct Case {
  const char* name;
  Value step;
  const char* reason;
};

void PrintTo(const Case& testCase, std::ostream* out) {
  *out << testCase.name;
}

class MalformedStep : public testing::TestWithParam<Case> {};

// Before the malformed step there are a group g, an event e, a list, an observer o, a delegate d
// and a watch w; behind it stands a step that is never performed.
TEST_P(MalformedStep, PrintsNothingAndEndsTheScenario) {
  const std::vector<Value> before = {
      test::group("G", "g", "g"),
      sendToClass("itemWithEvent:", "KRAVTWVEventVexil", {"event"}, "e"),
      sendToClass("new", "KRAVTWVEventsVexil", {}, "list"),
      sendToClass("new", "KRAVTWVItemsObserver", {}, "o"),
      sendToClass("new", "Delegate", {}, "d"),
      send("watch", "g", {"label"}, "w"),
      send("children", "g", {}, "array"),
  };
  const std::string transcript =
      "== 1 KRAVTWVGroupVexil itemWithLabel:uniqueID:\n-> #1(KRAVTWVGroupVexil \"g\")\n"
      "== 2 KRAVTWVEventVexil itemWithEvent:\n-> #2(KRAVTWVEventVexil absent)\n"
      "== 3 KRAVTWVEventsVexil new\n"
      "== 4 KRAVTWVItemsObserver new\n"
      "== 5 Delegate new\n"
      "== 6 g watch\n"
      "== 7 g children\n-> []\n";
  std::vector<Value> steps = before;
  steps.push_back(GetParam().step);
  steps.push_back(send("setLabel:", "g", {"never"}));

  EXPECT_EQ(test::replayed(Value::array(steps)),
            (Replayed{transcript, "step 8: " + std::string(GetParam().reason)}));
}

Value indexes(const Value& operand) {
  return Value::dictionary({{"$indexes", operand}});
}

std::vector<Case> steps() {
  const Value data = Value::data(std::as_bytes(std::span("x", 1)));
  const auto file = [](const Value& name, const Value& bytes) {
    return send(
        "isEqual:", "g",
        {Value::dictionary({{"$file", Value::dictionary({{"name", name}, {"bytes", bytes}})}})});
  };
  const auto service = [](const Value& operand) {
    return send("isEqual:", "g", {Value::dictionary({{"$service", operand}})});
  };
  const auto form = [](const char* name, const Value& operand) {
    return send("isEqual:", "g", {Value::dictionary({{name, operand}})});
  };
  return {
      {"String", "label", "the step is no dictionary"},
      {"Array", Value::array({}), "the step is no dictionary"},
      {"Empty", Value::dictionary({}), "there is nothing to \"do\""},
      {"WithoutDo", Value::dictionary({{"on", "g"}}), "there is nothing to \"do\""},
      {"DoIsNoString", Value::dictionary({{"do", 1}, {"on", "g"}}), "\"do\" is no string"},
      {"OnIsNoString", Value::dictionary({{"do", "label"}, {"on", 1}}), "\"on\" is no string"},
      {"ClassIsNoString", Value::dictionary({{"do", "init"}, {"class", data}}),
       "\"class\" is no string"},
      {"AsIsNoString", Value::dictionary({{"do", "label"}, {"on", "g"}, {"as", 1}}),
       "\"as\" is no string"},
      {"WithIsNoArray", Value::dictionary({{"do", "setLabel:"}, {"on", "g"}, {"with", "x"}}),
       "\"with\" is no array"},
      {"AnotherKey", Value::dictionary({{"do", "label"}, {"on", "g"}, {"wiht", Value::array({})}}),
       "no step has the key \"wiht\""},
      {"OnAndClass",
       Value::dictionary({{"do", "label"}, {"on", "g"}, {"class", "KRAVTWVGroupVexil"}}),
       "both \"on\" and \"class\" are given"},

      {"UnknownReceiver", send("label", "nobody"), "nothing is bound to \"nobody\""},
      {"UnknownClass", sendToClass("new", "KRAVTWVNothing"),
       "there is no class \"KRAVTWVNothing\""},
      {"UnknownOperation", send("explode", "g"), "KRAVTWVGroupVexil does not answer \"explode\""},
      {"OperationOfAnotherClass", send("representedEvent", "g"),
       "KRAVTWVGroupVexil does not answer \"representedEvent\""},
      {"PropertyWithoutSetter", send("setEnabled:", "e", {true}),
       "KRAVTWVEventVexil does not answer \"setEnabled:\""},
      {"InputWithoutGetter", send("events", "list"),
       "KRAVTWVEventsVexil does not answer \"events\""},
      {"ClassOperationOfAnObject", send("keyPathsForValuesAffectingIsGroup", "g"),
       "KRAVTWVGroupVexil does not answer \"keyPathsForValuesAffectingIsGroup\""},
      {"OperationOfAnObjectOfAClass", sendToClass("label", "KRAVTWVGroupVexil"),
       "the class KRAVTWVGroupVexil does not answer \"label\""},
      {"FactoryOfAnotherClass", sendToClass("itemWithDomain:", "KRAVTWVGroupVexil", {"x"}),
       "the class KRAVTWVGroupVexil does not answer \"itemWithDomain:\""},
      {"FactoryOfASubclass", sendToClass("itemWithLabel:uniqueID:", "KRAVTWVItemVexil", {"l", "u"}),
       "the class KRAVTWVItemVexil does not answer \"itemWithLabel:uniqueID:\""},
      {"NewItem", sendToClass("new", "KRAVTWVGroupVexil"),
       "the class KRAVTWVGroupVexil does not answer \"new\""},
      {"InitialisedDelegate", sendToClass("init", "Delegate"),
       "the class Delegate does not answer \"init\""},
      {"PasteboardClassOfADomain",
       sendToClass("readableTypesForPasteboard:", "KRAVTWVDomainVexil", {absentArgument()}),
       "the class KRAVTWVDomainVexil does not answer \"readableTypesForPasteboard:\""},
      {"PasteboardInitialiserOfAPlainItem",
       sendToClass("initWithPasteboardPropertyList:ofType:", "KRAVTWVItemVexil", {"x", "y"}),
       "the class KRAVTWVItemVexil does not answer \"initWithPasteboardPropertyList:ofType:\""},
      {"PasteboardClassOperationOfAnObject",
       send("readableTypesForPasteboard:", "g", {absentArgument()}),
       "KRAVTWVGroupVexil does not answer \"readableTypesForPasteboard:\""},
      {"PasteboardOperationOfAClass",
       sendToClass("writableTypesForPasteboard:", "KRAVTWVGroupVexil", {absentArgument()}),
       "the class KRAVTWVGroupVexil does not answer \"writableTypesForPasteboard:\""},
      {"PasteboardOperationOfAList", send("pasteboardPropertyListForType:", "list", {"x"}),
       "KRAVTWVEventsVexil does not answer \"pasteboardPropertyListForType:\""},
      {"Pasteboard", send("writableTypesForPasteboard:", "g", {"drag"}),
       "\"writableTypesForPasteboard:\" takes an absent pasteboard as argument 1"},
      {"PasteboardTypeOfAnotherKind", send("pasteboardPropertyListForType:", "e", {7}),
       "\"pasteboardPropertyListForType:\" takes a string as argument 1"},
      {"ArrayAsReceiver", send("count", "array"), "a plain value does not answer \"count\""},
      {"WithoutReceiver", Value::dictionary({{"do", "label"}}),
       "\"label\" needs a receiver, or does not exist"},
      {"SameOfAReceiver", send("same", "g", {reference("g"), reference("g")}),
       "KRAVTWVGroupVexil does not answer \"same\""},

      {"TooFewArguments", send("setLabel:", "g"), "\"setLabel:\" takes 1 argument(s), not 0"},
      {"TooManyArguments", send("label", "g", {"x"}), "\"label\" takes 0 argument(s), not 1"},
      {"OneToCompare", Value::dictionary({{"do", "same"}, {"with", Value::array({1})}}),
       "\"same\" takes 2 argument(s), not 1"},
      {"NewWithArguments", sendToClass("new", "KRAVTWVItemsVexil", {1}),
       "\"new\" takes 0 argument(s), not 1"},
      {"StringForAnItem", send("addChild:", "g", {"e"}),
       "\"addChild:\" takes an object of the right class as argument 1"},
      {"ListForAnItem", send("setParent:", "g", {reference("list")}),
       "\"setParent:\" takes an object of the right class as argument 1"},
      {"ItemForADelegate", send("setDelegate:", "o", {reference("g")}),
       "\"setDelegate:\" takes an object of the right class as argument 1"},
      {"ItemForAService",
       sendToClass("itemWithNetService:", "KRAVTWVNetServiceVexil", {reference("g")}),
       "\"itemWithNetService:\" takes an object of the right class as argument 1"},
      {"ItemForAnArray", send("addChildren:", "g", {reference("e")}),
       "\"addChildren:\" takes an array of objects of the right class as argument 1"},
      {"StringAmongItems", send("setChildren:", "g", {Value::array({reference("e"), "e"})}),
       "\"setChildren:\" takes an array of objects of the right class as argument 1"},
      {"AbsentAmongItems", send("replaceChildren:", "g", {Value::array({absentArgument()})}),
       "\"replaceChildren:\" takes an array of objects of the right class as argument 1"},
      {"StringForRecords", send("setEvents:", "list", {"e"}),
       "\"setEvents:\" takes an array as argument 1"},
      {"DictionaryForRecords", send("setSortedEvents:", "list", {Value::dictionary({})}),
       "\"setSortedEvents:\" takes an array as argument 1"},
      {"ArrayForIndexes", send("removeChildrenAtIndexes:", "g", {Value::array({0})}),
       "\"removeChildrenAtIndexes:\" takes an index set as argument 1"},
      {"StringForAnIndex", send("childAtIndex:", "g", {"0"}),
       "\"childAtIndex:\" takes an integer from 0 on as argument 1"},
      {"RealForAnIndex", send("childAtIndex:", "g", {0.0}),
       "\"childAtIndex:\" takes an integer from 0 on as argument 1"},
      {"NegativeIndex", send("childAtIndex:", "g", {-1}),
       "\"childAtIndex:\" takes an integer from 0 on as argument 1"},
      {"AbsentIndex", send("childAtIndex:", "g", {absentArgument()}),
       "\"childAtIndex:\" takes an integer from 0 on as argument 1"},
      {"IntegerForAPath", send("itemWithPath:", "g", {1}),
       "\"itemWithPath:\" takes a string as argument 1"},
      {"IntegerForAKey", send("valueForKey:", "g", {1}),
       "\"valueForKey:\" takes a key as argument 1"},
      {"AbsentKey", send("setValue:forKey:", "g", {1, absentArgument()}),
       "\"setValue:forKey:\" takes a key as argument 2"},
      {"StringForAnItemToCompare", send("isEqualToItem:", "g", {"g"}),
       "\"isEqualToItem:\" takes an object of the right class as argument 1"},
      {"HashOfAString",
       Value::dictionary({{"do", "sameHash"}, {"with", Value::array({reference("g"), "g"})}}),
       "\"sameHash\" takes an item as argument 2"},
      {"OptionsOutOfRange",
       send("addObserver:forRecursiveChildrenWithOption:context:", "g",
            {reference("w"), 4, absentArgument()}),
       "\"addObserver:forRecursiveChildrenWithOption:context:\" takes observing options, 0 to 3 as "
       "argument 2"},
      {"ItemForAnObserver",
       send("removeObserver:forRecursiveChildrenWithContext:", "g", {reference("e"), "x"}),
       "\"removeObserver:forRecursiveChildrenWithContext:\" takes an object of the right class as "
       "argument 1"},

      {"WatchWithoutName", send("watch", "g", {"label"}),
       "\"watch\" needs a name to be bound \"as\""},
      {"WatchWithoutKey", send("watch", "g", {}, "v"), "\"watch\" takes 1 argument(s), not 0"},
      {"WatchOfADelegate", send("watch", "d", {"label"}, "v"),
       "Delegate does not answer \"watch\""},
      {"OutlineWithoutName", send("outline", "g"), "\"outline\" needs a name to be bound \"as\""},
      {"OutlineOfADelegate", send("outline", "d", {}, "x"), "Delegate does not answer \"outline\""},
      {"OutlineWithAnotherOption", send("outline", "g", {"followsLabels"}, "x"),
       "\"outline\" takes \"followsProperties\" as argument 1"},
      {"OutlineWithTwoOptions",
       send("outline", "list", {"followsProperties", "followsProperties"}, "x"),
       "\"outline\" takes 0 to 1 argument(s), not 2"},
      {"UpdateOfAnItem", send("update", "g"), "KRAVTWVGroupVexil does not answer \"update\""},
      {"UpdateDuringWithAnItem", send("updateDuring", "w", {reference("g")}),
       "\"updateDuring\" takes an object of the right class as argument 1"},
      {"UnwatchOfAnItem", send("unwatch", "g"), "KRAVTWVGroupVexil does not answer \"unwatch\""},
      {"TreeOfAnObserver", send("tree", "o"), "KRAVTWVItemsObserver does not answer \"tree\""},
      {"ReleaseOfNothing", send("release", "nobody"), "nothing is bound to \"nobody\""},

      {"UnknownForm", form("$self", "g"), "no argument is written \"$self\""},
      {"UnknownFormInsideArrays",
       send("isEqual:", "g", {Value::array({Value::array({Value::dictionary({{"$", 1}})})})}),
       "no argument is written \"$\""},
      {"UnknownReference", form("$ref", "nobody"), "nothing is bound to \"nobody\""},
      {"ReferenceToANumber", form("$ref", 1), "\"$ref\" needs a name"},
      {"AbsentButNot", form("$absent", false), "\"$absent\" is always true"},
      {"AbsentBecauseOfAString", form("$absent", "true"), "\"$absent\" is always true"},
      {"IndexesOfAnInteger", form("$indexes", 1), "\"$indexes\" needs an array"},
      {"NegativeIndexInASet", form("$indexes", Value::array({0, -1})),
       "an index is an integer from 0 on"},
      {"RealIndexInASet", form("$indexes", Value::array({1.0})),
       "an index is an integer from 0 on"},
      {"IndexBeyondAllLists", form("$indexes", Value::array({std::int64_t{INT64_MAX}})),
       "an index is an integer from 0 on"},
      {"ServiceOfAString", service("Office"), "\"$service\" needs a dictionary"},
      {"ServiceWithAPort", service(Value::dictionary({{"name", "n"}, {"port", 80}})),
       "\"$service\" has no \"port\""},
      {"ServiceNamedByANumber", service(Value::dictionary({{"name", 1}})),
       "name, type and domain of a service are strings"},
      {"FileOfAString", form("$file", "x"), "\"$file\" needs a dictionary"},
      {"FileWithoutBytes", file("x", {}),
       "\"$file\" needs the name of a file and its bytes as data"},
      {"FileOfAText", file("x", "text"),
       "\"$file\" needs the name of a file and its bytes as data"},
      {"FileWithoutName", file({}, data),
       "\"$file\" needs the name of a file and its bytes as data"},
      {"FileElsewhere", file("../x", data),
       "\"$file\" needs the name of a file and its bytes as data"},
      {"FileNamedLikeADirectory", file("..", data),
       "\"$file\" needs the name of a file and its bytes as data"},
  };
}

INSTANTIATE_TEST_SUITE_P(Steps, MalformedStep, testing::ValuesIn(steps()),
                         [](const auto& step) { return std::string(step.param.name); });

TEST(MalformedStep, WithAnIndexSetNeedsOne) {
  EXPECT_EQ(test::replayed(Value::array({test::group("G", "g", "g"),
                                         send("setLabel:", "g", {indexes(Value::array({"0"}))})}))
                .refusal,
            "step 2: an index is an integer from 0 on");
}

TEST(MalformedScenario, IsNoArray) {
  EXPECT_EQ(test::replayed(Value::dictionary({{"do", "same"}})),
            (Replayed{"", "the scenario is no array of steps"}));
}

TEST(MalformedStep, DoesNotTouchWhatWasBoundToItsName) {
  // The refusal comes before anything is bound, so the name could still be used if the scenario
  // went on; it does not, and the transcript says nothing of the step.
  EXPECT_EQ(test::replayed(Value::array({test::group("G", "g", "g"),
                                         sendToClass("new", "KRAVTWVItemsVexil", {1}, "g"),
                                         send("label", "g")})),
            (Replayed{"== 1 KRAVTWVGroupVexil itemWithLabel:uniqueID:\n"
                      "-> #1(KRAVTWVGroupVexil \"g\")\n",
                      "step 2: \"new\" takes 0 argument(s), not 1"}));
}

}  // namespace
