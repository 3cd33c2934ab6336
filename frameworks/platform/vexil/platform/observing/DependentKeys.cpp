// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Observable.h>
#include <vexil/platform/observing/DependentKeys.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vexil::platform::detail {

namespace {

using AffectingKeys = std::vector<Key>;

/// All keys on which `key` of this class depends, directly or through others.
AffectingKeys affectingKeys(const Observable& object, const Key& key) {
  AffectingKeys result;
  AffectingKeys unexplored{key};
  while (!unexplored.empty()) {
    const Key next = std::move(unexplored.back());
    unexplored.pop_back();
    for (const std::string& text : object.keyPathsForValuesAffectingValueForKey(next)) {
      const Key affecting(text);
      if (std::ranges::find(result, affecting) == result.end()) {
        result.push_back(affecting);
        unexplored.push_back(affecting);
      }
    }
  }
  return result;
}

Relation relationIn(const AffectingKeys& keys, const Key& changed) {
  return std::ranges::find(keys, changed) != keys.end() ? Relation::dependent : Relation::none;
}

/// What the classes have answered on this thread.
///
/// A class is known by where its type stands and by a copy of its name: a plug-in may be unloaded,
/// and another class stand there later.
class AnswersOfClasses {
 public:
  ~AnswersOfClasses() { areGone = true; }

  /// Null when there is no answer yet.
  const AffectingKeys* find(const std::type_info& type, const Key& key) {
    // A merge asks the same question of node after node, so the last answer is kept at hand.
    if (_last.answer != nullptr && _last.type == &type && *_last.key == key &&
        std::strcmp(_last.name, type.name()) == 0) {
      return _last.answer;
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

  void remember(const std::type_info& type, const Key& key, const AffectingKeys& keys) {
    if (_count == most) {
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

  static thread_local bool areGone;

 private:
  // Every key that is ever observed would be too much.
  static constexpr std::size_t most = 4096;

  struct Class {
    std::string name;
    std::unordered_map<Key, AffectingKeys> answers;
  };
  struct Last {
    const void* type = nullptr;
    const char* name = nullptr;
    const Key* key = nullptr;
    const AffectingKeys* answer = nullptr;
  };

  void forgetAll() {
    _last = {};
    _classes.clear();
    _count = 0;
  }

  std::unordered_map<const void*, Class> _classes;  // by addresses that are only compared
  std::size_t _count = 0;
  Last _last;
};

thread_local bool AnswersOfClasses::areGone = false;

/// Null when the thread has nothing any more: objects in thread-local and static storage may change
/// after what the thread kept has gone.
AnswersOfClasses* answersOfThread() {
  if (AnswersOfClasses::areGone) {
    return nullptr;
  }
  thread_local AnswersOfClasses answers;
  return &answers;
}

}  // namespace

Relation knownRelation(const Observable& object, const Key& observed, const Key& changed) {
  if (observed == changed) {
    return Relation::same;
  }
  AnswersOfClasses* const answers = answersOfThread();
  const AffectingKeys* const keys =
      answers == nullptr ? nullptr : answers->find(typeid(object), observed);
  return keys == nullptr ? Relation::unknown : relationIn(*keys, changed);
}

Relation relation(const Observable& object, const Key& observed, const Key& changed) {
  const Relation known = knownRelation(object, observed, changed);
  if (known != Relation::unknown) {
    return known;
  }
  // The class may do anything meanwhile, so nothing of the answers is held.
  const AffectingKeys keys = affectingKeys(object, observed);
  if (AnswersOfClasses* const answers = answersOfThread()) {
    answers->remember(typeid(object), observed, keys);
  }
  return relationIn(keys, changed);
}

}  // namespace vexil::platform::detail
