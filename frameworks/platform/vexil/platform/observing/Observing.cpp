// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Observing.h>

#include <new>
#include <string>
#include <utility>

namespace vexil::platform {

void Observer::observeValueForKeyPathOfObjectChangeContext(
    const Key& keyPath, const std::shared_ptr<Observable>& object, const ChangeRecord& /*change*/,
    const ContextToken* context) {
  throw UnexpectedNotice("a change of \"" + std::string(keyPath.text()) + "\" of " +
                         object->description() + " reached an observer that does not know the " +
                         "context \"" + std::string(context == nullptr ? "" : context->text()) +
                         "\"");
}

namespace {
constexpr ContextToken closureContext("platform.observe");
}

class detail::ClosureObserver : public Observer {
 public:
  explicit ClosureObserver(std::function<void(const ChangeRecord&)> notify)
      : _notify(std::move(notify)) {}

  void observeValueForKeyPathOfObjectChangeContext(const Key&, const std::shared_ptr<Observable>&,
                                                   const ChangeRecord& change,
                                                   const ContextToken*) override {
    if (!_hasEnded) {
      _notify(change);
    }
  }
  /// The closure is not called again. It may be running now.
  void end() noexcept { _hasEnded = true; }

 private:
  std::function<void(const ChangeRecord&)> _notify;
  bool _hasEnded = false;
};

Observation::Observation(std::weak_ptr<Observable> object, Key key,
                         std::shared_ptr<detail::ClosureObserver> observer)
    : _object(std::move(object)), _key(std::move(key)), _observer(std::move(observer)) {}

Observation& Observation::operator=(Observation&& other) noexcept {
  if (this != &other) {
    // Ends last, since destroying the old closure may destroy this handle.
    const Observation old(std::move(*this));
    _object = std::move(other._object);
    _key = std::move(other._key);
    _observer = std::move(other._observer);
  }
  return *this;
}

void Observation::end() noexcept {
  const std::shared_ptr<detail::ClosureObserver> observer = std::move(_observer);
  const std::shared_ptr<Observable> object = _object.lock();
  _object.reset();
  if (!observer) {
    return;
  }
  observer->end();
  if (object) {
    try {
      object->removeObserver(observer, *_key, &closureContext);
    } catch (const std::bad_alloc&) {
      // The registration stays until it is swept, and its closure is not called.
    }
  }
}

Observation observe(const std::shared_ptr<Observable>& object, const Key& key,
                    ObservingOptions options, std::function<void(const ChangeRecord&)> notify) {
  if (!object || !notify) {
    throw InvalidArgument("an observation needs an object and something to call");
  }
  auto observer = std::make_shared<detail::ClosureObserver>(std::move(notify));
  object->addObserver(observer, key, options, &closureContext);
  return {object, key, std::move(observer)};
}

}  // namespace vexil::platform
