// SPDX-License-Identifier: Apache-2.0
// What is true of every merge of items, if each identifier occurs once.
#include "tests/support/Property.h"
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::eventItem;
using test::ItemPointer;
using test::items;
using test::plainItem;

/// A list that only follows the notices, as a view does.
class Follower : public platform::Observer {
 public:
  explicit Follower(KRAVTWVItemArray shown) : _shown(std::move(shown)) {}

  void observeValueForKeyPathOfObjectChangeContext(
      const platform::Key& /*keyPath*/, const std::shared_ptr<platform::Observable>& /*object*/,
      const platform::ChangeRecord& change, const platform::ContextToken* /*context*/) override {
    std::size_t next = 0;
    ++notices;
    change.indexes->forEach([&](std::size_t index) {
      const auto item = [&](const Value& values) {
        return std::dynamic_pointer_cast<KRAVTWVItemVexil>(values.elements()[next].object());
      };
      const auto removedSoFar = change.kind == platform::ChangeKind::removal ? next : 0;
      const auto place = _shown.begin() + static_cast<std::ptrdiff_t>(index - removedSoFar);
      if (change.kind == platform::ChangeKind::insertion) {
        _shown.insert(place, item(change.newValue));
      } else if (change.kind == platform::ChangeKind::removal) {
        EXPECT_EQ(*place, item(change.oldValue));
        _shown.erase(place);
      } else {
        EXPECT_EQ(*place, item(change.newValue));
      }
      ++next;
    });
  }

  [[nodiscard]] const KRAVTWVItemArray& shown() const { return _shown; }
  int notices = 0;

 private:
  KRAVTWVItemArray _shown;
};

/// Identifiers that occur once each, in any order.
rc::Gen<std::vector<int>> anyIdentifiers() {
  return rc::gen::map(rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 12)),
                      [](const std::vector<int>& drawn) {
                        std::vector<int> identifiers;
                        for (const int identifier : drawn) {
                          if (std::ranges::find(identifiers, identifier) == identifiers.end()) {
                            identifiers.push_back(identifier);
                          }
                        }
                        return identifiers;
                      });
}

PROPERTY(ReplaceChildren, AViewThatFollowsTheNoticesShowsTheFreshContent, ()) {
  const auto build = [](const std::vector<int>& identifiers) {
    KRAVTWVItemArray events;
    for (const int identifier : identifiers) {
      events.push_back(eventItem(identifier, *rc::gen::inRange(0, 2)));
    }
    return items(events);
  };
  const auto root = plainItem("root");
  root->replaceChildren(build(*anyIdentifiers()));
  const auto before = *root->children();
  const auto follower = std::make_shared<Follower>(before);
  root->addObserver(follower, "children", platform::ObservingOptions::both, nullptr);

  const auto fresh = build(*anyIdentifiers());
  const auto contains = [](const KRAVTWVItemArray& all, const Value& identifier) {
    return std::ranges::find(all, identifier, &KRAVTWVItemVexil::uniqueID) != all.end();
  };
  KRAVTWVItemArray stayed;
  std::ranges::copy_if(before, std::back_inserter(stayed),
                       [&](const ItemPointer& item) { return contains(*fresh, item->uniqueID()); });
  KRAVTWVItemArray came;
  std::ranges::copy_if(*fresh, std::back_inserter(came), [&](const ItemPointer& item) {
    return !contains(before, item->uniqueID());
  });
  root->replaceChildren(fresh);

  const KRAVTWVItemArray after = *root->children();
  RC_ASSERT(follower->shown() == after);
  RC_ASSERT(follower->notices <= 3);
  RC_ASSERT(after.size() == fresh->size());
  KRAVTWVItemArray keptObjects;
  for (std::size_t i = 0; i < after.size(); ++i) {
    RC_ASSERT(after[i]->isEqual(*(*fresh)[i]));
    if (after[i] != (*fresh)[i]) {
      keptObjects.push_back(after[i]);
    }
  }
  RC_ASSERT(keptObjects == stayed);
  RC_ASSERT(after.size() == stayed.size() + came.size());

  follower->notices = 0;
  root->replaceChildren(items(*fresh));
  RC_ASSERT(follower->notices == 0);
}

}  // namespace
