// SPDX-License-Identifier: Apache-2.0
// Objects and kinds of a host that change the tree while an outline reads it.
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/platform/IndexSet.h>
#include <vexil/platform/Object.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>

using vexil::Outline;
using vexil::OutlineOptions;
using vexil::platform::IndexSet;
using vexil::platform::Value;

namespace {

/// Calls `whenAsked` when it is compared.
class Asked : public vexil::platform::Object {
 public:
  inline static std::function<void()> whenAsked;
  [[nodiscard]] bool isEqual(const Object& /*other*/) const override {
    if (whenAsked) {
      whenAsked();
    }
    return false;
  }
  [[nodiscard]] std::size_t hash() const override { return 1; }
};

/// A kind whose label is read with a side effect.
class Reader : public KRAVTWVKind<Reader, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  inline static std::function<void()> whenRead;
  [[nodiscard]] Value label() const override {
    if (whenRead) {
      whenRead();
    }
    return KRAVTWVKind::label();
  }
};

/// Items with objects that equal nothing, so that all are replaced when they are merged.
std::shared_ptr<KRAVTWVItemArray> itemsWithObjects(std::size_t count) {
  auto items = std::make_shared<KRAVTWVItemArray>();
  for (std::size_t i = 0; i < count; ++i) {
    items->push_back(KRAVTWVItemVexil::itemWithRepresentedObject(
        i % 2 == 0 ? Value("plain") : Value(std::make_shared<Asked>())));
    items->back()->setUniqueID(static_cast<double>(i));
  }
  return items;
}

TEST(OutlineForeignCode, RecordsThatChangeTheChildrenWhileTheyAreCompared) {
  const auto root = KRAVTWVGroupVexil::itemWithLabelUniqueID("root", "root");
  root->replaceChildren(itemsWithObjects(20));
  Outline outline(root);
  (void)outline.update();
  root->replaceChildren(itemsWithObjects(20));

  int calls = 0;
  Asked::whenAsked = [&] {
    if (++calls <= 3) {
      root->removeChildrenAtIndexes(IndexSet{2});
    }
  };
  (void)outline.update();
  Asked::whenAsked = nullptr;
  EXPECT_GE(calls, 3);
  ASSERT_EQ(outline.top().childCount(), 17U);
  for (std::size_t i = 0; i < 17; ++i) {
    EXPECT_EQ(outline.top().child(i)->item(), root->childAtIndex(i));
  }
}

TEST(OutlineForeignCode, ACallbackThatUpdatesAtOnceDoesNotGoOnForEver) {
  const auto root = KRAVTWVGroupVexil::itemWithLabelUniqueID("root", "root");
  root->setChildren(std::make_shared<KRAVTWVItemArray>(
      KRAVTWVItemArray{Reader::itemWithRepresentedObject("thing")}));
  int calls = 0;
  std::unique_ptr<Outline> outline;
  outline = std::make_unique<Outline>(root, OutlineOptions{.outOfDate = [&] {
                                        if (++calls > 10) {
                                          Reader::whenRead = nullptr;  // ends what would not end
                                        }
                                        (void)outline->update();
                                      }});
  (void)outline->update();
  const auto announce = [&] {
    root->setChildren(std::make_shared<KRAVTWVItemArray>(*root->children()));
  };
  Reader::whenRead = announce;
  announce();
  EXPECT_LE(calls, 2);
  EXPECT_TRUE(outline->isOutOfDate());

  Reader::whenRead = nullptr;
  announce();
  EXPECT_FALSE(outline->isOutOfDate()) << "the next announcement calls again";
  EXPECT_EQ(outline->rowCount(), 1U);
}

TEST(OutlineForeignCode, CallbacksThatUpdateSeveralOutlinesDoNotGoOnForEver) {
  const auto root = KRAVTWVGroupVexil::itemWithLabelUniqueID("root", "root");
  root->setChildren(std::make_shared<KRAVTWVItemArray>(
      KRAVTWVItemArray{Reader::itemWithRepresentedObject("thing")}));
  int calls = 0;
  std::unique_ptr<Outline> left;
  std::unique_ptr<Outline> right;
  const auto refresh = [&] {
    if (++calls > 20) {
      Reader::whenRead = nullptr;  // ends what would not end
    }
    (void)left->update();
    (void)right->update();
  };
  left = std::make_unique<Outline>(root, OutlineOptions{.outOfDate = refresh});
  right = std::make_unique<Outline>(root, OutlineOptions{.outOfDate = refresh});
  (void)left->update();
  (void)right->update();
  const auto announce = [&] {
    root->setChildren(std::make_shared<KRAVTWVItemArray>(*root->children()));
  };
  Reader::whenRead = announce;
  announce();
  EXPECT_LE(calls, 4);
  EXPECT_TRUE(left->isOutOfDate());
  EXPECT_TRUE(right->isOutOfDate());

  Reader::whenRead = nullptr;
  announce();
  EXPECT_FALSE(left->isOutOfDate()) << "the next announcement calls again";
  EXPECT_FALSE(right->isOutOfDate());
}

/// Does something when it goes.
class Going : public vexil::platform::Object {
 public:
  inline static std::function<void()> whenGone;
  ~Going() override {
    if (const auto then = std::exchange(whenGone, nullptr)) {
      then();
    }
  }
};

TEST(OutlineForeignCode, NoUpdateIsLostWhenTheCallbackUpdatesInTheMiddleOfAnother) {
  const auto root = KRAVTWVGroupVexil::itemWithLabelUniqueID("root", "root");
  const auto rootItems = [&] { return std::make_shared<KRAVTWVItemArray>(*root->children()); };
  auto group = KRAVTWVGroupVexil::itemWithLabelUniqueID("A", "a");
  group->addChild(KRAVTWVItemVexil::itemWithRepresentedObject(std::make_shared<Going>()));
  root->addChild(std::move(group));
  std::size_t touched = 0;
  std::unique_ptr<Outline> outline;
  outline = std::make_unique<Outline>(
      root, OutlineOptions{.outOfDate = [&] { touched += outline->update().rowsTouched(); }});
  (void)outline->update();
  Going::whenGone = [&] {
    auto items = rootItems();
    items->push_back(KRAVTWVGroupVexil::itemWithLabelUniqueID("B", "b"));
    root->setChildren(items);
  };
  root->removeChildrenAtIndexes(IndexSet{0});
  EXPECT_EQ(outline->rowCount(), 1U);
  EXPECT_EQ(touched, 3U) << "two rows went, and one came";
}

}  // namespace
