// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/CaseFolding.h>
#include <vexil/platform/NetService.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace vexil::platform {

template <class Make>
const Value& NetService::KeptValue::get(const Make& make) const {
  const Value* kept = ifMade();
  if (kept == nullptr) {
    auto made = std::make_unique<const Value>(make());
    // When two threads make it at once, the first one's is kept.
    if (_value.compare_exchange_strong(kept, made.get(), std::memory_order_acq_rel,
                                       std::memory_order_acquire)) {
      kept = made.release();
    }
  }
  return *kept;
}

NetService::NetService(Value name, Value type, Value domain)
    : _name(std::move(name)), _type(std::move(type)), _domain(std::move(domain)) {}

NetService::~NetService() = default;

Value NetService::makeIdentifier() const {
  // Copies, here and below: when a value is an object, asking it may destroy this service.
  const auto make = [name = _name, type = _type, domain = _domain] {
    return Value(domain.displayText() + ":" + type.displayText() + ":" + name.displayText());
  };
  // An object may describe itself differently the next time, so its text is not kept.
  const auto stays = [](const Value& part) { return part.isString() || part.isAbsent(); };
  return stays(_domain) && stays(_type) && stays(_name) ? _identifier.get(make) : make();
}

Value NetService::caseFoldedDomain() const {
  return _domain.isString()
             ? _caseFoldedDomain.get([this] { return Value(caseFolded(_domain.string())); })
             : Value();
}

bool NetService::hasValuesOf(const NetService& other) const {
  const Value ours[] = {_name, _type, _domain};
  const Value theirs[] = {other._name, other._type, other._domain};
  return std::ranges::equal(ours, theirs);
}

bool NetService::isEqual(const Object& other) const {
  if (this == &other) {
    return true;
  }
  const auto* service = dynamic_cast<const NetService*>(&other);
  return service != nullptr && hasValuesOf(*service);
}

std::size_t NetService::hash() const {
  const Value name = _name;
  const Value type = _type;
  const Value domain = _domain;
  return detail::mixedHash(detail::mixedHash(domain.hash(), type.hash()), name.hash());
}

}  // namespace vexil::platform
