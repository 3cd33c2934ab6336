// SPDX-License-Identifier: Apache-2.0
// What one level of a merge found equal or different is remembered for the next, and nobody must
// notice. Nothing below the root is held here, since of what others hold nothing is remembered; and
// few items are observed, since whatever an observer hears of is compared anew.
#include "tests/support/Recorder.h"

#include <gtest/gtest.h>

#include <utility>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::eventItem;
using test::ItemPointer;
using test::items;
using test::outline;
using test::plainItem;
using test::Recorder;

/// An item of the tree by its identifier.
std::weak_ptr<KRAVTWVItemVexil> find(const ItemPointer& root, const char* uniqueID) {
  for (const auto& item : root->recursiveChildren()) {
    if (item->uniqueID() == Value(uniqueID)) {
      return item;
    }
  }
  return {};
}

ItemPointer representing(const Value& represented, const char* uniqueID,
                         const KRAVTWVItemArray& children) {
  const auto item = plainItem(uniqueID, children);
  item->setRepresentedObject(represented);
  return item;
}

// root - a - b - y
//          - c - z
TEST(ReplaceChildrenMemory, WhatAnObserverMakesDifferentIsComparedAnew) {
  const auto build = [](const char* name) {
    return items({eventItem("a", "A",
                            {eventItem("b", "B", {eventItem("y", "Y")}),
                             eventItem("c", "C", {eventItem("z", name)})})});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build("Old"));
  const auto recorder = Recorder::make();
  recorder->watch(find(root, "a").lock(), "label");
  recorder->meanwhile = [y = find(root, "y")] {
    y.lock()->setRepresentedObject(test::eventRecord("y", "by the observer"));
  };
  root->replaceChildren(build("New"));
  EXPECT_EQ(outline(root), "root[a=A[b=B[y=Y] c=C[z=New]]]");
}

// root - a - b - x
TEST(ReplaceChildrenMemory, WhatAnObserverMakesEqualIsNotReplaced) {
  const auto build = [](const char* name) {
    return items({eventItem("a", "A", {eventItem("b", "B", {eventItem("x", name)})})});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build("Old"));
  const auto recorder = Recorder::of(find(root, "a").lock());
  const auto helper = Recorder::make();
  helper->watch(find(root, "a").lock(), "label");
  helper->meanwhile = [x = find(root, "x")] {
    x.lock()->setRepresentedObject(test::eventRecord("x", "New"));
  };
  root->replaceChildren(build("New"));
  EXPECT_EQ(recorder->take(), "");
}

// root - a - p - x
//      - b - q - the same x
TEST(ReplaceChildrenMemory, AnItemThatWasMergedAtAnotherPlaceIsComparedAnew) {
  const auto build = [](const ItemPointer& below, const ItemPointer& belowToo) {
    return items(
        {plainItem("a", {plainItem("p", {below})}), plainItem("b", {plainItem("q", {belowToo})})});
  };
  const auto root = plainItem("root");
  root->replaceChildren([&] {
    const auto x = eventItem("x", "Old");
    return build(x, x);
  }());
  const auto recorder = Recorder::make();
  recorder->watch(find(root, "q").lock(), "representedObject");
  root->replaceChildren(build(eventItem("x", "New"), eventItem("x", "New")));
  EXPECT_EQ(recorder->take(), "");  // by then, all below equals its counterpart
  EXPECT_EQ(outline(root), "root[a[p[x=New]] b[q[x=New]]]");
}

// root - w - a - p - x
//      - the same a
TEST(ReplaceChildrenMemory, WhatLiesBelowAnItemAtTwoPlacesIsComparedAnew) {
  const auto a = [](const Value& ofP, const char* name) {
    return plainItem("a", {representing(ofP, "p", {eventItem("x", name)})});
  };
  const auto root = plainItem("root");
  root->replaceChildren([&] {
    const auto shared = a(1, "Old");
    return items({plainItem("w", {shared}), shared});
  }());
  root->replaceChildren(items({plainItem("w", {a(1, "New")}), a(true, "New")}));
  // At its second place "p" equals its counterpart, as 1 does true, and takes nothing over.
  EXPECT_EQ(find(root, "p").lock()->representedObject().displayText(), "1");
  EXPECT_EQ(outline(root), "root[w[a[p[x=New]]] a[p[x=New]]]");
}

// root - a - p - x
//      - b - q, whose list is that of p
TEST(ReplaceChildrenMemory, AListThatWasMergedAtAnotherPlaceIsComparedAnew) {
  const auto build = [](const char* name) {
    return items({plainItem("a", {plainItem("p", {eventItem("x", name)})}),
                  plainItem("b", {plainItem("q", {eventItem("x", name)})})});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build("Old"));
  find(root, "q").lock()->setChildren(find(root, "p").lock()->children());
  const auto recorder = Recorder::make();
  recorder->watch(find(root, "q").lock(), "representedObject");
  root->replaceChildren(build("New"));
  EXPECT_EQ(recorder->take(), "");
  EXPECT_EQ(outline(root), "root[a[p[x=New]] b[q[x=New]]]");
}

// root - x
//      - a - r, which represents x - s
//          - t
TEST(ReplaceChildrenMemory, AnItemThatRepresentsAMergedItemIsComparedAnew) {
  const auto build = [](const ItemPointer& x, const ItemPointer& represented, const char* name) {
    return items({x, plainItem("a", {representing(Value(represented), "r", {plainItem("s")}),
                                     eventItem("t", name)})});
  };
  const auto root = plainItem("root");
  root->replaceChildren([&] {
    const auto x = eventItem("x", "Old");
    return build(x, x, "Old");
  }());
  // What "r" represents differs from its counterpart as soon as "x" has been refreshed.
  const auto counterpart = eventItem("x", "Old");
  root->replaceChildren(build(eventItem("x", "New"), counterpart, "New"));
  EXPECT_EQ(find(root, "r").lock()->representedObject().object(), counterpart);
}

// root - a - b - y
//          - c - y
TEST(ReplaceChildrenMemory, WhatWasFoundOfOneCounterpartIsNotSaidOfAnother) {
  const auto build = [](const ItemPointer& first, const ItemPointer& second) {
    const auto a = plainItem("a");
    a->setChildren(items({first, second}));  // equal ones cannot be added side by side
    return items({a});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build(representing("same", "b", {plainItem("y")}),
                              representing("same", "c", {plainItem("y")})));
  const auto recorder = Recorder::make();
  recorder->watch(find(root, "c").lock(), "representedObject");
  // "c" differs from "d", beside which it stands at first, and not from its own counterpart.
  auto fresh = build(representing("same", "c", {plainItem("y")}),
                     representing("same", "d", {plainItem("z")}));
  root->replaceChildren(std::move(fresh));
  EXPECT_EQ(recorder->take(), "");
  EXPECT_EQ(test::identifiers(*find(root, "a").lock()->children()), "[c, d]");
}

// root - p - p - g
//              - k - m - n=Old
//          - k - m - n=New
//      - k - m - n=Old
TEST(ReplaceChildrenMemory, AFreshArrayThatIsPartOfTheTreeIsComparedAnew) {
  const auto k = [](const char* name) {
    return plainItem("k", {plainItem("m", {eventItem("n", name)})});
  };
  const auto root = plainItem(
      "root", {plainItem("p", {plainItem("p", {plainItem("g"), k("Old")}), k("New")}), k("Old")});
  const auto recorder = Recorder::make();
  recorder->watch(root->childAtIndex(1)->childAtIndex(0), "representedObject");
  auto list = root->childAtIndex(0)->children();
  root->replaceChildren(std::move(list));
  // The refresh of "p" made "New" old again, before "k" was compared with it for good.
  EXPECT_EQ(recorder->take(), "");
  EXPECT_EQ(outline(root), "root[p[g k[m[n=Old]]] k[m[n=Old]]]");
}

// root - p1 - x        below each the same x,        x - y - z - v - w
//      - p2 - x        which all else hangs on:                - s
//      - p3 - x
TEST(ReplaceChildrenMemory, AnItemBelowThreeParentsShowsWhatTheLastOfThemIsGiven) {
  const auto build = [](const char* above, const char* w, const char* s) {
    const auto v = eventItem("v", "V", {eventItem("w", w)});
    return plainItem("x", {eventItem("y", above, {eventItem("z", above, {v, eventItem("s", s)})})});
  };
  const auto belowEach = [](ItemPointer one, ItemPointer two, ItemPointer three) {
    return items({plainItem("p1", {std::move(one)}), plainItem("p2", {std::move(two)}),
                  plainItem("p3", {std::move(three)})});
  };
  const auto root = plainItem("root");
  {
    const auto x = build("Same", "Old", "Old");
    root->replaceChildren(belowEach(x, x, x));
  }
  // Of what the first and the third parent are given only s differs at first. The second one then
  // changes w, too, so the third has to change it back.
  auto oneAndThree = build("Same", "Old", "New");
  auto two = build("Other", "Other", "Other");
  const auto& three = oneAndThree;
  root->replaceChildren(belowEach(oneAndThree, std::move(two), three));
  const std::string shown = "[x[y=Same[z=Same[v=V[w=Old] s=New]]]]";
  EXPECT_EQ(outline(root), "root[p1" + shown + " p2" + shown + " p3" + shown + "]");
}

// root - b - h - b        The array of h is what root is given. Before root comes to its own a,
//      - a     - a        the a of h takes over what is below this h's counterpart.
TEST(ReplaceChildrenMemory, AnArrayThatIsGivenWhileItIsSomeItemsOwnIsFollowedAsItChanges) {
  const auto a = [](const char* w, const char* s) {
    return plainItem("a", {plainItem("v", {eventItem("w", w)}), eventItem("s", s)});
  };
  const auto root = plainItem("root");
  {
    const auto given = plainItem("h", {plainItem("b"), a("Given", "Given")});
    const auto b = plainItem("b", {plainItem("h", {plainItem("b", {given}), a("Old", "New")})});
    root->replaceChildren(items({b, a("Old", "Old")}));
  }
  root->replaceChildren(root->childAtIndex(0)->childAtIndex(0)->children());
  EXPECT_EQ(outline(root), "root[b[h[b a[v[w=Given] s=Given]]] a[v[w=Given] s=Given]]");
}

}  // namespace
