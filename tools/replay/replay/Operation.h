// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Objects.h>
#include <replay/Parameter.h>
#include <replay/Transcript.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/Value.h>

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace replay {

/// One step in which an operation is to be performed, its arguments read.
struct Call {
  std::shared_ptr<Transcript> transcript;
  std::optional<std::string> on;    ///< the receiver's name,
  vexil::platform::Value receiver;  ///< and what is bound to it; absent without one
  std::vector<vexil::platform::Value> arguments;
  std::optional<std::string> as;  ///< the name for the result
};

/// One operation, as a scenario names it, with all that is needed to check a step and to perform
/// it.
struct Operation {
  struct Parameter {
    std::string_view what;
    bool (*takes)(const vexil::platform::Value& argument);
  };

  std::string_view name;
  std::vector<Parameter> parameters;
  /// Whether an object answers it; always, of an operation that has none for its receiver.
  bool (*answers)(const vexil::platform::Value& receiver);
  /// The result, which may be absent; nothing where the operation has none.
  std::function<std::optional<vexil::platform::Value>(const Call&)> perform;

  // What sets some operations apart.

  bool printsResult = true;  ///< not so for what merely makes the object that is bound
  bool needsName = false;    ///< makes no sense without a name for the result
  /// Prints the result otherwise than as a value.
  std::function<std::string(const Call&, const vexil::platform::Value& result)> print = {};
};

namespace detail {

template <class Class>
bool isA(const vexil::platform::Value& receiver) {
  return dynamic_cast<Class*>(receiver.object().get()) != nullptr;
}

inline bool isAnything(const vexil::platform::Value&) {
  return true;
}

template <class T>
Operation::Parameter parameterOf() {
  using Type = Parameter<std::remove_cvref_t<T>>;
  return {Type::what, &Type::takes};
}

// What an operation returns, as a value.

template <class T>
  requires std::constructible_from<vexil::platform::Value, T>
vexil::platform::Value resultOf(T&& result) {
  return vexil::platform::Value(std::forward<T>(result));
}
template <class Class>
vexil::platform::Value resultOf(const std::vector<std::shared_ptr<Class>>& objects) {
  return vexil::platform::Value::arrayOfObjects(objects);
}
template <class Class>
vexil::platform::Value resultOf(
    const std::shared_ptr<std::vector<std::shared_ptr<Class>>>& objects) {
  return objects ? resultOf(*objects) : vexil::platform::Value();
}
inline vexil::platform::Value resultOf(std::set<std::string> strings) {
  return std::make_shared<StringSet>(std::move(strings));
}
inline vexil::platform::Value resultOf(const std::vector<std::string>& strings) {
  return vexil::platform::Value::array(
      std::vector<vexil::platform::Value>(strings.begin(), strings.end()));
}
template <class Options>
  requires std::is_enum_v<Options>
vexil::platform::Value resultOf(Options options) {
  return static_cast<std::underlying_type_t<Options>>(options);
}
inline vexil::platform::Value resultOf(const std::optional<vexil::platform::FileURL>& directory) {
  return directory ? vexil::platform::Value(std::make_shared<Directory>(*directory))
                   : vexil::platform::Value();
}

template <class Function, class... Arguments>
std::optional<vexil::platform::Value> resultOfCalling(Function& function,
                                                      Arguments&&... arguments) {
  if constexpr (std::is_void_v<std::invoke_result_t<Function&, Arguments...>>) {
    std::invoke(function, std::forward<Arguments>(arguments)...);
    return std::nullopt;
  } else {
    return resultOf(std::invoke(function, std::forward<Arguments>(arguments)...));
  }
}

template <class Class, class Result, class... Parameters>
Operation methodOf(std::string_view name, std::function<Result(Class&, Parameters...)> function) {
  return {name,
          {parameterOf<Parameters>()...},
          &isA<Class>,
          [function = std::move(function)](const Call& call) mutable {
            auto& receiver = dynamic_cast<Class&>(*call.receiver.object());
            return [&]<std::size_t... index>(std::index_sequence<index...>) {
              return resultOfCalling(
                  function, receiver,
                  Parameter<std::remove_cvref_t<Parameters>>::from(call.arguments[index])...);
            }(std::index_sequence_for<Parameters...>());
          }};
}

template <class Result, class... Parameters>
Operation functionOf(std::string_view name, std::function<Result(Parameters...)> function) {
  return {name,
          {parameterOf<Parameters>()...},
          &isAnything,
          [function = std::move(function)](const Call& call) mutable {
            return [&]<std::size_t... index>(std::index_sequence<index...>) {
              return resultOfCalling(function, Parameter<std::remove_cvref_t<Parameters>>::from(
                                                   call.arguments[index])...);
            }(std::index_sequence_for<Parameters...>());
          }};
}

}  // namespace detail

/// An operation of objects: a member function of their class, or a function that takes the object
/// first. Objects answer it when they are of this class. How the arguments are read and the result
/// is taken follows from the types.
template <class Class, class Result, class... Parameters>
Operation method(std::string_view name, Result (Class::*function)(Parameters...)) {
  return detail::methodOf(name, std::function<Result(Class&, Parameters...)>(function));
}
template <class Class, class Result, class... Parameters>
Operation method(std::string_view name, Result (Class::*function)(Parameters...) const) {
  return detail::methodOf(name, std::function<Result(Class&, Parameters...)>(function));
}
template <class Function>
Operation method(std::string_view name, Function function) {
  return detail::methodOf(name, std::function(std::move(function)));
}

/// An operation of a class, or of nobody.
template <class Function>
Operation function(std::string_view name, Function function) {
  return detail::functionOf(name, std::function(std::move(function)));
}

}  // namespace replay
