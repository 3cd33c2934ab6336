// SPDX-License-Identifier: Apache-2.0
// The cost of equality and hash of values with shared parts, deep parts, and parts made to collide.
#include <vexil/platform/Value.h>

#include <cstring>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Benchmarks.h"
#include "Watched.h"

namespace platform = vexil::platform;

using platform::Value;

namespace {

/// Arrays that hold, in turns, the same array twice and two equal arrays. Few containers, but two
/// to the power of the levels ways to the leaf. It is equal whichever comes first, but of two parts
/// that are compared only one is ever shared.
Value sharedNesting(std::size_t levels, bool beginsShared) {
  const auto copy = [](const Value& value) {
    return Value::array(std::vector<Value>(value.elements().begin(), value.elements().end()));
  };
  Value value = Value::array({"leaf"});
  for (std::size_t level = 0; level < levels; ++level) {
    value = (level % 2 == 0) == beginsShared ? Value::array({value, value})
                                             : Value::array({copy(value), copy(value)});
  }
  return value;
}

/// The size is the depth.
void equalSharedNesting(benchmark::State& state) {
  const Value one = sharedNesting(sizeOf(state), true);
  const Value other = sharedNesting(sizeOf(state), false);
  for (auto _ : state) {
    bool isEqual = false;
    timed(state, [&] { isEqual = one == other; });
    if (!isEqual) {
      state.SkipWithError("wrong answer");
    }
  }
}

/// As many references to one part of 64 x 64 values.
void hashManyReferences(benchmark::State& state) {
  const Value row = Value::array(std::vector<Value>(64, Value("a value")));
  std::vector<Value> rows;
  for (int i = 0; i < 64; ++i) {
    rows.push_back(Value::array(std::vector<Value>(row.elements().begin(), row.elements().end())));
  }
  const Value part = Value::array(std::move(rows));
  const Value all = Value::array(std::vector<Value>(sizeOf(state), part));
  for (auto _ : state) {
    std::size_t hash = 0;
    timed(state, [&] { hash = all.hash(); });
    benchmark::DoNotOptimize(hash);
  }
}

/// A set of records that differ at the end of a list, five levels down.
void setOfRecordsThatDifferDeepDown(benchmark::State& state) {
  std::vector<Value> records;
  for (std::size_t i = 0; i < sizeOf(state); ++i) {
    std::vector<Value> list(70, Value("the same"));
    list.back() = i;
    Value value = Value::array(std::move(list));
    for (int level = 0; level < 4; ++level) {
      value = Value::dictionary({{"inner", std::move(value)}, {"level", level}});
    }
    records.push_back(std::move(value));
  }
  for (auto _ : state) {
    std::size_t count = 0;
    timed(state, [&] { count = std::unordered_set<Value>(records.begin(), records.end()).size(); });
    if (count != records.size()) {
      state.SkipWithError("wrong count");
    }
  }
}

/// A set of texts that all have one hash if the numbers of the mixing are known. See HashTests.cpp.
void setOfTextsMadeToCollide(benchmark::State& state) {
  std::vector<Value> texts;
  for (std::uint64_t i = 0; i < sizeOf(state); ++i) {
    const std::uint64_t words[] = {i, 0xe7037ed1a0b428dbU};
    std::string text(sizeof words, '\0');
    std::memcpy(text.data(), words, sizeof words);
    texts.emplace_back(text);
  }
  for (auto _ : state) {
    std::size_t count = 0;
    timed(state, [&] { count = std::unordered_set<Value>(texts.begin(), texts.end()).size(); });
    if (count != texts.size()) {
      state.SkipWithError("wrong count");
    }
  }
}

/// Hashes of usual records, which must not pay for the others.
void hashRecords(benchmark::State& state) {
  std::vector<Value> records;
  for (std::size_t i = 0; i < sizeOf(state); ++i) {
    records.push_back(Value::dictionary(
        {{"id", "event-" + std::to_string(i)},
         {"name", "The name of event " + std::to_string(i)},
         {"enabled", i % 2 == 0},
         {"priority", i},
         {"schedule", Value::dictionary({{"start", platform::Date{1.0}}, {"interval", 60}})}}));
  }
  for (auto _ : state) {
    std::size_t sum = 0;
    timed(state, [&] {
      for (const Value& record : records) {
        sum += record.hash();
      }
    });
    benchmark::DoNotOptimize(sum);
  }
}

}  // namespace

void addValueBenchmarks() {
  const auto add = [](const char* name, void (*run)(benchmark::State&)) {
    return benchmark::RegisterBenchmark(name, run)->UseManualTime()->MinTime(0.1);
  };
  // Depths that show growth. If the cost were exponential, the last would never end.
  add("values: equality of shared nesting, by its depth", equalSharedNesting)
      ->Arg(12)
      ->Arg(18)
      ->Arg(24)
      ->Arg(1'000)
      ->Arg(10'000)
      ->Arg(100'000);
  add("values: hash of as many references to one part", hashManyReferences)
      ->RangeMultiplier(10)
      ->Range(1'000, 100'000);
  add("values: set of records that differ deep down", setOfRecordsThatDifferDeepDown)
      ->RangeMultiplier(10)
      ->Range(1'000, 100'000);
  add("values: set of texts made to collide", setOfTextsMadeToCollide)
      ->RangeMultiplier(10)
      ->Range(1'000, 100'000);
  add("values: hashes of usual records", hashRecords)->RangeMultiplier(10)->Range(1'000, 100'000);
}
