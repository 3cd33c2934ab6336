// SPDX-License-Identifier: Apache-2.0
// The hash of values.
#include <platform/Value.h>

#include <array>
#include <bit>
#include <cmath>
#include <unordered_map>

namespace platform {

using detail::Container;
using detail::hashOfInteger;
using detail::mixedHash;

namespace {

/// As the integer, where there is one.
std::size_t hashOfReal(double real) {
  constexpr double twoTo63 = 9223372036854775808.0;
  constexpr double twoTo64 = 18446744073709551616.0;
  if (std::isnan(real)) {
    return hashOfInteger(0x7ff8);
  }
  if (real == std::trunc(real)) {
    if (real >= -twoTo63 && real < twoTo63) {
      return hashOfInteger(static_cast<std::uint64_t>(static_cast<std::int64_t>(real)));
    }
    if (real > 0 && real < twoTo64) {
      return hashOfInteger(static_cast<std::uint64_t>(real));
    }
  }
  return hashOfInteger(std::bit_cast<std::uint64_t>(real));
}

/// How many values are hashed without memory, and how many more for each that is hashed for the
/// first time: as in equality, all in all a multiple of what there is.
constexpr std::size_t hashedFreely = 1024;
constexpr std::size_t hashedForEach = 32;

}  // namespace

/// One question for the hash of a container: goes through it without recursion, and but once
/// through a part that it holds in many places.
class Value::Hashing {
 public:
  enum class Objects { stop, ask };

  explicit Hashing(Objects objects) : _objects(objects) {}

  /// Nothing where an object would have to be asked.
  std::optional<std::size_t> hash(const Value& root);

 private:
  /// A container whose parts before `next` are in the hash.
  struct Open {
    const Container* container = nullptr;
    std::size_t hash = 0;
    std::uint32_t next = 0;
    bool isRemembered = false;
  };

  void open(const Container& container);
  void add(std::size_t hashOfPart);
  std::size_t close();
  [[nodiscard]] Open& innermost() {
    return _depth <= _outer.size() ? _outer[_depth - 1] : _inner.back();
  }

  Objects _objects;
  Value _held;
  std::size_t _hashed = 0;
  std::size_t _allowed = hashedFreely;
  std::size_t _depth = 0;
  std::array<Open, 8> _outer;  // as many as usual values are deep
  std::vector<Open> _inner;
  std::unordered_map<const Container*, std::size_t> _known;
};

void Value::Hashing::open(const Container& container) {
  const std::uint32_t count = container.count();
  const Open opened{.container = &container,
                    .isRemembered = _hashed > _allowed && container.references.isShared()};
  if (opened.isRemembered || _depth == 0) {
    _allowed += hashedForEach * (count + std::size_t{1});
  }
  _hashed += count + std::size_t{1};
  if (++_depth <= _outer.size()) {
    _outer[_depth - 1] = opened;
  } else {
    _inner.push_back(opened);
  }
}

/// Adds the hash of the next part of the innermost container.
void Value::Hashing::add(std::size_t hashOfPart) {
  Open& open = innermost();
  const detail::Shape* const shape = open.container->shape;
  // A sum, because equal dictionaries may have their keys in another order.
  open.hash = shape == nullptr ? mixedHash(open.hash, hashOfPart)
                               : open.hash + mixedHash(shape->keys()[open.next].hash(), hashOfPart);
  ++open.next;
}

/// The hash of the innermost container, which is complete.
std::size_t Value::Hashing::close() {
  const Open open = innermost();
  if (_depth-- > _outer.size()) {
    _inner.pop_back();
  }
  const bool isArray = open.container->shape == nullptr;
  const std::size_t hash = mixedHash(open.hash, 2 * open.next + (isArray ? 1U : 0U));
  if (open.isRemembered) {
    _known.emplace(open.container, hash);
  }
  return hash;
}

std::optional<std::size_t> Value::Hashing::hash(const Value& root) {
  open(*root.load<const Container*>());
  while (true) {
    const Open& open = innermost();
    if (open.next == open.container->count()) {
      const std::size_t hash = close();
      if (_depth == 0) {
        return hash;
      }
      add(hash);
      continue;
    }
    const Value& part = open.container->values()[open.next];
    if (part._tag == tagObject) {
      if (_objects == Objects::stop) {
        return std::nullopt;
      }
      if (_held.isAbsent()) {
        _held = root;  // as the object may assign to it, or destroy it
      }
      add(part.object()->hash());
    } else if (part._tag < tagArray) {
      add(part.hashOfLeaf());
    } else {
      const Container& container = *part.load<const Container*>();
      const auto known = _hashed > _allowed ? _known.find(&container) : _known.end();
      if (known != _known.end()) {
        add(known->second);
      } else {
        this->open(container);
      }
    }
  }
}

std::optional<std::size_t> Value::plainHash() const {
  if (_tag < tagArray) {
    return hashOfLeaf();
  }
  return _tag == tagObject ? std::nullopt : Hashing(Hashing::Objects::stop).hash(*this);
}

std::size_t Value::hashOfOther() const {
  if (_tag < tagArray) {
    return hashOfLeaf();
  }
  if (_tag == tagObject) {
    // It may assign to this value, or destroy it.
    const std::shared_ptr<Object> held = object();
    return held->hash();
  }
  return *Hashing(Hashing::Objects::ask).hash(*this);
}

/// The hash of what is neither array, dictionary nor object.
std::size_t Value::hashOfLeaf() const noexcept {
  if (isString()) {
    return hashOfText(string());
  }
  switch (_tag) {
    case tagReal:
      return hashOfReal(load<double>());
    case tagBoolean:
    case tagInteger:
    case tagLargeInteger:
      return hashOfInteger(load<std::uint64_t>());
    case tagDate:
      return mixedHash(hashOfReal(load<double>()), tagDate);
    case tagData:
      return mixedHash(hashOfText(load<const detail::Bytes*>()->text()), tagData);
    default:
      return isNull() ? 1 : 0;
  }
}

}  // namespace platform
