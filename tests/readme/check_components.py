#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Installs a build and asks the installation for components: those that are always there, one that
nobody has, and that one as an optional component.

    check_components.py BUILD COMPILER
"""
import pathlib
import subprocess
import sys
import tempfile

ALWAYS = ["platform", "ternwood", "vexil", "outline"]
PROJECT = """cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
find_package(TernwoodVexil REQUIRED {components})
foreach(target IN ITEMS {targets})
  if(NOT TARGET TernwoodVexil::${{target}})
    message(FATAL_ERROR "there is no target ${{target}}")
  endif()
endforeach()
"""


def main():
    build, compiler = sys.argv[1:]
    faults = []
    with tempfile.TemporaryDirectory() as directory:
        work = pathlib.Path(directory)
        subprocess.run(["cmake", "--install", build, "--prefix", work / "installed"], check=True,
                       stdout=subprocess.DEVNULL)

        def check(components, expected):
            """`expected` is what CMake must say before it ends with an error; None if it must not."""
            name = components.replace(" ", "-") or "none"
            (work / name).mkdir()
            (work / name / "CMakeLists.txt").write_text(
                PROJECT.format(components=components, targets=" ".join(ALWAYS)))
            result = subprocess.run(
                ["cmake", "-G", "Ninja", "-S", work / name, "-B", work / name / "build",
                 f"-DCMAKE_PREFIX_PATH={work}/installed", f"-DCMAKE_CXX_COMPILER={compiler}"],
                capture_output=True, text=True)
            said = " ".join(result.stderr.split())  # CMake breaks lines where it likes
            if (result.returncode != 0) != (expected is not None) or (expected or "") not in said:
                faults.append(f"find_package with '{components}' ended with {result.returncode}: {said}")

        check("", None)
        check("COMPONENTS outline", None)
        check("COMPONENTS " + " ".join(ALWAYS), None)
        check("COMPONENTS outlines",
              "There is no component outlines; there are platform, ternwood, vexil, outline, avahi.")
        check("OPTIONAL_COMPONENTS outlines", None)
    if faults:
        sys.exit("\n".join(faults))


main()
