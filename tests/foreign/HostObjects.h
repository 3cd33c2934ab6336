// SPDX-License-Identifier: Apache-2.0
// A host's objects in records, network services, observers and delegates.
#pragma once

#include "HostItems.h"

#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/platform/NetService.h>
#include <vexil/platform/Observing.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace foreign {

/// An object in a record. It equals all objects of its number.
class HostObject : public vexil::platform::Object, private Counted {
 public:
  explicit HostObject(int number) : _number(number) {}
  ~HostObject() override { Hook::called(Site::objectDestructor); }

  [[nodiscard]] bool isEqual(const Object& other) const override {
    const auto* object = dynamic_cast<const HostObject*>(&other);
    const bool isSame = object != nullptr && object->_number == _number;
    Hook::called(Site::objectIsEqual);
    return isSame;
  }
  [[nodiscard]] std::size_t hash() const override {
    const auto hash = static_cast<std::size_t>(_number);
    Hook::called(Site::objectHash);
    return hash;
  }
  [[nodiscard]] std::string description() const override {
    std::string text = "object " + std::to_string(_number);
    Hook::called(Site::objectDescription);
    return text;
  }

 private:
  int _number;
};

class HostService : public vexil::platform::NetService, private Counted {
 public:
  using NetService::NetService;
  ~HostService() override { Hook::called(Site::serviceDestructor); }

  [[nodiscard]] bool isEqual(const Object& other) const override {
    const bool isSame = NetService::isEqual(other);
    Hook::called(Site::serviceIsEqual);
    return isSame;
  }
  [[nodiscard]] std::size_t hash() const override {
    const std::size_t hash = NetService::hash();
    Hook::called(Site::serviceHash);
    return hash;
  }
  [[nodiscard]] std::string description() const override {
    std::string text = "a host's service";
    Hook::called(Site::serviceDescription);
    return text;
  }
};

class HostObserver : public vexil::platform::Observer, private Counted {
 public:
  explicit HostObserver(Site site) : _site(site) {}
  [[nodiscard]] Site site() const { return _site; }

  void observeValueForKeyPathOfObjectChangeContext(
      const vexil::platform::Key& /*keyPath*/,
      const std::shared_ptr<vexil::platform::Observable>& /*object*/,
      const vexil::platform::ChangeRecord& /*change*/,
      const vexil::platform::ContextToken* /*context*/) override {
    Hook::called(_site);
  }

 private:
  Site _site;
};

class HostDelegate : public KRAVTWVItemsObserverDelegate, private Counted {
 public:
  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& /*observer*/, vexil::platform::ChangeKind kind,
      const KRAVTWVItemArray& /*items*/,
      const std::optional<vexil::platform::IndexSet>& /*indexes*/,
      const std::shared_ptr<KRAVTWVItemVexil>& /*parent*/) override {
    switch (kind) {
      case vexil::platform::ChangeKind::setting:
        return Hook::called(Site::delegateSetting);
      case vexil::platform::ChangeKind::insertion:
        return Hook::called(Site::delegateInsertion);
      case vexil::platform::ChangeKind::removal:
        return Hook::called(Site::delegateRemoval);
      case vexil::platform::ChangeKind::replacement:
        return Hook::called(Site::delegateReplacement);
    }
  }
};

}  // namespace foreign
