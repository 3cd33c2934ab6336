// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/RowState.h>
#include <vexil/outline/rows/QuietLog.h>
#include <vexil/outline/rows/RowStateFields.h>
#include <vexil/platform/Object.h>
#include <vexil/platform/detail/BlockPool.h>

#include <memory>
#include <new>
#include <utility>

namespace vexil {

using platform::Value;

namespace detail {

RowDetails* RowDetails::make(Content content) {
  const std::size_t count = std::size_t{content.identifier.has_value()} +
                            content.label.has_value() + (content.type == nullptr);
  std::optional<Value> className;
  if (content.type == nullptr) {
    className.emplace(content.className);
  }
  auto* const details =
      new (platform::detail::allocateBlock(sizeof(RowDetails) + count * sizeof(Value))) RowDetails;
  details->_occurrence = content.occurrence;
  details->_type = content.type;
  Value* next = details->values();
  const auto store = [&](std::optional<Value>& value) {
    if (value) {
      new (next++) Value(std::move(*value));
    }
    return value.has_value();
  };
  details->_hasIdentifier = store(content.identifier);
  details->_hasLabel = store(content.label);
  details->_hasClassName = store(className);
  return details;
}

void RowDetails::release() noexcept {
  if (_references.release()) {
    const std::size_t size = sizeof(RowDetails) + count() * sizeof(Value);
    std::destroy_n(values(), count());
    this->~RowDetails();
    platform::detail::deallocateBlock(this, size);
  }
}

std::string_view RowDetails::className() const noexcept {
  return _hasClassName ? values()[count() - 1].string() : std::string_view();
}

RowState RowStateFields::withOccurrence(RowState state, std::uint32_t occurrence) {
  if (state.occurrence() == occurrence) {
    return state;
  }
  RowDetails::Content content{.type = &type(state), .occurrence = occurrence};
  if (state._identifier == isStored) {
    content.identifier = state.uniqueID();
  }
  if (state._label == isStored) {
    content.label = state.label();
  }
  if (state._details != nullptr && state._details->type() == nullptr) {
    content.type = nullptr;
    content.className = state._details->className();
  }
  RowState changed = make(state._object, RowDetails::make(std::move(content)), flags(state),
                          identifierField(state), labelField(state));
  setNumber(changed, state.number());
  return changed;
}

namespace {

/// When an object that is asked throws, they are not equal.
bool areEqual(const Value& a, const Value& b) {
  if (const std::optional<bool> equal = a.plainlyEquals(b)) {
    return *equal;
  }
  const Value left = a;  // copies: whoever is asked may do anything
  const Value right = b;
  try {
    return left == right;
  } catch (...) {
    logCaughtException("isEqual of what a row shows");
    return false;
  }
}

}  // namespace

bool RowStateFields::showTheSame(const RowState& a, const RowState& b) {
  constexpr auto shown = static_cast<std::uint8_t>(~RowState::flagPlainEvent);
  if ((a._flags & shown) != (b._flags & shown) || type(a) != type(b)) {
    return false;
  }
  // The label of two plain events follows from their records.
  return areEqual(a._object, b._object) &&
         ((isPlainEvent(a) && isPlainEvent(b)) || areEqual(a.label(), b.label()));
}

RowState RowStateFields::withObject(const RowState& state, Value object, std::uint8_t flags) {
  RowState changed = state;
  // The keys may stand in another order. Then what was to be found in the record is stored.
  const bool isLike = state._object.keys().data() == object.keys().data();
  if (!isLike && (state._identifier <= lastPosition || state._label <= lastPosition)) {
    RowDetails::Content content{.type = &type(state), .occurrence = state.occurrence()};
    if (!state.uniqueID().isAbsent()) {
      content.identifier = state.uniqueID();
    }
    if (!state.label().isAbsent()) {
      content.label = state.label();
    }
    const Field identifier = content.identifier ? isStored : nowhere;
    const Field label = content.label ? isStored : nowhere;
    changed =
        make(std::move(object), RowDetails::make(std::move(content)), flags, identifier, label);
    setNumber(changed, state.number());
    return changed;
  }
  changed._object = std::move(object);
  changed._flags = flags;
  return changed;
}

const std::type_info& RowStateFields::type(const RowState& state) noexcept {
  if (isPlainEvent(state)) {
    return typeid(KRAVTWVEventVexil);
  }
  const RowDetails* const details = state._details;
  return details != nullptr && details->type() != nullptr ? *details->type() : typeid(void);
}

}  // namespace detail

using detail::RowDetails;
using detail::RowStateFields;

RowState::RowState(const RowState& other) noexcept
    : _object(other._object),
      _details(other._details),
      _numberLow(other._numberLow),
      _numberHigh(other._numberHigh),
      _flags(other._flags),
      _identifier(other._identifier),
      _label(other._label) {
  if (_details != nullptr) {
    _details->retain();
  }
}

RowState& RowState::operator=(RowState other) noexcept {
  std::swap(_object, other._object);
  std::swap(_details, other._details);
  std::swap(_numberLow, other._numberLow);
  std::swap(_numberHigh, other._numberHigh);
  std::swap(_flags, other._flags);
  std::swap(_identifier, other._identifier);
  std::swap(_label, other._label);
  return *this;
}

RowState::~RowState() {
  if (_details != nullptr) {
    _details->release();
  }
}

RowState::RowState(const Parts& parts) : _object(parts.representedObject) {
  RowStateFields::setNumber(*this, parts.number);
  RowDetails::Content content{.occurrence = parts.occurrence, .className = parts.className};
  if (!parts.uniqueID.isAbsent()) {
    content.identifier = parts.uniqueID;
    _identifier = isStored;
  }
  if (!parts.label.isAbsent()) {
    content.label = parts.label;
    _label = isStored;
  }
  _flags = static_cast<std::uint8_t>(
      (parts.enabled ? flagEnabled : 0) | (parts.supportsEnabled ? flagSupportsEnabled : 0) |
      (parts.isGroup ? flagGroup : 0) | (parts.isExpandable ? flagExpandable : 0));
  _details = RowDetails::make(std::move(content));
}

const Value& RowState::at(Field field, const Value& (RowDetails::*stored)() const) const noexcept {
  static const Value absent;
  switch (field) {
    case nowhere:
      return absent;
    case isObject:
      return _object;
    case isStored:
      return (_details->*stored)();
    default:
      return _object.values()[field];
  }
}

const Value& RowState::uniqueID() const noexcept {
  return at(_identifier, &RowDetails::identifier);
}

const Value& RowState::label() const noexcept {
  return at(_label, &RowDetails::label);
}

std::uint32_t RowState::occurrence() const noexcept {
  return _details == nullptr ? 0 : _details->occurrence();
}

std::string RowState::className() const {
  if (_details != nullptr && _details->type() == nullptr) {
    return std::string(_details->className());
  }
  const std::type_info& type = RowStateFields::type(*this);
  return type == typeid(void) ? std::string() : platform::classNameOf(type);
}

bool operator==(const RowState& a, const RowState& b) {
  constexpr auto shown = static_cast<std::uint8_t>(~RowState::flagPlainEvent);
  return a.number() == b.number() && (a._flags & shown) == (b._flags & shown) &&
         a.occurrence() == b.occurrence() && a.uniqueID() == b.uniqueID() &&
         a.label() == b.label() && a._object == b._object && a.className() == b.className();
}

}  // namespace vexil
