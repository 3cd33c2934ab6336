// SPDX-License-Identifier: Apache-2.0
// One level of a merge remembers what it found equal or different, for the next level. A host must
// not notice. The merge remembers nothing of items that others hold, so these tests hold nothing
// below the root. It compares anew what an observer hears of, so few items are observed.
//
// The drawings show the tree before the merge on the left and what is merged into it on the right.
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>

#include <utility>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::eventItem;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::outline;
using test::plainItem;
using test::plainItemWith;
using test::TreeRecorder;

/// An item of the tree by its identifier.
std::weak_ptr<KRAVTWVItemVexil> find(const ItemPointer& root, const char* uniqueID) {
  for (const auto& item : root->recursiveChildren()) {
    if (item->uniqueID() == Value(uniqueID)) {
      return item;
    }
  }
  return {};
}

// root                           fresh
//   a                              a
//     b                              b
//       y  <- an observer of a         y
//     c       changes it             c
//       z=Old                          z=New
TEST(ReplaceChildrenMemory, WhatAnObserverMakesDifferentIsComparedAnew) {
  const auto build = [](const char* name) {
    return items({eventItem("a", "A",
                            {eventItem("b", "B", {eventItem("y", "Y")}),
                             eventItem("c", "C", {eventItem("z", name)})})});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build("Old"));
  const auto recorder = TreeRecorder::make();
  recorder->watch(find(root, "a").lock(), "label");
  recorder->then = [y = find(root, "y")] {
    y.lock()->setRepresentedObject(test::eventRecord("y", "by the observer"));
  };
  root->replaceChildren(build("New"));
  EXPECT_EQ(outline(root), "root[a=A[b=B[y=Y] c=C[z=New]]]");
}

// root                           fresh
//   a                              a
//     b                              b
//       x=Old  <- an observer of         x=New
//                 a makes it New
TEST(ReplaceChildrenMemory, WhatAnObserverMakesEqualIsNotReplaced) {
  const auto build = [](const char* name) {
    return items({eventItem("a", "A", {eventItem("b", "B", {eventItem("x", name)})})});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build("Old"));
  const auto recorder = TreeRecorder::of(find(root, "a").lock());
  const auto helper = TreeRecorder::make();
  helper->watch(find(root, "a").lock(), "label");
  helper->then = [x = find(root, "x")] {
    x.lock()->setRepresentedObject(test::eventRecord("x", "New"));
  };
  root->replaceChildren(build("New"));
  EXPECT_EQ(recorder->take(), Lines{});
}

// root                           fresh
//   a                              a
//     p                              p
//       x=Old                          x=New
//   b                              b
//     q                              q
//       the same x                     another x=New
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
  const auto recorder = TreeRecorder::make();
  recorder->watch(find(root, "q").lock(), "representedObject");
  root->replaceChildren(build(eventItem("x", "New"), eventItem("x", "New")));
  EXPECT_EQ(recorder->take(), Lines{});  // by then, all below equals its counterpart
  EXPECT_EQ(outline(root), "root[a[p[x=New]] b[q[x=New]]]");
}

// root                           fresh
//   w                              w
//     a                              a
//       p (represents 1)               p (represents 1)
//         x=Old                          x=New
//   the same a                     a
//                                    p (represents true)
//                                      x=New
TEST(ReplaceChildrenMemory, WhatLiesBelowAnItemAtTwoPlacesIsComparedAnew) {
  const auto a = [](const Value& ofP, const char* name) {
    return plainItem("a", {plainItemWith("p", ofP, {eventItem("x", name)})});
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

// root                           fresh
//   a                              a
//     p                              p
//       x=Old                          x=New
//   b                              b
//     q (has the array of p)         q
//       the same x=Old                 x=New
TEST(ReplaceChildrenMemory, AListThatWasMergedAtAnotherPlaceIsComparedAnew) {
  const auto build = [](const char* name) {
    return items({plainItem("a", {plainItem("p", {eventItem("x", name)})}),
                  plainItem("b", {plainItem("q", {eventItem("x", name)})})});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build("Old"));
  find(root, "q").lock()->setChildren(find(root, "p").lock()->children());
  const auto recorder = TreeRecorder::make();
  recorder->watch(find(root, "q").lock(), "representedObject");
  root->replaceChildren(build("New"));
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(outline(root), "root[a[p[x=New]] b[q[x=New]]]");
}

// root                           fresh
//   x=Old                          x=New
//   a                              a
//     r (represents that x)          r (represents another x=Old)
//       s                              s
//     t=Old                          t=New
TEST(ReplaceChildrenMemory, AnItemThatRepresentsAMergedItemIsComparedAnew) {
  const auto build = [](const ItemPointer& x, const ItemPointer& represented, const char* name) {
    return items({x, plainItem("a", {plainItemWith("r", Value(represented), {plainItem("s")}),
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

// root                           fresh
//   a                              a
//     b                              c
//       y                              y
//     c                              d
//       y                              z
TEST(ReplaceChildrenMemory, WhatWasFoundOfOneCounterpartIsNotSaidOfAnother) {
  const auto build = [](const ItemPointer& first, const ItemPointer& second) {
    const auto a = plainItem("a");
    a->setChildren(items({first, second}));  // equal ones cannot be added side by side
    return items({a});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build(plainItemWith("b", "same", {plainItem("y")}),
                              plainItemWith("c", "same", {plainItem("y")})));
  const auto recorder = TreeRecorder::make();
  recorder->watch(find(root, "c").lock(), "representedObject");
  // "c" differs from "d", beside which it stands at first, and not from its own counterpart.
  auto fresh = build(plainItemWith("c", "same", {plainItem("y")}),
                     plainItemWith("d", "same", {plainItem("z")}));
  root->replaceChildren(std::move(fresh));
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(test::identifiers(*find(root, "a").lock()->children()), "[c, d]");
}

// root                           fresh: the children of the outer p
//   p                              p
//     p                              g
//       g                            k
//       k                              m
//         m                              n=Old
//           n=Old                  k
//     k                              m
//       m                              n=New
//         n=New
//   k
//     m
//       n=Old
TEST(ReplaceChildrenMemory, AFreshArrayThatIsPartOfTheTreeIsComparedAnew) {
  const auto k = [](const char* name) {
    return plainItem("k", {plainItem("m", {eventItem("n", name)})});
  };
  const auto root = plainItem(
      "root", {plainItem("p", {plainItem("p", {plainItem("g"), k("Old")}), k("New")}), k("Old")});
  const auto recorder = TreeRecorder::make();
  recorder->watch(root->childAtIndex(1)->childAtIndex(0), "representedObject");
  auto list = root->childAtIndex(0)->children();
  root->replaceChildren(std::move(list));
  // The refresh of "p" made "New" old again, before "k" was compared with it for good.
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(outline(root), "root[p[g k[m[n=Old]]] k[m[n=Old]]]");
}

// root                  each x is the same one:
//   p1                  x
//     x                   y
//   p2                      z
//     x                       v
//   p3                          w
//     x                       s
//
// The fresh items for p1 and p3 have one x, too; the one for p2 has another.
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
  // At first, what p1 and p3 get differs from x only in s. Then p2 changes w, too. So p3 must
  // change w back.
  auto oneAndThree = build("Same", "Old", "New");
  auto two = build("Other", "Other", "Other");
  const auto& three = oneAndThree;
  root->replaceChildren(belowEach(oneAndThree, std::move(two), three));
  const std::string shown = "[x[y=Same[z=Same[v=V[w=Old] s=New]]]]";
  EXPECT_EQ(outline(root), "root[p1" + shown + " p2" + shown + " p3" + shown + "]");
}

// root                           fresh: the children of h
//   b                              b
//     h                              h
//       b                              b
//         h                            a
//           b                            v
//           a                              w=Given
//             v                          s=Given
//               w=Given            a
//             s=Given                v
//       a                              w=Old
//         v                          s=New
//           w=Old
//         s=New
//   a
//     v
//       w=Old
//     s=Old
//
// The inner h is the counterpart of the outer one. Before the merge comes to the a of the root, the
// a of the outer h takes over what is below the a of the inner one.
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
