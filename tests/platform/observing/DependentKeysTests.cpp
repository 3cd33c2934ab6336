// SPDX-License-Identifier: Apache-2.0
// Keys whose values follow from those of others.
#include <gtest/gtest.h>
#include <vexil/platform/Observable.h>

#include <memory>
#include <set>
#include <string>
#include <thread>

#include "Shelf.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::Key;
using platform::ObservingOptions;
using platform::Value;
using test::Lines;
using test::Recorder;
using test::Shelf;

class DependentKey : public testing::Test {
 protected:
  void observe(const char* key, ObservingOptions options = ObservingOptions::both) {
    shelf->addObserver(observer, key, options, nullptr);
  }

  Lines notices;
  std::shared_ptr<Shelf> shelf = Shelf::make();
  std::shared_ptr<Recorder> observer = Recorder::make("heard", notices);
};

TEST_F(DependentKey, IsAnnouncedAsASettingWithItsOldAndNewValue) {
  shelf->setLabel("a");
  observe("spine");
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"heard: spine setting old=\"[a]\" new=\"[b]\""}));
}

TEST_F(DependentKey, IsAnnouncedAlsoWhenItsValueStaysTheSame) {
  shelf->setLabel("a");
  observe("spine");
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"heard: spine setting old=\"[a]\" new=\"[a]\""}));
}

TEST_F(DependentKey, FollowsThroughOtherKeys) {
  observe("heading");
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"heard: heading setting old=\"Shelf []\" new=\"Shelf [a]\""}));
}

TEST_F(DependentKey, FollowsIndexedChangesAsASetting) {
  observe("isEmpty");
  shelf->insertBook(0, "a");
  shelf->replaceBook(0, "b");
  shelf->removeBook(0);
  EXPECT_EQ(notices, (Lines{"heard: isEmpty setting old=true new=false",
                            "heard: isEmpty setting old=false new=false",
                            "heard: isEmpty setting old=false new=true"}));
}

TEST_F(DependentKey, CarriesNoIndexesOfTheChangeItFollows) {
  struct IndexObserver : platform::Observer {
    void observeValueForKeyPathOfObjectChangeContext(const Key&,
                                                     const std::shared_ptr<platform::Observable>&,
                                                     const platform::ChangeRecord& change,
                                                     const platform::ContextToken*) override {
      hadIndexes = change.indexes.has_value();
    }
    bool hadIndexes = true;
  };
  const auto who = std::make_shared<IndexObserver>();
  shelf->addObserver(who, "isEmpty", ObservingOptions::none, nullptr);
  shelf->insertBook(0, "a");
  EXPECT_FALSE(who->hadIndexes);
}

TEST_F(DependentKey, FollowsEachOfSeveralKeysByItself) {
  observe("summary", ObservingOptions::newValue);
  shelf->setLabel("a");
  shelf->insertBook(0, "b");
  EXPECT_EQ(notices, (Lines{"heard: summary setting new=\"Shelf [a] 0\"",
                            "heard: summary setting new=\"Shelf [a] 1\""}));
}

TEST_F(DependentKey, IsToldAmongTheOthersInTheOrderOfRegistration) {
  observe("heading", ObservingOptions::none);
  observe("label", ObservingOptions::none);
  observe("spine", ObservingOptions::none);
  observe("isEmpty", ObservingOptions::none);
  shelf->setLabel("a");
  EXPECT_EQ(notices,
            (Lines{"heard: heading setting", "heard: label setting", "heard: spine setting"}));
}

TEST_F(DependentKey, IsSilentWhenItCannotBeRead) {
  observe("weight");
  shelf->insertBook(0, "a");
  shelf->setAllBooks(Value::array({"b"}));
  EXPECT_EQ(notices, Lines());
}

TEST_F(DependentKey, DoesNotAnnounceWhatItFollows) {
  observe("label");
  observe("books");
  auto change = shelf->willChangeValueForKey("spine");
  shelf->didChangeValueForKey(std::move(change));
  EXPECT_EQ(notices, Lines());
}

TEST_F(DependentKey, MayFollowInACircle) {
  observe("loop", ObservingOptions::none);
  observe("pool", ObservingOptions::none);
  auto change = shelf->willChangeValueForKey("pool");
  shelf->didChangeValueForKey(std::move(change));
  EXPECT_EQ(notices, (Lines{"heard: loop setting", "heard: pool setting"}));
}

TEST_F(DependentKey, ReadsItsValueOncePerChange) {
  observe("spine", ObservingOptions::both);
  observe("spine", ObservingOptions::both);
  shelf->setLabel("a");
  EXPECT_EQ(shelf->readsOf("spine"), 2) << "once before and once after";
}

/// A class whose "label" follows from "books" where its base class's does not, and which counts
/// how often it is asked.
class Renamed : public Shelf {
 public:
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const Key& key) const override {
    ++asked;
    if (key == Key("label")) {
      return {"books"};
    }
    return Shelf::keyPathsForValuesAffectingValueForKey(key);
  }
  static inline int asked = 0;
};

TEST_F(DependentKey, IsAMatterOfTheObjectsClass) {
  observe("label", ObservingOptions::none);
  const auto renamed = std::make_shared<Renamed>();
  renamed->addObserver(observer, "label", ObservingOptions::none, nullptr);
  shelf->insertBook(0, "a");
  EXPECT_EQ(notices, Lines());
  renamed->insertBook(0, "a");
  EXPECT_EQ(notices, (Lines{"heard: label setting"}));
  shelf->insertBook(0, "b");
  EXPECT_EQ(notices, (Lines{"heard: label setting"}))
      << "what was kept of one class is not the other's";
}

TEST_F(DependentKey, IsAskedForOncePerClass) {
  std::vector<std::shared_ptr<Renamed>> many;
  for (int i = 0; i < 100; ++i) {
    many.push_back(std::make_shared<Renamed>());
    many.back()->addObserver(observer, "isEmpty", ObservingOptions::none, nullptr);
  }
  many.front()->insertBook(0, "a");
  const int asked = Renamed::asked;
  for (const auto& each : many) {
    each->insertBook(0, "a");
  }
  EXPECT_EQ(notices.size(), 101U);
  EXPECT_EQ(Renamed::asked, asked);
}

TEST_F(DependentKey, WorksOnEveryThread) {
  observe("spine", ObservingOptions::newValue);
  shelf->setLabel("a");
  std::thread([this] { shelf->setLabel("b"); }).join();
  EXPECT_EQ(notices,
            (Lines{"heard: spine setting new=\"[a]\"", "heard: spine setting new=\"[b]\""}));
}

TEST_F(DependentKey, FollowsAtTheVeryEndOfAThread) {
  // Made before the thread has noted what follows from what, so it is destroyed after those notes.
  struct LastWord {
    ~LastWord() { shelf->setLabel("at the end"); }
    std::shared_ptr<Shelf> shelf;
  };
  observe("heading", ObservingOptions::newValue);
  std::thread([this] {
    thread_local LastWord lastWord;
    lastWord.shelf = shelf;
    shelf->setLabel("on the way");
  }).join();
  EXPECT_EQ(notices, (Lines{"heard: heading setting new=\"Shelf [on the way]\"",
                            "heard: heading setting new=\"Shelf [at the end]\""}));
}

}  // namespace
