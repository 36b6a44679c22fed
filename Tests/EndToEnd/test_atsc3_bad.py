"""ATSC 3.0 services that are damaged, incomplete or not what they should be, through ttmlsrc and both shared
libraries: one clear line each, and the rest is delivered."""

import os
import re
import struct
import subprocess
import threading
import unittest

import services
from atsc3_case import END, FOLDER, RETUNE, SAMPLE, START, TUNE, Atsc3Case, captions
from services import make_atsc3
from ttmlsrc_case import DATA, TIME_LIMIT, TTMLSRC

SERVICE = make_atsc3.observatory()
FILES = SERVICE.files()
MPD = SERVICE.mpd()
CAPTIONS = captions(SERVICE)
FAR = 60 * 1000  # ms; two times that are as far apart are not the same one on a slow machine

RECEPTION = "db/menu/broadcasting/atsc3_enable"


def name_of(index):
    return SERVICE.segment_name(SERVICE.set_named("eng"), index)


def segment(index):
    return FILES[name_of(index)]


# Of a segment with "Star 1" to "Star 9" for a caption.
STAR_SIZE = len(segment(0)) - len(make_atsc3.ENGLISH[0][1]) + len("Star 1")


class BadCase(Atsc3Case):
    def lines_of(self, run):
        """The complaints, where {} stands for the service's folder."""
        return [line.replace(self.path("service"), "{}") for line in run.complaints]

    def assert_lines(self, run, *lines):
        self.assertEqual(self.lines_of(run), ["ttmlsrc: " + line for line in lines], run.err)

    def assert_refused(self, run, *lines):
        """Nothing comes, and these are the lines."""
        self.assert_lines(run, *lines)
        self.assertEqual((run.status, run.documents), (1, []))

    def assert_delivers(self, changes, expected, *lines, log=(), options=()):
        """The sample with these files in place of its own brings these captions, with these lines and no other,
        and these words are on the log."""
        run = self.play_fast(changes, *options)
        self.assert_lines(run, *lines)
        self.assert_delivered(run, expected)
        for words in log:
            self.assertIn(words, run.err)
        return run


class WhatCannotBePlayed(BadCase):
    def assert_mpd_refused(self, mpd, line):
        data = mpd if isinstance(mpd, bytes) else mpd.encode("utf-8")
        run = self.play_fast({SERVICE.name: data})
        self.assert_refused(run, line)
        self.assertEqual([code for code in run.codes], START + TUNE[:1] + END[1:])

    def test_a_file_that_is_not_there(self):
        for options in ((self.path("none.mpd"),), (SAMPLE, "--also", self.path("none.mpd"))):
            run = self.play(*options)
            self.assert_refused(run, "Cannot read '%s': No such file or directory; check the path"
                                % self.path("none.mpd"))
            self.assertEqual(run.events, [])

    def test_a_folder(self):
        self.assert_refused(self.play(FOLDER), "Cannot read '%s': it is not a regular file; check the path" % FOLDER)

    def test_what_is_no_xml(self):
        for data, why in ((b"", "No document element found at byte 0"),
                          (b"Guten Abend.", "No document element found at byte 12"),
                          (bytes(range(256)) * 40, "No document element found at byte 10240"),
                          (MPD.encode("utf-8")[:700], "Could not determine tag type at byte 699")):
            self.assert_mpd_refused(data, "Cannot read '{}/service.mpd': it is no XML (%s); give the MPD of a service"
                                    % why)

    def test_xml_that_is_no_mpd(self):
        self.assert_mpd_refused("<html><body/></html>", "Cannot read '{}/service.mpd': its document is 'html' and no "
                                                        "MPD; give the MPD of a service")

    def test_no_captions(self):
        line = ("Cannot play '{}/service.mpd': it has no captions (an adaptation set with codecs stpp); give the MPD "
                "of a service with TTML captions")
        self.assert_mpd_refused("<MPD/>", line)
        self.assert_mpd_refused(MPD[:MPD.index("<AdaptationSet")] + MPD[MPD.index("</Period>"):], line)
        self.assert_mpd_refused(MPD.replace("stpp.ttml.im1", "wvtt.x"), line)

    def test_no_captions_in_the_language(self):
        self.assert_refused(self.play_fast({}, "--lang", "fra"),
                            "Cannot play '{}/service.mpd': it has no captions in 'fra'; its languages are: eng, kor, "
                            "spa")

    def test_no_segments(self):
        self.assert_refused(self.play_fast({name_of(index): None for index in range(SERVICE.segments)}),
                            "Cannot play '{}/service.mpd': none of its caption segments is there; put them where the "
                            "MPD names them")

    def test_no_initialization(self):
        whole = FILES["eng-init.mp4"]
        advice = "; check what wrote it, and that the MPD names the initialization segment of captions"
        for data, line in (
            (None, "Cannot read '{}/eng-init.mp4': No such file or directory; check the path"),
            (b"", "Cannot use '{}/eng-init.mp4': it is no initialization segment" + advice),
            (segment(0), "Cannot use '{}/eng-init.mp4': it is no initialization segment" + advice),
            (whole[:200], "Cannot use '{}/eng-init.mp4': it has no TTML track (stpp)" + advice),
            (whole.replace(b"stpp", b"wvtt"), "Cannot use '{}/eng-init.mp4': it has no TTML track (stpp)" + advice),
        ):
            run = self.play_fast({"eng-init.mp4": data})
            self.assert_refused(run, line)
            self.assertEqual(run.codes, START + TUNE[:1] + END[1:])

    def test_times_that_the_source_refuses(self):
        run = self.play_fast({SERVICE.name: MPD.replace(SERVICE.start, "1960-01-01T00:00:00Z").encode("utf-8")})
        self.assert_refused(run, "playing '{}/service.mpd' delivered nothing: none of its 14 captions was taken; the "
                                 "log says why")
        self.assertEqual(run.err.count("Error while storing reference time and offset."), SERVICE.segments)

    def test_reception_that_is_turned_off(self):
        run = self.run_client("settings", "set", RECEPTION, "off")
        self.assertEqual((run.status, run.err), (0, ""))
        advice = "ATSC 3.0 reception is off; turn it on with 'ttmlsrc settings set %s on'" % RECEPTION
        self.assert_refused(self.play(SAMPLE, "--fast"), "playing '%s' delivered nothing: %s" % (SAMPLE, advice))
        self.assert_refused(self.play(SAMPLE, "--duration", "300ms"),
                            "nothing came from '%s' within --duration: %s" % (SAMPLE, advice))
        self.run_client("settings", "set", RECEPTION, "on")
        self.assert_played(self.play(SAMPLE, "--fast"), CAPTIONS)


class Tunes(BadCase):
    def tune(self, script):
        """A run that has a second MPD, which is none."""
        bad = self.write("bad.mpd", b"<html/>")
        return self.play(SAMPLE, "--speed", "0.05", "--also", bad, "--script", script)

    LINE = "Cannot read '%s': its document is 'html' and no MPD; give the MPD of a service"

    def test_to_a_bad_mpd_fail_with_its_line(self):
        for service in ("2", "bad", "bad.mpd", self.path("bad.mpd")):
            run = self.tune("tune %s; show" % service)
            self.assert_lines(run, self.LINE % self.path("bad.mpd"))
            self.assertEqual(run.status, 1)
            # The source has left the first service by then, and has none to play.
            codes = [code for code in run.codes if code != DATA]
            self.assertEqual(codes, START + TUNE + RETUNE[:2] + END[1:])

    def test_to_a_service_that_does_not_exist_fail(self):
        run = self.tune("tune 7; show")
        self.assert_lines(run, "Cannot tune to service '7' of '%s': there is no such service; choose one of "
                               "1 (service.mpd), 2 (bad.mpd)" % SAMPLE)
        self.assertEqual((run.status, [code for code in run.codes if code != DATA]), (1, START + TUNE + END))

    def test_do_not_mind_a_bad_mpd_that_they_do_not_go_to(self):
        run = self.tune("tune 1")
        self.assertEqual((run.status, run.complaints), (0, []))
        self.assertEqual([code for code in run.codes if code != DATA], START + TUNE + RETUNE + END)


class TimesOfTheMpd(BadCase):
    """What the host cannot use it says; what the source finds by its own rules is not what XML says."""

    ORIGIN = 1767225600000 + 1500  # of SERVICE

    def assert_times(self, mpd, media_time, *lines, log=()):
        """All captions come, and the first one at this media time."""
        run = self.assert_delivers({SERVICE.name: mpd.encode("utf-8")}, CAPTIONS, *lines, log=log)
        for document, index in zip(run.documents, (0, 2, 5, 6, 8, 9, 11, 12)):
            # A time was an instant before it is asked for, and is cut to whole milliseconds.
            late = document["mediaTimeMs"] - media_time - SERVICE.time_at(index)
            self.assertTrue(-2 <= late < FAR, (late, index))
        return run

    def test_that_are_not_there_are_0(self):
        start = ' availabilityStartTime="%s"' % SERVICE.start
        delay = ' suggestedPresentationDelay="%s"' % SERVICE.delay
        not_found = 'mpd property (%s=") not found in mpdContent'
        no_start, no_delay = not_found % "availabilityStartTime", not_found % "suggestedPresentationDelay"
        self.assert_times(MPD.replace(start, ""), 0, log=[no_start])
        self.assert_times(MPD.replace(delay, ""), 0, log=[no_delay])
        self.assert_times(MPD.replace(start, "").replace(delay, ""), 0, log=[no_start, no_delay])

    def test_in_single_quotes_are_not_found(self):
        self.assert_times(services.single_quoted(MPD), self.ORIGIN,
                          log=['mpd property (availabilityStartTime=") not found in mpdContent',
                               'mpd property (suggestedPresentationDelay=") not found in mpdContent'])

    def test_in_a_comment_come_first(self):
        # A year before.
        comment = '<!-- availabilityStartTime="2025-01-01T00:00:00Z" --><MPD'
        self.assert_times(MPD.replace("<MPD", comment, 1), 365 * 86400000)

    def test_that_are_no_dates_are_told(self):
        for text, media_time in (("yesterday", 0), ("", 0),
                                 # Months, hours and minutes that there are not count on.
                                 ("2026-13-01T00:00:00Z", -1798761600000),
                                 ("2026-01-01T25:61:61Z", -1767319321000)):
            self.assert_times(MPD.replace(SERVICE.start, text), media_time,
                              "Cannot use the availabilityStartTime of '{}/service.mpd': '%s' is no date and time; "
                              "write it as 2024-05-17T10:30:15Z" % text)

    def test_that_are_no_durations_are_told(self):
        for text in ("1.5", "PT", "PTS", "-PT1S", "", "soon"):
            self.assert_times(MPD.replace(SERVICE.delay, text), 0,
                              "Cannot use the suggestedPresentationDelay of '{}/service.mpd': '%s' is no duration; "
                              "write it as PT2.5S" % text)
        self.assert_times(MPD.replace(SERVICE.delay, "PT1.5"), 0,
                          "Cannot use the suggestedPresentationDelay of '{}/service.mpd': 'PT1.5' is no duration; "
                          "write it as PT2.5S", log=["Invalid time format!"])

    def test_beyond_all_times_are_told(self):
        text = "PT99999999999999999999S"
        run = self.assert_delivers({SERVICE.name: MPD.replace(SERVICE.delay, text).encode("utf-8")}, CAPTIONS,
                                   "Cannot use the suggestedPresentationDelay of '{}/service.mpd': '%s' is no "
                                   "duration; write it as PT2.5S" % text)
        self.assertLess(run.documents[0]["mediaTimeMs"], -9 * 10**18)

    def test_of_the_end_are_found_without_the_mpd(self):
        for text in ("28", "P", ""):
            self.assert_times(MPD.replace("PT28.028S", text), 0,
                              "Cannot use the mediaPresentationDuration of '{}/service.mpd': '%s' is no duration; "
                              "write it as PT2.5S" % text)


class SegmentsThatAreMissing(BadCase):
    def assert_left_out(self, left_out, line, expected=None, mpd=MPD):
        """`expected`: the segments whose captions come, all but those left out unless given."""
        left = [index for index in range(SERVICE.segments) if index not in left_out]
        changes = {name_of(index): None for index in left_out}
        self.assert_delivers({SERVICE.name: mpd.encode("utf-8"), **changes}, captions(SERVICE, "eng", left), line)

    def test_cost_what_was_in_them(self):
        self.assert_left_out([5], "Cannot read '{}/eng-6.m4s': No such file or directory; check the path")

    def test_in_a_row_are_told_once(self):
        for left_out, which in (([0, 1], "1 to 2"), ([2, 3, 4], "3 to 5"), ([12, 13], "13 to 14")):
            self.assert_left_out(left_out, "Cannot find all caption segments of '{}/service.mpd': %s are not there; "
                                           "check what receives or serves them; the rest is played" % which)

    def test_of_a_recording_are_counted(self):
        recorded = SERVICE.mpd(make_atsc3.DYNAMIC)
        for left_out, which in (([2, 3, 4], "3 in a row were"), ([8], "1 was")):
            self.assert_left_out(left_out, "Cannot find all caption segments of '{}/service.mpd': %s not there; "
                                           "check what receives or serves them; the rest is played" % which,
                                 mpd=recorded)


class SegmentsThatAreDamaged(BadCase):
    NONE = "it has no fragment of the TTML track"
    SIZE = "a box in it has a size that cannot be"
    HUGE = 0xFFFFFFFF

    def assert_damaged(self, cases):
        """Each case is what becomes of a segment, whether all of it is delivered, and why not, if that is told. All
        cases are in one service, with a good segment before and behind each, and every segment has a caption of its
        own."""
        service = make_atsc3.observatory(segments=2 * len(cases) + 1)
        service.sets = [service.set_named("eng")]
        service.sets[0].script = [(1, "Star %d" % index) for index in range(service.segments)]
        files = service.files()
        left, lines = [], []
        for index in range(service.segments):
            name = service.segment_name(service.sets[0], index)
            kept = True
            if index % 2:
                change, kept, why = cases[index // 2]
                files[name] = change(files[name])
                if why:
                    lines.append("Cannot read all of '{}/%s': %s; check what wrote the segment; the rest is played"
                                 % (name, why))
            if kept:
                left.append(index)
        run = self.play(self.service_of(files), "--fast")
        self.assert_lines(run, *lines)
        self.assert_delivered(run, captions(service, "eng", left))

    def sized(self, path, size):
        return lambda data: services.with_box_size(data, path, size)

    def test_by_being_cut(self):
        self.assert_damaged([(lambda data, end=end: data[:end], False, why) for end, why in (
            (0, "it is empty"), (1, self.NONE), (8, self.NONE), (60, self.NONE), (150, self.NONE),
            (300, "1 sample ends behind its 300 bytes"))])
        self.assert_damaged([(lambda data: data[:-1], False, "1 sample ends behind its %d bytes" % (STAR_SIZE - 1))])

    def test_by_being_something_else(self):
        self.assert_damaged([(lambda _, other=other: other, False, self.NONE) for other in (
            b"Guten Abend.\n" * 100, FILES["eng-init.mp4"], FILES[SERVICE.name])])

    def test_by_boxes_that_say_a_wrong_size(self):
        cases = []
        for path in ("styp", "sidx", "moof/mfhd"):
            cases += [(self.sized(path, size), False, self.NONE) for size in (0, 1, 7, self.HUGE)]
        for path in ("moof", "moof/traf"):
            cases += [(self.sized(path, size), False, self.NONE) for size in (1, 7)]
            cases.append((self.sized(path, self.HUGE), True, self.SIZE))
        cases.append((self.sized("moof/traf/tfhd", 7), False, self.NONE))
        for path in ("moof/traf/tfhd", "moof/traf/tfdt"):
            cases += [(self.sized(path, size), False, self.SIZE) for size in (0, 1, self.HUGE)]
        cases += [(self.sized("moof/traf/trun", size), False, self.SIZE) for size in (1, 7)]
        cases += [(self.sized(path, self.HUGE), True, self.SIZE) for path in ("moof/traf/trun", "mdat")]
        self.assert_damaged(cases)

    def test_by_boxes_that_say_to_go_on_to_the_end(self):
        # Which those of the file may do.
        self.assert_damaged([(self.sized(path, 0), True, None) for path in ("moof", "mdat")]
                            + [(self.sized(path, 0), True, self.SIZE) for path in ("moof/traf", "moof/traf/trun")])

    def test_by_boxes_that_say_a_wrong_size_of_64_bits(self):
        def sized(path, size):
            def change(data):
                start, _ = services.place_of(data, path)
                return data[:start] + struct.pack(">I4sQ", 1, data[start + 4:start + 8], size) + data[start + 8:]
            return change

        cases = [(sized(path, size), False, self.NONE) for path in ("styp", "sidx", "moof") for size in (0, 15, 16)]
        cases += [(sized(path, size), False, self.NONE) for path in ("styp", "sidx")
                  for size in (1 << 40, (1 << 63) - 1, (1 << 64) - 1)]
        self.assert_damaged(cases)

    def test_by_samples_that_are_not_there(self):
        behind = "1 sample ends behind its %d bytes"
        self.assert_damaged([
            (lambda data: services.with_told_sample_size(data, self.HUGE), False, behind % STAR_SIZE),
            (lambda data: services.with_told_sample_size(data, len(data)), False, behind % STAR_SIZE),
            (lambda data: services.with_data_offset(data, -1000), False, behind % STAR_SIZE),
            (lambda data: services.with_data_offset(data, 0x7FFFFFFF), False, behind % STAR_SIZE),
            (lambda data: services.replaced(data, "mdat", b""), False, behind % 180)])
        # More samples than there are, and more than any segment has.
        self.assert_damaged([(lambda data: services.with_number(data, "moof/traf/trun", 4, self.HUGE), True,
                              self.SIZE)])

    def test_by_boxes_that_are_missing(self):
        self.assert_damaged([
            (lambda data: services.without_box(data, "moof/traf/tfhd"), False, self.NONE),
            (lambda data: services.replaced(data, "moof", b""), False, self.NONE),
            # It goes on where the one before ended.
            (lambda data: services.without_box(data, "moof/traf/tfdt"), True, None)])


class SamplesThatAreUnusual(BadCase):
    def assert_sample(self, parts, between, log=(), name="eng", place=1):
        """What a sample is delivered as, in place of the first one of the second caption."""
        expected = captions(SERVICE, name)
        run = self.assert_delivers(services.with_sample(SERVICE, name, 2, *parts),
                                   expected[:place] + between + expected[place:], log=log, options=("--lang", name))
        return run

    def test_of_0_bytes_is_refused_by_the_source(self):
        self.assert_sample([b""], [], ["Buffer size is invalid=[0]"])
        self.assert_sample([], [], ["Buffer size is invalid=[0]"])

    def test_of_more_than_512_kib_is_refused_by_the_source(self):
        for size in (524289, 600000):
            self.assert_sample([b"x" * size], [], ["Buffer size is invalid=[%d]" % size])
        self.assert_sample([b"x" * 524288], [("x" * 524288 + "\0", 0)])

    def test_with_a_png_signature_in_a_text_stays_whole(self):
        document = SERVICE.set_named("eng").parts(2, SERVICE)[0]
        parts = [document[:100], services.PNG_SIGNATURE, document[100:]]
        whole = b"".join(parts).decode("utf-8", "replace") + "\0"
        run = self.assert_sample([b"".join(parts)], [(whole, 0)])
        self.assertEqual({document["dataType"] for document in run.documents}, {0})

    def test_with_a_png_signature_in_a_document_with_images_is_split_there(self):
        document, *images = SERVICE.set_named("spa").parts(2, SERVICE)
        rest = services.PNG_SIGNATURE + document[100:] + b"".join(images)
        run = self.assert_sample([document[:100] + rest], [(document[:100].decode("utf-8"), len(rest) + 1)],
                                 name="spa")
        self.assertEqual(run.documents[1]["dataType"], 1)

    def test_that_begins_with_an_image_comes_whole_and_as_an_image(self):
        image = SERVICE.set_named("spa").parts(2, SERVICE)[1]
        self.assert_sample([image], [(image.decode("utf-8", "replace") + "\0", len(image) + 1)], name="spa")

    def test_with_a_zero_byte_stays_whole(self):
        self.assert_sample([b"<tt>\0</tt>"], [("<tt>\0</tt>\0", 0)])

    def test_that_is_no_utf8_is_shown_all_the_same(self):
        self.assert_sample([b"<tt>\xff</tt>"], [("<tt>\ufffd</tt>\0", 0)])


class ReferenceTimesThatJump(BadCase):
    def assert_times(self, jumps, expected):
        """`expected`: caption and time."""
        changes = {}
        for index, time in jumps:
            changes.update(services.at_time(SERVICE, "eng", index, time))
        run = self.assert_delivers(changes, [CAPTIONS[number] for number, _ in expected])
        for document, (number, time) in zip(run.documents, expected):
            self.assertTrue(-2 <= document["mediaTimeMs"] - time < FAR, (number, time, document["mediaTimeMs"]))

    REST = [(2, 10010), (3, 12012), (4, 16016), (5, 18018), (6, 22022), (7, 24024)]
    DAY = 86400 * 1000

    def test_forth_are_followed(self):
        # Back to the service's own time the repeats are no longer taken for repeats.
        self.assert_times([(2, self.DAY)], [(0, 0), (1, self.DAY), (1, 6006)] + self.REST)

    def test_back_are_followed(self):
        self.assert_times([(2, 0)], [(0, 0), (1, 0)] + self.REST)

    def test_back_and_forth_are_followed(self):
        self.assert_times([(2, self.DAY), (3, 0), (4, 2 * self.DAY)],
                          [(0, 0), (1, self.DAY), (1, 0), (2, 10010)] + self.REST[1:])

    def test_beyond_all_times_lose_their_segment(self):
        far = services.with_number(segment(2), "moof/traf/tfdt", 4, (1 << 64) - 1, ">Q")
        self.assert_delivers({name_of(2): far}, CAPTIONS,
                             "Cannot read all of '{}/eng-3.m4s': it has no fragment of the TTML track; check what "
                             "wrote the segment; the rest is played")


class HowMuchMemoryItTakes(BadCase):
    MIB = 1024  # KiB, which is what is measured in

    def peak_of(self, path, *options, expected=None):
        """The most that was resident of a run, which brings as many captions where that is given."""
        with open(self.path("out"), "w+b") as out, open(self.path("err"), "w+b") as err:
            process = subprocess.Popen([TTMLSRC, "atsc3", path, "--json", *options], env=self.environment(),
                                       stdin=subprocess.DEVNULL, stdout=out, stderr=err)
            limit = threading.Timer(TIME_LIMIT, process.kill)
            limit.start()
            _, status, used = os.wait4(process.pid, 0)
            limit.cancel()
            process.returncode = os.waitstatus_to_exitcode(status)
            out.seek(0)
            err.seek(0)
            log = err.read().decode("utf-8", "replace")
            self.assertEqual(process.returncode, 0, log)
            self.assertEqual(re.findall("^ttmlsrc: .*", log, re.MULTILINE), [])
            if expected is not None:
                self.assertEqual(sum(b'"event":"data"' in line for line in out), expected)
        return used.ru_maxrss

    def assert_no_growth(self, less, more, limit):
        # Sanitizers keep what has been freed.
        if not os.environ.get("TTML_SANITIZE"):
            self.assertLess(more - less, limit, (less, more))

    def test_does_not_depend_on_the_length_of_a_service(self):
        def service(segments):
            long = make_atsc3.observatory(segments=segments)
            long.sets = [long.set_named("eng")]
            return long

        peaks = []
        for segments in (50, 5000):
            long = service(segments)
            peaks.append(self.peak_of(self.service_of(long.files()), "--fast",
                                      expected=len(captions(long))))
        self.assert_no_growth(*peaks, 4 * self.MIB)

    def test_of_a_large_mpd_is_given_back(self):
        size = 10 * 1000 * 1000
        for mpd in (services.padded(MPD, size), services.padded(MPD, size, "<MPD"), self.with_many_sets(size)):
            path = self.service_of({**FILES, SERVICE.name: mpd.encode("utf-8")})
            self.peak_of(path, "--fast", "--lang", "eng", expected=len(CAPTIONS))
            script = ["--speed", "0.05", "--lang", "eng", "--script"]
            peaks = [self.peak_of(path, *script, "; ".join(["tune 1"] * tunes)) for tunes in (1, 6)]
            self.assert_no_growth(*peaks, size // 1024)

    def with_many_sets(self, size):
        """The sample's MPD with caption sets of a language that nobody wants before its own."""
        begin, end = MPD.index("    <AdaptationSet"), MPD.index("    </AdaptationSet>\n") + len("    </AdaptationSet>\n")
        one = MPD[begin:end].replace('lang="en"', 'lang="fr"')
        return MPD[:begin] + one * (size // len(one)) + MPD[begin:]


if __name__ == "__main__":
    unittest.main()
