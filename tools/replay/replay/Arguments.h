// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Names.h>
#include <replay/TemporaryFiles.h>
#include <vexil/platform/Value.h>

namespace replay {

/// Returns what a written argument stands for. A property list stands for itself; names of host
/// constants in it are replaced by their values.
///
/// A dictionary with one key that begins with `$` is a form and stands for something else. Forms
/// are read where the argument is one, and where it is an array, at any depth, that holds one:
///
///     {"$ref": "list"}                      what is bound to the name
///     {"$absent": true}                     nothing
///     {"$indexes": [0, 2, 3]}               an index set
///     {"$service": {"name": "Office", "type": "_ipp._tcp.", "domain": "local."}}
///     {"$file": {"name": "week.sch", "bytes": <...>}}   a new file's URL, as a string
///
/// Throws `Malformed` when a form is none of these, when nothing is bound to the name, or when the
/// file cannot be written.
[[nodiscard]] vexil::platform::Value argumentFrom(const vexil::platform::Value& written,
                                                  const Names& names, TemporaryFiles& files);

}  // namespace replay
