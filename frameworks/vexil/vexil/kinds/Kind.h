// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/kinds/Item.h>
#include <vexil/platform/detail/BlockPool.h>

#include <memory>
#include <typeinfo>
#include <utility>

namespace vexil {

/// What every kind of item has from its class, for the kind `Self` derived from `Base`: how it is
/// made, and its class test for equality. Kinds with factories of their own derive from it.
template <class Self, class Base>
class ItemFactories : public Base {
 public:
  using Base::Base;

  static std::shared_ptr<Self> itemWithRepresentedObject(platform::Value object) {
    return makeItem(std::move(object));
  }

 protected:
  /// What all factories make items with.
  template <class... Arguments>
  static std::shared_ptr<Self> makeItem(Arguments&&... arguments) {
    return std::allocate_shared<Self>(platform::detail::PooledAllocator<Self>(),
                                      std::forward<Arguments>(arguments)...);
  }

  /// An item as it is before it is initialised: it represents nothing, has no label and no
  /// identifier, and its children are absent.
  static std::shared_ptr<Self> makeBareItem() {
    auto bare = makeItem(platform::Value());
    bare->setChildren(nullptr);
    return bare;
  }

  [[nodiscard]] bool isKindOfReceiversClass(const KRAVTWVItemVexil& other) const override {
    return typeid(*this) == typeid(Self) && dynamic_cast<const Self*>(&other) != nullptr;
  }
};

}  // namespace vexil

/// The base of a host's own kind `Self`, which is derived from the kind `Base`: it has the
/// factories of `Base`, and they make `Self`. See `KRAVTWVItemVexil` for an example.
///
/// A kind that derives from `Base` without it equals no item of another class, not even of its own
/// subclasses.
template <class Self, class Base>
class KRAVTWVKind : public Base::template Factories<Self, Base> {
 public:
  using Base::template Factories<Self, Base>::Factories;
};
