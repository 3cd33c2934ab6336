// SPDX-License-Identifier: Apache-2.0
#include <replay/Operations.h>
#include <replay/Outline.h>
#include <replay/Recorders.h>
#include <vexil/KRAVTWVItemsVexil.h>

namespace platform = vexil::platform;

namespace replay {

using platform::Value;

namespace {

/// Makes an outline of a collection or of an item.
template <class Followed>
Operation outlineOf() {
  Operation operation{"outline",
                      {detail::parameterOf<FollowsProperties>()},
                      &detail::isA<Followed>,
                      [](const Call& call) -> std::optional<Value> {
                        const auto followed =
                            std::dynamic_pointer_cast<Followed>(call.receiver.object());
                        const bool followsProperties = !call.arguments.empty();
                        return Value(std::make_shared<Outline>(followed, followsProperties,
                                                               *call.as, call.transcript));
                      }};
  operation.optionalArguments = 1;
  operation.printsResult = false;
  operation.needsName = true;
  return operation;
}

}  // namespace

std::vector<Operation> outlineOperations() {
  return {
      outlineOf<KRAVTWVItemsVexil>(),
      outlineOf<KRAVTWVItemVexil>(),
      method("update", &Outline::update),
      method("rows", &Outline::printRows),
      method("refreshAll", &Outline::refreshAll),
      method("updateDuring", &Recorder::updateWhenTold),
  };
}

}  // namespace replay
