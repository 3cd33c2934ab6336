// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <typeinfo>

namespace vexil::platform {

/// The base of every object that a record refers to or an item represents: it has equality, a hash
/// that agrees with it, and a description for people.
///
/// Objects are held by `std::shared_ptr` and are not copied. Two objects are equal only when they
/// are the same, unless a class overrides `isEqual`.
///
/// Fork. All threads share pools of memory and tables, which have locks. When a process with
/// several threads forks, a lock that another thread held stays held in the child for ever. So the
/// child must call nothing of this library before it calls `exec` or `_exit`.
class Object {
 public:
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  /// Whether this object considers `other` its equal. The answer need not be symmetric:
  /// `a.isEqual(b)` and `b.isEqual(a)` may differ.
  [[nodiscard]] virtual bool isEqual(const Object& other) const { return this == &other; }

  /// Equal objects must have equal hashes, also when only one of the two considers them equal.
  [[nodiscard]] virtual std::size_t hash() const;

  /// A line for logs and debuggers: `<Class: address>` unless a class overrides it.
  [[nodiscard]] virtual std::string description() const { return defaultDescription(); }

  /// The name of the object's own class, as C++ writes it.
  [[nodiscard]] std::string className() const;

 protected:
  Object() = default;
  [[nodiscard]] std::string defaultDescription() const;
};

/// The name of a class, as C++ writes it.
[[nodiscard]] std::string classNameOf(const std::type_info& type);

/// Drops `object` without recursion. When the release of one object releases the next, and so on,
/// this function queues the further ones, and the outermost call on this thread releases them. A
/// destructor that owns objects of its own kind hands them to this function, so that even the
/// longest chain is torn down in constant stack.
void releaseWithoutRecursion(std::shared_ptr<Object>&& object) noexcept;

}  // namespace vexil::platform
