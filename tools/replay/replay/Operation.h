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

/// One step whose arguments have been read and whose operation can be performed.
struct Call {
  std::shared_ptr<Transcript> transcript;
  std::optional<std::string> on;    ///< the receiver's name
  vexil::platform::Value receiver;  ///< what is bound to `on`; absent when there is no receiver
  std::vector<vexil::platform::Value> arguments;
  std::optional<std::string> as;  ///< the name for the result
};

/// One operation under the name that scenarios use, and how to check and perform a step with it.
struct Operation {
  struct Parameter {
    std::string_view what;
    bool (*takes)(const vexil::platform::Value& argument);
  };

  std::string_view name;
  std::vector<Parameter> parameters;
  /// Whether an object answers it. Always true when the operation has no object as its receiver.
  bool (*answers)(const vexil::platform::Value& receiver);
  /// Returns the result, which may be an absent value, or nothing when the operation has no result.
  std::function<std::optional<vexil::platform::Value>(const Call&)> perform;

  // Most operations leave these as they are.

  std::size_t optionalArguments = 0;  ///< how many of the last arguments may be left out
  bool printsResult = true;           ///< false when all that matters is the name it is bound to
  bool needsName = false;             ///< a step without a name for the result is malformed
  /// Prints the result in another way than as a value.
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

// These turn what an operation returns into a value.

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
/// first. An object answers it when it is of this class. The types of the parameters decide how the
/// arguments are read (`Parameter`), and the type of the result how it becomes a value.
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

/// An operation of a class, or one without a receiver.
template <class Function>
Operation function(std::string_view name, Function function) {
  return detail::functionOf(name, std::function(std::move(function)));
}

}  // namespace replay
