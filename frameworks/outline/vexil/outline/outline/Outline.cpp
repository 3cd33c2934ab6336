// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/Outline.h>
#include <vexil/outline/outline/OutlineState.h>

#include <utility>

namespace vexil {

using detail::OutlineState;
using detail::StepRows;

Outline::Outline(const std::shared_ptr<KRAVTWVItemsVexil>& collection, OutlineOptions options)
    : _state(OutlineState::make(collection, nullptr, std::move(options))) {}

Outline::Outline(const std::shared_ptr<KRAVTWVItemVexil>& root, OutlineOptions options)
    : _state(OutlineState::make(nullptr, root, std::move(options))) {}

Outline::~Outline() {
  _state->close();
}

OutlineRow& Outline::top() const noexcept {
  return _state->top();
}

std::size_t Outline::rowCount() const noexcept {
  return _state->rowCount();
}

std::shared_ptr<const std::uint64_t> Outline::rowsVersion() const noexcept {
  return {_state, &_state->rowsVersion()};
}

bool Outline::isOutOfDate() const noexcept {
  return _state->isOutOfDate();
}

OutlineUpdate Outline::update() {
  const auto state = _state;
  return state->update();
}

const OutlineUpdate& Outline::prepare() {
  const auto state = _state;
  return state->prepare();
}

const OutlineStep* Outline::nextStep() const noexcept {
  return _state->nextStep();
}

OutlineRow* Outline::nextParent() const noexcept {
  const StepRows* const rows = _state->nextStepRows();
  return rows == nullptr ? nullptr : rows->parent;
}

OutlineRow* Outline::nextNewParent() const noexcept {
  const StepRows* const rows = _state->nextStepRows();
  return rows == nullptr ? nullptr : rows->newParent;
}

void Outline::applyNext() {
  const auto state = _state;
  state->applyNext();
}

void Outline::applyRest() {
  const auto state = _state;
  state->applyRest();
}

void Outline::refreshAll() {
  const auto state = _state;
  state->refreshAll();
}

}  // namespace vexil
