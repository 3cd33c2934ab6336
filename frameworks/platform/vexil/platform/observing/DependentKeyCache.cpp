// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/observing/DependentKeyCache.h>

#include <cstring>

namespace vexil::platform::detail {

namespace {

// More answers are forgotten, as a host may observe any number of keys.
constexpr std::size_t mostAnswers = 4096;

thread_local constinit bool isGone = false;

}  // namespace

DependentKeyCache::~DependentKeyCache() {
  isGone = true;
}

DependentKeyCache* DependentKeyCache::ofThisThread() noexcept {
  if (isGone) {
    return nullptr;
  }
  thread_local DependentKeyCache cache;
  return &cache;
}

const AffectingKeys* DependentKeyCache::find(const std::type_info& type, const Key& key) {
  // A merge asks about node after node, so the last answer is kept at hand.
  if (_last.keys != nullptr && _last.type == &type && *_last.key == key &&
      std::strcmp(_last.name, type.name()) == 0) {
    return _last.keys;
  }
  const auto known = _classes.find(&type);
  if (known == _classes.end() || known->second.name != type.name()) {
    return nullptr;
  }
  const auto found = known->second.answers.find(key);
  if (found == known->second.answers.end()) {
    return nullptr;
  }
  _last = {&type, known->second.name.c_str(), &found->first, &found->second};
  return &found->second;
}

void DependentKeyCache::remember(const std::type_info& type, const Key& key,
                                 const AffectingKeys& keys) {
  if (_count == mostAnswers) {
    forgetAll();
  }
  Class& asked = _classes[&type];
  if (asked.name != type.name()) {
    _last = {};
    _count -= asked.answers.size();
    asked.answers.clear();
    asked.name = type.name();
  }
  _count += asked.answers.emplace(key, keys).second ? 1U : 0U;
}

void DependentKeyCache::forgetAll() {
  _last = {};
  _classes.clear();
  _count = 0;
}

}  // namespace vexil::platform::detail
