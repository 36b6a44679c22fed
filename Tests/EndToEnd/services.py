"""ATSC 3.0 services for tests: the sample's parts rebuilt with something changed, and the sample damaged.

A service's files are a dict from name to bytes, made by Samples/make_atsc3.py: leave one out, cut one short, or
put what a function here returns in its place. Boxes are named by their paths, such as "moof/traf/trun".
"""

import os
import struct
import sys

from ttmlsrc_case import SAMPLES

sys.path.insert(0, SAMPLES)
import make_atsc3  # noqa: E402
from atsc3_maker import Sample, media_segment, place_of, replaced, write  # noqa: E402

PNG_SIGNATURE = b"\x89PNG\r\n\x1a\n"


def texts(service, name, segments=None):
    """The samples that a source delivers of a set that comes whole: a repeat right after its like is left out.
    Each is its document and what is behind it."""
    delivered, last = [], None
    captions = service.set_named(name)
    for index in range(service.segments) if segments is None else segments:
        document, *images = captions.parts(index, service)
        sample = (document, b"".join(images))
        if sample != last:
            delivered.append(sample)
        last = sample
    return delivered


def with_sample(service, name, index, *parts):
    """The file of a segment whose sample has other parts: none, or b"" for one of no bytes."""
    captions = service.set_named(name)
    return {service.segment_name(captions, index): service.segment(captions, index, parts=list(parts))}


def at_time(service, name, index, ms):
    """The file of a segment with another decode time."""
    captions = service.set_named(name)
    return {service.segment_name(captions, index): service.segment(captions, index, time=ms)}


def several_samples(service, name, first, count):
    """The file of segment `first` with the samples of `count` segments in one fragment."""
    captions = service.set_named(name)
    samples = [Sample(service.step_ms, captions.parts(index, service)) for index in range(first, first + count)]
    return {service.segment_name(captions, first): media_segment(
        captions, service.first_number + first, service.time_at(first), samples)}


def with_box_size(data, path, size):
    """A box that lies about its size; the boxes around it do not follow."""
    start, _ = place_of(data, path)
    return data[:start] + struct.pack(">I", size) + data[start + 4:]


def with_number(data, path, at, value, form=">I"):
    """A number in the body of a box, `at` bytes behind its size and kind, replaced."""
    at += place_of(data, path)[0] + 8
    return data[:at] + struct.pack(form, value) + data[at + struct.calcsize(form):]


def with_told_sample_size(segment, size):
    """A segment of one sample whose trun says another size than it has."""
    return with_number(segment, "moof/traf/trun", 16, size)


def with_data_offset(segment, offset):
    return with_number(segment, "moof/traf/trun", 8, offset, ">i")


def without_box(segment, path):
    """A segment without one of the boxes in its moof, or before it; the trun still says where the data is."""
    start, end = place_of(segment, path)
    at = place_of(segment, "moof/traf/trun")[0] + 16
    offset = struct.unpack(">i", segment[at:at + 4])[0]
    changed = replaced(segment, path, b"")
    return with_data_offset(changed, offset - (end - start)) if path.startswith("moof/traf/") else changed


def single_quoted(mpd):
    return mpd.replace('"', "'")


def padded(mpd, size, before="</MPD>"):
    """An MPD of `size` bytes in UTF-8, with a comment before the first `before`."""
    missing = size - len(mpd.encode("utf-8")) - len("<!---->")
    return mpd.replace(before, "<!--" + " " * missing + "-->" + before, 1)


class Airing:
    """A service on the air, which the test writes as it goes: nothing waits here, and nothing is written but when
    the test says so."""

    def __init__(self, folder, service, update="PT2S"):
        self.folder, self.service, self.update = folder, service, update
        self.next = 0
        write(folder, service.init_files())
        self.write_mpd(make_atsc3.DYNAMIC)

    @property
    def path(self):
        return os.path.join(self.folder, self.service.name)

    def write_mpd(self, kind):
        write(self.folder, {self.service.name: self.service.mpd(kind, self.update).encode("utf-8")})

    def write_segment(self, files=None):
        """The next segment of all sets, with other files over them."""
        write(self.folder, {**self.service.segment_files(self.next), **(files or {})})
        self.next += 1

    def end(self):
        """An MPD with a length and no update period, which is that of the segments written."""
        self.service.segments = self.next
        self.write_mpd(make_atsc3.ENDED)
