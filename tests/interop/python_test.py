#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Exchanges random values with Python's plistlib: binary and XML, both ways.

    python_test.py EXCHANGE_PROGRAM
"""
import math
import plistlib
import unittest
from plistlib import FMT_BINARY, FMT_XML

from exchange import (Loss, RandomValues, canonical, compare, of_date, of_real, of_text,
                      program_argument, property_list, traits)

EXCHANGE = program_argument()
COUNT = 1000  # of each way

# Python's dates are of whole microseconds, from the year 1 to 9999, and have no -0.0.
DATES = [
    Loss("negative-zero", of_date(-0.0), "@0000000000000000"),
    Loss("fractions-of-microseconds", of_date(2 ** -24), "@0000000000000000"),
    Loss("far-dates", of_date(252423993600), None),
]
# What Python writes as XML, or does not.
WRITTEN_AS_XML = [
    Loss("carriage-returns", of_text("a\rb"), '"a\\x0ab"'),
    Loss("nul", of_text("\0"), None),
    Loss("control-characters", of_text("\x01"), None),
    Loss("noncharacters", of_text("\ufffe"), None),
    Loss("nan", of_real(math.nan).replace(b"\x7f\xf8", b"\xff\xf8"), "r7ff8000000000000"),
    Loss("fractions-of-seconds", of_date(1.5), "@3ff0000000000000"),
]
# Two objects of Python's that are equal, though not the same, are written as one. NaN, which is not
# even equal to itself, is written every time.
EQUAL = [
    Loss("negative-zero", property_list(b"\xa2\1\2", b"\x23" + bytes(8), b"\x23\x80" + bytes(7)),
         "[r0000000000000000, r0000000000000000]"),
]
NAN = {"nan"}
# What XML has no notation for, so that our writer refuses it.
NOT_IN_XML = {"nul", "control-characters", "noncharacters", "fractions-of-seconds"}


def values(seed, without=(), count=COUNT):
    random = RandomValues(seed, without)
    return [random.value() for _ in range(count)]


def binary(value):
    return plistlib.dumps(value, fmt=FMT_BINARY, sort_keys=False)


def xml(value):
    return plistlib.dumps(value, fmt=FMT_XML, sort_keys=False)


class Binary(unittest.TestCase):
    def test_what_we_write_python_reads(self):
        lists, texts = EXCHANGE.generate(1, COUNT, "binary", traits(DATES))
        compare(self, [canonical(plistlib.loads(list)) for list in lists], texts, lists)

    def test_what_python_writes_we_read(self):
        originals = values(2, traits(EQUAL))
        lists = [binary(value) for value in originals]
        compare(self, EXCHANGE.canonical(lists), [canonical(value) for value in originals], lists)

    def test_what_python_wrote_we_write_to_the_byte(self):
        lists = [binary(value) for value in values(3, traits(EQUAL) | NAN)]
        self.assertEqual(EXCHANGE.convert(lists, "binary"), lists)

    def test_what_we_wrote_python_writes_to_the_byte(self):
        lists, _ = EXCHANGE.generate(4, COUNT, "binary", traits(DATES, EQUAL))
        self.assertEqual([binary(plistlib.loads(list)) for list in lists], lists)

    def test_large_ones_to_the_byte(self):
        # References of 1, 2 and 4 bytes; offsets likewise.
        for count in (10, 1000, 100_000):
            with self.subTest(count=count):
                texts = [f"text {number}" for number in range(count)]
                list = binary({"few": texts[:7], "all": texts, "long": "é" * count})
                self.assertEqual(EXCHANGE.convert([list], "binary"), [list])

    def test_containers_are_shared_where_python_shares_them(self):
        shared = {"name": ["a", "b"]}
        list = binary([shared, shared, {"name": ["a", "b"]}, shared["name"], [], [], {}, {}])
        self.assertEqual(EXCHANGE.convert([list], "binary"), [list])


class XML(unittest.TestCase):
    def test_what_we_write_python_reads(self):
        lists, texts = EXCHANGE.generate(5, COUNT, "xml", traits(DATES) | NOT_IN_XML | NAN)
        compare(self, [canonical(plistlib.loads(list)) for list in lists], texts, lists)

    def test_what_python_writes_we_read(self):
        originals = values(6, traits(WRITTEN_AS_XML))
        lists = [xml(value) for value in originals]
        compare(self, EXCHANGE.canonical(lists), [canonical(value) for value in originals], lists)

    def test_one_value_is_the_same_in_both_formats(self):
        without = traits(DATES) | NOT_IN_XML | NAN
        lists, _ = EXCHANGE.generate(7, COUNT, "binary", without)
        others, _ = EXCHANGE.generate(7, COUNT, "xml", without)  # the same values
        self.assertEqual([canonical(plistlib.loads(list)) for list in lists],
                         [canonical(plistlib.loads(list)) for list in others])


class Losses(unittest.TestCase):
    def test_of_dates(self):
        EXCHANGE.check_losses(self, DATES, lambda list: binary(plistlib.loads(list)))

    def test_of_xml(self):
        EXCHANGE.check_losses(self, WRITTEN_AS_XML, lambda list: xml(plistlib.loads(list)))

    def test_of_what_is_equal(self):
        EXCHANGE.check_losses(self, EQUAL, lambda list: binary(plistlib.loads(list)))

    def test_nan_is_written_every_time(self):
        list = binary([float("nan"), float("nan")])
        self.assertEqual(EXCHANGE.canonical([list]), ["[r7ff8000000000000, r7ff8000000000000]"])
        self.assertLess(len(EXCHANGE.convert([list], "binary")[0]), len(list))

    def test_of_our_own_where_xml_has_no_notation(self):
        for example in (of_text("\0"), of_text("\x01"), of_text("\uffff"), of_date(1.5)):
            with self.assertRaises(AssertionError):
                EXCHANGE.convert([example], "xml")
        nan = of_real(math.nan).replace(b"\x7f\xf8", b"\xff\xf8")
        self.assertEqual(EXCHANGE.canonical(EXCHANGE.convert([nan], "xml")), ["r7ff8000000000000"])


if __name__ == "__main__":
    unittest.main()
