#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs ternwood-monitor as a user does: shows the sample, follows edits of a copy of it.

    program_test.py MONITOR SAMPLE
"""
import datetime
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import unicodedata
import unittest

MONITOR, SAMPLE = sys.argv[1:3]
PATIENCE = 20.0  # seconds until a line that must come is missed
QUIET = 0.8  # seconds without a line after which none is taken to come


ENGLISH = {"LANG": "C", "TZ": "UTC"}


def show(*arguments, environment=None):
    return subprocess.run([MONITOR, *arguments], capture_output=True, text=True,
                          env=environment or ENGLISH)


def outline(which, environment=None):
    return show("--root", SAMPLE, "--outline", which, environment=environment).stdout.splitlines()


class Follower:
    """A monitor that follows a root, and the lines it prints."""

    def __init__(self, root, *arguments):
        self.process = subprocess.Popen(
            [MONITOR, "--root", root, "--follow", *arguments],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=ENGLISH)
        self.lines = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()
        while not self.next(PATIENCE).startswith("Watching"):
            pass

    def _read(self):
        for line in self.process.stdout:
            self.lines.put(line.rstrip("\n"))

    def next(self, seconds):
        return self.lines.get(timeout=seconds)

    def after(self, edit, count):
        """The lines that follow an edit: waits for `count`, then makes sure no more come."""
        edit()
        lines = [self.next(PATIENCE) for _ in range(count)]
        try:
            while True:
                lines.append(self.next(QUIET))
        except queue.Empty:
            return lines

    def end(self):
        self.process.send_signal(signal.SIGINT)
        _, errors = self.process.communicate(timeout=PATIENCE)
        return self.process.returncode, errors


class Shows(unittest.TestCase):
    def test_the_sample_without_a_warning(self):
        result = show("--root", SAMPLE)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertRegex(result.stdout.splitlines()[0], r"^Events  \d+ jobs in \d+ tables, \d+ disabled$")
        self.assertIn("● Nightly backup", result.stdout)

    def test_columns_that_line_up(self):
        rows = [row for row in outline("events") if " tomas " in row]
        self.assertEqual(len(rows), 4)
        # A wide character is one character and two columns.
        wide = [sum(1 for c in row[:row.index(" tomas ")] if unicodedata.east_asian_width(c) == "W")
                for row in rows]
        self.assertGreater(max(wide), 0)
        columns = {row.index(" tomas ") + w for row, w in zip(rows, wide)}
        self.assertEqual(len(columns), 1)

    def test_a_row_a_table_with_its_jobs_below(self):
        rows = outline("events")
        tables = [row.strip() for row in rows[1:] if not row.startswith("    ")]
        self.assertEqual(tables[:2] + tables[-2:], ["System crontab", "cron.d/backup",
                                                    "Crontab of tomas", "Crontab of www-data"])
        below = rows[rows.index("  Crontab of deploy") + 1:rows.index("  Crontab of tomas")]
        self.assertEqual([row[6:28].strip() for row in below],
                         ["Rebuild the documentat", "Refresh the mirrors", "Remove old builds",
                          "Restart the staging si"])

    def test_what_runs_what_can_be_run_and_what_is_due(self):
        rows = outline("engine")
        self.assertEqual(rows[0], "Engine  3 running, 7 on demand, 52 pending")
        running, demand, pending = (rows.index("  " + group)
                                    for group in ("Running", "On Demand", "Pending"))
        self.assertLess(running, demand)
        self.assertLess(demand, pending)
        self.assertRegex(rows[running + 1], r"▶ Home directories +PID 18091, since 2026-03-29 03:15 ")
        self.assertEqual(demand - running, 4)
        self.assertEqual(sum(1 for row in rows[demand:pending] if "cron.daily" in row), 3)
        self.assertRegex(rows[pending + 1], r"(Today|Tomorrow), \d+:\d\d")
        for name, times in (("Year-end closing", 1), ("Reachability", 1), ("Greylist", 0),
                            ("beacon", 0)):
            self.assertEqual(sum(1 for row in rows[pending:] if name in row), times, name)

    def test_one_outline_or_all(self):
        headings = {"events": "Events", "engine": "Engine", "services": "Services"}
        for which, heading in headings.items():
            rows = outline(which)
            self.assertEqual([row.split("  ")[0] for row in rows if not row.startswith(" ")],
                             [heading])
        rows = show("--root", SAMPLE).stdout.splitlines()
        self.assertEqual([row.split("  ")[0] for row in rows if row and not row.startswith(" ")],
                         list(headings.values()))
        self.assertEqual(outline("services"), ["Services  no services"])

    def test_due_times_by_the_clock_of_the_user(self):
        at_nine = r"Still alive .* 9:00\sAM +cron.d/monitoring"
        for zone in ("UTC", "Asia/Tokyo", "America/New_York"):
            rows = outline("engine", {"LANG": "en_US.UTF-8", "TZ": zone})
            self.assertEqual(sum(1 for row in rows if re.search(at_nine, row)), 1, zone)

    def test_the_clock_of_the_user_be_it_a_name_or_a_rule(self):
        for zone, hours in (("UTC", 0), ("Asia/Tokyo", 9), (":Asia/Tokyo", 9), ("IST-5:30", 5.5)):
            row = next(row for row in outline("engine", {"LANG": "en_US.UTF-8", "TZ": zone})
                       if "Reachability" in row)
            now = datetime.datetime.now(datetime.timezone(datetime.timedelta(hours=hours)))
            soon = [(now + datetime.timedelta(minutes=minutes)).strftime("%-I:%M %p")
                    for minutes in (0, 1)]
            self.assertTrue(any(time in row.replace("\u202f", " ") for time in soon), (row, soon))

    def test_the_language_of_the_user_without_its_locale_installed(self):
        def groups(language):
            rows = outline("engine", {"LANG": language})
            return [row.strip() for row in rows[1:] if not row.startswith("    ")]
        self.assertEqual(groups("de_DE.UTF-8"), ["Läuft", "Auf Abruf", "Anstehend"])
        self.assertEqual(groups("xx"), ["Running", "On Demand", "Pending"])
        german = outline("events", {"LANG": "de_DE.UTF-8"})
        self.assertIn("  Systemweite Crontab", german)
        self.assertIn("  Crontab von anna", german)

    def test_a_process_that_descends_from_cron_and_no_other(self):
        rows = outline("engine")
        self.assertEqual(sum(1 for row in rows if "PID" in row), 3)
        self.assertFalse([row for row in rows if "17410" in row or "18123" in row])

    def test_colours_only_where_they_are_wanted(self):
        self.assertNotIn("\x1b", show("--root", SAMPLE).stdout)
        self.assertIn("\x1b[32m●\x1b[0m", show("--root", SAMPLE, "--colour", "always").stdout)

    def test_a_clear_error_for_a_missing_directory(self):
        result = show("--root", "/does/not/exist")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("/does/not/exist", result.stderr)
        self.assertEqual(len(result.stderr.splitlines()), 1)

    def test_a_clear_error_where_services_cannot_be_browsed(self):
        nobody = ENGLISH | {"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/does/not/exist"}
        result = show("--root", SAMPLE, "--services", "_ipp._tcp", environment=nobody)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(result.stderr, "service browsing|services cannot be browsed")
        self.assertEqual(len(result.stderr.splitlines()), 1)

    def test_output_that_is_lost(self):
        with open("/dev/full", "w") as full:
            result = subprocess.run([MONITOR, "--root", SAMPLE], stdout=full, stderr=subprocess.PIPE,
                                    text=True, env=ENGLISH)
        self.assertEqual((result.returncode, len(result.stderr.splitlines())), (1, 1))

    def test_wrong_usage(self):
        for arguments in (["--unknown"], ["--root"], ["--announcements"], ["--colour", "pink"],
                          ["--outline"], ["--outline", "pink"], ["--services"],
                          ["--simulate", "0"], ["--simulate", "1h"], ["--simulate", "99999"],
                          ["--simulate", "1", "--follow"], ["--simulate", "1", "--paths"],
                          ["--simulate", "1", "--copy", "/root"], ["--copy"], ["--open"],
                          ["--open", "x", "--root", SAMPLE], ["--open", "x", "--follow"],
                          ["--open", "x", "--outline", "events"], ["--copy", "/root", "--follow"],
                          ["--copy", "/root", "--paths"], ["--paths", "--follow"],
                          ["--simulate", "1", "--outline", "events"]):
            result = show(*arguments)
            self.assertEqual((result.returncode, result.stdout), (2, ""), arguments)
            self.assertIn("usage:", result.stderr)

    def test_a_path_for_each_item(self):
        lines = show("--root", SAMPLE, "--outline", "events", "--paths").stdout.splitlines()
        jobs = int(outline("events")[0].split()[1])
        tables = int(outline("events")[0].split()[4])
        self.assertEqual(len(lines), 1 + jobs + tables)
        self.assertEqual(len({line.split("\t")[0] for line in lines}), len(lines))
        self.assertIn("/root/etc/cron.d/backup\tcron.d/backup", lines)

    def test_one_warning_for_a_line_that_cannot_be_understood(self):
        with tempfile.TemporaryDirectory() as root:
            table = pathlib.Path(root, "etc/cron.d/x")
            table.parent.mkdir(parents=True)
            table.write_text("61 * * * * root broken\n5 * * * * root fine\n")
            result = show("--root", root)
            self.assertEqual(result.returncode, 0)
            self.assertEqual(result.stderr,
                             "ternwood-monitor: etc/cron.d/x:1: minute 61 is out of range 0-59\n")
            self.assertIn("fine", result.stdout)
            self.assertIn("1 job in 1 table", result.stdout)


class Exchanges(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.environment = ENGLISH | {"TMPDIR": self.directory.name}

    def tearDown(self):
        self.directory.cleanup()

    def show(self, *arguments):
        return show(*arguments, environment=self.environment)

    def path_of(self, name, which="events"):
        lines = show("--root", SAMPLE, "--outline", which, "--paths").stdout.splitlines()
        return next(line.split("\t")[0] for line in lines if line.endswith("\t" + name))

    def test_a_job_is_copied_in_four_types(self):
        result = self.show("--root", SAMPLE, "--copy", self.path_of("Home directories"))
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        lines = result.stdout.splitlines()
        self.assertEqual([line.split("  ")[0] for line in lines if not line.startswith(" ")],
                         ["org.ternwood.event", "org.ternwood.schedule", "public.file-url",
                          "public.utf8-plain-text"])
        self.assertIn("    kTWEventName      Home directories", lines)
        self.assertIn("    monitor.schedule  15 3 * * *", lines)
        url = next(line.strip() for line in lines if line.strip().startswith("file://"))
        self.assertTrue(url.endswith("/Home%20directories.twschedule"), url)
        opened = self.show("--open", url)
        self.assertEqual((opened.returncode, opened.stderr), (0, ""))
        rows = opened.stdout.splitlines()
        self.assertEqual((rows[0], len(rows)), ("Schedule  1 job", 2))
        self.assertRegex(rows[1], r"● Home directories  15 3 \* \* \*  ")

    def test_what_is_pending_is_copied_opened_and_copied_again(self):
        copied = self.show("--root", SAMPLE, "--outline", "engine", "--copy",
                           "/root/scheduler.pending").stdout
        files = list(pathlib.Path(self.directory.name).rglob("*.twschedule"))
        self.assertEqual([file.name for file in files], ["Pending.twschedule"])
        self.assertEqual(files[0].read_bytes()[:8], b"bplist00")
        self.assertIn("    a file of %d bytes" % files[0].stat().st_size, copied.splitlines())
        opened = self.show("--open", files[0]).stdout.splitlines()
        count = int(outline("engine")[0].split()[-2])
        self.assertEqual((opened[0], len(opened)), ("Schedule  %d jobs" % count, count + 1))
        paths = self.show("--open", files[0], "--paths").stdout.splitlines()
        self.assertEqual(paths[0], "/public.file-url\tpublic.file-url")
        again = self.show("--open", files[0], "--copy", paths[1].split("\t")[0])
        self.assertEqual((again.returncode, again.stderr), (0, ""))
        self.assertTrue(again.stdout.startswith("org.ternwood.event  "))
        self.assertTrue(again.stdout.endswith("    " + paths[1].split("\t")[1] + "\n"))

    def fails(self, pattern, *arguments):
        result = self.show(*arguments)
        self.assertEqual((result.returncode, result.stdout), (1, ""), arguments)
        self.assertRegex(result.stderr, "^ternwood-monitor: .*" + pattern + ".*\n$")

    def test_an_unknown_path(self):
        self.fails("no item at /root/x$", "--root", SAMPLE, "--copy", "/root/x")
        # It is there, in an outline that is not shown.
        self.fails("no item at /root/scheduler.pending$", "--root", SAMPLE, "--outline", "events",
                   "--copy", "/root/scheduler.pending")

    def test_an_item_that_cannot_be_copied(self):
        self.fails("cron.d/backup cannot be copied", "--root", SAMPLE, "--copy",
                   "/root/etc/cron.d/backup")
        self.fails("Reachability cannot be copied", "--root", SAMPLE, "--outline", "engine",
                   "--copy", self.path_of("Reachability", "engine"))

    def test_a_file_that_is_no_schedule(self):
        table = os.path.join(SAMPLE, "etc/crontab")
        self.fails(re.escape(table) + ": this is no schedule", "--open", table)
        record = pathlib.Path(self.directory.name, "record.plist")
        record.write_text("{ a = b; }")
        self.fails("this is no schedule", "--open", record)
        self.fails("there is no such file", "--open", "/does/not/exist")
        self.fails("there is no such file", "--open", self.directory.name)


class Follows(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.root = os.path.join(self.directory.name, "root")
        shutil.copytree(SAMPLE, self.root)
        self.backup = pathlib.Path(self.root, "etc/cron.d/backup")
        self.anna = pathlib.Path(self.root, "var/spool/cron/crontabs/anna")
        self.follower = Follower(self.root)

    def tearDown(self):
        if self.follower:
            self.follower.process.kill()
            self.follower.process.communicate()
        self.directory.cleanup()

    def end(self):
        status, errors = self.follower.end()
        self.follower = None
        self.assertEqual((status, errors), (0, ""))

    def sed(self, script, path):
        return lambda: subprocess.run(["sed", "-i", script, path], check=True)

    def test_edits_exactly_a_line_each(self):
        after = self.follower.after
        with self.subTest("a schedule, by sed -i"):
            self.assertEqual(
                after(self.sed("s/^15 3 \\*/45 4 */", self.backup), 1),
                ["~ Home directories (cron.d/backup): schedule changed from 15 3 * * * to 45 4 * * *"])
        with self.subTest("a name, which moves the job across the list"):
            self.assertEqual(
                after(self.sed("s/^# Home directories/# Zuhause/", self.backup), 1),
                ["~ Zuhause (cron.d/backup): renamed from Home directories to Zuhause"])
        with self.subTest("switched off"):
            self.assertEqual(
                after(self.sed("s/^40 6/#40 6/", self.backup), 1),
                ["~ Read back a random file of last night's backup (cron.d/backup): now disabled"])
        with self.subTest("switched on again, at another time"):
            self.assertEqual(
                after(self.sed("s/^#40 6/41 6/", self.backup), 1),
                ["~ Read back a random file of last night's backup (cron.d/backup): now enabled, "
                 "schedule changed from 40 6 * * * to 41 6 * * *"])
        with self.subTest("appended to"):
            def append():
                with open(self.anna, "a") as table:
                    table.write("# Water the plants\n0 8 * * 5 water --all\n")
            self.assertEqual(after(append, 1),
                             ["+ Water the plants (Crontab of anna): appeared, 0 8 * * 5"])
        with self.subTest("a line deleted"):
            self.assertEqual(after(self.sed("/^0 8 \\* \\* 5 water/d", self.anna), 1),
                             ["- Water the plants (Crontab of anna): vanished"])
        with self.subTest("lines in another order"):
            def reverse():
                jobs = self.anna.read_text().split("# m h  dom mon dow   command\n")[1]
                blocks, block = [], []
                for line in jobs.splitlines(keepends=True):
                    block.append(line)
                    if not line.startswith("# "):
                        blocks.append("".join(block))
                        block = []
                self.assertGreater(len(blocks), 3)
                self.anna.write_text("".join(reversed(blocks)))
            self.assertEqual(after(reverse, 0), [])
        with self.subTest("saved by an editor that writes a new file and renames it"):
            def save():
                fresh = self.backup.with_name("backup.new")
                fresh.write_text(self.backup.read_text().replace("@weekly ", "@monthly"))
                os.rename(fresh, self.backup)
            self.assertEqual(
                after(save, 1),
                ["~ Drop backups older than ninety days (cron.d/backup): "
                 "schedule changed from @weekly to @monthly"])
        with self.subTest("saved by an editor that moves the old file away first"):
            def save_with_backup():
                text = self.backup.read_text()
                os.rename(self.backup, self.backup.with_name("backup~"))
                self.backup.write_text(text.replace("45 4 * * *", "46 4 * * *"))
            self.assertEqual(
                after(save_with_backup, 1),
                ["~ Zuhause (cron.d/backup): schedule changed from 45 4 * * * to 46 4 * * *"])
        with self.subTest("a table comes and goes"):
            table = pathlib.Path(self.root, "etc/cron.d/extra")
            self.assertEqual(after(lambda: table.write_text("@daily root one\n@daily root two\n"), 2),
                             ["+ one (cron.d/extra): appeared, @daily",
                              "+ two (cron.d/extra): appeared, @daily"])
            self.assertEqual(after(table.unlink, 2), ["- one (cron.d/extra): vanished",
                                                      "- two (cron.d/extra): vanished"])
        self.end()

    def test_several_edits_in_one_save(self):
        def edit():
            text = self.anna.read_text()
            text = text.replace("# Monatsabschluss", "# Abschluss").replace("0 7 * * mon", "0 6 * * mon")
            self.anna.write_text(text)
        self.assertEqual(
            sorted(self.follower.after(edit, 2)),
            ["~ Abschluss (Crontab of anna): renamed from Monatsabschluss to Abschluss",
             "~ Wochenübersicht an die Geschäftsleitung (Crontab of anna): "
             "schedule changed from 0 7 * * mon to 0 6 * * mon"])
        self.end()

    def test_nothing_when_a_file_is_only_touched(self):
        self.assertEqual(self.follower.after(lambda: os.utime(self.backup), 0), [])
        self.end()


class FollowsProcesses(unittest.TestCase):
    def test_a_line_when_a_job_ends_and_starts(self):
        with tempfile.TemporaryDirectory() as directory:
            root = os.path.join(directory, "root")
            shutil.copytree(SAMPLE, root)
            follower = Follower(root)
            table = pathlib.Path(root, "etc/cron.d/backup")

            def edit():
                process = pathlib.Path(root, "proc/18141")
                process.rename(process.with_name("18200"))
                (process.with_name("18200") / "stat").write_text(
                    (process.with_name("18200") / "stat").read_text().replace("18141", "18200"))
                shutil.rmtree(pathlib.Path(root, "proc/18091"))
                table.write_text(table.read_text().replace("40 6 * * *", "41 6 * * *"))

            try:
                # Processes are looked at when tables have changed, and each minute.
                self.assertEqual(
                    sorted(follower.after(edit, 4)),
                    sorted(["~ Read back a random file of last night's backup (cron.d/backup): "
                            "schedule changed from 40 6 * * * to 41 6 * * *",
                            "■ Home directories (cron.d/backup): ended",
                            "■ Thumbnails (Crontab of www-data): ended",
                            "▶ Thumbnails (Crontab of www-data): started, PID 18200, "
                            "since 2026-03-29 03:20"]))
                self.assertEqual(follower.end(), (0, ""))
            finally:
                follower.process.kill()
                follower.process.communicate()


    def test_looks_at_processes_and_the_clock_once_a_minute(self):
        with tempfile.TemporaryDirectory() as directory:
            root = os.path.join(directory, "root")
            shutil.copytree(SAMPLE, root)
            follower = Follower(root, "--outline", "engine", "--announcements")
            shutil.rmtree(pathlib.Path(root, "proc/18091"))
            try:
                lines = [follower.next(60 + PATIENCE)]
                # The first look may come just before a minute is over.
                while not lines[-1].startswith("insertion in /scheduler.pending"):
                    lines.append(follower.next(60 + PATIENCE))
                self.assertIn("removal in /scheduler.active at {0}: Home directories", lines)
                self.assertRegex(lines[-1], r"\bReachability\b")  # due every minute
                self.assertEqual(follower.end(), (0, ""))
            finally:
                follower.process.kill()
                follower.process.communicate()


class Simulates(unittest.TestCase):
    def test_an_hour_twice_is_the_same(self):
        first = show("--root", SAMPLE, "--simulate", "1", environment={"TZ": "UTC", "LANG": "C"})
        second = show("--root", SAMPLE, "--simulate", "1",
                      environment={"TZ": "Asia/Tokyo", "LANG": "xx"})
        self.assertEqual((first.returncode, first.stderr), (0, ""))
        self.assertEqual(first.stdout, second.stdout)

    def test_what_happens_in_an_hour(self):
        lines = show("--root", SAMPLE, "--simulate", "1").stdout.splitlines()
        for line in ("01:30:00  ▶ Nightly backup (cron.d/backup): started, PID 2008, since 01:30",
                     "01:37:00  + Office printer (_ipp._tcp., local.): found",
                     "03:06:00  - Office printer (_ipp._tcp., local.): gone"):
            self.assertIn(line, lines)
        # The clocks skip the hour from two to three, and what was due in it comes right after.
        self.assertFalse([line for line in lines if line.startswith("02:")])
        self.assertTrue([line for line in lines if line.startswith("03:00:00  ▶ Long self-test")])
        started = sum(1 for line in lines if "  ▶ " in line)
        ended = sum(1 for line in lines if "  ■ " in line)
        self.assertTrue(any(line.startswith("Summary  1 hour, in which %d jobs started and %d ended"
                                            % (started, ended)) for line in lines))

    def test_how_little_of_its_rows_a_view_touches(self):
        lines = show("--root", SAMPLE, "--simulate", "1").stdout.splitlines()
        summary, _, touched, shown = lines[-4:]
        numbers = re.fullmatch(r"  touched    (\d+) rows of a view: (\d+) inserted, (\d+) removed, "
                               r"(\d+) moved, (\d+) changed", touched)
        total, inserted, removed, moved, changed = map(int, numbers.groups())
        self.assertEqual(total, inserted + removed + moved + changed)
        # A job that starts is a row, and its trigger goes; a service comes and goes with its domain.
        started, ended = map(int, re.search(r"which (\d+) jobs started and (\d+) ended", summary).groups())
        self.assertGreaterEqual(inserted, started + 2)
        self.assertGreaterEqual(removed, ended + started + 2)
        anew = int(re.search(r"would have been ([\d,]+)$", shown)[1].replace(",", ""))
        self.assertLess(total * 40, anew)

    def test_a_table_that_is_edited(self):
        lines = show("--root", SAMPLE, "--simulate", "1").stdout.splitlines()
        edits = [line for line in lines if "  ~ " in line]
        self.assertEqual([line[:8] for line in edits], ["01:43:00", "03:12:00"])
        self.assertIn("*/10 * * * *", edits[0])

    def test_no_file_is_changed(self):
        with tempfile.TemporaryDirectory() as directory:
            root = os.path.join(directory, "root")
            shutil.copytree(SAMPLE, root)
            before = {path: path.read_bytes() for path in pathlib.Path(root).rglob("*")
                      if path.is_file()}
            show("--root", root, "--simulate", "1")
            after = {path: path.read_bytes() for path in pathlib.Path(root).rglob("*")
                     if path.is_file()}
            self.assertEqual(before, after)


class Announces(unittest.TestCase):
    def test_reports_as_they_come(self):
        with tempfile.TemporaryDirectory() as root:
            table = pathlib.Path(root, "etc/cron.d/x")
            table.parent.mkdir(parents=True)
            table.write_text("# A\n1 * * * * root a\n# B\n2 * * * * root b\n# C\n3 * * * * root c\n")
            follower = Follower(root, "--announcements")
            renamed = "# D\n1 * * * * root a\n# B\n2 * * * * root b\n# C\n3 * * * * root c\n"
            # Survivors are paired by position, so all three take over another's content.
            self.assertEqual(follower.after(lambda: table.write_text(renamed), 1),
                             ["replacement in /root at {0-2}: B, C, D"])
            fewer = "# D\n1 * * * * root a\n# C\n3 * * * * root c\n# E\n4 * * * * root e\n"
            self.assertEqual(follower.after(lambda: table.write_text(fewer), 2),
                             ["removal in /root at {0}: B", "insertion in /root at {2}: E"])
            self.assertEqual(follower.end(), (0, ""))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
