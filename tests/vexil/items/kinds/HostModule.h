// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/KRAVTWVRelativeDateTransformer.h>
#include <vexil/platform/Value.h>

#include <memory>

/// Makes an item of the module's own kind of domain.
extern "C" void makeModuleDomain(const vexil::platform::Value& record,
                                 std::shared_ptr<KRAVTWVItemVexil>& item);

/// Makes one of the module's own engines: one that says from the start which class it is, or one
/// that does not.
extern "C" void makeModuleEngine(bool saysItsClass, std::shared_ptr<KRAVTWVEngineVexil>& engine);

/// Makes the module's own transformer of dates.
extern "C" void makeModuleDates(std::shared_ptr<KRAVTWVRelativeDateTransformer>& dates);
