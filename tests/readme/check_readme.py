#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Installs a build, writes the files that the README shows, builds and runs them, and compares.

    check_readme.py README BUILD COMPILER SANITIZERS
"""
import pathlib
import re
import subprocess
import sys
import tempfile


def block(text, language):
    found = re.findall(rf"^```{language}\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)
    if len(found) != 1:
        sys.exit(f"the README has {len(found)} blocks of {language} in place of one")
    return found[0]


def run(*command):
    result = subprocess.run(command, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{result.stdout}{result.stderr}")
    return result.stdout


def main():
    readme, build, compiler, sanitizers = sys.argv[1:]
    text = pathlib.Path(readme).read_text()
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
            sys.exit(f"the README promises\n{block(text, 'text')}\nand the program prints\n{printed}")


main()
