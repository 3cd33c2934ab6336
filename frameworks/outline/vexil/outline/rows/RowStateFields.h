// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: how the state of a row is put together and looked into.
#pragma once

#include <vexil/outline/RowState.h>
#include <vexil/platform/Value.h>
#include <vexil/platform/detail/RefCount.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>

namespace vexil::detail {

/// What only some rows have: the class of a row that is no plain event, an occurrence, and an
/// identifier and a label that are not to be found in the record. Values that are not there take up
/// no space. Immutable, and shared by copies of a state.
class RowDetails {
 public:
  struct Content {
    const std::type_info* type = nullptr;  // null when only a name is known
    std::uint32_t occurrence = 0;
    std::optional<platform::Value> identifier = {};
    std::optional<platform::Value> label = {};
    std::string_view className = {};  // when there is no type
  };
  [[nodiscard]] static RowDetails* make(Content content);

  void retain() noexcept { _references.retain(); }
  void release() noexcept;

  [[nodiscard]] const std::type_info* type() const noexcept { return _type; }
  [[nodiscard]] std::uint32_t occurrence() const noexcept { return _occurrence; }
  /// Must be there.
  [[nodiscard]] const platform::Value& identifier() const noexcept { return values()[0]; }
  [[nodiscard]] const platform::Value& label() const noexcept { return values()[_hasIdentifier]; }
  [[nodiscard]] std::string_view className() const noexcept;

 private:
  RowDetails() = default;
  ~RowDetails() = default;
  [[nodiscard]] std::size_t count() const noexcept {
    return std::size_t{_hasIdentifier} + _hasLabel + _hasClassName;
  }
  [[nodiscard]] platform::Value* values() noexcept {
    return reinterpret_cast<platform::Value*>(this + 1);
  }
  [[nodiscard]] const platform::Value* values() const noexcept {
    return reinterpret_cast<const platform::Value*>(this + 1);
  }

  platform::detail::RefCount _references;
  std::uint32_t _occurrence = 0;
  bool _hasIdentifier = false;
  bool _hasLabel = false;
  bool _hasClassName = false;
  const std::type_info* _type = nullptr;
};

struct RowStateFields {
  using Flag = RowState::Flag;
  using Field = RowState::Field;
  static constexpr Field lastPosition = RowState::lastPosition;
  static constexpr Field nowhere = RowState::nowhere;
  static constexpr Field isObject = RowState::isObject;
  static constexpr Field isStored = RowState::isStored;
  static constexpr Flag flagEnabled = RowState::flagEnabled;
  static constexpr Flag flagSupportsEnabled = RowState::flagSupportsEnabled;
  static constexpr Flag flagGroup = RowState::flagGroup;
  static constexpr Flag flagExpandable = RowState::flagExpandable;
  static constexpr Flag flagPlainEvent = RowState::flagPlainEvent;

  /// Makes a state. `details` may be null, and is taken over.
  static RowState make(platform::Value object, RowDetails* details, std::uint8_t flags,
                       Field identifier, Field label) noexcept {
    RowState state;
    state._object = std::move(object);
    state._details = details;
    state._flags = flags;
    state._identifier = identifier;
    state._label = label;
    return state;
  }
  static void setNumber(RowState& state, RowNumber number) noexcept {
    state._numberLow = static_cast<std::uint32_t>(number);
    state._numberHigh = static_cast<std::uint8_t>(number >> 32);
  }
  /// The same state with another occurrence.
  [[nodiscard]] static RowState withOccurrence(RowState state, std::uint32_t occurrence);
  /// The same state with another object, which has the same values in the places of the other's,
  /// and with other flags.
  [[nodiscard]] static RowState withObject(const RowState& state, platform::Value object,
                                           std::uint8_t flags);
  /// Whether the details of two states can stand for each other.
  [[nodiscard]] static bool haveLikeDetails(const RowState& a, const RowState& b) noexcept {
    return a._identifier == b._identifier && a._label == b._label && type(a) == type(b) &&
           a._details != nullptr && b._details != nullptr;
  }

  /// Whether two states are known to be the same but for their numbers, without a look inside.
  static bool areTheSame(const RowState& a, const RowState& b) noexcept {
    return a._flags == b._flags && a._details == nullptr && b._details == nullptr &&
           a._identifier == b._identifier && a._label == b._label &&
           a._object.sharesStorageWith(b._object);
  }
  /// Whether a view shows the same of both. May ask objects of a host; when that throws, they
  /// differ.
  static bool showTheSame(const RowState& a, const RowState& b);

  static std::uint8_t flags(const RowState& state) noexcept { return state._flags; }
  static bool isPlainEvent(const RowState& state) noexcept {
    return state.has(RowState::flagPlainEvent);
  }
  static bool hasIdentifier(const RowState& state) noexcept { return state._identifier != nowhere; }
  static Field identifierField(const RowState& state) noexcept { return state._identifier; }
  static Field labelField(const RowState& state) noexcept { return state._label; }
  static const std::type_info& type(const RowState& state) noexcept;
  static const RowDetails* details(const RowState& state) noexcept { return state._details; }
};

}  // namespace vexil::detail
