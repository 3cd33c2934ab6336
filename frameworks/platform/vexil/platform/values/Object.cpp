// SPDX-License-Identifier: Apache-2.0
#include <cxxabi.h>
#include <vexil/platform/Object.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <sstream>
#include <typeinfo>
#include <utility>
#include <vector>

namespace vexil::platform {

std::size_t Object::hash() const {
  return std::hash<const void*>{}(this);
}

std::string Object::className() const {
  return classNameOf(typeid(*this));
}

std::string classNameOf(const std::type_info& type) {
  int status = 0;
  const char* mangled = type.name();
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
  return name ? name.get() : mangled;
}

std::string Object::defaultDescription() const {
  std::ostringstream text;
  text << '<' << className() << ": " << static_cast<const void*>(this) << '>';
  return text.str();
}

void releaseWithoutRecursion(std::shared_ptr<Object>&& object) noexcept {
  // Points to the outermost call's own list. A thread-local list could already be destroyed when
  // the last objects of a thread go.
  thread_local std::vector<std::shared_ptr<Object>>* queue = nullptr;
  if (object.use_count() > 1) {
    object.reset();
    return;
  }
  if (queue != nullptr) {
    try {
      queue->push_back(std::move(object));
    } catch (const std::bad_alloc&) {
      object.reset();  // no memory for the queue: this object is dropped by recursion
    }
    return;
  }
  std::vector<std::shared_ptr<Object>> pending;
  queue = &pending;
  object.reset();
  while (!pending.empty()) {
    const std::shared_ptr<Object> next = std::move(pending.back());
    pending.pop_back();
  }
  queue = nullptr;
}

}  // namespace vexil::platform
