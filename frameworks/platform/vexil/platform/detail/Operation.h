// SPDX-License-Identifier: Apache-2.0
// Internal to layers that must know whether the library is at work.
#pragma once

namespace vexil::platform::detail {

/// Wants to know when the library has ended what it does on this thread. Destroying it ends the
/// wish. It belongs to one thread while it waits.
class AfterOperation {
 public:
  AfterOperation() = default;
  AfterOperation(const AfterOperation&) = delete;
  AfterOperation& operator=(const AfterOperation&) = delete;
  virtual ~AfterOperation();

 protected:
  /// Calls `operationIsOver` once, when the outermost operation on this thread ends. When none is
  /// in progress, the next one counts. Nothing happens when this is waiting already.
  void waitForEnd() noexcept;

 private:
  friend class Operation;
  /// No operation is in progress now. Must not throw. May begin and end operations, and may destroy
  /// this object and others that wait. Those that begin to wait meanwhile are called later, not
  /// within this call.
  virtual void operationIsOver() noexcept = 0;

  void stopWaiting() noexcept;

  AfterOperation* _next = nullptr;   // waits behind this one
  AfterOperation** _link = nullptr;  // what refers to this one; null when it is not waiting
};

/// While one of these lives, an operation of the library is in progress on this thread: a change is
/// made or announced, or foreign code runs in the middle of it. They are nested like the calls.
class Operation {
 public:
  Operation() noexcept;
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;
  /// The outermost one calls those that wait, in the order in which they began to wait, until none
  /// is left. That includes those that begin to wait meanwhile. So calls are never nested, however
  /// many operations they begin.
  ~Operation();

  [[nodiscard]] static bool isInProgress() noexcept;
};

}  // namespace vexil::platform::detail
