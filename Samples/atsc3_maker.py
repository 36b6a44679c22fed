"""Building blocks of ATSC 3.0 services with captions: init and media segments of text and image tracks, and the
MPD. make_atsc3.py builds the sample of them; tests build other services, damaged ones too.

ISO/IEC 14496-12 has the boxes, ISO/IEC 14496-30 the `stpp` track and its images, ISO/IEC 23009-1 the MPD. Boxes
that every TTML track has are made in make_stpp.py. Only Python's standard library is used.
"""

import collections
import os
import struct
from xml.sax.saxutils import escape, quoteattr

import make_images
import make_stpp
from make_stpp import TFHD_DEFAULT_BASE_IS_MOOF, TRUN_DATA_OFFSET, TRUN_SAMPLE_DURATION, TRUN_SAMPLE_SIZE
from make_stpp import box, clock_time, full_box, units

TEXT_DOCUMENT = """<?xml version="1.0" encoding="UTF-8"?>
<tt xmlns="http://www.w3.org/ns/ttml" xmlns:ttp="http://www.w3.org/ns/ttml#parameter" \
xmlns:tts="http://www.w3.org/ns/ttml#styling" \
ttp:profile="http://www.w3.org/ns/ttml/profile/imsc1/text" ttp:timeBase="media" xml:lang="{language}">
  <head>
    <layout>
      <region xml:id="low" tts:origin="10% 80%" tts:extent="80% 15%" tts:displayAlign="after" \
tts:textAlign="center"/>
    </layout>
  </head>
  <body region="low">
    <div>
{lines}    </div>
  </body>
</tt>
"""
TEXT_LINE = """      <p begin="{begin}" end="{end}">\
<span tts:color="white" tts:backgroundColor="black">{text}</span></p>
"""

IMAGE_DOCUMENT = """<?xml version="1.0" encoding="UTF-8"?>
<tt xmlns="http://www.w3.org/ns/ttml" xmlns:ttp="http://www.w3.org/ns/ttml#parameter" \
xmlns:tts="http://www.w3.org/ns/ttml#styling" xmlns:ittm="http://www.w3.org/ns/ttml/profile/imsc1#metadata" \
xmlns:smpte="http://www.smpte-ra.org/schemas/2052-1/2010/smpte-tt" \
ttp:profile="http://www.w3.org/ns/ttml/profile/imsc1/image" ttp:timeBase="media" \
tts:extent="{width}px {height}px" xml:lang="{language}">
  <head>
    <layout>
{regions}    </layout>
  </head>
  <body>
{images}  </body>
</tt>
"""
IMAGE_REGION = """      <region xml:id="image{place}" tts:origin="{x}px {y}px" tts:extent="{width}px {height}px" \
tts:showBackground="whenActive"/>
"""
# The number counts the sub-samples behind the document.
IMAGE = """    <div region="image{place}" begin="{begin}" end="{end}" \
smpte:backgroundImage="urn:mpeg:14496-30:subs:{place}">
      <metadata><ittm:altText>{text}</ittm:altText></metadata>
    </div>
"""

EMPTY_DOCUMENT = '<tt xmlns="http://www.w3.org/ns/ttml" xml:lang="{language}"/>'

SCREEN = 1280, 720
IMAGE_HEIGHT, LETTER_WIDTH = 32, 24
IMAGE_TOPS = (632, 56)  # of the first image of a document, and of the second

CAPTION_SCHEME = "http://dashif.org/guidelines/dash-atsc-closedcaption"
ROLE_SCHEME = "urn:mpeg:dash:role:2011"

# One sample: how long it lasts, and its sub-samples, the document and then its images.
Sample = collections.namedtuple("Sample", "ms parts")


class CaptionSet:
    """The captions of a service in one language, which are an adaptation set with one representation.

    `script` lists captions: for how many segments each is shown, and its texts. No text clears the screen; of
    two texts the second follows the first, or as an image stands above it. A caption is the same sample in all
    of its segments. A script that is at its end starts over, and its lines are numbered."""

    def __init__(self, name, language, script, image=False, role="caption", properties=None, codecs=None,
                 timescale=90000):
        self.id = 1  # of the track
        self.name = name  # of the representation, and of its files
        self.language = language
        self.iso_language = name
        self.script = script
        self.image = image
        self.role = role
        self.properties = properties  # the caption property's value; None: there is no such property
        self.codecs = codecs or ("stpp.ttml.im1i" if image else "stpp.ttml.im1t")
        self.timescale = timescale

    def caption(self, index):
        """What is shown in a segment: its first segment, for how many it is shown, and its texts."""
        length = sum(count for count, *_ in self.script)
        first = index - index % length
        around = "" if self.image or not first else "%d. " % (first // length + 1)
        for count, *texts in self.script:
            if index < first + count:
                return first, count, [around + text for text in texts]
            first += count

    def parts(self, index, service):
        """The sub-samples of a segment's sample."""
        first, count, texts = self.caption(index)
        begin, end = service.time_at(first), service.time_at(first + count)
        if not texts:
            return [EMPTY_DOCUMENT.format(language=self.language).encode("utf-8")]
        make = self.image_parts if self.image else self.text_parts
        return make(texts, begin, end)

    def text_parts(self, texts, begin, end):
        step = (end - begin) // len(texts)
        lines = "".join(
            TEXT_LINE.format(begin=clock_time(begin + place * step), end=clock_time(begin + (place + 1) * step),
                             text=escape(text).replace("\n", "<br/>"))
            for place, text in enumerate(texts))
        return [TEXT_DOCUMENT.format(language=self.language, lines=lines).encode("utf-8")]

    def image_parts(self, texts, begin, end):
        regions = images = ""
        pictures = []
        for place, (text, top) in enumerate(zip(texts, IMAGE_TOPS), 1):
            width = len(text) * LETTER_WIDTH
            regions += IMAGE_REGION.format(place=place, x=(SCREEN[0] - width) // 2, y=top, width=width,
                                           height=IMAGE_HEIGHT)
            images += IMAGE.format(place=place, begin=clock_time(begin), end=clock_time(end), text=escape(text))
            pictures.append(make_images.png(make_images.draw(text, width, IMAGE_HEIGHT)))
        document = IMAGE_DOCUMENT.format(width=SCREEN[0], height=SCREEN[1], language=self.language,
                                         regions=regions, images=images)
        return [document.encode("utf-8")] + pictures


def place_of(data, path):
    """The start and the end of a box: `path` is as in "moof/traf/trun", with the first box of each kind."""
    start, end = 0, len(data)
    for depth, kind in enumerate(path.encode("ascii").split(b"/")):
        if depth:
            start += 8
        while start < end and data[start + 4:start + 8] != kind:
            start += struct.unpack(">I", data[start:start + 4])[0]
        if start >= end:
            raise ValueError("no box " + path)
        end = start + struct.unpack(">I", data[start:start + 4])[0]
    return start, end


def replaced(data, path, new):
    """The box at `path` replaced by `new`, and the boxes around it of the right size again."""
    start, end = place_of(data, path)
    grown = len(new) - (end - start)
    changed = bytearray(data[:start] + new + data[end:])
    kinds = path.split("/")
    for depth in range(1, len(kinds)):
        start, end = place_of(data, "/".join(kinds[:depth]))
        changed[start:start + 4] = struct.pack(">I", end - start + grown)
    return bytes(changed)


def file_type(kind, captions):
    brands = make_stpp.ftyp(kind)
    return brands[:-4] + b"im1i" if captions.image else brands


def init_segment(captions):
    movie = make_stpp.moov([captions], captions)
    if captions.image:
        # The auxiliary types tell that the samples hold images behind their documents.
        entry = box(b"stpp", bytes(6), struct.pack(">H", 1), b"http://www.w3.org/ns/ttml\0", b"\0",
                    b"image/png\0")
        movie = replaced(movie, "moov/trak/mdia/minf/stbl/stsd",
                         full_box(b"stsd", 0, 0, struct.pack(">I", 1), entry))
    return file_type(b"ftyp", captions) + movie


def sub_samples(samples):
    """SubSampleInformationBox of the samples that have images; nothing where none has."""
    entries, last = [], 0
    wide = any(len(part) > 0xFFFF for sample in samples for part in sample.parts)
    for number, sample in enumerate(samples, 1):
        if len(sample.parts) > 1:
            form = ">IBBI" if wide else ">HBBI"
            table = b"".join(struct.pack(form, len(part), 0, 0, 0) for part in sample.parts)
            entries.append(struct.pack(">IH", number - last, len(sample.parts)) + table)
            last = number
    if not entries:
        return b""
    return full_box(b"subs", 1 if wide else 0, 0, struct.pack(">I", len(entries)), *entries)


def media_segment(captions, sequence, start_ms, samples):
    """styp, sidx, moof and mdat."""
    table = b"".join(struct.pack(">II", units(sample.ms, captions), sum(map(len, sample.parts)))
                     for sample in samples)
    flags = TRUN_DATA_OFFSET | TRUN_SAMPLE_DURATION | TRUN_SAMPLE_SIZE

    def moof(data_offset):
        return box(
            b"moof",
            full_box(b"mfhd", 0, 0, struct.pack(">I", sequence)),
            box(
                b"traf",
                full_box(b"tfhd", 0, TFHD_DEFAULT_BASE_IS_MOOF, struct.pack(">I", captions.id)),
                full_box(b"tfdt", 1, 0, struct.pack(">Q", units(start_ms, captions))),
                full_box(b"trun", 0, flags, struct.pack(">Ii", len(samples), data_offset), table),
                sub_samples(samples),
            ),
        )

    # The data begins behind the header of the mdat that follows the moof.
    media = moof(len(moof(0)) + 8) + box(b"mdat", *[part for sample in samples for part in sample.parts])
    length = sum(sample.ms for sample in samples)
    return (file_type(b"styp", captions)
            + make_stpp.sidx(captions, start_ms, [(len(media), length)], captions) + media)


def duration_of(ms):
    return "PT%d.%03dS" % (ms // 1000, ms % 1000)


STATIC, DYNAMIC, ENDED = range(3)  # a service that is over; one on the air; one on the air that has just ended

MPD = """<?xml version="1.0" encoding="UTF-8"?>
<MPD xmlns="urn:mpeg:dash:schema:mpd:2011" profiles="urn:mpeg:dash:profile:isoff-broadcast:2015"
     {kind}
     availabilityStartTime="{start}" suggestedPresentationDelay="{delay}"
     minBufferTime="PT2S" maxSegmentDuration="{longest}">
  <Period id="1" start="PT0S">
{sets}  </Period>
</MPD>
"""
ADAPTATION_SET = """    <AdaptationSet id="{id}" contentType="text" mimeType="application/mp4" lang="{language}" \
segmentAlignment="true" startWithSAP="1">
{properties}      <Role schemeIdUri="{roles}" value="{role}"/>
      <SegmentTemplate timescale="{timescale}" duration="{duration}" startNumber="{number}"{offset}
                       initialization="$RepresentationID$-init.mp4" media="$RepresentationID$-{form}.m4s"/>
      <Representation id="{name}" codecs="{codecs}" bandwidth="{bandwidth}"/>
    </AdaptationSet>
"""


class Service:
    """Caption sets, with one sample a segment, and the MPD that tells of them.

    Segment `index`, counted from 0, is in the file with the number `first_number` + index, and its decode time
    is `time_at_first` + index * `step_ms`. `start_number` and `time_offset` are what the MPD says of both; they
    follow the first two unless given, so that the first segment is presented at the start of the period."""

    def __init__(self, name, sets, segments, step_ms, start, delay, first_number=1, start_number=None,
                 time_at_first=0, time_offset=None, number_form="$Number$"):
        self.name = name  # of the MPD
        self.sets = sets
        self.segments = segments
        self.step_ms = step_ms
        self.start = start  # availabilityStartTime; a text, as is suggestedPresentationDelay
        self.delay = delay
        self.first_number = first_number
        self.start_number = first_number if start_number is None else start_number
        self.time_at_first = time_at_first
        self.time_offset = time_at_first if time_offset is None else time_offset
        self.number_form = number_form

    def time_at(self, index):
        return self.time_at_first + index * self.step_ms

    def set_named(self, name):
        return next(captions for captions in self.sets if captions.name == name)

    def init_name(self, captions):
        return captions.name + "-init.mp4"

    def segment_name(self, captions, index):
        form = self.number_form.replace("$Number%", "%").replace("$Number", "%d").replace("$", "")
        return "%s-%s.m4s" % (captions.name, form % (self.first_number + index))

    def segment(self, captions, index, parts=None, time=None):
        """A segment; with other sub-samples or at another decode time (ms) where given."""
        parts = captions.parts(index, self) if parts is None else parts
        return media_segment(captions, self.first_number + index, self.time_at(index) if time is None else time,
                             [Sample(self.step_ms, parts)])

    def init_files(self):
        return {self.init_name(captions): init_segment(captions) for captions in self.sets}

    def segment_files(self, index):
        """The segments of all sets at one time."""
        return {self.segment_name(captions, index): self.segment(captions, index) for captions in self.sets}

    def files(self, kind=STATIC):
        """All files of the service, from name to bytes."""
        files = {self.name: self.mpd(kind).encode("utf-8")}
        files.update(self.init_files())
        for index in range(self.segments):
            files.update(self.segment_files(index))
        return files

    def mpd(self, kind=STATIC, update="PT2S"):
        """`update`: the minimumUpdatePeriod of a service on the air."""
        length = ' mediaPresentationDuration="%s"' % duration_of(self.segments * self.step_ms)
        told = {
            STATIC: 'type="static"' + length,
            DYNAMIC: 'type="dynamic" minimumUpdatePeriod="%s" timeShiftBufferDepth="PT20S"' % update,
            ENDED: 'type="dynamic"' + length,
        }[kind]
        if kind != STATIC:
            told += ' publishTime="%s"' % self.start
        sets = "".join(self.adaptation_set(number, captions) for number, captions in enumerate(self.sets, 1))
        return MPD.format(kind=told, start=self.start, delay=self.delay, longest=duration_of(self.step_ms),
                          sets=sets)

    def adaptation_set(self, number, captions):
        properties = offset = ""
        if captions.properties is not None:
            properties = '      <SupplementalProperty schemeIdUri="%s" value=%s/>\n' % (
                CAPTION_SCHEME, quoteattr(captions.properties))
        if self.time_offset:
            offset = ' presentationTimeOffset="%d"' % units(self.time_offset, captions)
        return ADAPTATION_SET.format(
            id=number, language=captions.iso_language, properties=properties, roles=ROLE_SCHEME,
            role=captions.role, timescale=captions.timescale, duration=units(self.step_ms, captions),
            number=self.start_number, offset=offset, form=self.number_form, name=captions.name,
            codecs=captions.codecs, bandwidth=64000 if captions.image else 8000)


def write(folder, files):
    """Writes files, from name to bytes; whoever reads the folder at that time finds each whole or not at all."""
    os.makedirs(folder, exist_ok=True)
    for name, data in files.items():
        path = os.path.join(folder, name)
        with open(path + ".part", "wb") as out:
            out.write(data)
        os.replace(path + ".part", path)
