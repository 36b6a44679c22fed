"""What is kept in several places says the same in all of them."""

import os
import re
import subprocess
import sys
import unittest

from ttmlsrc_case import ROOT, SAMPLES, Case


SUBCOMMANDS = {"broadband": "--media", "dvb": "--service", "info": "--json"}  # each with one of its options


def options(text):
    return set(re.findall(r"(?<![-\w])--[a-z][a-z-]+", text))


class Texts(Case):
    def read(self, *names):
        with open(os.path.join(ROOT, *names), encoding="utf-8") as file:
            return file.read()

    def test_help_man_page_and_completion_name_the_same_options(self):
        man = self.read("Client", "ttmlsrc.1").replace("\\-", "-")
        completion = self.read("Client", "ttmlsrc.bash")
        for subcommand, one in SUBCOMMANDS.items():
            with self.subTest(subcommand):
                self.assertIn(".B ttmlsrc %s" % subcommand, man)
                text = self.run_client(subcommand, "--help").out
                # Some examples pipe into other programs, whose options are theirs.
                help_options = options(text.split("Examples:")[0])
                self.assertIn(one, help_options)
                self.assertEqual(help_options - options(man), set())
                completed = re.search(r"^    %s\)\n(.*?);;" % subcommand, completion, re.M | re.S)
                self.assertEqual(help_options, options(completed.group(1)))
                for example in re.findall(r"^  (ttmlsrc .*)$", text.split("Examples:")[1], re.M):
                    self.assertIn("\n%s\n" % example, man)

    def test_man_page_explains_every_script_word(self):
        script = self.read("Client", "ttmlsrc.1").split(".SH SCRIPT")[1].split(".SH")[0].replace("\\-", "-")
        words = re.search(r"Script words: (.*)", self.run_client("dvb", "--help").out).group(1)
        for word in re.findall(r"(?:^|, )([a-z-]+)", words):
            self.assertRegex(script, r'(?m)^\.B[RI]? "?(.* )?%s\b' % word)

    def test_the_makers_write_the_samples_that_are_kept(self):
        made = self.path("made.mp4")
        subprocess.run([sys.executable, os.path.join(SAMPLES, "make_stpp.py"), "--out", made,
                        "--dash", self.path("dash")], check=True, stdout=subprocess.DEVNULL)
        pairs = [(made, os.path.join(SAMPLES, "subtitles.mp4"))]
        kept = os.path.join(SAMPLES, "dash")
        for folder, _, names in os.walk(kept):
            for name in names:
                path = os.path.join(folder, name)
                pairs.append((self.path("dash", os.path.relpath(path, kept)), path))
        self.assertGreater(len(pairs), 10)
        for written, expected in pairs:
            with open(written, "rb") as one, open(expected, "rb") as other:
                self.assertEqual(one.read(), other.read(), expected)


if __name__ == "__main__":
    unittest.main()
