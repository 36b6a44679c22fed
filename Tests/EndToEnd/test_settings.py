"""The settings that programs share, through ttmlsrc."""

import os
import re
import stat
import subprocess
import unittest

from test_texts import options
from ttmlsrc_case import ROOT, TIME_LIMIT, TTMLSRC, Case

LOCK = "db/menu/broadcasting/channel_lock"
CAPTION = "db/menu/caption/caption"
END = "; until then settings last no longer than the program"


class Settings(Case):
    def environment(self):
        environment = super().environment()
        environment.pop("TTML_SETTINGS", None)
        environment["XDG_STATE_HOME"] = self.path("state")
        return environment

    def settings(self, *words):
        return self.run_client("settings", *words)

    def assert_done(self, run, out=""):
        self.assertEqual((run.status, run.out, run.err), (0, out, ""))

    def assert_complaint(self, run, status, complaint):
        self.assertEqual((run.status, run.out, run.complaints), (status, "", ["ttmlsrc: " + complaint]))

    def test_are_none_at_first(self):
        self.assert_done(self.settings("list"))
        self.assert_done(self.settings("list", "--json"))
        self.assert_complaint(self.settings("get", LOCK), 1,
                              "'%s' has no value; 'ttmlsrc settings list' shows those that have" % LOCK)

    def test_are_kept_and_shown(self):
        self.assert_done(self.settings("set", LOCK, "on"))
        self.assert_done(self.settings("set", "db/b", "-5"))
        self.assert_done(self.settings("set", "db/a", "false"))
        self.assert_done(self.settings("list"), "db/a = off\ndb/b = -5\n%s = on\n" % LOCK)
        self.assert_done(self.settings("get", LOCK), "on\n")
        self.assert_done(self.settings("get", "db/b"), "-5\n")
        self.assert_done(self.settings("set", LOCK, "off"))
        self.assert_done(self.settings("get", LOCK), "off\n")

    def test_are_shown_as_json(self):
        self.settings("set", LOCK, "on")
        self.settings("set", "db/b", "-5")
        lock = '{"key":"%s","type":"bool","value":true}\n' % LOCK
        number = '{"key":"db/b","type":"int","value":-5}\n'
        self.assert_done(self.settings("list", "--json"), number + lock)
        self.assert_done(self.settings("get", LOCK, "--json"), lock)
        self.assert_done(self.settings("get", "db/b", "--json"), number)

    def test_are_in_a_folder_of_the_users_own(self):
        self.assert_done(self.settings("set", LOCK, "on"))
        folder = self.path("state", "ttmlsrc")
        self.assertEqual(stat.S_IMODE(os.stat(folder).st_mode), 0o700)
        self.assertEqual(os.listdir(folder), ["settings.db"])

    def test_numbers_are_those_of_32_bits(self):
        for number in ("-2147483648", "2147483647", "0"):
            self.assert_done(self.settings("set", "db/b", number))
            self.assert_done(self.settings("get", "db/b"), number + "\n")
        for text in ("2147483648", "-2147483649", "1.5", "0x10", "+1", "1 ", "", "maybe", "On"):
            self.assert_complaint(
                self.settings("set", "db/c", text), 2,
                "VALUE takes on, off or a whole number of 32 bits, not '%s'; see ttmlsrc --help" % text)
        self.assert_complaint(self.settings("get", "db/c"), 1,
                              "'db/c' has no value; 'ttmlsrc settings list' shows those that have")

    def test_keep_their_type_unless_told(self):
        self.settings("set", "db/b", "5")
        self.assert_complaint(
            self.settings("set", "db/b", "on"), 1,
            "setting 'db/b' to 'on' failed: it takes a whole number of 32 bits; --type bool changes that")
        self.assert_done(self.settings("get", "db/b"), "5\n")
        self.assert_done(self.settings("set", "db/b", "on", "--type", "bool"))
        self.assert_done(self.settings("get", "db/b"), "on\n")
        self.assert_complaint(self.settings("set", "db/b", "5"), 1,
                              "setting 'db/b' to '5' failed: it takes on or off; --type int changes that")
        self.assert_done(self.settings("set", "db/b", "0"))
        self.assert_done(self.settings("get", "db/b"), "off\n")
        self.assert_done(self.settings("set", "db/b", "1", "--type", "int"))
        self.assert_done(self.settings("get", "db/b"), "1\n")

    def test_that_the_sources_read_have_their_type_from_the_start(self):
        self.assert_done(self.settings("set", LOCK, "1"))
        self.assert_done(self.settings("get", LOCK), "on\n")
        self.assert_complaint(
            self.settings("set", CAPTION, "on"), 1,
            "setting '%s' to 'on' failed: it takes a whole number of 32 bits; --type bool changes that"
            % CAPTION)
        self.assert_done(self.settings("set", CAPTION, "1"))
        self.assert_done(self.settings("get", CAPTION), "1\n")

    def test_refuse_wrong_usage(self):
        usage = "; see ttmlsrc --help"
        self.assert_complaint(self.settings(), 2, "A subcommand is required" + usage)
        self.assert_complaint(self.settings("get"), 2, "KEY is required" + usage)
        self.assert_complaint(self.settings("set", LOCK), 2, "VALUE is required" + usage)
        for key in ("", "x", "db/", "/db/a"):
            self.assert_complaint(self.settings("get", key), 2,
                                  "KEY: takes a key that begins with db/, not '%s'" % key + usage)
        self.assert_complaint(
            self.settings("set", "memory/a", "on"), 2,
            "KEY: takes a key that begins with db/; 'memory/a' lives within the program that sets it" + usage)
        self.assert_complaint(self.settings("set", LOCK, "on", "--type", "text"), 2,
                              "--type: takes int or bool, not 'text'" + usage)
        self.assert_complaint(self.settings("set", LOCK, "on", "--type", "int"), 2,
                              "--type int takes a whole number of 32 bits, not 'on'" + usage)
        self.assert_complaint(self.settings("set", LOCK, "5", "--type", "bool"), 2,
                              "--type bool takes on or off, not '5'" + usage)

    def test_of_a_damaged_store_are_refused_and_it_is_left_alone(self):
        folder = self.path("state", "ttmlsrc")
        os.makedirs(folder)
        file = os.path.join(folder, "settings.db")
        with open(file, "wb") as damaged:
            damaged.write(b"no store" * 1000)
        problem = ("Could not open the settings store '%s': the file is damaged; move it away, and a new one "
                   "is made" % file + END)
        for words in (("list",), ("get", LOCK), ("set", LOCK, "on")):
            self.assert_complaint(self.settings(*words), 1, problem)
        with open(file, "rb") as damaged:
            self.assertEqual(damaged.read(), b"no store" * 1000)

    def test_may_be_set_by_many_at_once(self):
        runs = [self.start_client("settings", "set", "db/%d" % i, str(i)) for i in range(5)]
        for run in runs:
            self.assert_done(self.finish_client(run))
        self.assert_done(self.settings("list"), "".join("db/%d = %d\n" % (i, i) for i in range(5)))

    def test_that_cannot_be_shown_are_a_failure(self):
        self.settings("set", LOCK, "on")
        with open("/dev/full", "wb") as full:
            run = subprocess.run([TTMLSRC, "settings", "list"], env=self.environment(),
                                 stdout=full, stderr=subprocess.PIPE, timeout=TIME_LIMIT)
        self.assertEqual((run.returncode, run.stderr.decode()),
                         (1, "ttmlsrc: writing to standard output failed: No space left on device; check "
                             "where it goes to\n"))

    def test_help_man_page_and_completion_say_the_same(self):
        with open(os.path.join(ROOT, "Client", "ttmlsrc.1"), encoding="utf-8") as file:
            man = file.read().replace("\\-", "-")
        with open(os.path.join(ROOT, "Client", "ttmlsrc.bash"), encoding="utf-8") as file:
            completion = re.search(r"^_ttmlsrc_settings\(\).*?^}", file.read(), re.M | re.S).group(0)
        for words in (("list",), ("get",), ("set",)):
            self.assertIn(".B ttmlsrc settings %s\n" % words[0], man)
            text = self.settings(*words, "--help").out
            named = options(text.split("Examples:")[0])
            completed = re.search(r"^ +(?:\w+ \| )?%s(?: \| \w+)?\) words=\"(--[^\"]*)\"" % words[0],
                                  completion, re.M)
            self.assertEqual(named, options(completed.group(1)))
            self.assertEqual(named - options(man), set())
            for example in re.findall(r"^  (ttmlsrc .*)$", text.split("Examples:")[1], re.M):
                self.assertIn("\n%s\n" % example, man)

    def complete(self, *words):
        """What bash offers for the last word."""
        script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _ttmlsrc; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        environment = self.environment()
        run = subprocess.run(["bash", "-c", script, "bash", os.path.join(ROOT, "Client", "ttmlsrc.bash"),
                              TTMLSRC, *words], env=environment, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, stdin=subprocess.DEVNULL, timeout=TIME_LIMIT)
        self.assertEqual(run.stderr.decode(), "")
        return run.stdout.decode().split()

    def test_are_completed(self):
        self.settings("set", LOCK, "on")
        self.settings("set", "db/b", "5")
        self.assertEqual(self.complete("sett"), ["settings"])
        self.assertEqual(self.complete("settings", ""), ["list", "get", "set", "--help"])
        self.assertEqual(self.complete("settings", "get", "db/m"), [LOCK])
        self.assertEqual(self.complete("settings", "set", ""), ["db/b", LOCK])
        self.assertEqual(self.complete("settings", "set", LOCK, ""), ["on", "off"])
        self.assertEqual(self.complete("settings", "set", LOCK, "on", "--t"), ["--type"])
        self.assertEqual(self.complete("settings", "set", LOCK, "on", "--type", ""), ["int", "bool"])
        self.assertEqual(self.complete("settings", "list", "-"), ["--json", "--help"])


if __name__ == "__main__":
    unittest.main()
