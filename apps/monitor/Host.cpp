// SPDX-License-Identifier: Apache-2.0
#include "monitor/Host.h"

#include <algorithm>
#include <utility>

#include "monitor/EventRecords.h"

namespace monitor {

/// Writes down what the items observer reports.
class Host::Listener : public KRAVTWVItemsObserverDelegate {
 public:
  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& /*observer*/, platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) override {
    std::string line = nameOf(kind) + " in " + parent->path();
    line += indexes ? " at " + indexes->description() : "";
    for (std::size_t i = 0; i < items.size(); ++i) {
      line += (i == 0 ? ": " : ", ") + items[i]->label().displayText();
    }
    _lines.push_back(std::move(line));
  }

  std::vector<std::string> takeLines() { return std::exchange(_lines, {}); }

 private:
  static std::string nameOf(platform::ChangeKind kind) {
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
  std::vector<std::string> _lines;
};

Host::Host(std::filesystem::path root)
    : _directory(std::move(root)), _listener(std::make_shared<Listener>()) {
  _observer->setDelegate(_listener);
  _observer->setRoot(_root);
}

Host::~Host() {
  _observer->setRoot(nullptr);
}

Host::Report Host::refresh() {
  Tables tables = readTables(_directory);
  Report report;
  std::ranges::copy_if(tables.warnings, std::back_inserter(report.newWarnings),
                       [this](const Warning& warning) {
                         return std::ranges::find(_warnings, warning) == _warnings.end();
                       });
  _warnings = std::move(tables.warnings);
  report.before = _events->sortedEvents();
  _events->setEvents(eventRecords(tables));
  report.after = _events->sortedEvents();
  report.announcements = _listener->takeLines();
  return report;
}

}  // namespace monitor
