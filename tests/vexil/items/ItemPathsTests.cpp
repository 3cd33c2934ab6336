// SPDX-License-Identifier: Apache-2.0
// Paths from a root to its descendants, and the items they lead to.
#include "tests/support/Property.h"
#include "tests/vexil/ItemTesting.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <set>
#include <string_view>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::ItemPointer;
using test::items;
using test::plainItem;

// alpha - beta - gamma
struct Greek : testing::Test {
  ItemPointer gamma = plainItem("gamma");
  ItemPointer beta = plainItem("beta", {gamma});
  ItemPointer alpha = plainItem("alpha", {beta});
};
using ItemPath = Greek;
using ItemWithPath = Greek;

TEST_F(ItemPath, IsMadeOfTheIdentifiersFromTheRootDown) {
  EXPECT_EQ(alpha->path(), "/alpha");
  EXPECT_EQ(beta->path(), "/alpha/beta");
  EXPECT_EQ(gamma->path(), "/alpha/beta/gamma");
}

TEST_F(ItemPath, FollowsTheParentLinksAndNotTheChildren) {
  alpha->removeChildrenAtIndexes({0});
  EXPECT_EQ(gamma->path(), "/alpha/beta/gamma") << "a removed item keeps its parent";
  gamma->setParent(alpha);
  EXPECT_EQ(gamma->path(), "/alpha/gamma");
  gamma->setParent(nullptr);
  EXPECT_EQ(gamma->path(), "/gamma");
}

TEST_F(ItemPath, StartsAtTheItemWhoseParentIsGone) {
  alpha.reset();
  EXPECT_EQ(gamma->path(), "/beta/gamma");
}

TEST_F(ItemPath, NeedsAnIdentifierOfEveryItemOnTheWay) {
  beta->setUniqueID({});
  EXPECT_EQ(alpha->path(), "/alpha");
  EXPECT_THROW((void)beta->path(), platform::InvalidArgument);
  EXPECT_THROW((void)gamma->path(), platform::InvalidArgument);
}

TEST_F(ItemPath, TakesStringsForIdentifiersAndNothingElse) {
  beta->setUniqueID(7);
  EXPECT_THROW((void)beta->path(), platform::InvalidArgument);
  beta->setUniqueID("");
  EXPECT_EQ(gamma->path(), "/alpha//gamma");
}

TEST_F(ItemPath, ReadsTheIdentifierOfAKindFromItsRecord) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(test::eventRecord("e1", "Backup"));
  event->setUniqueID("stored");
  alpha->addChild(event);
  EXPECT_EQ(event->path(), "/alpha/e1");
  EXPECT_EQ(alpha->itemWithPath("/alpha/e1"), event);
  EXPECT_EQ(alpha->itemWithPath("/alpha/stored"), nullptr);
}

// --- items by path

TEST_F(ItemWithPath, FindsTheRootItself) {
  EXPECT_EQ(alpha->itemWithPath("/alpha"), alpha);
}

TEST_F(ItemWithPath, FindsEveryDescendant) {
  EXPECT_EQ(alpha->itemWithPath("/alpha/beta"), beta);
  EXPECT_EQ(alpha->itemWithPath("/alpha/beta/gamma"), gamma);
}

TEST_F(ItemWithPath, StartsAtTheItemThatIsAsked) {
  EXPECT_EQ(beta->itemWithPath("/beta/gamma"), gamma);
  EXPECT_EQ(beta->itemWithPath("/alpha/beta/gamma"), nullptr);
}

TEST_F(ItemWithPath, OfAnotherRootIsAbsent) {
  EXPECT_EQ(alpha->itemWithPath("/zeta"), nullptr);
  EXPECT_EQ(alpha->itemWithPath("/alpha/zeta"), nullptr);
  EXPECT_EQ(alpha->itemWithPath("/Alpha"), nullptr);
}

TEST_F(ItemWithPath, WithASlashAtItsEndIsAbsent) {
  EXPECT_EQ(alpha->itemWithPath("/alpha/"), nullptr);
  EXPECT_EQ(alpha->itemWithPath("/alpha/beta/"), nullptr);
}

TEST_F(ItemWithPath, ThatGoesOnAfterAnIdentifierIsAbsent) {
  EXPECT_EQ(alpha->itemWithPath("/alphax"), nullptr);
  EXPECT_EQ(alpha->itemWithPath("/alpha/betax"), nullptr);
}

TEST_F(ItemWithPath, WithoutALeadingSlashOrEmptyIsAbsent) {
  EXPECT_EQ(alpha->itemWithPath("alpha"), nullptr);
  EXPECT_EQ(alpha->itemWithPath(""), nullptr);
  EXPECT_EQ(alpha->itemWithPath("/"), nullptr);
  EXPECT_EQ(alpha->itemWithPath("/alp"), nullptr);
}

// alpha +- beta - gamma
//       +- betax - delta
TEST_F(ItemWithPath, GoesOnToTheNextSiblingAfterAShorterIdentifier) {
  const auto delta = plainItem("delta");
  alpha->addChild(plainItem("betax", {delta}));
  EXPECT_EQ(alpha->itemWithPath("/alpha/betax/delta"), delta);
}

// alpha +- twin - left
//       +- twin - right
TEST_F(ItemWithPath, FindsTheFirstThatLeadsThereOfSiblingsWithOneIdentifier) {
  const auto left = plainItem("left");
  const auto right = plainItem("right");
  const auto first = plainItem("twin", {left});
  const auto second = plainItem("twin", {right});
  alpha->addChildren({first, second});
  EXPECT_EQ(alpha->itemWithPath("/alpha/twin"), first);
  EXPECT_EQ(alpha->itemWithPath("/alpha/twin/left"), left);
  EXPECT_EQ(alpha->itemWithPath("/alpha/twin/right"), right) << "after the first led nowhere";
}

TEST_F(ItemWithPath, NeedsAnIdentifierOfEveryItemItComesTo) {
  const auto nameless = KRAVTWVItemVexil::itemWithRepresentedObject("x");
  EXPECT_THROW((void)nameless->itemWithPath("/x"), platform::InvalidArgument);
  alpha->addChild(nameless);
  EXPECT_EQ(alpha->itemWithPath("/alpha/beta"), beta) << "found before it is come to";
  EXPECT_EQ(alpha->itemWithPath("/alpha"), alpha);
  EXPECT_EQ(alpha->itemWithPath("/zeta"), nullptr);
  EXPECT_THROW((void)alpha->itemWithPath("/alpha/zeta"), platform::InvalidArgument);
}

TEST_F(ItemWithPath, ComparesCharactersAsTheyStand) {
  alpha->addChild(plainItem("\u00e9"));  // one character; the path writes it as two
  EXPECT_EQ(alpha->itemWithPath("/alpha/e\u0301"), nullptr);
  EXPECT_NE(alpha->itemWithPath("/alpha/\u00e9"), nullptr);
}

TEST_F(ItemWithPath, GoesByChildrenAndNotByParents) {
  const auto adopted = plainItem("adopted");
  alpha->setChildren(items({adopted}));
  EXPECT_EQ(adopted->parent(), nullptr);
  EXPECT_EQ(alpha->itemWithPath("/alpha/adopted"), adopted);
}

// --- any trees

/// The rule itself, by recursion.
ItemPointer foundNaively(const ItemPointer& item, const std::string& path) {
  const std::string prefix = "/" + std::string(item->uniqueID().string());
  if (!path.starts_with(prefix)) {
    return nullptr;
  }
  const std::string remainder = path.substr(prefix.size());
  if (remainder.empty()) {
    return item;
  }
  for (const auto& child : *item->children()) {
    if (auto found = foundNaively(child, remainder)) {
      return found;
    }
  }
  return nullptr;
}

/// A random tree; identifiers begin with one another, and some hold the separator.
KRAVTWVItemArray anyTree() {
  KRAVTWVItemArray items;
  const int count = *rc::gen::inRange(1, 14);
  for (int i = 0; i < count; ++i) {
    const auto identifier = *rc::gen::element<std::string>("a", "ab", "b", "a/b", "");
    // What they represent tells them apart, so that no addChild removes one.
    items.push_back(KRAVTWVItemVexil::itemWithRepresentedObject(i));
    items.back()->setUniqueID(identifier);
    if (i > 0) {
      items[static_cast<std::size_t>(*rc::gen::inRange(0, i))]->addChild(items.back());
    }
  }
  return items;
}

PROPERTY(ItemPathProperty, LeadsWhereTheRecursiveSearchLeads, ()) {
  const KRAVTWVItemArray items = anyTree();
  std::string path = (*rc::gen::elementOf(items))->path();
  path += *rc::gen::element<std::string>("", "", "", "/a", "/ab", "b", "/");
  RC_ASSERT(items[0]->itemWithPath(path) == foundNaively(items[0], path));
}

PROPERTY(ItemPathProperty, LeadsToAnItemOfThatPath, ()) {
  const KRAVTWVItemArray items = anyTree();
  for (const auto& item : items) {
    const auto found = items[0]->itemWithPath(item->path());
    RC_ASSERT(found != nullptr);
    RC_ASSERT(found->path() == item->path());
  }
}

}  // namespace
