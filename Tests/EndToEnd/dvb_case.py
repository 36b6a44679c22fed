"""What the tests of "ttmlsrc dvb" share."""

import json
import os
import signal
import subprocess

from ttmlsrc_case import (DATA, HIDE, REGISTER_MENU, SAMPLES, SET_MENU_LANG, STARTED, STOPPED, TIME_LIMIT,
                          UNREGISTER_MENU, Case, Run)

SAMPLE = os.path.join(SAMPLES, "subtitles.ts")

# What a source says at its start, at a tune, and at the end of a run whose track plays.
START = [REGISTER_MENU, SET_MENU_LANG, STARTED]
TUNE = [HIDE, STOPPED, SET_MENU_LANG, STARTED]
END = [STOPPED, UNREGISTER_MENU]


class DvbCase(Case):
    def environment(self):
        environment = super().environment()
        # The settings that a run finds are its own.
        environment["XDG_STATE_HOME"] = self.path("state")
        return environment

    def play(self, stream, *options):
        return self.run_client("dvb", stream, "--json", *options)

    def play_fast(self, stream, *options):
        """Plays the bytes of a stream."""
        return self.play(self.write("stream.ts", stream), "--fast", *options)

    def assert_played(self, run, texts):
        """One tune, these documents, and nothing to complain of."""
        self.assertEqual(run.complaints, [])
        self.assert_delivered(run, texts)
        self.assertEqual([code for code in run.codes if code != DATA], START + TUNE + END)


class Live:
    """A run of "ttmlsrc dvb INPUT" that the test gives its input while it reads what comes of it. A context;
    the run must have been ended in it."""

    def __init__(self, case, input_, *options, stdin=subprocess.DEVNULL):
        self.case = case
        self.process = case.start_client("dvb", input_, "--json", *options, stdin=stdin)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        # Only a test that failed leaves it running.
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()
        self.process.stderr.close()

    def next_event(self):
        line = self.process.stdout.readline()
        self.case.assertNotEqual(line, b"", "the run ended: " + self.read_errors(line))
        return json.loads(line)

    def read_errors(self, line):
        return self.process.stderr.read().decode() if not line else ""

    def expect(self, *codes):
        """Reads as many events, which must have these codes."""
        for code in codes:
            event = self.next_event()
            self.case.assertEqual(event["code"], code, event)

    def expect_document(self):
        event = self.next_event()
        self.case.assertEqual(event["code"], DATA, event)
        return event["data"]

    def next_complaint(self):
        """The next line of the client's own on the standard error."""
        for line in self.process.stderr:
            if line.startswith(b"ttmlsrc: "):
                return line.decode().rstrip("\n")
        return None

    def interrupt(self):
        """Ends the run; returns what is left of it."""
        self.process.send_signal(signal.SIGINT)
        return self.finish()

    def finish(self):
        """Waits for the end of the run; returns what is left of it."""
        out, err = self.process.communicate(timeout=TIME_LIMIT)
        return Run(subprocess.CompletedProcess(self.process.args, self.process.returncode, out, err))


class Feed(Live):
    """A run whose input is a pipe, read as it comes."""

    def __init__(self, case, *options):
        reading, self.pipe = os.pipe()
        super().__init__(case, "-", "--fast", *options, stdin=reading)
        os.close(reading)

    def __exit__(self, *details):
        self.close()
        super().__exit__(*details)

    def send(self, data):
        """Most of what is more than a pipe holds (64 KiB) has been read at the return."""
        while data:
            data = data[os.write(self.pipe, data):]

    def close(self):
        """The input is over."""
        if self.pipe is not None:
            os.close(self.pipe)
            self.pipe = None
