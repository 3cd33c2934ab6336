// SPDX-License-Identifier: Apache-2.0
// Prints hashes of things of several kinds, one a line. HashTests.cpp runs it more than once.
#include <vexil/platform/Hash.h>
#include <vexil/platform/Value.h>

#include <cstdio>

namespace platform = vexil::platform;

using platform::Key;
using platform::Value;

namespace {

// Made before the library makes anything that it needs.
const Key early("early");

void print(const char* name, std::size_t hash) {
  std::printf("%s %zu\n", name, hash);
}

}  // namespace

int main() {
  print("early key", early.hash());
  print("same key", Key("early").hash() == early.hash() ? Key("later").hash() : 0);
  print("short text", platform::hashOfText("short"));
  print("long text", platform::hashOfText("a text that does not fit into a value"));
  print("integer", Value(7).hash());
  print("real", Value(0.5).hash());
  print("array", Value::array({1, 2}).hash());
  print("dictionary", Value::dictionary({{"a", 1}}).hash());
}
