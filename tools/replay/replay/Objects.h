// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Files.h>
#include <vexil/platform/IndexSet.h>
#include <vexil/platform/Object.h>

#include <set>
#include <string>
#include <utility>

namespace replay {

// Arguments and results that a plain value cannot hold. As objects they can be bound to names and
// used wherever a value can.

/// An index set. Two are equal when their indexes are.
class Indexes final : public vexil::platform::Object {
 public:
  explicit Indexes(vexil::platform::IndexSet indexes) : _indexes(std::move(indexes)) {}
  [[nodiscard]] const vexil::platform::IndexSet& indexes() const { return _indexes; }

  [[nodiscard]] bool isEqual(const vexil::platform::Object& other) const override {
    const auto* set = dynamic_cast<const Indexes*>(&other);
    return set != nullptr && _indexes == set->_indexes;
  }
  [[nodiscard]] std::size_t hash() const override { return _indexes.count(); }

 private:
  vexil::platform::IndexSet _indexes;
};

/// A set of strings. Two are equal when their strings are.
class StringSet final : public vexil::platform::Object {
 public:
  explicit StringSet(std::set<std::string> strings) : _strings(std::move(strings)) {}
  [[nodiscard]] const std::set<std::string>& strings() const { return _strings; }

  [[nodiscard]] bool isEqual(const vexil::platform::Object& other) const override {
    const auto* set = dynamic_cast<const StringSet*>(&other);
    return set != nullptr && _strings == set->_strings;
  }
  [[nodiscard]] std::size_t hash() const override { return _strings.size(); }

 private:
  std::set<std::string> _strings;
};

/// The URL of a directory.
class Directory final : public vexil::platform::Object {
 public:
  explicit Directory(vexil::platform::FileURL url) : _url(std::move(url)) {}
  [[nodiscard]] const vexil::platform::FileURL& url() const { return _url; }

 private:
  vexil::platform::FileURL _url;
};

}  // namespace replay
