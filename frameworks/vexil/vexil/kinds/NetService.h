// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/kinds/Kind.h>
#include <vexil/platform/NetService.h>

#include <memory>
#include <utility>

namespace vexil {

/// The factory of network services, for the kind `Self` derived from `Base`.
template <class Self, class Base>
class NetServiceFactories : public ItemFactories<Self, Base> {
 public:
  using ItemFactories<Self, Base>::ItemFactories;

  static std::shared_ptr<Self> itemWithNetService(std::shared_ptr<platform::NetService> service) {
    return NetServiceFactories::makeItem(std::move(service));
  }
};

}  // namespace vexil

/// A network service. Identifier, label and domain are read from `netService`, which is set to the
/// represented object when the item is made. An absent service reads as one without any values.
class KRAVTWVNetServiceVexil
    : public vexil::NetServiceFactories<KRAVTWVNetServiceVexil, KRAVTWVItemVexil> {
 public:
  template <class Self, class Base>
  using Factories = vexil::NetServiceFactories<Self, Base>;

  using NetServiceFactories::NetServiceFactories;
  /// `initWithNetService:`.
  explicit KRAVTWVNetServiceVexil(std::shared_ptr<vexil::platform::NetService> service);
  ~KRAVTWVNetServiceVexil() override;

  /// Domain, type and name, separated by colons: "local.:_ipp._tcp.:Office".
  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] virtual vexil::platform::Value domain() const;

  [[nodiscard]] std::shared_ptr<vexil::platform::NetService> netService() const {
    return read(_netService);
  }
  void setNetService(std::shared_ptr<vexil::platform::NetService> service);

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;

 private:
  void setNetServiceValue(const vexil::platform::Value& service);
  std::shared_ptr<vexil::platform::NetService> _netService;
};
