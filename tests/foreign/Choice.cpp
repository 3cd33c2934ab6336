// SPDX-License-Identifier: Apache-2.0
#include "Choice.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace foreign {

namespace {

/// How many cells of an operation a part has: those that always run, and those that the seed picks.
constexpr std::size_t fixedCells = 8;
constexpr std::size_t freshCells = 12;
constexpr std::uint32_t fixedSeed = 20010101;

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

/// Another seed for each operation, the same on every machine.
std::uint32_t seedOf(const Operation& operation, std::uint32_t seed) {
  std::uint32_t mixed = seed;
  for (const char character : operation.name) {
    mixed = (mixed ^ static_cast<unsigned char>(character)) * 16777619U;
  }
  return mixed;
}

std::vector<Cell> some(const std::vector<Row>& rows, std::uint32_t seed, std::size_t count) {
  const std::uint32_t own = seedOf(*rows.front().operation, seed);
  const std::vector<Cell> table = tableOf(rows, own);
  std::vector<Cell> chosen;
  std::ranges::sample(table, std::back_inserter(chosen), static_cast<std::ptrdiff_t>(count),
                      std::mt19937(own));
  return chosen;
}

}  // namespace

std::uint32_t seed() {
  static const std::uint32_t seed = [] {
    const std::string given = environment("FOREIGN_SEED");
    const auto chosen = given.empty() ? static_cast<std::uint32_t>(std::random_device()())
                                      : static_cast<std::uint32_t>(std::stoul(given));
    std::cout << "FOREIGN_SEED=" << chosen << std::endl;
    return chosen;
  }();
  return seed;
}

std::vector<Cell> chosenCells(const std::vector<Row>& rows) {
  const std::string filter = environment("FOREIGN_FILTER");
  const std::string cells = environment("FOREIGN_CELLS");
  if (!filter.empty()) {
    std::vector<Cell> chosen = cellsOf(rows);
    std::erase_if(chosen,
                  [&](const Cell& cell) { return cell.name().find(filter) == std::string::npos; });
    return chosen;
  }
  if (cells == "all") {
    return cellsOf(rows);
  }
  if (cells == "table") {
    return tableOf(rows, seedOf(*rows.front().operation, seed()));
  }
  if (!cells.empty() && cells != "part") {
    throw std::invalid_argument("FOREIGN_CELLS is part, table or all, not " + cells);
  }
  std::vector<Cell> chosen = some(rows, fixedSeed, fixedCells);
  std::ranges::move(some(rows, seed(), freshCells), std::back_inserter(chosen));
  return chosen;
}

}  // namespace foreign
