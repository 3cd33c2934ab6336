// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Object.h>
#include <vexil/platform/Value.h>

#include <atomic>

namespace vexil::platform {

/// A service that was found on the network: its name, type and domain, each a string or absent,
/// with the final dots that DNS names have ("_ipp._tcp.", "local."). It never changes. Two services
/// are equal when all three values are.
///
/// A service can be read on any number of threads. A derived class may override `isEqual` and
/// `hash`. It cannot change the three values, `identifier` or `caseFoldedDomain`.
class NetService : public Object {
 public:
  NetService(Value name, Value type, Value domain);
  ~NetService() override;

  [[nodiscard]] const Value& name() const noexcept { return _name; }
  [[nodiscard]] const Value& type() const noexcept { return _type; }
  [[nodiscard]] const Value& domain() const noexcept { return _domain; }

  /// Domain, type and name as one text, separated by colons: "local.:_ipp._tcp.:Office". An absent
  /// one reads "(null)". It is made when it is first asked for, and kept where all three are
  /// strings or absent.
  [[nodiscard]] Value identifier() const {
    const Value* kept = _identifier.ifMade();
    return kept != nullptr ? *kept : makeIdentifier();
  }

  /// The domain without its differences of case, as `caseFolded` has it; absent when the domain is
  /// no string. It is made when it is first asked for, and kept.
  [[nodiscard]] Value caseFoldedDomain() const;

  /// Whether all three values are equal; asks no derived class.
  [[nodiscard]] bool hasValuesOf(const NetService& other) const;

  [[nodiscard]] bool isEqual(const Object& other) const override;
  [[nodiscard]] std::size_t hash() const override;

 private:
  /// A value that is made by whichever thread first asks for it.
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
