// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Observable.h>

#include <memory>

/// Makes an object of the module's own class, with the keys "price", "count" and "total". In one
/// module "total" follows from "price", in the other from "count".
extern "C" void makeObserved(std::shared_ptr<vexil::platform::Observable>& object);
