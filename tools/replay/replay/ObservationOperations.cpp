// SPDX-License-Identifier: Apache-2.0
#include <replay/Operations.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/platform/Observable.h>

namespace platform = vexil::platform;

namespace replay {

using platform::Observable;
using platform::Observer;
using platform::Value;

namespace {

using Item = KRAVTWVItemVexil;
using ObserverReference = std::shared_ptr<Observer>;

// These two cannot be a `method`, because the transcript gives the context.

Operation registrationOfSubtree() {
  return {"addObserver:forRecursiveChildrenWithOption:context:",
          {detail::parameterOf<ObserverReference>(),
           detail::parameterOf<platform::ObservingOptions>(), detail::parameterOf<ContextText>()},
          &detail::isA<Item>,
          [](const Call& call) -> std::optional<Value> {
            dynamic_cast<Item&>(*call.receiver.object())
                .addObserverForRecursiveChildrenWithOptionContext(
                    Parameter<ObserverReference>::from(call.arguments[0]),
                    Parameter<platform::ObservingOptions>::from(call.arguments[1]),
                    call.transcript->contextNamed(call.arguments[2]));
            return std::nullopt;
          }};
}

Operation withdrawalFromSubtree() {
  return {"removeObserver:forRecursiveChildrenWithContext:",
          {detail::parameterOf<ObserverReference>(), detail::parameterOf<ContextText>()},
          &detail::isA<Item>,
          [](const Call& call) -> std::optional<Value> {
            dynamic_cast<Item&>(*call.receiver.object())
                .removeObserverForRecursiveChildrenWithContext(
                    Parameter<ObserverReference>::from(call.arguments[0]),
                    call.transcript->contextNamed(call.arguments[1]));
            return std::nullopt;
          }};
}

}  // namespace

std::vector<Operation> observationOperations() {
  return {
      registrationOfSubtree(),
      withdrawalFromSubtree(),
      method("root", &KRAVTWVItemsObserver::root),
      method("setRoot:", &KRAVTWVItemsObserver::setRoot),
      method("delegate", &KRAVTWVItemsObserver::delegate),
      method("setDelegate:", &KRAVTWVItemsObserver::setDelegate),
      method("valueForKey:", &Observable::valueForKey),
      method("setValue:forKey:", &Observable::setValueForKey),
      method("isEqual:",
             [](platform::Object& object, const Value& other) {
               return other.isObject() && object.isEqual(*other.object());
             }),
  };
}

}  // namespace replay
