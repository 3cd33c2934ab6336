// SPDX-License-Identifier: Apache-2.0
#include "monitor/Announcements.h"

#include <utility>

namespace platform = vexil::platform;

namespace monitor {

namespace {

std::string textOf(platform::ChangeKind kind) {
  switch (kind) {
    case platform::ChangeKind::setting:
      return "setting";
    case platform::ChangeKind::insertion:
      return "insertion";
    case platform::ChangeKind::removal:
      return "removal";
    case platform::ChangeKind::replacement:
      return "replacement";
  }
  return {};
}

}  // namespace

class Announcements::Listener : public KRAVTWVItemsObserverDelegate {
 public:
  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& /*observer*/, platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) override {
    std::string line = textOf(kind) + " in " + parent->path();
    line += indexes ? " at " + indexes->description() : "";
    for (std::size_t i = 0; i < items.size(); ++i) {
      line += (i == 0 ? ": " : ", ") + items[i]->label().displayText();
    }
    _lines.push_back(std::move(line));
  }

  std::vector<std::string> takeLines() { return std::exchange(_lines, {}); }

 private:
  std::vector<std::string> _lines;
};

Announcements::Announcements(const std::shared_ptr<KRAVTWVItemVexil>& root)
    : _listener(std::make_shared<Listener>()) {
  _observer->setDelegate(_listener);
  _observer->setRoot(root);
}

Announcements::~Announcements() {
  _observer->setRoot(nullptr);
}

std::vector<std::string> Announcements::takeLines() {
  return _listener->takeLines();
}

}  // namespace monitor
