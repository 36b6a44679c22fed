"""TTML tracks of media, through ttmlsrc and both shared libraries."""

import json
import os
import signal
import subprocess
import sys
import unittest

from ttmlsrc_case import (DATA, INVALIDATED, PAUSED, RESUMED, ROOT, SAMPLES, SEEK_STARTED, STARTED,
                          STOPPED, Case, Server)

MEDIA = os.path.join(SAMPLES, "subtitles.mp4")
MAKER = os.path.join(SAMPLES, "make_stpp.py")


class TracksOfMedia(Case):
    def play(self, media, *options):
        return self.run_client("broadband", "--media", media, "--json", *options)

    def make(self, name, *options):
        path = self.path(name)
        subprocess.run([sys.executable, MAKER, "--out", path, *options], check=True, stdout=subprocess.DEVNULL)
        return path

    def test_deliver_every_sample_in_order(self):
        run = self.play(MEDIA, "--fast", "--descriptor", "en")
        self.assertEqual(run.status, 0, run.err)
        self.assertEqual(run.err, "")
        self.assert_golden("fast.json", run)
        self.assertEqual([event["thread"] for event in run.events if event["code"] == DATA],
                         ["Inband"] * len(run.documents))

    def test_write_every_document_byte_for_byte(self):
        run = self.play(MEDIA, "--fast", "--out", self.path("out"))
        self.assertEqual(run.status, 0, run.err)
        names = sorted(os.listdir(self.path("out")))
        self.assertEqual(names, ["%04d.ttml" % (n + 1) for n in range(len(run.documents))])
        for name, document in zip(names, run.documents):
            with open(self.path("out", name), encoding="utf-8", newline="") as file:
                self.assertEqual(file.read(), document["data"])

    def test_drop_nothing_when_read_as_fast_as_possible(self):
        media = self.make("many.mp4", "--samples", "2000", "--duration", "40")
        run = self.play(media, "--fast")
        self.assertEqual([document["index"] for document in run.documents], list(range(2000)), run.err)
        self.assertEqual([document["timestamp"] for document in run.documents], list(range(0, 80000, 40)))
        self.assertEqual(run.status, 0, run.err)

    def test_follow_a_script_of_commands(self):
        run = self.play(MEDIA, "--speed", "50", "--script",
                        "play; pause; resume; seek 30s; stop; play; invalidate; stop")
        codes = [code for code in run.codes if code != DATA]
        self.assertEqual(codes, [STARTED, PAUSED, RESUMED, SEEK_STARTED, STOPPED, STARTED, INVALIDATED])
        seek = next(event for event in run.events if event["code"] == SEEK_STARTED)
        self.assertEqual(seek["positionMs"], 30000)
        self.assertIn("Wrong state for StopTrack to be called", run.err)
        self.assertEqual(run.status, 0, run.err)

    def test_play_a_script_as_reviewed(self):
        # So slow that only the sample at each place that is played falls due.
        run = self.play(MEDIA, "--speed", "0.001", "--descriptor", "en", "--script",
                        "play; wait 1s; pause; resume; seek 30s; seek-done; wait 1s; stop")
        self.assertEqual(run.status, 0, run.err)
        self.assert_golden("script-media.json", run)

    def test_hold_back_samples_while_paused(self):
        run = self.play(MEDIA, "--speed", "20", "--script", "play; wait 900ms; pause; wait 1s; resume; wait 900ms")
        codes = run.codes
        paused, resumed = codes.index(PAUSED), codes.index(RESUMED)
        self.assertNotIn(DATA, codes[paused:resumed])
        self.assertIn(DATA, codes[:paused])
        self.assertIn(DATA, codes[resumed:])
        indices = [document["index"] for document in run.documents]
        self.assertEqual(indices, list(range(len(indices))))

    def test_start_at_resume_when_played_while_paused(self):
        run = self.play(MEDIA, "--speed", "20", "--script", "pause; play; resume; wait 500ms; stop")
        codes = [code for code in run.codes if code != DATA]
        self.assertEqual(codes, [STARTED, RESUMED, STOPPED])

    def test_go_on_from_the_place_that_was_sought(self):
        run = self.play(MEDIA, "--fast", "--script", "play; seek 40s; seek-done; wait 1s; stop")
        starts = [document["segStartTimeMs"] for document in run.documents]
        self.assertTrue(any(start >= 40000 for start in starts), starts)

    def test_play_over_http(self):
        with Server("--root", SAMPLES) as server:
            run = self.play(server.url("/files/subtitles.mp4"), "--fast")
            self.assertEqual(run.status, 0, run.err)
            self.assert_golden("fast-no-descriptor.json", run)

    def test_play_a_dash_manifest(self):
        with Server("--root", SAMPLES) as server:
            run = self.play(server.url("/files/dash/manifest.mpd"), "--fast")
        self.assertEqual(run.status, 0, run.err)
        self.assertGreater(len(run.documents), 0)
        times = [document["timestamp"] for document in run.documents]
        self.assertEqual(times, sorted(times))
        self.assertEqual(run.codes[0], STARTED)
        self.assertEqual(run.codes[-1], STOPPED)

    def test_choose_between_tracks(self):
        media = self.make("two.mp4", "--samples", "3", "--tracks", "en,de")
        texts = [[document["data"] for document in self.play(media, "--fast", "--track", n).documents]
                 for n in ("0", "1")]
        self.assertEqual([len(track) for track in texts], [3, 3])
        self.assertNotEqual(texts[0], texts[1])
        run = self.play(media, "--fast", "--track", "2")
        self.assert_failed(run, media)

    def test_leave_segment_times_0_without_durations(self):
        media = self.make("bare.mp4", "--samples", "2", "--no-duration")
        run = self.play(media, "--fast")
        self.assertEqual([(d["segStartTimeMs"], d["segEndTimeMs"]) for d in run.documents], [(0, 0), (0, 0)])

    def test_keep_large_times_of_a_broadcast(self):
        media = self.make("late.mp4", "--samples", "2", "--duration", "2000", "--start-tfdt", "1593700000000")
        run = self.play(media, "--fast")
        self.assertEqual([document["timestamp"] for document in run.documents],
                         [1593700000000, 1593700002000])
        self.assertEqual(run.documents[0]["segStartTimeMs"], 1593700000000)

    def test_fail_with_one_line_for_bad_media(self):
        empty = self.write("empty.mp4", b"")
        noise = self.write("noise.mp4", bytes(range(256)) * 64)
        for media in (empty, noise, self.path("missing.mp4"), os.path.join(ROOT, "README.md")):
            self.assert_failed(self.play(media, "--fast"), media)

    def test_deliver_what_a_truncated_file_still_holds(self):
        with open(MEDIA, "rb") as file:
            whole = file.read()
        media = self.write("cut.mp4", whole[:len(whole) * 2 // 3])
        run = self.play(media, "--fast")
        complete = self.play(MEDIA, "--fast")
        texts = [document["data"] for document in run.documents]
        self.assertGreater(len(texts), 0)
        self.assertEqual(texts, [d["data"] for d in complete.documents][:len(texts)])

    def test_end_cleanly_when_interrupted(self):
        process = self.start_client("broadband", "--media", MEDIA, "--json", "--speed", "0.001")
        first = json.loads(process.stdout.readline())
        self.assertEqual(first["code"], STARTED)
        process.send_signal(signal.SIGINT)
        run = self.finish_client(process)
        self.assertEqual(run.status, 0, run.err)
        self.assertEqual(run.codes[-1], STOPPED)

    def test_end_after_the_given_duration(self):
        run = self.play(MEDIA, "--speed", "0.001", "--duration", "300ms")
        self.assertEqual(run.status, 0, run.err)
        self.assertEqual((run.codes[0], run.codes[-1]), (STARTED, STOPPED))


if __name__ == "__main__":
    unittest.main()
