// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Names.h>
#include <replay/TemporaryFiles.h>
#include <vexil/platform/Value.h>

namespace replay {

/// What an argument stands for. A property list stands for itself, with the names of host constants
/// replaced by their values, except for dictionaries of one key that begins with `$`, where the
/// argument is one or an array, at any depth, that holds one:
///
///     {"$ref": "list"}                      what is bound to the name
///     {"$absent": true}                     nothing
///     {"$indexes": [0, 2, 3]}               an index set
///     {"$service": {"name": "Office", "type": "_ipp._tcp.", "domain": "local."}}
///     {"$file": {"name": "week.sch", "bytes": <...>}}   a new file's URL, as a string
///
/// Raises `Malformed` when such a dictionary is none of these, when nothing is bound to the name,
/// or when the file cannot be written.
[[nodiscard]] vexil::platform::Value argumentFrom(const vexil::platform::Value& written,
                                                  const Names& names, TemporaryFiles& files);

}  // namespace replay
