// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: the children of a row.
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vexil {

class OutlineRow;

namespace detail {

class RowIndex;
class RowList;

/// A piece of a list of rows. Its address stays the same, so that a row can refer to it.
class RowBlock {
 public:
  explicit RowBlock(RowList& list) : _list(&list) {}
  [[nodiscard]] RowList& list() const noexcept { return *_list; }

 private:
  friend class RowList;
  RowList* _list;
  std::uint32_t _position = 0;  // among the blocks of the list
  std::vector<OutlineRow*> _rows;
};

/// The children of a row, in their order. It owns them.
///
/// The rows stand in blocks of a few hundred. So inserting and removing anywhere takes about as
/// long as moving one block, and a row finds its own position, however many rows there are.
class RowList {
 public:
  explicit RowList(OutlineRow& owner);
  RowList(const RowList&) = delete;
  RowList& operator=(const RowList&) = delete;
  /// Destroys the rows and all that is below them, without recursion.
  ~RowList();

  [[nodiscard]] OutlineRow& owner() const noexcept { return *_owner; }
  [[nodiscard]] std::size_t count() const noexcept { return _count; }

  /// `index` must be below `count()`.
  [[nodiscard]] OutlineRow& at(std::size_t index) const noexcept;
  /// The position of a row whose block belongs to this list.
  [[nodiscard]] std::size_t indexOf(const OutlineRow& row) const noexcept;

  /// Inserts rows that belong to no list, so that the first stands at `index` afterwards. Throws
  /// `std::bad_alloc` with nothing changed.
  void insert(std::size_t index, std::span<OutlineRow* const> rows);
  /// Takes rows out and appends them to `taken`, which must have room for them.
  void take(std::size_t first, std::size_t count, std::vector<OutlineRow*>& taken) noexcept;
  /// Moves the rows that stand at `first` and behind, which are `rows`, to `to`, which may be this
  /// list, so that the first of them stands at `newFirst` afterwards. Throws `std::bad_alloc` with
  /// nothing changed.
  void move(std::size_t first, std::span<OutlineRow* const> rows, RowList& to,
            std::size_t newFirst);

  /// Takes the last row out.
  void removeLast() noexcept;

  /// Whether all identifiers of the rows are known to differ. So no row has an occurrence.
  [[nodiscard]] bool areDistinct() const noexcept { return _areDistinct; }
  void setDistinct(bool areDistinct) noexcept { _areDistinct = areDistinct; }

  /// The number of the list of records that the rows stand for, in its order; 0 when they stand for
  /// none or that is not known.
  [[nodiscard]] std::uint64_t list() const noexcept { return _list; }
  void setList(std::uint64_t list) noexcept { _list = list; }

  /// The row with an identifier and an occurrence; null when there is none. May run foreign code.
  /// If that changes the list or destroys it, the answer is null.
  ///
  /// The rows are found in an index. It is made when it is first needed, and dropped when rows are
  /// inserted or taken out, or `dropIndex` is called.
  [[nodiscard]] OutlineRow* find(const platform::Value& uniqueID, std::uint32_t occurrence) const;
  void dropIndex() noexcept;

  /// Reads many positions, mostly ascending, in constant time each.
  class Reader {
   public:
    explicit Reader(const RowList* list) noexcept : _list(list) {}
    [[nodiscard]] OutlineRow& operator()(std::size_t index) noexcept {
      return index - _first < _count ? *_rows[index - _first] : seek(index);
    }
    /// Begins to fetch a row, if it stands in the block that was read last.
    [[gnu::always_inline]] void prefetch(std::size_t index) const noexcept {
      if (index - _first < _count) {
        const char* const row = reinterpret_cast<const char*>(_rows[index - _first]);
        __builtin_prefetch(row);
        __builtin_prefetch(row + sizeOfRow - 1);
      }
    }
    /// The same for a row that has been fetched: the beginning of its record.
    void prefetchRecord(std::size_t index) const noexcept;

   private:
    static constexpr std::size_t sizeOfRow = 80;
    [[nodiscard]] OutlineRow& seek(std::size_t index) noexcept;
    const RowList* _list;
    OutlineRow* const* _rows = nullptr;
    std::size_t _first = 0;
    std::size_t _count = 0;
  };

 private:
  static constexpr std::size_t largestBlock = 512;
  static constexpr std::size_t filledBlock = 480;  // of a block that is made of many rows
  static constexpr std::size_t smallBlock = 96;

  [[nodiscard]] std::size_t blockAt(std::size_t index) const noexcept;
  [[nodiscard]] std::size_t startOf(std::size_t block) const noexcept {
    return _starts.empty() ? 0 : _starts[block];
  }
  void insertIntoBlock(RowBlock& block, std::size_t offset, std::span<OutlineRow* const> rows);
  void split(std::size_t block, std::size_t offset);
  void insertBlocks(std::size_t block, std::size_t offset, std::span<OutlineRow* const> rows);
  void mergeWithNext(std::size_t block) noexcept;
  void renumber(std::size_t from) noexcept;
  void shift(std::size_t from, std::ptrdiff_t by) noexcept;

  OutlineRow* _owner;
  std::vector<std::unique_ptr<RowBlock>> _blocks;  // none is empty
  std::vector<std::uint32_t> _starts;              // of each block; empty for a single one
  mutable std::shared_ptr<RowIndex> _index;
  std::uint64_t _list = 0;
  std::uint32_t _count = 0;
  bool _areDistinct = true;
};

}  // namespace detail
}  // namespace vexil
