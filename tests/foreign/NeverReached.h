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

/// A list as text, one line for each operation. The sites of one family stand together. If none of
/// a family is reached, the line has the name of the family and "*".
[[nodiscard]] std::string lineOf(const std::string& operation, const std::set<Site>& sites);

/// The lines of a file by their operations. Lines that begin with "#" are comments, and left out.
[[nodiscard]] std::map<std::string, std::string> linesIn(const std::string& file);

/// Writes a list anew. Keeps the comments at the beginning of the old one.
void write(const std::string& file, const NeverReached& list);

}  // namespace foreign
