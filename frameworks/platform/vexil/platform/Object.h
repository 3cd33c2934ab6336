// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace vexil::platform {

/// The root of everything a record may refer to and an item may represent: an object with
/// equality, a hash that agrees with it, and a description for people.
///
/// Objects are held by `std::shared_ptr` and are not copied. Equality is by identity unless a
/// class says otherwise.
///
/// Fork. All threads share pools of memory and tables, which have locks. In a child that a process
/// with several threads forks, a lock that another thread held then stays held for ever. So the
/// child calls nothing of this library, but `exec` or `_exit`.
class Object {
 public:
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  /// Whether this object considers `other` its equal. The question is the receiver's to answer
  /// and need not be symmetric, so `a.isEqual(b)` and `b.isEqual(a)` may differ.
  [[nodiscard]] virtual bool isEqual(const Object& other) const { return this == &other; }

  /// Equal objects have equal hashes, in whichever direction they are equal.
  [[nodiscard]] virtual std::size_t hash() const;

  /// A line for logs and debuggers; `<Class: address>` unless a class says otherwise.
  [[nodiscard]] virtual std::string description() const { return defaultDescription(); }

  /// The name of the object's own class, as it is written in C++.
  [[nodiscard]] std::string className() const;

 protected:
  Object() = default;
  [[nodiscard]] std::string defaultDescription() const;
};

/// Drops `object` without recursing: when releasing one object releases the next and so on, the
/// further ones are queued and released by the outermost call on this thread. A destructor that
/// owns objects of its own kind hands them here, so that the longest chain is torn down in
/// constant stack.
void releaseWithoutRecursion(std::shared_ptr<Object>&& object) noexcept;

}  // namespace vexil::platform
