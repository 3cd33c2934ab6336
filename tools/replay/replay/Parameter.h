// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Objects.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/platform/IndexSet.h>
#include <vexil/platform/Key.h>
#include <vexil/platform/NetService.h>
#include <vexil/platform/Observing.h>
#include <vexil/platform/Pasteboard.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

namespace replay {

/// How an argument becomes a parameter of type `T`. `takes` says whether the argument is of the
/// right kind, and `from` converts one that is. `what` names the kind in messages. Objects, strings
/// and arrays may be absent; an operation that needs one then throws.
///
/// To support another type of parameter, add a specialisation here.
template <class T>
struct Parameter;

/// Anything.
template <>
struct Parameter<vexil::platform::Value> {
  static constexpr std::string_view what = "a value";
  static bool takes(const vexil::platform::Value&) { return true; }
  static vexil::platform::Value from(const vexil::platform::Value& argument) { return argument; }
};

template <>
struct Parameter<std::string_view> {
  static constexpr std::string_view what = "a string";
  static bool takes(const vexil::platform::Value& argument) {
    return argument.isAbsent() || argument.isString();
  }
  static std::string_view from(const vexil::platform::Value& argument) { return argument.string(); }
};

template <>
struct Parameter<vexil::platform::Key> {
  static constexpr std::string_view what = "a key";
  static bool takes(const vexil::platform::Value& argument) { return argument.isString(); }
  static vexil::platform::Key from(const vexil::platform::Value& argument) {
    return argument.string();
  }
};

template <>
struct Parameter<std::size_t> {
  static constexpr std::string_view what = "an integer from 0 on";
  static bool takes(const vexil::platform::Value& argument) {
    return argument.unsignedInteger().has_value();
  }
  static std::size_t from(const vexil::platform::Value& argument) {
    return *argument.unsignedInteger();
  }
};

/// No scenario has a pasteboard, so operations that take one get none.
template <>
struct Parameter<const vexil::platform::Pasteboard*> {
  static constexpr std::string_view what = "an absent pasteboard";
  static bool takes(const vexil::platform::Value& argument) { return argument.isAbsent(); }
  static const vexil::platform::Pasteboard* from(const vexil::platform::Value& /*argument*/) {
    return nullptr;
  }
};

/// A reference to an object of a class of the library or of this tool.
template <class Class>
struct Parameter<std::shared_ptr<Class>> {
  static constexpr std::string_view what = "an object of the right class";
  static bool takes(const vexil::platform::Value& argument) {
    return argument.isAbsent() || dynamic_cast<Class*>(argument.object().get()) != nullptr;
  }
  static std::shared_ptr<Class> from(const vexil::platform::Value& argument) {
    return std::dynamic_pointer_cast<Class>(argument.object());
  }
};

template <>
struct Parameter<vexil::platform::IndexSet> {
  static constexpr std::string_view what = "an index set";
  static bool takes(const vexil::platform::Value& argument) {
    return Parameter<std::shared_ptr<Indexes>>::takes(argument);
  }
  static vexil::platform::IndexSet from(const vexil::platform::Value& argument) {
    const auto indexes = Parameter<std::shared_ptr<Indexes>>::from(argument);
    return indexes ? indexes->indexes() : vexil::platform::IndexSet();
  }
};

/// An array of objects of a class. Each call makes a new array.
template <class Class>
struct Parameter<std::shared_ptr<std::vector<std::shared_ptr<Class>>>> {
  static constexpr std::string_view what = "an array of objects of the right class";
  static bool takes(const vexil::platform::Value& argument) {
    const auto isElement = [](const vexil::platform::Value& element) {
      return dynamic_cast<Class*>(element.object().get()) != nullptr;
    };
    return argument.isAbsent() ||
           (argument.isArray() && std::ranges::all_of(argument.elements(), isElement));
  }
  static std::shared_ptr<std::vector<std::shared_ptr<Class>>> from(
      const vexil::platform::Value& argument) {
    if (argument.isAbsent()) {
      return nullptr;
    }
    auto objects = std::make_shared<std::vector<std::shared_ptr<Class>>>();
    for (const vexil::platform::Value& element : argument.elements()) {
      objects->push_back(std::dynamic_pointer_cast<Class>(element.object()));
    }
    return objects;
  }
};
template <>
struct Parameter<std::shared_ptr<const KRAVTWVItemArray>>
    : Parameter<std::shared_ptr<KRAVTWVItemArray>> {};

template <>
struct Parameter<KRAVTWVItemArray> {
  using Items = Parameter<std::shared_ptr<KRAVTWVItemArray>>;
  static constexpr std::string_view what = Items::what;
  static bool takes(const vexil::platform::Value& argument) { return Items::takes(argument); }
  static KRAVTWVItemArray from(const vexil::platform::Value& argument) {
    return argument.isAbsent() ? KRAVTWVItemArray() : std::move(*Items::from(argument));
  }
};

template <>
struct Parameter<bool> {
  static constexpr std::string_view what = "a boolean";
  static bool takes(const vexil::platform::Value& argument) { return argument.isNumber(); }
  static bool from(const vexil::platform::Value& argument) { return argument.booleanReading(); }
};

/// A list of records. Its elements may be of any kind.
struct Records {
  vexil::platform::Value array;
};
template <>
struct Parameter<Records> {
  static constexpr std::string_view what = "an array";
  static bool takes(const vexil::platform::Value& argument) {
    return argument.isAbsent() || argument.isArray();
  }
  static Records from(const vexil::platform::Value& argument) { return {argument}; }
};

/// An item that must not be absent.
struct PresentItem {
  std::shared_ptr<KRAVTWVItemVexil> item;
};
template <>
struct Parameter<PresentItem> {
  static constexpr std::string_view what = "an item";
  static bool takes(const vexil::platform::Value& argument) {
    return dynamic_cast<KRAVTWVItemVexil*>(argument.object().get()) != nullptr;
  }
  static PresentItem from(const vexil::platform::Value& argument) {
    return {std::dynamic_pointer_cast<KRAVTWVItemVexil>(argument.object())};
  }
};

template <>
struct Parameter<vexil::platform::ObservingOptions> {
  static constexpr std::string_view what = "observing options, 0 to 3";
  static bool takes(const vexil::platform::Value& argument) {
    return argument.unsignedInteger().value_or(std::numeric_limits<std::uint64_t>::max()) <= 3;
  }
  static vexil::platform::ObservingOptions from(const vexil::platform::Value& argument) {
    return static_cast<vexil::platform::ObservingOptions>(*argument.unsignedInteger());
  }
};

/// An option of an outline, by its name.
struct FollowsProperties {};
template <>
struct Parameter<FollowsProperties> {
  static constexpr std::string_view what = "\"followsProperties\"";
  static bool takes(const vexil::platform::Value& argument) {
    return argument.isString() && argument.string() == "followsProperties";
  }
};

/// The text of a context, or an absent value.
struct ContextText {
  vexil::platform::Value text;
};
template <>
struct Parameter<ContextText> {
  static constexpr std::string_view what = "a context";
  static bool takes(const vexil::platform::Value& argument) {
    return Parameter<std::string_view>::takes(argument);
  }
  static ContextText from(const vexil::platform::Value& argument) { return {argument}; }
};

}  // namespace replay
