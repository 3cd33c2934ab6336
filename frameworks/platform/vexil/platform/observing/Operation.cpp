// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/detail/Operation.h>

#include <cstddef>

namespace vexil::platform::detail {

namespace {

constinit thread_local std::size_t depth = 0;  // of the operations in progress
constinit thread_local bool isCalling = false;
constinit thread_local AfterOperation* firstWaiting = nullptr;
constinit thread_local AfterOperation** endOfWaiting = nullptr;  // null means `&firstWaiting`

}  // namespace

AfterOperation::~AfterOperation() {
  stopWaiting();
}

void AfterOperation::waitForEnd() noexcept {
  if (_link != nullptr) {
    return;
  }
  _link = endOfWaiting == nullptr ? &firstWaiting : endOfWaiting;
  *_link = this;
  endOfWaiting = &_next;
}

void AfterOperation::stopWaiting() noexcept {
  if (_link == nullptr) {
    return;
  }
  *_link = _next;
  if (_next != nullptr) {
    _next->_link = _link;
  } else {
    endOfWaiting = _link;
  }
  _next = nullptr;
  _link = nullptr;
}

Operation::Operation() noexcept {
  ++depth;
}

Operation::~Operation() {
  if (--depth != 0 || isCalling) {
    return;
  }
  while (firstWaiting != nullptr) {
    isCalling = true;
    AfterOperation& next = *firstWaiting;
    next.stopWaiting();
    next.operationIsOver();
    isCalling = false;
  }
}

bool Operation::isInProgress() noexcept {
  return depth != 0;
}

}  // namespace vexil::platform::detail
