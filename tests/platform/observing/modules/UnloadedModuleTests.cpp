// SPDX-License-Identifier: Apache-2.0
// A module with observed classes is unloaded. Nothing that is kept of the classes points into it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vexil/platform/Observable.h>

#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>

#include "ObservedModule.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::Observable;
using platform::ObservingOptions;
using test::Lines;
using test::Recorder;

/// A module that is loaded while this lives.
class Module {
 public:
  explicit Module(const char* path) : _path(path), _module(::dlopen(path, RTLD_NOW)) {
    if (_module == nullptr) {
      throw std::runtime_error(::dlerror());
    }
  }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;
  ~Module() {
    ::dlclose(_module);
    EXPECT_EQ(::dlopen(_path, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still loaded";
  }

  [[nodiscard]] std::shared_ptr<Observable> make() const {
    std::shared_ptr<Observable> object;
    reinterpret_cast<decltype(&makeObserved)>(::dlsym(_module, "makeObserved"))(object);
    return object;
  }

 private:
  const char* _path;
  void* _module;
};

/// What an observer of "total" hears when each of the other keys changes.
std::string heard(const std::shared_ptr<Observable>& object) {
  Lines notices;
  const auto observer = Recorder::make("heard", notices);
  object->addObserver(observer, "total", ObservingOptions::none, nullptr);
  std::string result;
  for (const char* key : {"price", "count"}) {
    auto change = object->willChangeValueForKey(key);
    object->didChangeValueForKey(std::move(change));
    result += std::string(key) + ": " + std::to_string(notices.size()) + " ";
    notices.clear();
  }
  return result;
}

/// The address of an object's type.
std::uintptr_t addressOfType(const Observable& object) {
  return reinterpret_cast<std::uintptr_t>(&typeid(object));
}

TEST(UnloadedModule, LeavesNothingBehindForTheClassThatStandsInItsPlace) {
  std::uintptr_t first = 0;
  {
    const Module module(FIRST_MODULE);
    first = addressOfType(*module.make());
    EXPECT_EQ(heard(module.make()), "price: 1 count: 0 ");
    EXPECT_EQ(heard(module.make()), "price: 1 count: 0 ");
  }
  {
    const Module module(SECOND_MODULE);
    RecordProperty("stands at the same place", addressOfType(*module.make()) == first ? 1 : 0);
    EXPECT_EQ(heard(module.make()), "price: 0 count: 1 ");
    EXPECT_EQ(heard(module.make()), "price: 0 count: 1 ");
  }
  const Module module(FIRST_MODULE);
  EXPECT_EQ(heard(module.make()), "price: 1 count: 0 ");
}

TEST(UnloadedModule, CanBeLoadedAgainElsewhere) {
  std::uintptr_t first = 0;
  {
    const Module module(FIRST_MODULE);
    first = addressOfType(*module.make());
    EXPECT_EQ(heard(module.make()), "price: 1 count: 0 ");
  }
  // Code that uses the type that was there faults at this page.
  const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* const page = reinterpret_cast<void*>(first / size * size);
  ASSERT_EQ(::mmap(page, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0),
            page);
  {
    const Module module(FIRST_MODULE);
    EXPECT_NE(addressOfType(*module.make()), first);
    EXPECT_EQ(heard(module.make()), "price: 1 count: 0 ");
    EXPECT_EQ(heard(module.make()), "price: 1 count: 0 ");
  }
  EXPECT_EQ(::munmap(page, size), 0);
}

}  // namespace
