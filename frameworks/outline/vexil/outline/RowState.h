// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace vexil {

/// Tells apart all rows that one outline has ever had. The top is 0; every other row gets a greater
/// number than all before it; some numbers are left out. A row that disappears and returns gets a
/// new one.
using RowNumber = std::uint64_t;

namespace detail {
class RowDetails;
struct RowStateFields;
}  // namespace detail

/// A row at one moment: its number, its identity among its siblings, and what a view shows of it. A
/// value: it never changes, and copies share what is large.
class RowState {
 public:
  /// The state of the top of an outline: nothing to show.
  RowState() noexcept = default;
  RowState(const RowState& other) noexcept;
  RowState(RowState&& other) noexcept
      : _object(std::move(other._object)),
        _details(std::exchange(other._details, nullptr)),
        _numberLow(other._numberLow),
        _numberHigh(other._numberHigh),
        _flags(other._flags),
        _identifier(std::exchange(other._identifier, nowhere)),
        _label(std::exchange(other._label, nowhere)) {}
  RowState& operator=(RowState other) noexcept;
  ~RowState();

  /// What a state is made of, for code that does not read it from an item.
  struct Parts {
    RowNumber number = 0;
    platform::Value uniqueID = {};
    std::uint32_t occurrence = 0;
    platform::Value label = {};
    platform::Value representedObject = {};
    std::string className = {};
    bool supportsEnabled = false;
    bool enabled = false;
    bool isGroup = false;
    bool isExpandable = false;
  };
  explicit RowState(const Parts& parts);

  [[nodiscard]] RowNumber number() const noexcept {
    return RowNumber{_numberHigh} << 32 | _numberLow;
  }

  /// The item's `uniqueID`, of any type; absent when the item has none.
  [[nodiscard]] const platform::Value& uniqueID() const noexcept;
  /// Tells apart siblings with equal identifiers: 0 for the first of them. Tells apart also the
  /// places of an item without an identifier that stands among its siblings more than once.
  [[nodiscard]] std::uint32_t occurrence() const noexcept;

  [[nodiscard]] const platform::Value& label() const noexcept;
  [[nodiscard]] const platform::Value& representedObject() const noexcept { return _object; }
  [[nodiscard]] bool supportsEnabled() const noexcept { return has(flagSupportsEnabled); }
  [[nodiscard]] bool enabled() const noexcept { return has(flagEnabled); }
  [[nodiscard]] bool isGroup() const noexcept { return has(flagGroup); }
  [[nodiscard]] bool isExpandable() const noexcept { return has(flagExpandable); }

  /// The name of the item's class.
  [[nodiscard]] std::string className() const;

  /// Whether all parts are equal.
  friend bool operator==(const RowState& a, const RowState& b);

 private:
  friend struct detail::RowStateFields;
  enum Flag : std::uint8_t {
    flagEnabled = 1,
    flagSupportsEnabled = 2,
    flagGroup = 4,
    flagExpandable = 8,
    flagPlainEvent = 16,  // of the plain event class
  };
  [[nodiscard]] bool has(Flag flag) const noexcept { return (_flags & flag) != 0; }

  // Where the identifier and the label stand: at a position among the values of the represented
  // object, which is a dictionary then, or elsewhere.
  using Field = std::uint8_t;
  static constexpr Field lastPosition = 252;
  static constexpr Field nowhere = 253;   // it is absent
  static constexpr Field isObject = 254;  // it is the represented object
  static constexpr Field isStored = 255;  // in the details
  [[nodiscard]] const platform::Value& at(Field field,
                                          const platform::Value& (detail::RowDetails::*stored)()
                                              const) const noexcept;

  platform::Value _object;
  detail::RowDetails* _details = nullptr;  // what few rows have; shared by copies
  std::uint32_t _numberLow = 0;            // 40 bits are enough for 1,000 new rows a second,
  std::uint8_t _numberHigh = 0;            // for 30 years
  std::uint8_t _flags = 0;
  Field _identifier = nowhere;
  Field _label = nowhere;
};

static_assert(sizeof(void*) != 8 || sizeof(RowState) == 40,
              "each byte more costs memory in every row");

}  // namespace vexil
