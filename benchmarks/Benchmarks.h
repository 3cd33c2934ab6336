// SPDX-License-Identifier: Apache-2.0
#pragma once

void addEventListBenchmarks();
void addCollectionBenchmarks();
void addObservationBenchmarks();
void addServicesBenchmarks();
void addValueBenchmarks();
