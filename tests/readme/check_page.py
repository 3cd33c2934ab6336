#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Installs a build, writes the files that a page shows, builds and runs them, and compares.

    check_page.py PAGE BUILD COMPILER SANITIZERS

The page has one block each of cmake, cpp and text: CMakeLists.txt, main.cpp and what it prints.
"""
import pathlib
import re
import subprocess
import sys
import tempfile


def block(text, language):
    found = re.findall(rf"^```{language}\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)
    if len(found) != 1:
        sys.exit(f"the page has {len(found)} blocks of {language} in place of one")
    return found[0]


def run(*command):
    result = subprocess.run(command, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{result.stdout}{result.stderr}")
    return result.stdout


def main():
    page, build, compiler, sanitizers = sys.argv[1:]
    text = pathlib.Path(page).read_text()
    flags = f"-fsanitize={sanitizers}" if sanitizers else ""
    with tempfile.TemporaryDirectory() as directory:
        work = pathlib.Path(directory)
        run("cmake", "--install", build, "--prefix", work / "installed")
        (work / "CMakeLists.txt").write_text(block(text, "cmake"))
        (work / "main.cpp").write_text(block(text, "cpp"))
        run("cmake", "-G", "Ninja", "-S", work, "-B", work / "build",
            f"-DCMAKE_PREFIX_PATH={work}/installed", f"-DCMAKE_CXX_COMPILER={compiler}",
            f"-DCMAKE_CXX_FLAGS={flags}")
        run("cmake", "--build", work / "build")
        printed = run(work / "build" / "host")
        if printed != block(text, "text"):
            sys.exit(f"the page promises\n{block(text, 'text')}\nand the program prints\n{printed}")


main()
