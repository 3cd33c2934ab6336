#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Installs a build and builds two hosts of it, one with the browser and one without.

    component_test.py BUILD COMPILER SANITIZERS
"""
import pathlib
import subprocess
import sys
import tempfile

HOST = """cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
find_package(TernwoodVexil REQUIRED {components})
if(NOT "${{TernwoodVexil_avahi_FOUND}}" STREQUAL "{found}")
  message(FATAL_ERROR "the component is found: ${{TernwoodVexil_avahi_FOUND}}")
endif()
if(TARGET TernwoodVexil::avahi)
  add_executable(host main.cpp)
  target_link_libraries(host PRIVATE TernwoodVexil::avahi)
endif()
"""

MAIN = """#include <vexil/avahi/PollLoop.h>
#include <vexil/avahi/ServiceBrowser.h>
#include <iostream>
#include <vexil/platform/Error.h>
#include <vexil/KRAVTWVItemsVexil.h>
int main() {
  vexil::avahi::PollLoop loop;
  try {
    vexil::avahi::ServiceBrowser browser(loop.poll(), "printers",
                                  std::make_shared<KRAVTWVServicesVexil>());
  } catch (const vexil::platform::InvalidArgument& error) {
    std::cout << error.what();
  }
}
"""


def run(*command):
    result = subprocess.run(command, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{result.stdout}{result.stderr}")
    return result.stdout


def build_host(work, compiler, flags, components, found):
    (work / "CMakeLists.txt").write_text(HOST.format(components=components, found=found))
    (work / "main.cpp").write_text(MAIN)
    build = work / f"build{found}"
    run("cmake", "-G", "Ninja", "-S", work, "-B", build, f"-DCMAKE_PREFIX_PATH={work}/installed",
        f"-DCMAKE_CXX_COMPILER={compiler}", f"-DCMAKE_CXX_FLAGS={flags}")
    run("cmake", "--build", build)
    return build / "host"


def main():
    build, compiler, sanitizers = sys.argv[1:]
    flags = f"-fsanitize={sanitizers}" if sanitizers else ""
    with tempfile.TemporaryDirectory() as directory:
        work = pathlib.Path(directory)
        run("cmake", "--install", build, "--prefix", work / "installed")
        program = build_host(work, compiler, flags, "COMPONENTS avahi", "TRUE")
        printed = run(program)
        if printed != "not the type of a service: printers":
            sys.exit(f"the host prints: {printed}")
        if build_host(work, compiler, flags, "", "").exists():
            sys.exit("the browser comes without being asked for")
        for components in ("COMPONENTS nosuch", "COMPONENTS avahi nosuch"):
            (work / "CMakeLists.txt").write_text(HOST.format(components=components, found="TRUE"))
            refused = subprocess.run(
                ["cmake", "-G", "Ninja", "-S", work, "-B", work / "refused",
                 f"-DCMAKE_PREFIX_PATH={work}/installed", f"-DCMAKE_CXX_COMPILER={compiler}"],
                capture_output=True, text=True)
            if refused.returncode == 0 or "nosuch" not in refused.stderr:
                sys.exit(f"a component that there is not is found: {refused.stderr}")


main()
