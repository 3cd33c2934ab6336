// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Operation.h>

#include <string_view>
#include <vector>

namespace replay {

// The table of everything that a step can do. The lists below make it up. To add an operation or a
// class, add an entry to one of them.

/// These return the operation that an object answers under a name, that a class answers, or that
/// needs no receiver. They throw `Malformed` when there is none.
[[nodiscard]] const Operation& operationOfObject(std::string_view name,
                                                 const vexil::platform::Value& receiver);
[[nodiscard]] const Operation& operationOfClass(std::string_view name, std::string_view className);
[[nodiscard]] const Operation& operationWithoutReceiver(std::string_view name);

/// A class and the operations that the class itself answers: factories, initialisers, `new`, and
/// what it says about its keys and types.
struct ClassOperations {
  std::string_view name;
  std::vector<Operation> operations;
};

[[nodiscard]] std::vector<Operation> itemOperations();
[[nodiscard]] std::vector<Operation> observationOperations();
[[nodiscard]] std::vector<Operation> collectionOperations();
[[nodiscard]] std::vector<Operation> outlineOperations();
[[nodiscard]] std::vector<Operation> verbsOfObjects();
[[nodiscard]] std::vector<Operation> verbsWithoutReceiver();
[[nodiscard]] std::vector<ClassOperations> classOperations();

}  // namespace replay
