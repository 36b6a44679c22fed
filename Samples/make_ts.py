#!/usr/bin/env python3
"""Makes an MPEG transport stream with DVB TTML subtitles (ETSI EN 303 560): two services, three languages.

Without options it writes the committed sample, subtitles.ts, beside this script. The output depends on the
options alone. Only Python's standard library is used. README.md tells what the sample holds, and when.
"""

import argparse
import datetime
import os
import sys
from xml.sax.saxutils import escape

from ts_maker import (CLOCKED, DATA, PTS_WRAP, TABLE, Mux, Unit, compressed, eit, latin_1,
                      parental_rating_descriptor, pat, pes, picture, plain, pmt, sdt, service_descriptor,
                      short_event_descriptor, stream_identifier_descriptor, ttml_descriptor, ttml_field, utf_8)

STREAM_ID, NETWORK_ID = 0x0C01, 0xFF01
SDT_PID, EIT_PID = 0x11, 0x12
VIDEO, PRIVATE_DATA = 0x02, 0x06  # stream types
VIDEO_ID, PRIVATE_STREAM_1 = 0xE0, 0xBD  # stream ids of PES packets
PICTURE_MS, PROGRAMME_TABLES_MS, SERVICE_TABLES_MS = 40, 250, 2000
LEAD_MS = 800  # from the start of sending a document to its PTS
REPEAT_MS = 1000
SHOWN_MS = 2000
EVENING = datetime.datetime(2026, 1, 5, 20, 15)

# How a document is sent: one plain segment, one gzip segment, one with zeros behind, a gzip segment and a
# plain one with a sound, or one without text, which clears the screen.
AS_PLAIN, AS_GZIP, AS_PADDED, WITH_SOUND, SILENT = range(5)

ENGLISH = [
    (AS_PLAIN, "The ferry is gone, but its wake is not."),
    (AS_GZIP, "Somebody left a lantern on the pier."),
    (AS_PADDED, "There is a name on it: Μαρία."),
    (WITH_SOUND, "Did you hear that?", "(a foghorn, far out)"),
    (AS_GZIP, "That was no ship.\nThat was the bay & the fog."),
    (AS_PLAIN, "Take the lantern to the keeper."),
    (SILENT,),
    (AS_GZIP, "He has been waiting for it for 30 years."),
    (AS_PADDED, "“灯台,” he says, and lights it."),
    (AS_PLAIN, "And far out, a ship answers."),
    (AS_GZIP, "Three times. Then it is night."),
]
GERMAN = [
    (AS_GZIP, "FRAU: Die Fähre ist weg."),
    (AS_GZIP, "MANN: Da steht eine Laterne."),
    (AS_PADDED, "FRAU: Darauf steht „Μαρία“."),
    (AS_PLAIN, "(Nebelhorn in der Ferne)"),
    (AS_GZIP, "MANN: Kein Schiff,\nnur Bucht & Nebel."),
    (AS_PADDED, "FRAU: Bring sie zum Wärter."),
    (AS_GZIP, "(Schritte auf Holz)"),
    (AS_GZIP, "WÄRTER: Dreißig Jahre …"),
    (AS_PLAIN, "WÄRTER: „灯台“, sagt man dort."),
    (AS_PADDED, "(ein Schiff antwortet)"),
    (AS_GZIP, "(dreimal, dann Stille)"),
]
FRENCH = [
    (AS_PLAIN, "Le phare n’est plus gardé."),
    (AS_PLAIN, "Pourtant, la lampe s’allume."),
    (AS_GZIP, "Chaque soir, à la même heure."),
    (AS_PLAIN, "« Маяк », disait grand-mère."),
    (AS_PADDED, "Elle venait d’un port\nplus froid que le nôtre."),
    (AS_PLAIN, "J’ai monté les marches."),
    (AS_GZIP, "Il n’y avait personne,"),
    (AS_PLAIN, "mais le thé était chaud."),
    (AS_PLAIN, "J’en ai bu une tasse."),
]

IMSC1_TEXT = """<?xml version="1.0" encoding="UTF-8"?>
<tt xmlns="http://www.w3.org/ns/ttml" xmlns:ttp="http://www.w3.org/ns/ttml#parameter" \
xmlns:tts="http://www.w3.org/ns/ttml#styling" \
ttp:profile="http://www.w3.org/ns/ttml/profile/imsc1/text" xml:lang="{language}">
  <head>
    <layout>
      <region xml:id="low" tts:origin="10% 78%" tts:extent="80% 16%" tts:displayAlign="after" \
tts:textAlign="center"/>
      <region xml:id="high" tts:origin="10% 6%" tts:extent="80% 16%" tts:textAlign="center"/>
    </layout>
  </head>
  <body>
    <div region="{region}">
      <p begin="{begin}" end="{end}"><span tts:color="white" tts:backgroundColor="black">{text}</span></p>
    </div>
  </body>
</tt>
"""

EBU_TT_D = """<?xml version="1.0" encoding="UTF-8"?>
<tt:tt xmlns:tt="http://www.w3.org/ns/ttml" xmlns:ttp="http://www.w3.org/ns/ttml#parameter" \
xmlns:tts="http://www.w3.org/ns/ttml#styling" xmlns:ebutts="urn:ebu:tt:style" ttp:timeBase="media" \
ttp:cellResolution="32 15" xml:lang="{language}">
  <tt:head>
    <tt:styling>
      <tt:style xml:id="block" tts:fontFamily="proportionalSansSerif" tts:fontSize="100%" \
tts:lineHeight="125%" tts:textAlign="center" ebutts:linePadding="0.5c"/>
      <tt:style xml:id="line" tts:color="#FFFF00FF" tts:backgroundColor="#000000C2"/>
    </tt:styling>
    <tt:layout>
      <tt:region xml:id="low" tts:origin="10% 70%" tts:extent="80% 20%" tts:displayAlign="after"/>
    </tt:layout>
  </tt:head>
  <tt:body>
    <tt:div style="block">
      <tt:p xml:id="sub1" region="{region}" begin="{begin}" end="{end}">\
<tt:span style="line">{text}</tt:span></tt:p>
    </tt:div>
  </tt:body>
</tt:tt>
"""

EMPTY = '<tt xmlns="http://www.w3.org/ns/ttml" xml:lang="{language}"/>'


def clock_time(ms):
    return "%02d:%02d:%02d.%03d" % (ms // 3600000, ms // 60000 % 60, ms // 1000 % 60, ms % 1000)


class Component:
    """The TTML subtitles of a service in one language."""

    def __init__(self, pid, tag, signalling, language, form, script, first, step, time_at_start):
        self.pid = pid
        self.language = language
        self.form = form
        self.script = script
        self.first, self.step = first, step  # when the first document is sent, and from each to the next; ms
        self.time_at_start = time_at_start  # on the documents' own timeline, ms
        self.descriptors = stream_identifier_descriptor(tag) + signalling

    def sent(self, number):
        return self.first + number * self.step

    def count(self, seconds):
        """How many documents are over before the end."""
        return max(0, (seconds * 1000 - LEAD_MS - SHOWN_MS - self.first) // self.step + 1)

    def documents(self, number):
        """A script that is at its end starts over, and its lines are numbered, so that no two are alike."""
        how, *lines = self.script[number % len(self.script)]
        if number >= len(self.script):
            lines = ["%d. %s" % (number + 1, line) for line in lines]
        begin = self.time_at_start + self.sent(number) + LEAD_MS

        def fill(form, text, region):
            return form.format(language=self.language, region=region, begin=clock_time(begin),
                               end=clock_time(begin + SHOWN_MS),
                               text=escape(text).replace("\n", "<tt:br/>" if form is EBU_TT_D else "<br/>"),
                               ).encode("utf-8")

        if how == SILENT:
            return how, [fill(EMPTY, "", "")]
        return how, [fill(self.form, line, region) for line, region in zip(lines, ("low", "high"))]

    def segments(self, number):
        how, documents = self.documents(number)
        if how == WITH_SOUND:
            return [compressed(documents[0]), plain(documents[1])]
        if how in (AS_PLAIN, SILENT):
            return [plain(documents[0])]
        return [compressed(documents[0], 32 if how == AS_PADDED else 1)]

    def units(self, stream):
        """Each document, and again a second later with the PTS and media time of then."""
        for number in range(self.count(stream.seconds)):
            segments = self.segments(number)
            for at in (self.sent(number), self.sent(number) + REPEAT_MS):
                field = ttml_field((self.time_at_start + at + LEAD_MS) * 10, segments)
                yield Unit(at, DATA, stream.pid_of(self, at),
                           pes(PRIVATE_STREAM_1, stream.clock_at(at + LEAD_MS), field))


class Service:
    def __init__(self, number, pmt_pid, video_pid, colour, description, components, events):
        self.number = number
        self.pmt_pid, self.video_pid = pmt_pid, video_pid
        self.picture = picture(*colour)
        self.description = description
        self.components = components
        self.events = events  # descriptors of the present and of the following event


ENG = Component(0x102, 1, ttml_descriptor("eng", purpose=0x00, profiles=[0x01], suitability=1),
                "en", IMSC1_TEXT, ENGLISH, first=500, step=2500, time_at_start=72900000)
DEU = Component(0x103, 2, ttml_descriptor("deu", purpose=0x10, profiles=[0x00], suitability=2,
                                          text=latin_1("für Gehörlose")),
                "de", EBU_TT_D, GERMAN, first=620, step=2500, time_at_start=72900000)
FRA = Component(0x202, 1, ttml_descriptor("fra", purpose=0x00, profiles=[0x02], text=b"Sous-titres"),
                "fr", EBU_TT_D, FRENCH, first=1000, step=3000, time_at_start=0)
ENG_SECOND_PID = 0x104

HARBOUR = Service(
    101, 0x100, 0x101, (60, 150, 110), service_descriptor(b"Bay Broadcasting", b"Harbour TV"), [ENG, DEU],
    [short_event_descriptor("eng", b"The Lantern", b"A name, a fog and a keeper.")
     + parental_rating_descriptor("GBR", 12),
     short_event_descriptor("eng", b"Late News", b"") + parental_rating_descriptor("GBR", 16)])
# The following event's name is in the default table, ISO/IEC 6937, where accents stand before their letters.
PHARE = Service(
    102, 0x200, 0x201, (180, 100, 150), service_descriptor(latin_1("Télé Côte"), utf_8("Phare Doré")), [FRA],
    [short_event_descriptor("fra", b"Le phare", utf_8("Un thé, très haut.")),
     short_event_descriptor("fra", b"La mar\xc2ee", b"")])


class Stream:
    """All services for a number of seconds. Half-way the English subtitles move to another PID, between a
    document and its repeat. After two thirds the clock wraps, when the PTS of the document last sent already
    has: `start` is set so."""

    def __init__(self, seconds=30, with_ttml=True, services=(HARBOUR, PHARE)):
        self.seconds = seconds
        self.services = services
        self.with_ttml = with_ttml
        documents = ENG.count(seconds)
        self.move_at = ENG.sent(documents // 2) + 500
        self.wrap_at = ENG.sent(documents * 2 // 3) + 400
        self.start = -self.wrap_at * 90 % PTS_WRAP

    def clock_at(self, ms):
        return self.start + ms * 90

    def pid_of(self, component, at):
        return ENG_SECOND_PID if component is ENG and at >= self.move_at else component.pid

    def pictures(self, service):
        """Each picture carries the PCR; services take turns."""
        for at in range(self.services.index(service) * 20, self.seconds * 1000, PICTURE_MS):
            yield Unit(at, CLOCKED, service.video_pid, pes(VIDEO_ID, self.clock_at(at + 200), service.picture))

    def pmt(self, service, at):
        moved = self.with_ttml and ENG in service.components and at >= self.move_at
        streams = [(VIDEO, service.video_pid, b"")]
        if self.with_ttml:
            streams += [(PRIVATE_DATA, self.pid_of(component, at), component.descriptors)
                        for component in service.components]
        return pmt(service.number, service.video_pid, streams, 2 if moved else 1)

    def programme_tables(self):
        programmes = pat(STREAM_ID, {service.number: service.pmt_pid for service in self.services})
        for at in range(0, self.seconds * 1000, PROGRAMME_TABLES_MS):
            yield Unit(at, TABLE, 0, programmes)
            for service in self.services:
                yield Unit(at, TABLE, service.pmt_pid, self.pmt(service, at))

    def service_tables(self):
        names = sdt(STREAM_ID, NETWORK_ID, {service.number: service.description for service in self.services})
        events = [eit(service.number, STREAM_ID, NETWORK_ID, number, 10 * service.number + number,
                      EVENING + datetime.timedelta(minutes=45 * number), 45, descriptors)
                  for service in self.services for number, descriptors in enumerate(service.events)]
        for at in range(0, self.seconds * 1000, SERVICE_TABLES_MS):
            yield Unit(at, TABLE, SDT_PID, names)
            for event in events:
                yield Unit(at, TABLE, EIT_PID, event)

    def feeds(self):
        """What goes into the stream, as Mux.packets() takes it."""
        feeds = [self.programme_tables(), self.service_tables()]
        for service in self.services:
            feeds.append(self.pictures(service))
            if self.with_ttml:
                feeds += [component.units(self) for component in service.components]
        return feeds

    def packets(self, packet_size=188):
        return Mux(self.start, packet_size).packets(self.feeds(), self.seconds)


def seconds_of(text):
    value = int(text)
    if value < 5:
        raise argparse.ArgumentTypeError("'%s' must be 5 or more" % text)
    return value


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    here = os.path.dirname(os.path.abspath(__file__))
    parser.add_argument("--output", metavar="FILE", default=os.path.join(here, "subtitles.ts"),
                        help="where to write it; subtitles.ts beside this script unless given")
    parser.add_argument("--seconds", type=seconds_of, default=30, metavar="N", help="length, 30 unless given")
    parser.add_argument("--packet-size", type=int, default=188, choices=(188, 192, 204),
                        help="192: with a time stamp before each packet; 204: with parity bytes behind")
    parser.add_argument("--no-ttml", action="store_true", help="leave the subtitles out")
    options = parser.parse_args()
    try:
        with open(options.output, "wb") as out:
            out.writelines(Stream(options.seconds, not options.no_ttml).packets(options.packet_size))
    except OSError as error:
        sys.exit("make_ts.py: cannot write %s: %s" % (options.output, error.strerror))


if __name__ == "__main__":
    main()
