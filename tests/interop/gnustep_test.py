#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Exchanges random values with GNUstep, through its plutil: binary, XML and text, both ways.

    gnustep_test.py EXCHANGE_PROGRAM

Its dictionaries have no order of keys. On the way there Python reads in the end, on the way back it
writes in the beginning, so that what is ours stands on one side only.
"""
import plistlib
import random
import unittest
from plistlib import FMT_BINARY, FMT_XML

from exchange import (Loss, RandomValues, canonical, compare, found, of_date, of_real, of_text,
                      program_argument, property_list, run, traits)

EXCHANGE = program_argument()
PLUTIL = found("plutil")
COUNT = 250  # of each way

# What comes out otherwise when GNUstep reads binary and writes it, and so of everything it reads.
CARRIED = [
    Loss("integers-of-16-bytes", property_list(b"\x14" + bytes(8) + b"\x80" + bytes(7)), None),
    Loss("nan", of_real(float("nan")), None),
    Loss("negative-zero", property_list(b"\xa2\1\2", b"\x23" + bytes(8), b"\x23\x80" + bytes(7)),
         "[r0000000000000000, r0000000000000000]"),
]
# Containers that are equal become one, though numbers in them differ in type. So there is but one
# kind of number at a time where binary is written.
EQUAL = [
    Loss("integers", property_list(b"\xa2\1\2", b"\xa1\3", b"\xa1\4", b"\x09", b"\x10\1"),
         "[[true], [true]]"),
    Loss("reals", property_list(b"\xa2\1\2", b"\xa1\3", b"\xa1\4", b"\x10\1",
                                b"\x23\x3f\xf0" + bytes(6)), "[[1], [1]]"),
]
KINDS_OF_NUMBERS = {"booleans", "integers", "reals"}
# When it writes XML.
WRITTEN_AS_XML = [
    Loss("reals-of-17-digits", of_real(2 ** -1022), "r000fffffffffffff"),
    Loss("fractions-of-seconds", of_date(1.5), "@3ff0000000000000"),
    Loss("far-dates", of_date(-63113904001), None),
    Loss("nul", of_text("a\0b"), None),
    Loss("control-characters", of_text("\x01"), '"\\x5cU0001"'),
    Loss("carriage-returns", of_text("a\rb"), '"a\\x0ab"'),
    Loss("noncharacters", of_text("\ufffe"), '"\\x5cUFFFE"'),
    Loss("astral-characters", of_text("\U0001f600"), '"\\x5cUD83D\\x5cUDE00"'),
]
# When it reads XML.
READ_FROM_XML = [
    Loss("byte-order-marks", plistlib.dumps("\ufeffx"), '"x"'),
]
# When it reads text: the first character of a string tells it an order of bytes.
READ_FROM_TEXT = [
    Loss("byte-order-marks", '("\ufeffx")'.encode(), '["x"]'),
    Loss("noncharacters", '("\ufffea")'.encode(), '["\\xe6\\x84\\x80"]'),
]
# What Python, at the other end, cannot read or write.
PYTHON = {"fractions-of-microseconds", "far-dates"}
# What XML has no notation for.
NOT_IN_XML = {"nul", "control-characters", "noncharacters", "fractions-of-seconds"}
WRITTEN_BY_PYTHON = NOT_IN_XML | {"carriage-returns"}
# What the text format has no notation for.
NOT_IN_TEXT = {"booleans", "integers", "reals", "dates"}


def converted(format, list):
    return run(PLUTIL, "-convert", format, "-", input=list)


def binary_from(list):
    return converted("binary1", list)


def xml_from(list):
    return converted("xml1", list)


def text_from(list):
    return converted("openstep", list)


class OursRead(unittest.TestCase):
    def check(self, seed, format, without):
        for kind in KINDS_OF_NUMBERS:
            all = without | PYTHON | traits(CARRIED) | KINDS_OF_NUMBERS - {kind}
            list, _ = EXCHANGE.generate_array(seed, COUNT // 2, format, all)
            text, = EXCHANGE.canonical([list], by_key=True)
            compare(self, [canonical(plistlib.loads(binary_from(list)), by_key=True)], [text],
                    [list])

    def test_binary(self):
        self.check(1, "binary", set())

    def test_xml(self):
        self.check(2, "xml", NOT_IN_XML | traits(READ_FROM_XML))


class Written(unittest.TestCase):
    def check(self, seed, format, convert, without):
        values = RandomValues(seed, without | traits(CARRIED))
        value = [values.value() for _ in range(COUNT)]
        list = convert(plistlib.dumps(value, fmt=format, sort_keys=False))
        compare(self, EXCHANGE.canonical([list], by_key=True), [canonical(value, by_key=True)],
                [list])

    def test_as_binary(self):
        for kind in KINDS_OF_NUMBERS:
            self.check(3, FMT_BINARY, binary_from, KINDS_OF_NUMBERS - {kind})

    def test_as_xml(self):
        self.check(4, FMT_BINARY, xml_from, traits(WRITTEN_AS_XML))

    def test_as_binary_from_xml(self):
        for kind in KINDS_OF_NUMBERS:
            self.check(5, FMT_XML, binary_from,
                       WRITTEN_BY_PYTHON | traits(READ_FROM_XML) | KINDS_OF_NUMBERS - {kind})

    def test_as_text(self):
        self.check(6, FMT_BINARY, text_from, NOT_IN_TEXT)


class Writer:
    """Writes the text format in all of its notations."""

    ESCAPES = {"\a": "\\a", "\b": "\\b", "\f": "\\f", "\n": "\\n", "\r": "\\r", "\t": "\\t",
               "\v": "\\v", "\"": "\\\"", "'": "\\'", "\\": "\\\\"}
    SPACES = ["", " ", "\n", "\t ", " /* one */ ", " // two\n", " /**/"]

    def __init__(self, seed):
        self.random = random.Random(seed)

    def space(self):
        return self.random.choice(self.SPACES) if self.random.random() < 0.3 else ""

    def text(self, value):
        parts = list(self.parts(value))
        return "".join(part + self.space() for part in parts)

    def parts(self, value):
        if isinstance(value, str):
            yield self.string(value)
        elif isinstance(value, bytes):
            yield self.data(value)
        elif isinstance(value, list):
            yield "("
            for number, element in enumerate(value):
                yield from [","] * (number > 0)
                yield from self.parts(element)
            yield from [","] * (bool(value) and self.random.random() < 0.2)
            yield ")"
        else:
            yield "{"
            for key, content in value.items():
                yield self.string(key)
                yield "="
                yield from self.parts(content)
                yield ";"
            yield "}"

    def string(self, text):
        if text and text.isascii() and text.isalnum() and self.random.random() < 0.7:
            return text
        return f'"{"".join(map(self.character, text))}"'

    def character(self, character):
        if character in "\"\\" or character in self.ESCAPES and self.random.random() < 0.7:
            return self.ESCAPES[character]
        if ord(character) < 128 and self.random.random() < 0.05:
            return f"\\{ord(character):03o}"
        if ord(character) < 65536 and self.random.random() < 0.2:
            return f"\\U{ord(character):04x}"
        return character

    def data(self, data):
        return f"<{' '.join(data[at:at + 4].hex() for at in range(0, len(data), 4))}>"


class Text(unittest.TestCase):
    def test_all_notations_read_the_same_with_both(self):
        values = RandomValues(7, NOT_IN_TEXT | traits(READ_FROM_TEXT))
        value = [values.value() for _ in range(COUNT)]
        list = Writer(8).text(value).encode()
        text = canonical(value, by_key=True)
        compare(self, EXCHANGE.canonical([list], by_key=True), [text], [list])
        compare(self, [canonical(plistlib.loads(binary_from(list)), by_key=True)], [text], [list])


class Losses(unittest.TestCase):
    def test_of_whatever_it_reads(self):
        EXCHANGE.check_losses(self, CARRIED, binary_from)

    def test_of_equal_containers(self):
        EXCHANGE.check_losses(self, EQUAL, binary_from)

    def test_of_xml_that_it_writes(self):
        EXCHANGE.check_losses(self, WRITTEN_AS_XML, xml_from)

    def test_of_xml_that_it_reads(self):
        EXCHANGE.check_losses(self, READ_FROM_XML, binary_from)

    def test_of_text_that_it_reads(self):
        EXCHANGE.check_losses(self, READ_FROM_TEXT, binary_from)


if __name__ == "__main__":
    unittest.main()
