"""What the tests of "ttmlsrc atsc3" share."""

import os
import shutil

import services
from broadcast_case import BroadcastCase
from services import make_atsc3
from ttmlsrc_case import DATA, HIDE, REGISTER_MENU, SAMPLES, SET_MENU_LANG, STARTED, STOPPED, UNREGISTER_MENU

FOLDER = os.path.join(SAMPLES, "atsc3")
SAMPLE = os.path.join(FOLDER, "service.mpd")
SECOND = os.path.join(FOLDER, "second.mpd")

# What a source says at its start, at the first tune and at a later one, and at the end of a run whose track
# plays.
START = [REGISTER_MENU]
TUNE = [HIDE, SET_MENU_LANG, STARTED]
RETUNE = [HIDE, STOPPED, SET_MENU_LANG, STARTED]
END = [STOPPED, UNREGISTER_MENU]


def shown(sample):
    """The text and the number of bytes behind it that a source delivers of a sample: a zero byte ends it."""
    document, images = sample
    if images:
        return document.decode("utf-8"), len(images) + 1
    return document.decode("utf-8") + "\0", 0


def captions(service, name="eng", segments=None):
    """What a source delivers of a service's set, or of some of its segments, counted from 0."""
    return [shown(sample) for sample in services.texts(service, name, segments)]


def caption_of(event):
    return event["data"], event["secondaryBytes"]


class Atsc3Case(BroadcastCase):
    COMMAND = "atsc3"

    def service_of(self, files, name="service.mpd"):
        """Writes the files of a service, from name to bytes, and no others; None in place of bytes leaves one
        out. The path of its MPD."""
        shutil.rmtree(self.path("service"), ignore_errors=True)
        services.write(self.path("service"), {name: data for name, data in files.items() if data is not None})
        return self.path("service", name)

    def play_fast(self, changes=None, *options, service=None):
        """Plays a service, that of the sample unless given, with other files over its own."""
        service = service or make_atsc3.observatory()
        return self.play(self.service_of({**service.files(), **(changes or {})}, service.name), "--fast", *options)

    def assert_delivered(self, run, expected):
        """These captions, each a text and the number of bytes behind it, and status 0."""
        self.assertEqual([caption_of(document) for document in run.documents], expected, run.err)
        self.assertEqual(run.status, 0, run.err)

    def assert_played(self, run, expected):
        """One tune, these captions, and nothing to complain of."""
        self.assertEqual(run.complaints, [])
        self.assert_delivered(run, expected)
        self.assertEqual([code for code in run.codes if code != DATA], START + TUNE + END)
