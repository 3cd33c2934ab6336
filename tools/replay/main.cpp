// SPDX-License-Identifier: Apache-2.0
#include <replay/CommandLine.h>

#include <iostream>
#include <string>
#include <vector>

int main(int count, char** arguments) {
  std::ios::sync_with_stdio(false);
  const std::vector<std::string> files(arguments + (count > 0 ? 1 : 0), arguments + count);
  return static_cast<int>(replay::run(files, std::cin, std::cout, std::cerr));
}
