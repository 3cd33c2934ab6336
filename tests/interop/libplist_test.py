#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Exchanges random values with libplist, through its plistutil: binary and XML, both ways.

    libplist_test.py EXCHANGE_PROGRAM

On the way there Python reads in the end, on the way back it writes in the beginning, so that what
is ours stands on one side only.
"""
import plistlib
import tempfile
import unittest
from plistlib import FMT_BINARY, FMT_XML

from exchange import (Loss, RandomValues, canonical, compare, found, of_date, of_real, of_text,
                      program_argument, property_list, run, traits)

EXCHANGE = program_argument()
PLISTUTIL = found("plistutil")
COUNT = 250  # of each way

# What comes out otherwise when libplist writes XML.
WRITTEN_AS_XML = [
    Loss("negative-zero", of_real(-0.0), "r0000000000000000"),
    Loss("nan", property_list(b"\x23\xff\xf8" + bytes(6)), "r7ff8000000000000"),
    Loss("fractions-of-seconds", of_date(1.5), "@3ff0000000000000"),
    Loss("early-dates", of_date(-63113904000), None),  # the year has one digit
    Loss("nul", of_text("a\0b"), None),
    Loss("control-characters", of_text("\x01"), None),
    Loss("carriage-returns", of_text("a\rb"), '"a\\x0ab"'),
    Loss("noncharacters", of_text("\ufffe"), None),
]
# What Python, at the other end, cannot read or write.
PYTHON = {"fractions-of-microseconds", "far-dates", "negative-zero"}
# What XML has no notation for.
NOT_IN_XML = {"nul", "control-characters", "noncharacters", "fractions-of-seconds", "nan"}
WRITTEN_BY_PYTHON = NOT_IN_XML | {"carriage-returns"}


def converted(format, list):
    # From a file: version 2.2.0 writes beyond its memory when it reads certain lengths from a pipe.
    with tempfile.NamedTemporaryFile() as file:
        file.write(list)
        file.flush()
        return run(PLISTUTIL, "-f", format, "-i", file.name)


def binary_from(list):
    return converted("bin", list)


def xml_from(list):
    return converted("xml", list)


class OursRead(unittest.TestCase):
    def check(self, seed, format, convert, without):
        list, text = EXCHANGE.generate_array(seed, COUNT, format, without)
        compare(self, [canonical(plistlib.loads(convert(list)))], [text], [list])

    def test_binary(self):
        self.check(1, "binary", binary_from, PYTHON)

    def test_binary_and_written_as_xml(self):
        self.check(2, "binary", xml_from, PYTHON | traits(WRITTEN_AS_XML))

    def test_xml(self):
        self.check(3, "xml", binary_from, PYTHON | NOT_IN_XML)


class Written(unittest.TestCase):
    def check(self, seed, format, convert, without):
        random = RandomValues(seed, without)
        value = [random.value() for _ in range(COUNT)]
        list = convert(plistlib.dumps(value, fmt=format, sort_keys=False))
        compare(self, EXCHANGE.canonical([list]), [canonical(value)], [list])

    def test_as_binary(self):
        self.check(4, FMT_BINARY, binary_from, {"negative-zero"})

    def test_as_xml(self):
        self.check(5, FMT_BINARY, xml_from, traits(WRITTEN_AS_XML))

    def test_as_binary_from_xml(self):
        self.check(6, FMT_XML, binary_from, WRITTEN_BY_PYTHON)


class Losses(unittest.TestCase):
    def test_of_xml(self):
        EXCHANGE.check_losses(self, WRITTEN_AS_XML, xml_from)

    def test_none_of_binary(self):
        for loss in WRITTEN_AS_XML:
            with self.subTest(loss.trait):
                self.assertEqual(EXCHANGE.canonical([binary_from(loss.example)]),
                                 EXCHANGE.canonical([loss.example]))


if __name__ == "__main__":
    unittest.main()
