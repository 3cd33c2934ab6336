// SPDX-License-Identifier: Apache-2.0
// The list of cells that are never reached.
#pragma once

#include "Hook.h"

#include <map>
#include <set>
#include <string>

namespace foreign {

/// For each operation the sites that it never calls.
using NeverReached = std::map<std::string, std::set<Site>>;

/// A list as text: a line an operation. The sites of one family stand together, and a family of
/// which none is reached has its name and "*" in place of theirs.
[[nodiscard]] std::string lineOf(const std::string& operation, const std::set<Site>& sites);

/// The lines of a file by their operations; those that begin with "#" are for people.
[[nodiscard]] std::map<std::string, std::string> linesIn(const std::string& file);

/// Writes a list anew, with what was written for people at the beginning of the old one.
void write(const std::string& file, const NeverReached& list);

}  // namespace foreign
