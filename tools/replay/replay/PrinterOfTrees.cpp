// SPDX-License-Identifier: Apache-2.0
#include <replay/Printer.h>

#include <unordered_set>
#include <utility>
#include <vector>

namespace replay {

namespace {

std::string flagsOf(const KRAVTWVItemVexil& item) {
  const std::pair<const char*, bool> flags[] = {
      {"group", item.isGroup()},
      {"expandable", item.isExpandable()},
      {"supportsEnabled", item.supportsEnabled()},
      {"enabled", item.enabled()},
  };
  std::string text;
  for (const auto& [name, isSet] : flags) {
    if (isSet) {
      text += text.empty() ? "" : ",";
      text += name;
    }
  }
  return text.empty() ? "-" : text;
}

}  // namespace

std::string Printer::itemLine(const std::shared_ptr<KRAVTWVItemVexil>& item, bool hasChildren) {
  // In statements of their own, because items get their numbers from left to right.
  std::string line = '#' + std::to_string(_registry.numberOf(item)) + ' ' + printedClass(*item);
  line += " uniqueID=" + value(item->uniqueID());
  line += " label=" + value(item->label());
  line += " flags=" + flagsOf(*item);
  const std::shared_ptr<KRAVTWVItemVexil> parent = item->parent();
  line += " parent=" + (parent ? '#' + std::to_string(_registry.numberOf(parent)) : "absent");
  line += " represents=" + value(item->representedObject());
  line += hasChildren ? "" : " children=absent";
  return line;
}

void Printer::tree(const std::shared_ptr<KRAVTWVItemVexil>& root,
                   const std::function<void(std::string_view)>& line) {
  struct Level {
    const KRAVTWVItemVexil* item;
    KRAVTWVItemArray children;
    std::size_t next = 0;
  };
  std::vector<Level> levels;
  std::unordered_set<const KRAVTWVItemVexil*> above;

  const auto show = [&](const std::shared_ptr<KRAVTWVItemVexil>& item) {
    const std::shared_ptr<KRAVTWVItemArray> children = item->children();
    line(std::string(2 * levels.size(), ' ') + itemLine(item, children != nullptr));
    if (children && !children->empty() && above.insert(item.get()).second) {
      levels.push_back({item.get(), *children});
    }
  };

  show(root);
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.next < level.children.size()) {
      show(std::shared_ptr(level.children[level.next++]));
    } else {
      above.erase(level.item);
      levels.pop_back();
    }
  }
}

}  // namespace replay
