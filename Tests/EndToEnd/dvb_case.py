"""What the tests of "ttmlsrc dvb" share."""

import os

from broadcast_case import BroadcastCase, Live
from ttmlsrc_case import (DATA, HIDE, REGISTER_MENU, SAMPLES, SET_MENU_LANG, STARTED, STOPPED, UNREGISTER_MENU)

SAMPLE = os.path.join(SAMPLES, "subtitles.ts")

# What a source says at its start, at a tune, and at the end of a run whose track plays.
START = [REGISTER_MENU, SET_MENU_LANG, STARTED]
TUNE = [HIDE, STOPPED, SET_MENU_LANG, STARTED]
END = [STOPPED, UNREGISTER_MENU]


class DvbCase(BroadcastCase):
    COMMAND = "dvb"

    def play_fast(self, stream, *options):
        """Plays the bytes of a stream."""
        return self.play(self.write("stream.ts", stream), "--fast", *options)

    def assert_played(self, run, texts):
        """One tune, these documents, and nothing to complain of."""
        self.assertEqual(run.complaints, [])
        self.assert_delivered(run, texts)
        self.assertEqual([code for code in run.codes if code != DATA], START + TUNE + END)


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
