// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/Value.h>
#include <vexil/KRAVTWVItemVexil.h>

#include <memory>

/// Makes an item of the module's own kind of domain.
extern "C" void makeModuleDomain(const platform::Value& record,
                                 std::shared_ptr<KRAVTWVItemVexil>& item);
