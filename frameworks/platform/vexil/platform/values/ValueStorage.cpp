// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Hash.h>
#include <vexil/platform/Value.h>
#include <vexil/platform/detail/BlockPool.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>

namespace vexil::platform::detail {

const Bytes* Bytes::make(const void* bytes, std::size_t length) {
  auto* made =
      new (allocateBlock(sizeof(Bytes) + length)) Bytes{.references = {}, .length = length};
  if (length > 0) {
    std::memcpy(static_cast<void*>(made + 1), bytes, length);
  }
  return made;
}

void Bytes::discard(const Bytes* bytes) noexcept {
  const std::size_t size = sizeof(Bytes) + bytes->length;
  bytes->~Bytes();
  deallocateBlock(const_cast<Bytes*>(bytes), size);
}

Container* Container::makeRaw(std::size_t count, Reference<Shape> shape) {
  if (count > std::numeric_limits<std::uint32_t>::max()) {
    throw std::length_error("a container holds at most 2^32-1 values");
  }
  void* memory = allocateBlock(sizeof(Container) + count * sizeof(Value));
  auto* made = new (memory) Container{.references = {}, .ownCount = 0, .shape = shape.handOver()};
  if (made->shape == nullptr) {
    made->ownCount = static_cast<std::uint32_t>(count);
  } else {
    new (&made->hint) std::atomic<std::uint32_t>(0);
  }
  return made;
}

Container* Container::makeAbsent(std::size_t count) {
  Container* made = makeRaw(count);
  std::uninitialized_default_construct_n(made->first(), count);
  return made;
}

void Container::discard(Container* container) noexcept {
  // A queue instead of recursion: a container that is dropped by its last holder waits here, so
  // that a value nested without end is torn down in constant stack.
  thread_local Container* first = nullptr;
  thread_local bool working = false;
  const Shape* shape = container->shape;
  if (shape != nullptr) {
    container->ownCount = shape->count;
    Shape::release(shape);
  }
  container->nextToGo = first;
  first = container;
  if (working) {
    return;
  }
  working = true;
  while (first != nullptr) {
    Container* next = first;
    first = next->nextToGo;
    destroy(next);
  }
  working = false;
}

void Container::destroy(Container* container) noexcept {
  const std::size_t size = sizeof(Container) + container->ownCount * sizeof(Value);
  const std::span<Value> values(container->first(), container->ownCount);
  constexpr std::size_t ahead = 12;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i + ahead < values.size()) {
      values[i + ahead].prefetch(1);  // its reference count
    }
    std::destroy_at(&values[i]);
  }
  container->~Container();
  deallocateBlock(container, size);
}

/// All shapes in use, by their hash.
struct ShapeTable {
  std::mutex mutex;
  std::unordered_multimap<std::size_t, Shape*> shapes;

  // Never destroyed, because values in static storage may outlive any other static.
  static ShapeTable& shared() {
    static auto& table = *new ShapeTable;
    return table;
  }

  Reference<Shape> intern(std::span<const Key> keys, std::size_t hash) {
    const std::lock_guard lock(mutex);
    const auto [begin, end] = shapes.equal_range(hash);
    for (auto found = begin; found != end; ++found) {
      if (std::ranges::equal(found->second->keys(), keys) &&
          found->second->references.retainUnlessGone()) {
        return Reference<Shape>(found->second);
      }
    }
    void* memory = ::operator new(Shape::allocationSize(keys.size()));
    std::unique_ptr<Shape, Destroy> made(new (memory) Shape(keys, hash));
    shapes.emplace(hash, made.get());
    return Reference<Shape>(made.release());
  }

  void discard(const Shape* shape) {
    {
      const std::lock_guard lock(mutex);
      const auto [begin, end] = shapes.equal_range(shape->hash);
      const auto found =
          std::find_if(begin, end, [&](const auto& entry) { return entry.second == shape; });
      shapes.erase(found);
    }
    Destroy()(const_cast<Shape*>(shape));
  }

 private:
  struct Destroy {
    void operator()(Shape* shape) const noexcept {
      auto keys = std::span(const_cast<Key*>(shape->keys().data()), shape->count);
      std::destroy(keys.begin(), keys.end());
      shape->~Shape();
      ::operator delete(shape);
    }
  };
};

std::uint32_t Shape::slotsFor(std::size_t count) {
  return count <= linearLimit ? 0 : static_cast<std::uint32_t>(std::bit_ceil(count * 2));
}

std::size_t Shape::allocationSize(std::size_t count) {
  return sizeof(Shape) + count * sizeof(Key) + slotsFor(count) * sizeof(std::uint32_t);
}

Shape::Shape(std::span<const Key> keys, std::size_t keysHash)
    : count(static_cast<std::uint32_t>(keys.size())),
      indexMask(slotsFor(keys.size()) == 0 ? 0 : slotsFor(keys.size()) - 1),
      hash(keysHash) {
  std::uninitialized_copy(keys.begin(), keys.end(), reinterpret_cast<Key*>(this + 1));
  if (indexMask == 0) {
    return;
  }
  auto* slots = const_cast<std::uint32_t*>(index());
  std::fill_n(slots, indexMask + 1, count);
  for (std::uint32_t position = 0; position < count; ++position) {
    std::size_t slot = keys[position].hash() & indexMask;
    while (slots[slot] != count) {
      slot = (slot + 1) & indexMask;
    }
    slots[slot] = position;
  }
}

Reference<Shape> Shape::intern(std::span<const Key> keys) {
  if (keys.size() > std::numeric_limits<std::uint32_t>::max() / 8) {
    throw std::length_error("too many keys in one dictionary");
  }
  std::size_t hash = keys.size();
  for (const Key& key : keys) {
    hash = mixedHash(hash, key.hash());
  }
  return ShapeTable::shared().intern(keys, hash);
}

void Shape::release(const Shape* shape) noexcept {
  if (shape->references.release()) {
    ShapeTable::shared().discard(shape);
  }
}

std::uint32_t Shape::find(const Key& key) const noexcept {
  const std::span<const Key> all = keys();
  if (indexMask == 0) {
    return static_cast<std::uint32_t>(std::ranges::find(all, key) - all.begin());
  }
  for (std::size_t slot = key.hash() & indexMask;; slot = (slot + 1) & indexMask) {
    const std::uint32_t position = index()[slot];
    if (position == count || all[position] == key) {
      return position;
    }
  }
}

std::uint32_t Shape::find(std::string_view key) const noexcept {
  const std::span<const Key> all = keys();
  if (indexMask == 0) {
    return static_cast<std::uint32_t>(std::ranges::find(all, key, &Key::text) - all.begin());
  }
  for (std::size_t slot = hashOfText(key) & indexMask;; slot = (slot + 1) & indexMask) {
    const std::uint32_t position = index()[slot];
    if (position == count || all[position].text() == key) {
      return position;
    }
  }
}

}  // namespace vexil::platform::detail
