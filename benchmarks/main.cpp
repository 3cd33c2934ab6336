// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include "Benchmarks.h"
#include "TableReporter.h"

int main(int argc, char** argv) {
  addAdditionBenchmarks();
  addEventListBenchmarks();
  addCollectionBenchmarks();
  addObservationBenchmarks();
  addServicesBenchmarks();
  addValueBenchmarks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  TableReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
}
