// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/rows/RowFields.h>
#include <vexil/outline/rows/RowIndex.h>
#include <vexil/outline/rows/RowList.h>

#include <algorithm>
#include <utility>

namespace vexil::detail {

RowList::RowList(OutlineRow& owner) : _owner(&owner) {}

RowList::~RowList() {
  std::vector<std::unique_ptr<RowBlock>> blocks = std::move(_blocks);
  for (const auto& block : blocks) {
    for (OutlineRow* const row : block->_rows) {
      RowFields::destroy(row);
    }
  }
}

std::size_t RowList::blockAt(std::size_t index) const noexcept {
  if (_starts.empty()) {
    return 0;
  }
  // Blocks are of about the same size, so the guess is mostly right.
  const std::size_t guess = index * _blocks.size() / _count;
  if (_starts[guess] <= index && (guess + 1 == _starts.size() || index < _starts[guess + 1])) {
    return guess;
  }
  const auto after = std::ranges::upper_bound(_starts, static_cast<std::uint32_t>(index));
  return static_cast<std::size_t>(after - _starts.begin()) - 1;
}

OutlineRow& RowList::at(std::size_t index) const noexcept {
  const std::size_t block = blockAt(index);
  return *_blocks[block]->_rows[index - startOf(block)];
}

std::size_t RowList::indexOf(const OutlineRow& row) const noexcept {
  const RowBlock& block = *RowFields::block(row);
  const auto found = std::ranges::find(block._rows, &row);
  return startOf(block._position) + static_cast<std::size_t>(found - block._rows.begin());
}

OutlineRow& RowList::Reader::seek(std::size_t index) noexcept {
  const std::size_t block = _list->blockAt(index);
  const auto& rows = _list->_blocks[block]->_rows;
  _rows = rows.data();
  _first = _list->startOf(block);
  _count = rows.size();
  return *_rows[index - _first];
}

void RowList::Reader::prefetchRecord(std::size_t index) const noexcept {
  if (index - _first < _count) {
    _rows[index - _first]->representedObject().prefetch(1);
  }
}

void RowList::shift(std::size_t from, std::ptrdiff_t by) noexcept {
  const auto difference = static_cast<std::uint32_t>(by);  // wraps around
  for (std::size_t block = from; block < _starts.size(); ++block) {
    _starts[block] += difference;
  }
}

/// Numbers the blocks from `from` on, and their starts, which has as many elements.
void RowList::renumber(std::size_t from) noexcept {
  for (std::size_t block = from; block < _blocks.size(); ++block) {
    _blocks[block]->_position = static_cast<std::uint32_t>(block);
    if (!_starts.empty()) {
      _starts[block] =
          block == 0
              ? 0
              : _starts[block - 1] + static_cast<std::uint32_t>(_blocks[block - 1]->_rows.size());
    }
  }
}

void RowList::insert(std::size_t index, std::span<OutlineRow* const> rows) {
  if (rows.empty()) {
    return;
  }
  dropIndex();
  std::size_t block = _blocks.empty() ? 0 : blockAt(std::min<std::size_t>(index, _count - 1));
  std::size_t offset = index - startOf(block);
  if (!_blocks.empty() && rows.size() <= largestBlock / 2 &&
      offset < _blocks[block]->_rows.size() &&
      _blocks[block]->_rows.size() + rows.size() > largestBlock) {
    const std::size_t half = _blocks[block]->_rows.size() / 2;
    split(block, half);
    block += offset > half ? 1 : 0;
    offset -= offset > half ? half : 0;
  }
  if (!_blocks.empty() && _blocks[block]->_rows.size() + rows.size() <= largestBlock) {
    insertIntoBlock(*_blocks[block], offset, rows);
    shift(block + 1, static_cast<std::ptrdiff_t>(rows.size()));
  } else {
    insertBlocks(block, offset, rows);
  }
  _count += static_cast<std::uint32_t>(rows.size());
}

void RowList::insertIntoBlock(RowBlock& block, std::size_t offset,
                              std::span<OutlineRow* const> rows) {
  auto& present = block._rows;
  const std::size_t count = present.size() + rows.size();
  if (count > present.capacity()) {
    present.reserve(std::min(largestBlock, count + count / 8));
  }
  present.insert(present.begin() + static_cast<std::ptrdiff_t>(offset), rows.begin(), rows.end());
  for (OutlineRow* const row : rows) {
    RowFields::block(*row) = &block;
  }
}

/// Puts the rows of a block from `offset` on, which is inside of it, into a block of their own.
void RowList::split(std::size_t block, std::size_t offset) {
  auto second = std::make_unique<RowBlock>(*this);
  auto& rows = _blocks[block]->_rows;
  const auto middle = rows.begin() + static_cast<std::ptrdiff_t>(offset);
  second->_rows.reserve(largestBlock / 2 + smallBlock);
  second->_rows.assign(middle, rows.end());
  _blocks.reserve(_blocks.size() + 1);
  _starts.resize(_blocks.size() + 1);
  for (OutlineRow* const row : second->_rows) {
    RowFields::block(*row) = second.get();
  }
  rows.erase(middle, rows.end());
  _blocks.insert(_blocks.begin() + static_cast<std::ptrdiff_t>(block) + 1, std::move(second));
  renumber(block);
}

/// Splits a block at `offset`, if there is one, and puts blocks of new rows in between.
void RowList::insertBlocks(std::size_t block, std::size_t offset,
                           std::span<OutlineRow* const> rows) {
  const bool isSplit = !_blocks.empty() && offset < _blocks[block]->_rows.size();
  const std::size_t behind = isSplit ? _blocks[block]->_rows.size() - offset : 0;
  const std::size_t added = (rows.size() + filledBlock - 1) / filledBlock;
  const std::size_t share = (rows.size() + added - 1) / added;

  // All that can fail comes first.
  std::vector<std::unique_ptr<RowBlock>> made;
  made.reserve(added + 1);
  for (std::size_t next = 0; next < rows.size(); next += share) {
    const auto part = rows.subspan(next, std::min(share, rows.size() - next));
    made.push_back(std::make_unique<RowBlock>(*this));
    made.back()->_rows.assign(part.begin(), part.end());
  }
  if (isSplit && offset != 0) {
    made.push_back(std::make_unique<RowBlock>(*this));
    made.back()->_rows.reserve(behind);
  }
  _blocks.reserve(_blocks.size() + made.size());
  const std::size_t count = _blocks.size() + made.size();
  if (count > 1) {
    _starts.resize(count);
  }

  std::size_t at = _blocks.empty() || (isSplit && offset == 0) ? block : block + 1;
  if (isSplit && offset != 0) {
    auto& first = _blocks[block]->_rows;
    auto& second = made.back()->_rows;
    second.assign(first.begin() + static_cast<std::ptrdiff_t>(offset), first.end());
    first.resize(offset);
    for (OutlineRow* const row : second) {
      RowFields::block(*row) = made.back().get();
    }
  }
  for (std::size_t i = 0, next = 0; next < rows.size(); ++i) {
    for (std::size_t end = next + made[i]->_rows.size(); next < end; ++next) {
      RowFields::block(*rows[next]) = made[i].get();
    }
  }
  _blocks.insert(_blocks.begin() + static_cast<std::ptrdiff_t>(at),
                 std::make_move_iterator(made.begin()), std::make_move_iterator(made.end()));
  renumber(at);
}

void RowList::take(std::size_t first, std::size_t count, std::vector<OutlineRow*>& taken) noexcept {
  if (count == 0) {
    return;
  }
  dropIndex();
  std::size_t block = blockAt(first);
  const std::size_t firstBlock = block;
  std::size_t offset = first - startOf(block);
  std::size_t firstEmpty = 0;
  std::size_t emptyCount = 0;
  for (std::size_t left = count; left > 0; ++block, offset = 0) {
    auto& rows = _blocks[block]->_rows;
    const std::size_t part = std::min(left, rows.size() - offset);
    const auto begin = rows.begin() + static_cast<std::ptrdiff_t>(offset);
    const auto end = begin + static_cast<std::ptrdiff_t>(part);
    for (auto row = begin; row != end; ++row) {
      RowFields::block(**row) = nullptr;
      taken.push_back(*row);
    }
    rows.erase(begin, end);
    left -= part;
    if (rows.empty()) {
      firstEmpty = emptyCount++ == 0 ? block : firstEmpty;
    }
  }
  _count -= static_cast<std::uint32_t>(count);
  if (emptyCount != 0) {
    const auto begin = _blocks.begin() + static_cast<std::ptrdiff_t>(firstEmpty);
    _blocks.erase(begin, begin + static_cast<std::ptrdiff_t>(emptyCount));
    _starts.resize(_blocks.size() > 1 ? _blocks.size() : 0);
  }
  if (emptyCount != 0 || block - firstBlock > 1) {
    renumber(firstBlock);
  } else {
    shift(firstBlock + 1, -static_cast<std::ptrdiff_t>(count));
  }
  if (firstBlock + 1 < _blocks.size()) {
    mergeWithNext(firstBlock);
  }
}

void RowList::move(std::size_t first, std::span<OutlineRow* const> rows, RowList& to,
                   std::size_t newFirst) {
  // What can fail comes first. So the rows stand in both places for a moment.
  const std::size_t count = rows.size();
  std::vector<OutlineRow*> taken;
  taken.reserve(count);
  const bool isBehind = &to == this && newFirst > first;
  to.insert(newFirst + (isBehind ? count : 0), rows);
  take(first + (&to == this && !isBehind ? count : 0), count, taken);
  for (std::size_t index = newFirst; index < newFirst + count;) {
    RowBlock& block = *to._blocks[to.blockAt(index)];
    const std::size_t end =
        std::min(to.startOf(block._position) + block._rows.size(), newFirst + count);
    for (; index < end; ++index) {
      RowFields::block(*rows[index - newFirst]) = &block;
    }
  }
}

void RowList::removeLast() noexcept {
  dropIndex();
  auto& rows = _blocks.back()->_rows;
  rows.pop_back();
  if (rows.empty()) {
    _blocks.pop_back();
    _starts.resize(_blocks.size() > 1 ? _blocks.size() : 0);
  }
  --_count;
}

/// Joins two small blocks, so that many removals do not leave many small ones.
void RowList::mergeWithNext(std::size_t block) noexcept {
  auto& rows = _blocks[block]->_rows;
  const auto& next = _blocks[block + 1]->_rows;
  if (rows.size() > smallBlock || next.size() > smallBlock ||
      rows.size() + next.size() > rows.capacity()) {
    return;
  }
  for (OutlineRow* const row : next) {
    RowFields::block(*row) = _blocks[block].get();
    rows.push_back(row);
  }
  _blocks.erase(_blocks.begin() + static_cast<std::ptrdiff_t>(block) + 1);
  _starts.resize(_blocks.size() > 1 ? _blocks.size() : 0);
  renumber(block);
}

OutlineRow* RowList::find(const platform::Value& uniqueID, std::uint32_t occurrence) const {
  if (!_index) {
    _index = std::make_shared<RowIndex>();
  }
  const std::shared_ptr<RowIndex> index = _index;
  if (!index->isComplete()) {
    index->complete(RowIndex::entriesOf(*this));
  }
  OutlineRow* const row = index->find(uniqueID, occurrence);
  return index->isCurrent() ? row : nullptr;  // foreign code may have destroyed the list
}

void RowList::dropIndex() noexcept {
  if (const auto index = std::exchange(_index, nullptr)) {
    index->end();
  }
}

}  // namespace vexil::detail
