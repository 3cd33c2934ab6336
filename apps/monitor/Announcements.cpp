// SPDX-License-Identifier: Apache-2.0
#include "monitor/Announcements.h"

#include <utility>

namespace platform = vexil::platform;

namespace monitor {

class Announcements::Listener : public KRAVTWVItemsObserverDelegate {
 public:
  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& /*observer*/, platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) override {
    std::string line = count(kind, items) + " in " + parent->path();
    line += indexes ? " at " + indexes->description() : "";
    for (std::size_t i = 0; i < items.size(); ++i) {
      line += (i == 0 ? ": " : ", ") + items[i]->label().displayText();
    }
    _lines.push_back(std::move(line));
  }

  std::vector<std::string> takeLines() { return std::exchange(_lines, {}); }
  [[nodiscard]] const Counts& counts() const { return _counts; }

 private:
  static std::size_t rowsOf(const KRAVTWVItemArray& items) {
    std::size_t rows = items.size();
    for (const auto& item : items) {
      rows += item->recursiveChildren().size();
    }
    return rows;
  }

  std::string count(platform::ChangeKind kind, const KRAVTWVItemArray& items) {
    switch (kind) {
      case platform::ChangeKind::setting:
        ++_counts.settings;
        return "setting";
      case platform::ChangeKind::insertion:
        ++_counts.insertions;
        _counts.rowsInserted += rowsOf(items);
        return "insertion";
      case platform::ChangeKind::removal:
        ++_counts.removals;
        _counts.rowsRemoved += rowsOf(items);
        return "removal";
      case platform::ChangeKind::replacement:
        ++_counts.replacements;
        _counts.rowsRefreshed += items.size();
        return "replacement";
    }
    return {};
  }

  std::vector<std::string> _lines;
  Counts _counts;
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

const Announcements::Counts& Announcements::counts() const {
  return _listener->counts();
}

Announcements::Counts operator+(const Announcements::Counts& a, const Announcements::Counts& b) {
  return {a.insertions + b.insertions,      a.removals + b.removals,
          a.replacements + b.replacements,  a.settings + b.settings,
          a.rowsInserted + b.rowsInserted,  a.rowsRemoved + b.rowsRemoved,
          a.rowsRefreshed + b.rowsRefreshed};
}

Announcements::Counts operator-(const Announcements::Counts& a, const Announcements::Counts& b) {
  return {a.insertions - b.insertions,      a.removals - b.removals,
          a.replacements - b.replacements,  a.settings - b.settings,
          a.rowsInserted - b.rowsInserted,  a.rowsRemoved - b.rowsRemoved,
          a.rowsRefreshed - b.rowsRefreshed};
}

}  // namespace monitor
