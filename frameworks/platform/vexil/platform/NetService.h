// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Object.h>
#include <vexil/platform/Value.h>

#include <atomic>

namespace vexil::platform {

/// A service on the network: its name, type and domain. Each is a string or absent, with the final
/// dot that DNS names have ("_ipp._tcp.", "local."). A service never changes. Two services are
/// equal when all three values are.
///
/// Any number of threads may read a service. A derived class may override `isEqual` and `hash`. It
/// cannot change the three values, `identifier` or `caseFoldedDomain`.
class NetService : public Object {
 public:
  NetService(Value name, Value type, Value domain);
  ~NetService() override;

  [[nodiscard]] const Value& name() const noexcept { return _name; }
  [[nodiscard]] const Value& type() const noexcept { return _type; }
  [[nodiscard]] const Value& domain() const noexcept { return _domain; }

  /// Domain, type and name as one text, separated by colons: "local.:_ipp._tcp.:Office". An absent
  /// value becomes "(null)". The text is made on the first call. It is kept when all three values
  /// are strings or absent.
  [[nodiscard]] Value identifier() const {
    const Value* kept = _identifier.ifMade();
    return kept != nullptr ? *kept : makeIdentifier();
  }

  /// The domain with differences of case removed, as `caseFolded` returns it; absent when the
  /// domain is no string. It is made on the first call and kept.
  [[nodiscard]] Value caseFoldedDomain() const;

  /// Whether all three values are equal. It does not call what a derived class overrides.
  [[nodiscard]] bool hasValuesOf(const NetService& other) const;

  [[nodiscard]] bool isEqual(const Object& other) const override;
  [[nodiscard]] std::size_t hash() const override;

 private:
  /// A value that is made when it is first asked for, on any thread.
  class KeptValue {
   public:
    KeptValue() = default;
    KeptValue(const KeptValue&) = delete;
    KeptValue& operator=(const KeptValue&) = delete;
    ~KeptValue() { delete _value.load(std::memory_order_relaxed); }

    [[nodiscard]] const Value* ifMade() const noexcept {
      return _value.load(std::memory_order_acquire);
    }
    template <class Make>
    const Value& get(const Make& make) const;

   private:
    mutable std::atomic<const Value*> _value{nullptr};
  };

  [[nodiscard]] Value makeIdentifier() const;

  Value _name;
  Value _type;
  Value _domain;
  KeptValue _identifier;
  KeptValue _caseFoldedDomain;
};

}  // namespace vexil::platform
