// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/values/RowText.h>
#include <vexil/outline/values/ValueText.h>

#include <algorithm>

namespace vexil {

using detail::indentation;
using detail::PrintValue;
using platform::Key;
using platform::Value;

namespace {

std::string textOfRange(std::size_t first, std::size_t count) {
  const std::string begin = std::to_string(first);
  return count <= 1 ? begin : begin + '-' + std::to_string(first + count - 1);
}

std::string textOfParent(RowNumber parent) {
  return " of #" + std::to_string(parent);
}

/// A key as it is, or in quotes when it could be taken for more than a key.
std::string textOfKey(const Key& key) {
  const auto isPlain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == ':' || c == '$';
  };
  const std::string_view text = key.text();
  return !text.empty() && std::ranges::all_of(text, isPlain) ? std::string(text)
                                                             : detail::quoted(text);
}

std::string textOfHead(const OutlineStep& step) {
  std::string place = textOfRange(step.first, step.count) + textOfParent(step.parent);
  switch (step.kind) {
    case OutlineStep::Kind::removed:
      return "removed " + place;
    case OutlineStep::Kind::inserted:
      return "inserted " + place;
    case OutlineStep::Kind::moved:
      return "moved " + place + " to " + textOfRange(step.newFirst, step.count) +
             textOfParent(step.newParent);
    case OutlineStep::Kind::changed:
      return "changed " + place;
  }
  return place;
}

class UpdateText {
 public:
  explicit UpdateText(const PrintValue& print) : _print(print) {}

  void addStep(const OutlineStep& step) {
    addLine(0, textOfHead(step));
    switch (step.kind) {
      case OutlineStep::Kind::inserted:
        addInserted(step.inserted);
        return;
      case OutlineStep::Kind::changed:
        for (const RowChange& change : step.changes) {
          addLine(1, textOfChange(change));
        }
        return;
      default:
        for (std::size_t i = 0; i < step.rows.size(); ++i) {
          addLine(1, detail::textOfRow(step.rows[i], _print) + textOfNewOccurrence(step, i));
        }
    }
  }

  void addLine(std::size_t depth, const std::string& line) {
    _text += _text.empty() ? "" : "\n";
    _text += indentation(depth) + line;
  }

  [[nodiscard]] std::string take() { return std::move(_text); }

 private:
  void addInserted(const std::vector<InsertedRow>& rows) {
    std::vector<std::size_t> missing;  // for each open row, how many of its children are to come
    for (const InsertedRow& row : rows) {
      addLine(1 + missing.size(), detail::textOfWholeRow(row.state, _print));
      if (!missing.empty()) {
        --missing.back();
      }
      missing.push_back(row.childCount);
      while (!missing.empty() && missing.back() == 0) {
        missing.pop_back();
      }
    }
  }

  static std::string textOfNewOccurrence(const OutlineStep& step, std::size_t index) {
    const std::uint32_t before = step.rows[index].occurrence();
    if (index >= step.newOccurrences.size() || step.newOccurrences[index] == before) {
      return detail::textOfOccurrence(step.rows[index]);
    }
    return " occurrence=" + std::to_string(before) + "->" +
           std::to_string(step.newOccurrences[index]);
  }

  [[nodiscard]] std::string difference(std::string_view name, const Value& before,
                                       const Value& after) const {
    std::string text = std::string(1, ' ').append(name).append(1, '=').append(_print(before));
    return text.append("->").append(_print(after));  // then: a printer may number what it prints
  }

  [[nodiscard]] std::string textOfChange(const RowChange& change) const {
    const RowState& before = change.before;
    const RowState& after = change.after;
    const RowAspects aspects = change.aspects();
    std::string text = detail::textOfIdentity(before, _print) + detail::textOfOccurrence(before);
    const auto add = [&](RowAspects aspect, std::string_view name, const Value& old,
                         const Value& fresh) {
      if (contains(aspects, aspect)) {
        text += difference(name, old, fresh);
      }
    };
    add(RowAspects::label, "label", before.label(), after.label());
    add(RowAspects::enabled, "enabled", before.enabled(), after.enabled());
    add(RowAspects::supportsEnabled, "supportsEnabled", before.supportsEnabled(),
        after.supportsEnabled());
    add(RowAspects::group, "group", before.isGroup(), after.isGroup());
    add(RowAspects::expandable, "expandable", before.isExpandable(), after.isExpandable());
    return contains(aspects, RowAspects::representedObject) ? text + textOfObjects(change) : text;
  }

  [[nodiscard]] std::string textOfObjects(const RowChange& change) const {
    const Value& before = change.before.representedObject();
    const Value& after = change.after.representedObject();
    if (!before.isDictionary() || !after.isDictionary()) {
      return difference("object", before, after);
    }
    std::string text = " record";
    for (const KeyChange& key : change.changedKeys()) {
      text += difference(textOfKey(key.key), key.oldValue, key.newValue);
    }
    return text;
  }

  const PrintValue& _print;
  std::string _text;
};

}  // namespace

std::string OutlineUpdate::description() const {
  return description(detail::textOfValue);
}

std::string OutlineUpdate::description(
    const std::function<std::string(const Value&)>& print) const {
  // Comparing and printing values can run a host's code, which may assign to either.
  const OutlineUpdate update = *this;
  const PrintValue heldPrint = print;
  UpdateText text(heldPrint);
  text.addLine(0, "update steps=" + std::to_string(update._steps.size()) +
                      " rows=" + std::to_string(update.rowsTouched()) + " of " +
                      std::to_string(update._rowsAfterwards));
  for (const OutlineStep& step : update._steps) {
    text.addStep(step);
  }
  return text.take();
}

}  // namespace vexil
