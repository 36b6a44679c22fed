"""What is kept in several places says the same in all of them."""

import os
import re
import subprocess
import sys
import unittest

from ttmlsrc_case import ROOT, SAMPLES, Case


def options(text):
    return set(re.findall(r"(?<![-\w])--[a-z][a-z-]+", text))


class Texts(Case):
    def read(self, *names):
        with open(os.path.join(ROOT, *names), encoding="utf-8") as file:
            return file.read()

    def test_help_man_page_and_completion_name_the_same_options(self):
        help_options = options(self.run_client("broadband", "--help").out)
        self.assertIn("--media", help_options)
        man = options(self.read("Client", "ttmlsrc.1").replace("\\-", "-"))
        self.assertEqual(help_options - man, set())
        self.assertEqual(help_options - options(self.read("Client", "ttmlsrc.bash")), set())

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
