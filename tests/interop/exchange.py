# SPDX-License-Identifier: Apache-2.0
"""What the exchanges with other programs have in common: property_list_exchange, which is our own
end of them, random values of Python's, and the canonical text of a value."""
import datetime
import io
import math
import random
import shutil
import struct
import subprocess
import sys
import typing

EPOCH = datetime.datetime(2001, 1, 1)
MICROSECOND = datetime.timedelta(microseconds=1)
PATIENCE = 300  # seconds, for a machine that does other things as well


# --- canonical text

def canonical_string(text):
    return '"%s"' % "".join(
        chr(byte) if 0x20 <= byte <= 0x7e and byte not in b'"\\' else f"\\x{byte:02x}"
        for byte in text.encode())


def bits(number):
    return struct.pack(">d", number).hex()


def canonical(value, by_key=False):
    """The text that canonicalText of CanonicalText.h makes of the same value."""
    if value is True or value is False:
        return str(value).lower()
    if isinstance(value, int):
        return str(value)
    if isinstance(value, float):
        return "r" + bits(value)
    if isinstance(value, datetime.datetime):
        return "@" + bits((value - EPOCH) // MICROSECOND / 1_000_000)
    if isinstance(value, str):
        return canonical_string(value)
    if isinstance(value, bytes):
        return f"<{value.hex()}>"
    if isinstance(value, list):
        return f"[{', '.join(canonical(element, by_key) for element in value)}]"
    entries = value.items()
    if by_key:
        entries = sorted(entries, key=lambda entry: entry[0].encode())
    return "{%s}" % ", ".join(
        f"{canonical_string(key)}: {canonical(content, by_key)}" for key, content in entries)


# --- our end

def packed(messages):
    return b"".join(b"%d\n%s" % (len(message), message) for message in messages)


def unpacked(output):
    stream = io.BytesIO(output)
    messages = []
    while size := stream.readline():
        messages.append(stream.read(int(size)))
    return messages


class Exchange:
    """The program that reads and writes with the code under test."""

    def __init__(self, program):
        self.program = program

    def _run(self, *arguments, messages=()):
        result = subprocess.run([self.program, *map(str, arguments)], input=packed(messages),
                                capture_output=True, timeout=PATIENCE)
        if result.returncode != 0:
            raise AssertionError(f"{' '.join(map(str, arguments))}: {result.stderr.decode()}")
        return unpacked(result.stdout)

    def generate(self, seed, count, format, without=(), command="generate"):
        """Random values as property lists, and their canonical texts."""
        options = [f"--without={trait}" for trait in without]
        output = self._run(command, seed, count, format, *options)
        return output[::2], [text.decode() for text in output[1::2]]

    def generate_array(self, seed, count, format, without=()):
        lists, texts = self.generate(seed, count, format, without, command="generate-array")
        return lists[0], texts[0]

    def convert(self, lists, format):
        return self._run("convert", format, messages=lists)

    def canonical(self, lists, by_key=False):
        """The canonical texts of what our readers read."""
        return [text.decode()
                for text in self.convert(lists, "canonical-sorted" if by_key else "canonical")]

    def check_losses(self, test, losses, convert):
        """Each loss must still be one; else the program has learnt to carry what is left out for
        its sake."""
        for trait, example, becomes in losses:
            with test.subTest(trait):
                self.check_loss(test, example, becomes, convert)

    def check_loss(self, test, example, becomes, convert):
        try:
            result, = self.canonical([convert(example)])
        except (AssertionError, ValueError, OverflowError):
            result = None
        test.assertEqual(result, becomes)
        test.assertNotEqual(self.canonical([example]), [becomes])


def found(program):
    """A program that must be installed: scripts/install-packages test."""
    path = shutil.which(program)
    if path is None:
        raise AssertionError(f"{program} is not installed")
    return path


def run(*command, input=b""):
    result = subprocess.run(command, input=input, capture_output=True, timeout=PATIENCE)
    if result.returncode != 0 or not result.stdout:
        raise AssertionError(f"{' '.join(command)}: {result.stderr.decode(errors='replace')}")
    return result.stdout


# --- what others lose

def property_list(*objects):
    """A small binary property list of objects, given by their markers and bytes, the root first."""
    starts = [8 + sum(map(len, objects[:at])) for at in range(len(objects) + 1)]
    trailer = struct.pack(">6xBBQQQ", 1, 1, len(objects), 0, starts[-1])
    return b"bplist00" + b"".join(objects) + bytes(starts[:-1]) + trailer


def of_real(number):
    return property_list(b"\x23" + struct.pack(">d", number))


def of_date(seconds):
    return property_list(b"\x33" + struct.pack(">d", seconds))


def of_text(text):
    units = text.encode("utf-16-be")
    return property_list(bytes([0x60 + len(units) // 2]) + units)


class Loss(typing.NamedTuple):
    """What another program loses of the values that have a trait: an example as a property list,
    and the canonical text of what it becomes; none where it becomes nothing that can be read."""
    trait: str
    example: bytes
    becomes: str | None


def traits(*tables):
    return {loss.trait for table in tables for loss in table}


# --- random values

class RandomValues:
    """Random values as Python has them. `without` takes the traits of RandomValues.h."""

    CORNERS = [0, 1, 0.0, 1.0, True, False, "", "a", "é", b"", b"\0", 255, 256, 65535, 65536,
               2 ** 32 - 1, 2 ** 32, 2 ** 63 - 1, -1, -2 ** 31, -2 ** 63, 0.1, 1e300, -1.5,
               "x" * 14, "y" * 15, "é" * 14, "é" * 15, "z" * 255, "z" * 256, b"1" * 14, b"2" * 15,
               EPOCH, datetime.datetime(9999, 12, 31, 23, 59, 59),
               datetime.datetime(1970, 1, 1), datetime.datetime(2040, 2, 29, 12, 30, 59)]
    RARE = [("integers-of-16-bytes", 2 ** 63), ("integers-of-16-bytes", 2 ** 64 - 1),
            ("reals-of-17-digits", 2.2250738585072014e-308), ("reals-of-17-digits", 5e-324),
            ("negative-zero", -0.0), ("infinity", math.inf), ("infinity", -math.inf),
            ("nan", math.nan), ("nul", "a\0b"), ("control-characters", "\x01\x1f"),
            ("carriage-returns", "a\rb\r\nc"), ("noncharacters", "\ufffe\uffff"),
            ("astral-characters", "\U0001f600 \U0010fffd"),
            ("byte-order-marks", "a\ufeffb"), ("early-dates", datetime.datetime(1, 1, 1)),
            ("fractions-of-seconds", datetime.datetime(2024, 5, 17, 1, 2, 3, 250_000)),
            ("fractions-of-seconds", datetime.datetime(1999, 1, 1, 0, 0, 0, 1))]
    ALPHABET = "abcdefghijklmnopqrstuvwxyz ABC0123456789_$/:.-\"'\\<>&;,=(){}\n\t"
    LETTERS = "éßŁ÷łЖ\u0301\u2028\u231b日\ufffd"

    def __init__(self, seed, without=()):
        self.random = random.Random(seed)
        self.without = frozenset(without)
        kinds = {"booleans": bool, "integers": int, "reals": float, "dates": datetime.datetime,
                 "data": bytes}
        self.kinds = {kind for trait, kind in kinds.items() if trait not in without} | {str}
        corners = self.CORNERS + [value for trait, value in self.RARE if trait not in without]
        self.corners = [value for value in corners if self.is_carried(value)]
        makers = {int: self.integer, float: self.real, datetime.datetime: self.date,
                  bytes: self.data}
        self.makers = [maker for kind, maker in makers.items() if kind in self.kinds]

    def is_carried(self, value):
        is_ascii = not isinstance(value, str) or value.isascii()
        return type(value) in self.kinds and (is_ascii or "other-than-ascii" not in self.without)

    def value(self, depth=4):
        if depth == 0 or self.random.random() < 0.35:
            return self.scalar()
        count = self.random.choice([0, 1, 2, 3, 4, 5, 16])
        if self.random.random() < 0.5:
            return [self.value(depth - 1 if count < 16 else 0) for _ in range(count)]
        return {self.key(): self.value(depth - 1 if count < 16 else 0) for _ in range(count)}

    def scalar(self):
        if self.random.random() < 0.5:
            return self.random.choice(self.corners)
        if self.makers and self.random.random() < 0.6:
            return self.random.choice(self.makers)()
        return self.text()

    def text(self):
        letters = self.ALPHABET
        if self.random.random() < 0.4 and "other-than-ascii" not in self.without:
            letters += self.LETTERS
        return "".join(self.random.choices(letters, k=self.random.randrange(20)))

    def key(self):
        key = self.random.choice(["name", "enabled", self.text()])
        return key if key or "empty-keys" not in self.without else "key"

    def integer(self):
        return self.random.randrange(-2 ** 63, 2 ** 63) >> self.random.randrange(64)

    def data(self):
        return self.random.randbytes(self.random.randrange(20))

    def real(self):
        if "reals-of-17-digits" in self.without:
            return self.random.randrange(-10 ** 9, 10 ** 9) / 1000
        return self.random.choice([self.random.random(), self.random.gauss(0, 1e6),
                                   self.random.uniform(-1, 1) * 1e-200])

    def date(self):
        return EPOCH + datetime.timedelta(seconds=self.random.randrange(-10 ** 9, 10 ** 9))


def compare(test, got, expected, lists):
    """Compares texts one by one, so that a difference is shown within its own property list."""
    test.assertEqual(len(got), len(expected))
    for number, (ours, theirs, list) in enumerate(zip(got, expected, lists)):
        if ours != theirs:
            at = next((place for place, (a, b) in enumerate(zip(ours, theirs)) if a != b),
                      min(len(ours), len(theirs)))
            near = slice(max(0, at - 60), at + 60)
            test.fail(f"property list {number} reads ...{ours[near]}... in place of "
                      f"...{theirs[near]}...: {list[:300]!r}")


def program_argument():
    """Takes the exchange program from the command line, which unittest reads next."""
    if len(sys.argv) < 2:
        sys.exit(f"usage: {sys.argv[0]} EXCHANGE_PROGRAM")
    return Exchange(sys.argv.pop(1))
