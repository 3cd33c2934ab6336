// SPDX-License-Identifier: Apache-2.0
#include "ScenarioMutation.h"

#include <replay/Operations.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace platform = vexil::platform;

namespace fuzz {

using platform::Value;

namespace {

/// Every word that the tool itself knows.
const std::vector<std::string>& words() {
  static const std::vector<std::string> all = [] {
    std::vector<std::string> words = {"$ref",
                                      "$absent",
                                      "$indexes",
                                      "$service",
                                      "$file",
                                      "name",
                                      "type",
                                      "domain",
                                      "bytes",
                                      "do",
                                      "on",
                                      "class",
                                      "with",
                                      "as",
                                      "children",
                                      "label",
                                      "sortedEvents",
                                      "root",
                                      "enabled",
                                      "isGroup",
                                      "isExpandable",
                                      "parent",
                                      "uniqueID",
                                      "representedObject",
                                      "sortDescriptors",
                                      "followsProperties",
                                      "kTWEventName",
                                      "kTWEventUniqueID",
                                      "kTWEventEnabled",
                                      "kTWEventDomain",
                                      "kTWTriggerDate",
                                      "kTWDomainType_Engine",
                                      "kTWWorkspaceUTIEvent",
                                      "kTWWorkspaceUTISchedule",
                                      "kUTTypeFileURL",
                                      "NSPasteboardTypeString",
                                      "x.twschedule"};
    const auto add = [&words](const std::vector<replay::Operation>& operations) {
      for (const replay::Operation& operation : operations) {
        words.emplace_back(operation.name);
      }
    };
    add(replay::itemOperations());
    add(replay::observationOperations());
    add(replay::collectionOperations());
    add(replay::outlineOperations());
    add(replay::verbsOfObjects());
    add(replay::verbsWithoutReceiver());
    for (const replay::ClassOperations& entry : replay::classOperations()) {
      words.emplace_back(entry.name);
      add(entry.operations);
    }
    return words;
  }();
  return all;
}

std::vector<Value> elementsOf(const Value& array) {
  return {array.elements().begin(), array.elements().end()};
}

std::vector<std::pair<platform::Key, Value>> entriesOf(const Value& dictionary) {
  std::vector<std::pair<platform::Key, Value>> entries;
  for (std::size_t at = 0; at < dictionary.keys().size(); ++at) {
    entries.emplace_back(dictionary.keys()[at], dictionary.values()[at]);
  }
  return entries;
}

/// A value and everything in it, each before its contents.
void addParts(const Value& value, std::vector<Value>& parts) {
  parts.push_back(value);
  for (const Value& content : value.isArray() ? value.elements() : value.values()) {
    addParts(content, parts);
  }
}

std::vector<Value> partsOf(const Value& value) {
  std::vector<Value> parts;
  addParts(value, parts);
  return parts;
}

/// The value with its part of this number, in the order of `partsOf`, replaced or left out.
std::optional<Value> withPart(const Value& value, std::size_t& number,
                              const std::function<std::optional<Value>(const Value&)>& change) {
  if (number-- == 0) {
    return change(value);
  }
  if (value.isArray()) {
    std::vector<Value> elements;
    for (const Value& element : value.elements()) {
      if (auto changed = withPart(element, number, change)) {
        elements.push_back(*std::move(changed));
      }
    }
    return Value::array(std::move(elements));
  }
  if (value.isDictionary()) {
    auto entries = entriesOf(value);
    for (auto& [key, content] : entries) {
      content = withPart(content, number, change).value_or(Value());
    }
    return Value::dictionary(std::move(entries));
  }
  return value;
}

}  // namespace

Value ScenarioMutation::mutated(const Value& scenario) {
  Value result = scenario;
  do {
    const std::vector<Value> parts = partsOf(result);
    if (result.isArray() && oneIn(3)) {
      result = withStepsMoved(result);
    } else {
      result = withPartChanged(result, [&](const Value& part) -> std::optional<Value> {
        if (oneIn(12)) {
          return std::nullopt;
        }
        if (oneIn(4)) {
          return parts[below(parts.size())];
        }
        return part.isArray() || part.isDictionary() ? otherContents(part, parts)
                                                     : otherLeaf(part, parts);
      });
    }
  } while (oneIn(2));
  return result;
}

Value ScenarioMutation::mixed(const Value& scenario, const Value& other) {
  if (scenario.isArray() && other.isArray() && !other.elements().empty() && !oneIn(4)) {
    // Some steps of the other, in their order, somewhere among these.
    std::vector<Value> steps = elementsOf(scenario);
    const std::size_t first = below(other.elements().size());
    const std::size_t count = 1 + below(other.elements().size() - first);
    const auto part = other.elements().subspan(first, count);
    const auto at = static_cast<std::ptrdiff_t>(below(steps.size() + 1));
    steps.insert(steps.begin() + at, part.begin(), part.end());
    return Value::array(std::move(steps));
  }
  const std::vector<Value> parts = partsOf(other);
  return withPartChanged(scenario, [&](const Value&) { return parts[below(parts.size())]; });
}

Value ScenarioMutation::withStepsMoved(const Value& scenario) {
  std::vector<Value> steps = elementsOf(scenario);
  if (steps.empty()) {
    return scenario;
  }
  const auto at = static_cast<std::ptrdiff_t>(below(steps.size()));
  const auto to = static_cast<std::ptrdiff_t>(below(steps.size()));
  switch (below(3)) {
    case 0:
      steps.erase(steps.begin() + at);
      break;
    case 1: {
      Value step = steps[static_cast<std::size_t>(at)];
      steps.insert(steps.begin() + to, std::move(step));
      break;
    }
    default:
      std::swap(steps[static_cast<std::size_t>(at)], steps[static_cast<std::size_t>(to)]);
  }
  return Value::array(std::move(steps));
}

Value ScenarioMutation::withPartChanged(const Value& scenario, const Change& change) {
  std::size_t number = below(partsOf(scenario).size());
  return withPart(scenario, number, change).value_or(scenario);
}

std::optional<Value> ScenarioMutation::otherLeaf(const Value& leaf,
                                                 const std::vector<Value>& parts) {
  switch (leaf.kind()) {
    case Value::Kind::string:
      return otherText(leaf.string(), parts);
    case Value::Kind::integer:
      return oneIn(4) ? Value(static_cast<std::int64_t>(below(64)) - 1)
                      : Value(leaf.unsignedInteger().value_or(0) + below(3) - 1);
    case Value::Kind::boolean:
      return !*leaf.boolean();
    case Value::Kind::data: {
      // The bytes of a schedule, as often as not.
      std::vector<std::byte> bytes(leaf.bytes().begin(), leaf.bytes().end());
      if (!bytes.empty() && oneIn(2)) {
        bytes[below(bytes.size())] = static_cast<std::byte>(below(256));
        return Value::data(bytes);
      }
      const auto written = platform::writeBinaryPropertyList(parts[below(parts.size())]);
      return Value::data(*written);
    }
    default:
      return parts[below(parts.size())];
  }
}

std::string ScenarioMutation::otherText(std::string_view text, const std::vector<Value>& parts) {
  if (oneIn(2)) {
    // Names of objects, keys and identifiers that mean something elsewhere in the scenario.
    const Value& part = parts[below(parts.size())];
    if (part.isString()) {
      return std::string(part.string());
    }
  }
  if (oneIn(8)) {
    return std::string(text) + static_cast<char>('a' + below(26));
  }
  return words()[below(words().size())];
}

Value ScenarioMutation::otherContents(const Value& container, const std::vector<Value>& parts) {
  if (container.isArray()) {
    std::vector<Value> elements = elementsOf(container);
    const auto at = static_cast<std::ptrdiff_t>(below(elements.size() + 1));
    elements.insert(elements.begin() + at, parts[below(parts.size())]);
    return Value::array(std::move(elements));
  }
  auto entries = entriesOf(container);
  if (entries.empty() || oneIn(2)) {
    entries.emplace_back(platform::Key(otherText("", parts)), parts[below(parts.size())]);
  } else {
    auto& entry = entries[below(entries.size())];
    entry.first = platform::Key(otherText(entry.first.text(), parts));
  }
  return Value::dictionary(std::move(entries));
}

std::size_t put(const Value& scenario, std::uint8_t* input, std::size_t size, std::size_t most) {
  const auto bytes = platform::writeBinaryPropertyList(scenario);
  if (!bytes || bytes->size() > most) {
    return size;
  }
  std::memcpy(input, bytes->data(), bytes->size());
  return bytes->size();
}

}  // namespace fuzz
