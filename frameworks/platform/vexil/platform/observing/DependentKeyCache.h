// SPDX-License-Identifier: Apache-2.0
// Internal to observation.
#pragma once

#include <vexil/platform/Key.h>

#include <cstddef>
#include <string>
#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace vexil::platform::detail {

/// All keys that affect one key of a class, directly or through others.
using AffectingKeys = std::vector<Key>;

/// What classes have answered on one thread about the keys on which their keys depend.
///
/// A class is known by the address of its type and by a copy of its name: a plug-in may be
/// unloaded, and then the type of another class may stand at that address.
class DependentKeyCache {
 public:
  DependentKeyCache(const DependentKeyCache&) = delete;
  DependentKeyCache& operator=(const DependentKeyCache&) = delete;
  ~DependentKeyCache();

  /// Returns null when the thread is ending and its cache is gone: objects in thread-local and
  /// static storage may change after that.
  [[nodiscard]] static DependentKeyCache* ofThisThread() noexcept;

  /// Returns null when there is no answer yet. The answer stays until the next `remember`.
  [[nodiscard]] const AffectingKeys* find(const std::type_info& type, const Key& key);

  void remember(const std::type_info& type, const Key& key, const AffectingKeys& keys);

 private:
  DependentKeyCache() = default;

  struct Class {
    std::string name;
    std::unordered_map<Key, AffectingKeys> answers;
  };
  struct LastAnswer {
    const void* type = nullptr;
    const char* name = nullptr;
    const Key* key = nullptr;
    const AffectingKeys* keys = nullptr;
  };

  void forgetAll();

  std::unordered_map<const void*, Class> _classes;  // by addresses that are only compared
  std::size_t _count = 0;                           // of answers
  LastAnswer _last;
};

}  // namespace vexil::platform::detail
