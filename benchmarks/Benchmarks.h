// SPDX-License-Identifier: Apache-2.0
#pragma once

void addAdditionBenchmarks();
void addEventListBenchmarks();
void addCollectionBenchmarks();
void addObservationBenchmarks();
void addServicesBenchmarks();
void addValueBenchmarks();
