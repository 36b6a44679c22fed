"""ATSC 3.0 services over HTTP, and on the air, through ttmlsrc and both shared libraries.

Nothing waits here for time to pass: a segment is written when what came before it has shown, or when the client
has asked for it.
"""

import datetime
import os
import threading
import time
import unittest

import services
from atsc3_case import END, START, TUNE, Atsc3Case, caption_of, captions
from broadcast_case import Live
from services import make_atsc3
from ttmlsrc_case import TIME_LIMIT, Server

SERVICE = make_atsc3.observatory()
FILES = SERVICE.files()
MPD = SERVICE.mpd()
CAPTIONS = captions(SERVICE)

MPD_PATH = "/files/service/" + SERVICE.name
NEW_MPD = "Received signal ATSC3_SERVICE_SIGNALING_DONE_MPD"
# A segment is waited for twice as long as it is. Sanitizers need their time.
STEP_MS = 6000 if os.environ.get("TTML_SANITIZE") else 2500
SOON, LATER = "PT%.1fS" % (STEP_MS / 1000), "PT%.1fS" % (2 * STEP_MS / 1000)


class Network(Atsc3Case):
    def setUp(self):
        super().setUp()
        self.server = Server("--root", self.path(), "--trace")
        self.server.__enter__()
        self.addCleanup(self.server.__exit__)
        # Whoever waits for a request that never comes finds that the server has ended.
        limit = threading.Timer(TIME_LIMIT, self.server.process.kill)
        limit.start()
        self.addCleanup(limit.cancel)

    def serve(self, files, mpd=MPD):
        """Writes a service to where the server finds it, with another MPD."""
        self.service_of({**FILES, SERVICE.name: mpd.encode("utf-8"), **files})
        return self.server.url(MPD_PATH)

    def assert_lines(self, run, *lines):
        """The complaints; {} stands for where the server's files are."""
        place = self.server.url("")
        self.assertEqual([line.replace(place, "{}") for line in run.complaints],
                         ["ttmlsrc: " + line for line in lines], run.err)


class OverHttp(Network):
    NOT_FOUND = "the server refused it, HTTP status 404; check the path of the URL"
    FAILURES = (
        ("/status/404", NOT_FOUND),
        ("/status/500", "the server refused it, HTTP status 500; see the server's log"),
        ("/close/before", "the server closed the connection without an answer (Empty reply from server); check that "
                          "this port speaks http and not https"),
        ("/close/midway", "the server closed the connection before the document was complete (transfer closed with "
                          "500 bytes remaining to read), HTTP status 200; try again"),
    )

    def test_everything_comes(self):
        url = self.serve({})
        self.assert_played(self.play(url, "--fast"), CAPTIONS)
        spanish = self.play(url, "--fast", "--lang", "spa")
        self.assert_played(spanish, captions(SERVICE, "spa"))

    def test_an_mpd_that_does_not_come_is_told(self):
        for path, why in self.FAILURES:
            run = self.play(self.server.url(path), "--fast")
            self.assert_lines(run, "Could not fetch '{}%s': %s" % (path, why))
            self.assertEqual((run.status, run.codes), (1, START + TUNE[:1] + END[1:]))

    def test_a_document_that_is_no_mpd_is_told(self):
        run = self.play(self.server.url("/document"), "--fast")
        self.assert_lines(run, "Cannot read '{}/document': its document is 'tt' and no MPD; give the MPD of a service")
        self.assertEqual((run.status, run.codes), (1, START + TUNE[:1] + END[1:]))

    def test_nobody_who_listens_is_told(self):
        with Server() as gone:
            url = gone.url("/service.mpd")
        run = self.play(url, "--fast")
        self.assertEqual((run.status, len(run.complaints)), (1, 1), run.err)
        self.assertTrue(run.complaints[0].startswith("ttmlsrc: Could not fetch '%s': connection refused (" % url),
                        run.complaints)
        self.assertTrue(run.complaints[0].endswith("; check that the server runs and listens on this port"),
                        run.complaints)

    def test_an_initialization_that_does_not_come_is_told_once(self):
        for path, why in self.FAILURES:
            mpd = MPD.replace("$RepresentationID$-init.mp4", self.server.url(path))
            run = self.play(self.serve({}, mpd), "--fast")
            self.assert_lines(run, "Could not fetch '{}%s': %s" % (path, why))
            self.assertEqual((run.status, run.codes), (1, START + TUNE[:1] + END[1:]))

    def test_segments_that_do_not_come_at_all_are_told_once(self):
        for path, why in self.FAILURES:
            mpd = MPD.replace("$RepresentationID$-$Number$.m4s", self.server.url(path) + "?$Number$")
            run = self.play(self.serve({}, mpd), "--fast")
            self.assert_lines(run, "Could not fetch '{}%s?1': %s" % (path, why))
            self.assertEqual((run.status, run.codes), (1, START + TUNE + END))

    def test_segments_that_are_missing_cost_what_was_in_them(self):
        counted = ("Cannot find all caption segments of '{}%s': 2 in a row were not there; check what receives or "
                   "serves them; the rest is played" % MPD_PATH)
        third = "Could not fetch '{}/files/service/eng-3.m4s': " + self.NOT_FOUND
        for left_out, lines in (([2], [third]), ([2, 3], [third, counted]), ([0, 1], [counted])):
            missing = {SERVICE.segment_name(SERVICE.set_named("eng"), index): None for index in left_out}
            run = self.play(self.serve(missing), "--fast")
            self.assert_lines(run, *lines)
            self.assert_delivered(run, captions(SERVICE, "eng", [index for index in range(SERVICE.segments)
                                                                 if index not in left_out]))

    def test_a_large_mpd_is_taken(self):
        url = self.serve({}, services.padded(MPD, 10 * 1000 * 1000))
        self.assert_played(self.play(url, "--fast"), CAPTIONS)

    def test_a_stalled_server_is_left_when_interrupted(self):
        for path in ("/stall/before", "/stall/headers", "/stall/body"):
            with Live(self, self.server.url(path)) as run:
                run.expect(*START, *TUNE[:1])
                self.assertEqual(self.server.next_trace(), "GET " + path)
                self.assertEqual(self.server.next_trace(), "stalled " + path)
                rest = run.interrupt()
            self.assertEqual((rest.status, rest.codes, rest.complaints), (0, END[1:], []), path)

    def test_a_server_that_never_answers_is_told_when_the_time_is_up(self):
        run = self.play(self.server.url("/stall/before"), "--duration", "300ms")
        self.assert_lines(run, "nothing came from '{}/stall/before' within --duration; check the address and the "
                               "server")
        self.assertEqual(run.status, 1)

    def test_a_stalled_segment_is_left_when_interrupted(self):
        mpd = MPD.replace("$RepresentationID$-$Number$.m4s", self.server.url("/stall/body") + "?$Number$")
        with Live(self, self.serve({}, mpd)) as run:
            run.expect(*START, *TUNE)
            for line in ("GET " + MPD_PATH, "GET /files/service/eng-init.mp4", "GET /stall/body?1",
                         "stalled /stall/body?1"):
                self.assertEqual(self.server.next_trace(), line)
            rest = run.interrupt()
        self.assertEqual((rest.status, rest.codes, rest.complaints), (0, END, []))


class OnTheAir(Network):
    """A service whose first segment is half over when the client tunes in."""

    def environment(self):
        # The log has what a source does about an MPD.
        return {**super().environment(), "TTML_LOG": "info"}

    def air(self, update="PT1S", **changes):
        start = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(milliseconds=STEP_MS / 2)
        told = {"segments": 1000, "step_ms": STEP_MS, "start": start.strftime("%Y-%m-%dT%H:%M:%S.%fZ"), "delay": SOON}
        service = make_atsc3.observatory(**{**told, **changes})
        service.sets = [service.set_named("eng")]
        # Each segment has a caption of its own.
        service.sets[0].script = [(1, "Star %d" % number) for number in range(1, 100)]
        return services.Airing(self.path("service"), service, update)

    def expect_caption(self, run, airing, index):
        """The next caption is that of a segment. Returns its media time, from the segment's."""
        event = run.next_event()
        self.assertEqual((event["event"], caption_of(event)),
                         ("data", captions(airing.service, "eng", [index])[0]))
        return event["mediaTimeMs"] - airing.service.time_at(index)

    def next_log(self, run, words):
        """Reads the standard error up to a line with these words."""
        for line in run.process.stderr:
            if words in line.decode():
                return line.decode()
        self.fail("the run ended without '%s'" % words)

    def assert_interrupted(self, rest):
        self.assertEqual((rest.status, rest.codes, rest.complaints), (0, END, []), rest.err)

    def expect_request(self, path, count=1):
        """Waits until the client has asked for this so many more times."""
        for _ in range(count):
            line = self.server.next_trace()
            while line != "GET " + path:
                self.assertNotEqual(line, "", "nobody asked for " + path)
                line = self.server.next_trace()

    def test_segments_of_a_folder_come_as_they_are_written(self):
        airing = self.air(delay="PT0.5S")
        airing.write_segment()
        with Live(self, airing.path) as run:
            run.expect(*START, *TUNE)
            for index in range(2):
                late = self.expect_caption(run, airing, index)
                # It has been presented for no time yet, but for what this machine takes.
                self.assertTrue(-2 <= late < 60000, late)
                airing.write_segment()
            self.assert_interrupted(run.interrupt())

    def test_segments_of_a_server_come_when_they_are_there(self):
        airing = self.air()
        with Live(self, self.server.url(MPD_PATH), "--fast") as run:
            run.expect(*START, *TUNE)
            for index in range(2):
                # It has been asked for in vain.
                path = "/files/service/eng-%d.m4s" % (index + 1)
                self.expect_request(path)
                airing.write_segment()
                self.expect_caption(run, airing, index)
            self.assert_interrupted(run.interrupt())

    def test_the_initialization_may_come_last(self):
        airing = self.air()
        airing.write_segment()
        beginning = os.path.join(airing.folder, "eng-init.mp4")
        os.rename(beginning, beginning + ".late")
        with Live(self, self.server.url(MPD_PATH), "--fast") as run:
            run.expect(*START, *TUNE[:1])
            self.expect_request("/files/service/eng-init.mp4", 2)
            os.rename(beginning + ".late", beginning)
            run.expect(*TUNE[1:])
            self.expect_caption(run, airing, 0)
            self.assert_interrupted(run.interrupt())

    def test_a_new_mpd_is_signalled_and_read(self):
        airing = self.air()
        airing.write_segment()
        with Live(self, airing.path, "--fast") as run:
            run.expect(*START, *TUNE)
            self.expect_caption(run, airing, 0)
            airing.service.delay = LATER
            airing.write_mpd(make_atsc3.DYNAMIC)
            self.next_log(run, NEW_MPD)
            self.next_log(run, 'Found the property (suggestedPresentationDelay=") with value (%s) in Mpd' % LATER)
            airing.write_segment()
            late = self.expect_caption(run, airing, 1)
            self.assertTrue(-2 <= late < 60000, late)
            rest = run.interrupt()
            self.assertNotIn(NEW_MPD, rest.err)
            self.assert_interrupted(rest)

    def test_an_mpd_that_breaks_is_told_once_and_the_one_before_goes_on(self):
        airing = self.air()
        airing.write_segment()
        with Live(self, self.server.url(MPD_PATH), "--fast") as run:
            run.expect(*START, *TUNE)
            self.expect_caption(run, airing, 0)
            services.write(airing.folder, {SERVICE.name: b"<MPD"})
            self.assertTrue(run.next_complaint().startswith(
                "ttmlsrc: Cannot read '%s': it is no XML (" % self.server.url(MPD_PATH)))
            self.expect_request(MPD_PATH)
            airing.write_segment()
            self.expect_caption(run, airing, 1)
            airing.service.delay = LATER
            airing.write_mpd(make_atsc3.DYNAMIC)
            self.next_log(run, NEW_MPD)
            self.assert_interrupted(run.interrupt())

    def test_an_end_is_found_in_the_mpd(self):
        airing = self.air()
        airing.write_segment()
        with Live(self, airing.path, "--fast") as run:
            run.expect(*START, *TUNE)
            self.expect_caption(run, airing, 0)
            airing.write_segment()
            self.expect_caption(run, airing, 1)
            airing.end()
            rest = run.finish()
        self.assert_interrupted(rest)
        self.assertIn(NEW_MPD, rest.err)

    def test_the_mpd_is_asked_for_after_its_update_period_and_not_before(self):
        airing = self.air("PT1.5S")
        begun = time.monotonic()
        with Live(self, self.server.url(MPD_PATH), "--fast") as run:
            run.expect(*START, *TUNE)
            # At the tune-in, and then every one and a half seconds.
            self.expect_request(MPD_PATH, 3)
            self.assertGreaterEqual(time.monotonic() - begun, 3)
            rest = run.interrupt()
        self.assert_interrupted(rest)
        self.assertNotIn(NEW_MPD, rest.err)

    def test_an_interruption_ends_the_wait_for_a_segment(self):
        airing = self.air()
        with Live(self, airing.path, "--duration", "1h") as run:
            run.expect(*START, *TUNE)
            self.assert_interrupted(run.interrupt())

    def test_an_interruption_ends_the_wait_for_a_time(self):
        # One that is due in more than two minutes would not be waited for.
        airing = self.air(delay="PT100S")
        airing.write_segment()
        with Live(self, self.server.url(MPD_PATH)) as run:
            run.expect(*START, *TUNE)
            self.expect_request("/files/service/eng-1.m4s")
            self.assert_interrupted(run.interrupt())


if __name__ == "__main__":
    unittest.main()
