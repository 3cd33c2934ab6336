// SPDX-License-Identifier: Apache-2.0
// The hash of values.
#include <vexil/platform/Hash.h>
#include <vexil/platform/Value.h>

#include <array>
#include <bit>
#include <cmath>
#include <unordered_map>

namespace vexil::platform {

using detail::Container;
using detail::hashOfInteger;
using detail::mixedHash;

namespace {

/// The hash of the equal integer, when there is one.
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

/// How many values are hashed without being remembered, and how many more for each container that
/// is remembered. As in equality, the total stays linear in what there is.
constexpr std::size_t hashedFreely = 1024;
constexpr std::size_t hashedForEach = 32;

constexpr int partsOfUsualRecords = 64;

}  // namespace

/// Computes the hash of one container without recursion. Goes only once through a part that the
/// container holds in many places.
class Value::Hashing {
 public:
  enum class Objects { stop, ask };

  explicit Hashing(Objects objects) : _objects(objects) {}

  /// Returns nothing when an object would have to be asked and `Objects::stop` was given.
  std::optional<std::size_t> hash(const Value& root);

  /// The same for a usual record of a few plain values, at a fraction of the cost. Returns nothing
  /// when there are more than `parts` values, or an object.
  static std::optional<std::size_t> hashAtOnce(const Container& container, int& parts);

 private:
  /// A container being hashed: the parts before `next` are in the hash.
  struct Open {
    const Container* container = nullptr;
    std::size_t hash = 0;
    std::uint32_t next = 0;
    bool isRemembered = false;
  };

  static std::size_t added(std::size_t hash, const detail::Shape* shape, std::uint32_t position,
                           std::size_t hashOfPart);
  static std::size_t closed(std::size_t hash, const detail::Shape* shape, std::uint32_t count);
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
  std::array<Open, 8> _outer;  // usual values are no deeper
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

/// Adds the hash of the part at `position` to the hash of the parts before it.
inline std::size_t Value::Hashing::added(std::size_t hash, const detail::Shape* shape,
                                         std::uint32_t position, std::size_t hashOfPart) {
  // A sum, because equal dictionaries may have their keys in different orders.
  return shape == nullptr ? mixedHash(hash, hashOfPart)
                          : hash + mixedHash(shape->keys()[position].hash(), hashOfPart);
}

/// The hash of a container, from the combined hashes of its `count` parts.
inline std::size_t Value::Hashing::closed(std::size_t hash, const detail::Shape* shape,
                                          std::uint32_t count) {
  return mixedHash(hash, 2 * std::size_t{count} + (shape == nullptr ? 1U : 0U));
}

std::optional<std::size_t> Value::Hashing::hashAtOnce(const Container& container, int& parts) {
  const std::span<const Value> values = container.values();
  if (values.size() >= static_cast<std::size_t>(parts)) {
    return std::nullopt;
  }
  parts -= static_cast<int>(values.size()) + 1;
  std::size_t hash = 0;
  std::uint32_t position = 0;
  for (const Value& value : values) {
    std::optional<std::size_t> hashOfPart;
    if (value._tag <= maxInline) {
      hashOfPart = detail::hashOfShortText(value.word(0), value.word(1), value.word(2));
    } else if (value._tag < tagArray) {
      hashOfPart = value.hashOfLeaf();
    } else if (value._tag != tagObject) {
      hashOfPart = hashAtOnce(*value.load<const Container*>(), parts);
    }
    if (!hashOfPart) {
      return std::nullopt;
    }
    hash = added(hash, container.shape, position++, *hashOfPart);
  }
  return closed(hash, container.shape, position);
}

/// Adds the hash of the next part of the innermost container.
void Value::Hashing::add(std::size_t hashOfPart) {
  Open& open = innermost();
  open.hash = added(open.hash, open.container->shape, open.next++, hashOfPart);
}

/// Ends the innermost container, all of whose parts were added, and returns its hash.
std::size_t Value::Hashing::close() {
  const Open open = innermost();
  if (_depth-- > _outer.size()) {
    _inner.pop_back();
  }
  const std::size_t hash = closed(open.hash, open.container->shape, open.next);
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
        _held = root;  // the object may assign to it, or destroy it
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
  if (_tag == tagObject) {
    return std::nullopt;
  }
  int parts = partsOfUsualRecords;
  const auto hash = Hashing::hashAtOnce(*load<const Container*>(), parts);
  return hash ? hash : Hashing(Hashing::Objects::stop).hash(*this);
}

std::size_t Value::hashOfOther() const {
  if (_tag < tagArray) {
    return hashOfLeaf();
  }
  if (_tag == tagObject) {
    // The object may assign to this value, or destroy it.
    const std::shared_ptr<Object> held = object();
    return held->hash();
  }
  int parts = partsOfUsualRecords;
  const auto hash = Hashing::hashAtOnce(*load<const Container*>(), parts);
  return hash ? *hash : *Hashing(Hashing::Objects::ask).hash(*this);
}

/// The hash of a value that is no array, dictionary or object.
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

}  // namespace vexil::platform
