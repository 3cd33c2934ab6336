// SPDX-License-Identifier: Apache-2.0
#include <replay/Malformed.h>
#include <replay/Operations.h>
#include <replay/Printer.h>

#include <iterator>
#include <string>
#include <unordered_map>

namespace platform = vexil::platform;

namespace replay {
namespace {

/// Operations by their names. Several classes may answer one name.
class Operations {
 public:
  void add(std::vector<Operation> operations) {
    for (Operation& operation : operations) {
      const std::string_view name = operation.name;
      _byName[name].push_back(std::move(operation));
    }
  }

  [[nodiscard]] const Operation* find(std::string_view name,
                                      const platform::Value& receiver) const {
    if (const auto found = _byName.find(name); found != _byName.end()) {
      for (const Operation& operation : found->second) {
        if (operation.answers(receiver)) {
          return &operation;
        }
      }
    }
    return nullptr;
  }

 private:
  std::unordered_map<std::string_view, std::vector<Operation>> _byName;
};

const Operations& operationsOfObjects() {
  static const Operations table = [] {
    Operations operations;
    operations.add(verbsOfObjects());
    operations.add(itemOperations());
    operations.add(observationOperations());
    operations.add(collectionOperations());
    operations.add(outlineOperations());
    return operations;
  }();
  return table;
}

const Operations& operationsWithoutReceiver() {
  static const Operations table = [] {
    Operations operations;
    operations.add(verbsWithoutReceiver());
    return operations;
  }();
  return table;
}

const std::unordered_map<std::string_view, Operations>& operationsOfClasses() {
  static const auto table = [] {
    std::unordered_map<std::string_view, Operations> classes;
    for (ClassOperations& entry : classOperations()) {
      classes[entry.name].add(std::move(entry.operations));
    }
    return classes;
  }();
  return table;
}

Malformed doesNotAnswer(const std::string& receiver, std::string_view name) {
  return Malformed(receiver + " does not answer \"" + std::string(name) + "\"");
}

}  // namespace

const Operation& operationOfObject(std::string_view name, const platform::Value& receiver) {
  if (const Operation* const operation = operationsOfObjects().find(name, receiver)) {
    return *operation;
  }
  throw doesNotAnswer(receiver.isObject() ? printedClass(*receiver.object()) : "a plain value",
                      name);
}

const Operation& operationOfClass(std::string_view name, std::string_view className) {
  const auto found = operationsOfClasses().find(className);
  if (found == operationsOfClasses().end()) {
    throw Malformed("there is no class \"" + std::string(className) + "\"");
  }
  if (const Operation* const operation = found->second.find(name, {})) {
    return *operation;
  }
  throw doesNotAnswer("the class " + std::string(className), name);
}

const Operation& operationWithoutReceiver(std::string_view name) {
  if (const Operation* const operation = operationsWithoutReceiver().find(name, {})) {
    return *operation;
  }
  throw Malformed("\"" + std::string(name) + "\" needs a receiver, or does not exist");
}

}  // namespace replay
