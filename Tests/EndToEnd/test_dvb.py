"""TTML subtitles of a transport stream, through ttmlsrc and both shared libraries."""

import os
import signal
import unittest

import streams
from streams import make_ts
from dvb_case import END, SAMPLE, START, TUNE, DvbCase, Feed
from ttmlsrc_case import (HIDE, PAUSED, REGISTER_MENU, RESUMED, SEEK_STARTED, SET_MENU_LANG, SHOW, STARTED,
                          STOPPED, UNREGISTER_MENU)


class SubtitlesOfAService(DvbCase):
    def test_deliver_the_first_service_with_subtitles_as_reviewed(self):
        run = self.play(SAMPLE, "--fast")
        self.assert_played(run, streams.texts(make_ts.ENG))
        self.assert_golden("dvb-fast.json", run)

    def test_answer_the_media_time_of_each_delivery_in_fast_mode(self):
        # When it has been sent, to within a few packets of 10 ms and a PCR every 40 ms.
        run = self.play(SAMPLE, "--fast", "--service", "102")
        times = [document["mediaTimeMs"] for document in run.documents]
        for number, time in enumerate(times):
            sent = make_ts.FRA.time_at_start + make_ts.FRA.sent(number)
            self.assertTrue(sent < time < sent + 400, (number, times))
        self.assertEqual(times, [document["mediaTimeMs"] for document in
                                 self.play(SAMPLE, "--fast", "--service", "102").documents])

    def test_deliver_the_same_in_real_time(self):
        run = self.play(SAMPLE, "--speed", "20")
        self.assert_played(run, streams.texts(make_ts.ENG))
        self.assertGreaterEqual(run.events[-1]["wallMs"], 1400)
        times = [document["mediaTimeMs"] for document in run.documents]
        self.assertEqual(times, sorted(times))

    def test_deliver_the_language_that_is_asked_for(self):
        run = self.play(SAMPLE, "--fast", "--lang", "deu")
        self.assert_played(run, streams.texts(make_ts.DEU))

    def test_deliver_the_service_that_is_asked_for(self):
        for service in ("102", "0x66", "Phare Doré"):
            run = self.play(SAMPLE, "--fast", "--service", service)
            self.assert_played(run, streams.texts(make_ts.FRA))
            self.assertEqual({document["dataType"] for document in run.documents}, {2})

    def test_deliver_the_same_of_packets_of_every_size(self):
        expected = streams.texts(make_ts.ENG)
        for size in (192, 204):
            stream = make_ts.Stream()
            path = self.write("packets.ts", b"".join(stream.packets(size)))
            self.assert_played(self.play(path, "--fast"), expected)

    def test_deliver_a_longer_stream_whole(self):
        stream = make_ts.Stream(seconds=120)
        path = self.write("long.ts", b"".join(stream.packets()))
        run = self.play(path, "--fast")
        self.assert_played(run, streams.texts(make_ts.ENG, make_ts.ENG.count(120)))

    def test_play_standard_input(self):
        with open(SAMPLE, "rb") as stream:
            run = self.run_client("dvb", "-", "--json", "--fast", stdin=stream)
        self.assert_played(run, streams.texts(make_ts.ENG))

    def test_write_every_document_byte_for_byte(self):
        run = self.play(SAMPLE, "--fast", "--out", self.path("out"))
        names = sorted(os.listdir(self.path("out")))
        self.assertEqual(names, ["%04d.ttml" % (n + 1) for n in range(len(run.documents))])
        written = []
        for name in names:
            with open(self.path("out", name), encoding="utf-8", newline="") as file:
                written.append(file.read())
        self.assertEqual(written, streams.texts(make_ts.ENG))

    def test_show_kind_and_text_of_each_document_to_people(self):
        run = self.run_client("dvb", SAMPLE, "--fast", "--service", "102")
        lines = [line for line in run.out.splitlines() if " data " in line]
        self.assertEqual(len(lines), 9)
        self.assertRegex(lines[0], r"EBU-TT-D document, \d+ B +Le phare n’est plus gardé\.$")
        self.assertNotIn("[hidden]", run.out)
        english = self.run_client("dvb", SAMPLE, "--fast")
        self.assertRegex(english.out, r"IMSC1 document, \d+ B +Somebody left a lantern on the pier\.")

    def test_play_a_recording_as_the_recorders_player(self):
        plain, run = self.play(SAMPLE, "--fast"), self.play(SAMPLE, "--fast", "--pvr")
        self.assert_played(run, streams.texts(make_ts.ENG))
        # The recorder says that it plays when the tune has subscribed already, and at the end ends that.
        for words in ("Already subscribed!", "Not subscribed or already unsubscribed."):
            self.assertEqual(run.err.count(words), plain.err.count(words) + 1, words)

    def test_end_cleanly_when_interrupted(self):
        process = self.start_client("dvb", SAMPLE, "--json", "--speed", "0.05")
        for _ in START + TUNE:
            process.stdout.readline()
        process.send_signal(signal.SIGINT)
        run = self.finish_client(process)
        self.assertEqual((run.status, run.codes), (0, END), run.err)

    def test_end_after_the_given_duration(self):
        run = self.play(SAMPLE, "--speed", "0.05", "--duration", "300ms")
        self.assertEqual((run.status, run.codes[-2:]), (0, END), run.err)


class Scripts(DvbCase):
    """Each run has the sample without its subtitles' packets, which the programme maps still announce, and
    with names and ratings in front: so what a script's word comes upon does not depend on when it is run."""

    QUIET = streams.with_first(streams.without_pid(streams.sample(), *streams.SUBTITLES), 100, streams.SDT_PID,
                               streams.EIT_PID)

    def codes(self, script, *options):
        """What a script adds to a run that starts and tunes."""
        run = self.run_script(script, *options)
        self.assertEqual((run.status, run.complaints), (0, []), run.err)
        self.assertEqual(run.codes[:7], START + TUNE)
        return run.codes[7:]

    def run_script(self, script, *options):
        return self.play(self.write("quiet.ts", self.QUIET), "--script", script, *options)

    def test_of_the_track_are_carried_out_in_order(self):
        self.assertEqual(self.codes("play; pause; resume; seek 10s; seek-done; fonts A, B; dnt 1; stop; play"),
                         [STOPPED, STARTED, PAUSED, RESUMED, SEEK_STARTED, 13, STOPPED, STARTED] + END)

    def test_leave_nothing_to_stop_where_they_stopped_the_track(self):
        self.assertEqual(self.codes("stop"), [STOPPED, UNREGISTER_MENU])
        self.assertEqual(self.codes("invalidate"), [5, UNREGISTER_MENU])

    def test_show_and_hide_the_caption(self):
        self.assertEqual(self.codes("show; hide; show"), [SHOW, HIDE, SHOW] + END)

    def test_tune_by_id_and_name_and_to_the_same_again(self):
        for service in ("102", "0x66", "Phare Doré", "101"):
            self.assertEqual(self.codes("tune " + service), TUNE + END)
        self.assertEqual(self.codes("tune 102; tune 101; tune 102"), TUNE * 3 + END)

    def test_fail_at_a_service_that_does_not_exist(self):
        run = self.run_script("tune 7; show")
        self.assertEqual((run.status, run.codes), (1, START + TUNE + END))
        self.assertEqual(run.complaints, ["ttmlsrc: Cannot tune to service '7' of '%s': there is no such service; "
                                          'choose one of 101 "Harbour TV", 102 "Phare Doré"'
                                          % self.path("quiet.ts")])

    def test_hide_a_service_that_is_locked_while_the_channel_lock_is_on(self):
        self.assertEqual(self.codes("channel-lock on; show; lock on"), [SHOW, HIDE] + END)
        self.assertEqual(self.codes("channel-lock on; lock on; show; lock off; show"), [HIDE, SHOW] + END)
        # One of both alone locks nothing.
        self.assertEqual(self.codes("lock on; show; channel-lock on; channel-lock off; lock off"), [SHOW] + END)

    def test_put_the_channel_lock_back_when_they_are_over(self):
        self.codes("channel-lock on")
        self.assertEqual(self.codes("lock on; show"), [SHOW] + END)

    def test_hide_a_programme_that_is_rated_above_the_limit(self):
        # Service 101 is rated 12, 102 is not.
        self.assertEqual(self.codes("rating 12; show; rating 11; show; rating none; show"),
                         [SHOW, HIDE, SHOW] + END)
        self.assertEqual(self.codes("rating 4; tune 102; show"), [HIDE] + TUNE + [SHOW] + END)
        self.assertEqual(self.codes("tune 102; rating 11; tune 101"), TUNE * 2 + [HIDE] + END)

    def test_take_the_screen_from_the_service_and_give_it_back(self):
        self.assertEqual(self.codes("tvs deactivate; tvs deactivate; tvs activate; tvs activate"),
                         [UNREGISTER_MENU, REGISTER_MENU, SET_MENU_LANG, STOPPED, STARTED] + END)
        # A tune in between plays once, at the activation.
        self.assertEqual(self.codes("tvs deactivate; tune 102; tvs activate"),
                         [UNREGISTER_MENU, HIDE, STOPPED, REGISTER_MENU, SET_MENU_LANG, STARTED] + END)

    def test_end_the_service(self):
        run = self.run_script("tvs terminate; show; lock on; pvr trick")
        self.assertEqual((run.status, run.complaints), (0, []), run.err)
        self.assertEqual(run.codes, START + TUNE + [SHOW, SEEK_STARTED] + END)
        times = [event["mediaTimeMs"] for event in run.events]
        self.assertEqual(times[-4:], [None] * 4)
        self.assertIn("TVS is terminated!", run.err)

    def test_raise_the_recorders_signals(self):
        self.assertEqual(self.codes("pvr stop; pvr play; pvr trick", "--pvr"), [SEEK_STARTED] + END)

    def test_play_as_reviewed(self):
        run = self.run_script("show; rating 11; rating none; show; tune Phare Doré; tvs deactivate; "
                              "tvs activate; pvr stop; pvr play; channel-lock on; lock on; show; stop")
        self.assertEqual((run.status, run.complaints), (0, []), run.err)
        self.assert_golden("dvb-script.json", run)


class WhileTheStreamComes(DvbCase):
    """The test sends the stream piece by piece, and each piece when what came before has shown."""

    SAMPLE = streams.sample()
    TEXTS = streams.texts(make_ts.ENG)

    def send(self, feed, first, last):
        feed.send(streams.seconds(self.SAMPLE, first, last))

    def test_documents_are_shown_as_they_come(self):
        with Feed(self) as feed:
            self.send(feed, 0, 1)
            feed.expect(*START, *TUNE)
            self.assertEqual(feed.expect_document(), self.TEXTS[0])
            self.send(feed, 1, 3.5)
            self.assertEqual(feed.expect_document(), self.TEXTS[1])
            run = feed.interrupt()
        self.assertEqual((run.status, run.codes, run.complaints), (0, END, []))

    def test_a_service_in_the_background_brings_nothing(self):
        with Feed(self, "--script", "tvs deactivate; wait 1h") as feed:
            self.send(feed, 0, 0.5)
            feed.expect(*START, *TUNE, UNREGISTER_MENU)
            self.send(feed, 0.5, 13)
            run = feed.interrupt()
        self.assertEqual((run.status, run.codes), (0, END))

    def test_a_recording_that_stopped_brings_nothing(self):
        with Feed(self, "--pvr", "--script", "pvr stop; pvr trick; wait 1h") as feed:
            self.send(feed, 0, 0.5)
            feed.expect(*START, *TUNE, SEEK_STARTED)
            self.send(feed, 0.5, 13)
            run = feed.interrupt()
        self.assertEqual((run.status, run.codes), (0, END))

    def test_a_tune_changes_to_the_subtitles_of_the_other_service(self):
        with Feed(self, "--script", "tune 102; wait 1h") as feed:
            self.send(feed, 0, 0.5)
            # The second tune needs a clock reference that comes after it began.
            feed.expect(*START, *TUNE, *TUNE[:2])
            self.send(feed, 0.5, 5)
            feed.expect(*TUNE[2:])
            french = streams.texts(make_ts.FRA)
            self.assertEqual([feed.expect_document(), feed.expect_document()], french[:2])
            feed.interrupt()


if __name__ == "__main__":
    unittest.main()
