// SPDX-License-Identifier: Apache-2.0
// A view on the console that follows an event store as the views of toolkits do: it is told of each
// step before and after, and it keeps what is selected. expected.txt is what it prints.
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/RowSet.h>

#include <array>
#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

using vexil::OutlineRow;
using vexil::RowSet;
using vexil::platform::Value;

namespace {

class ConsoleView {
 public:
  explicit ConsoleView(const std::shared_ptr<KRAVTWVEventStoreVexil>& store)
      : _outline(store, {.outOfDate = [this] { _mustUpdate = true; }}) {}

  RowSet selected;

  [[nodiscard]] const OutlineRow& top() const { return _outline.top(); }

  /// What the event loop does when the host's calls are over.
  void turn(const char* what) {
    std::cout << what << '\n';
    if (std::exchange(_mustUpdate, false)) {
      // A copy, for the selection: the outline has an update only until it prepares the next.
      const vexil::OutlineUpdate update = _outline.prepare();
      while (const vexil::OutlineStep* const step = _outline.nextStep()) {
        begin(*step);          // beginInsertRows and the like: the rows are the old ones
        _outline.applyNext();  // and from here on they are the new ones
        std::cout << "  end, " << _outline.rowCount() << " rows\n";
      }
      selected.follow(update);  // rows that have another parent now
    }
    print();
  }

 private:
  void begin(const vexil::OutlineStep& step) {
    static constexpr std::array verbs = {"remove", "insert", "move", "change"};  // by kind
    std::cout << "  begin: " << verbs.at(static_cast<std::size_t>(step.kind)) << ' ' << step.count
              << " at " << step.first << " of " << nameOf(*_outline.nextParent());
    if (const OutlineRow* const newParent = _outline.nextNewParent()) {
      std::cout << " to " << step.newFirst << " of " << nameOf(*newParent);
    }
    std::cout << '\n';
  }

  void print() const {
    for (std::size_t i = 0; i < top().childCount(); ++i) {
      const OutlineRow& parent = *top().child(i);
      print(parent, "");
      for (std::size_t j = 0; j < parent.childCount(); ++j) {
        print(*parent.child(j), "  ");
      }
    }
  }
  void print(const OutlineRow& row, const char* indent) const {
    std::cout << (selected.contains(row) ? "  * " : "    ") << indent << nameOf(row) << '\n';
  }
  static std::string nameOf(const OutlineRow& row) {
    return row.isTop() ? "the top" : std::string(row.label().string());
  }

  bool _mustUpdate = true;  // the first update brings all rows
  vexil::Outline _outline;
};

Value domain(const char* id, const char* name) {
  return Value::dictionary({{kTWDomainUniqueID, id}, {kTWDomainName, name}});
}

Value event(const char* id, const char* name, const char* domainID) {
  return Value::dictionary(
      {{kTWEventUniqueID, id}, {kTWEventName, name}, {kTWEventDomain, domainID}});
}

/// What an engine reports each time: everything, and one event differs.
void report(KRAVTWVEventStoreVexil& store, const char* name, const char* domainID) {
  store.setDomains(Value::array({domain("d1", "Nightly"), domain("d2", "Weekly")}));
  store.setEvents(Value::array({event("e1", name, domainID), event("e2", "Mail", "d1"),
                                event("e3", "Report", "d1"), event("e4", "Scan", "d2")}));
}

/// One run of the program. Returns the selection as it is stored.
Value firstRun() {
  const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
  ConsoleView view(store);
  report(*store, "Backup", "d1");
  view.turn("The first rows");
  view.selected.insert(*view.top().childWithUniqueID("d1")->childWithUniqueID("e1"));
  view.turn("Nothing new, but Backup is selected");
  report(*store, "Tidy up", "d1");
  view.turn("Backup is called Tidy up, and so comes last");
  report(*store, "Tidy up", "d2");
  view.turn("It belongs to the other domain");
  return view.selected.propertyList();
}

}  // namespace

int main() {
  const Value stored = firstRun();  // <vexil/platform/PropertyList.h> writes and reads files of it
  const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
  ConsoleView view(store);
  view.selected = RowSet::fromPropertyList(stored).value_or(RowSet());
  report(*store, "Tidy up", "d2");
  view.turn("Another run, with new rows and the stored selection");
}
