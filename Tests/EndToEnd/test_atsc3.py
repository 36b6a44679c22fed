"""Captions of an ATSC 3.0 service, through ttmlsrc and both shared libraries."""

import os
import unittest

import services
from atsc3_case import (END, FOLDER, RETUNE, SAMPLE, SECOND, START, TUNE, Atsc3Case, caption_of, captions)
from broadcast_case import Live
from services import make_atsc3
from ttmlsrc_case import DATA, HIDE, REGISTER_MENU, SET_MENU_LANG, SHOW, STARTED, STOPPED, UNREGISTER_MENU

OBSERVATORY = make_atsc3.observatory()
NIGHT_TRAIN = make_atsc3.night_train()
DYNAMIC = os.path.join(FOLDER, "dynamic.mpd")


class LoggedCase(Atsc3Case):
    log = "warning"

    def environment(self):
        return {**super().environment(), "TTML_LOG": self.log}

    def play_with_log(self, *arguments):
        """With the whole log on the standard error."""
        self.log = "info"
        return self.play(*arguments)


class CaptionsOfAService(LoggedCase):
    def assert_times(self, run, segments, base=0):
        """The media time that the source answers at each delivery is that of the segment, 2002 ms long, and what
        has passed since the caption came."""
        for document, segment in zip(run.documents, segments):
            late = document["mediaTimeMs"] - base - segment * 2002
            self.assertTrue(-1 <= late < 2000, (segment, document["mediaTimeMs"]))

    def test_deliver_the_first_captions_as_reviewed(self):
        run = self.play(SAMPLE, "--fast")
        self.assert_played(run, captions(OBSERVATORY))
        self.assert_times(run, (0, 2, 5, 6, 8, 9, 11, 12))
        self.assert_golden("atsc3-fast.json", run)

    def test_deliver_in_real_time(self):
        # The second caption is due at 4.004 s of the service; the third not before 10 s.
        for mpd in (SAMPLE, DYNAMIC):
            run = self.play(mpd, "--duration", "6s")
            self.assert_played(run, captions(OBSERVATORY)[:2])
            first, second = [document["wallMs"] for document in run.documents]
            self.assertGreaterEqual(second - first, 3900)

    def test_deliver_the_same_at_another_speed(self):
        run = self.play(SAMPLE, "--speed", "20")
        self.assert_played(run, captions(OBSERVATORY))
        self.assertGreaterEqual(run.events[-1]["wallMs"], 1300)
        times = [document["mediaTimeMs"] for document in run.documents]
        self.assertEqual(times, sorted(times))

    def test_deliver_a_dynamic_service_whose_time_is_over(self):
        self.assert_played(self.play(DYNAMIC, "--fast"), captions(OBSERVATORY))

    def test_deliver_the_language_that_is_asked_for(self):
        for tag in ("kor", "ko"):
            self.assert_played(self.play(SAMPLE, "--fast", "--lang", tag), captions(OBSERVATORY, "kor"))

    def test_split_the_images_off(self):
        run = self.play(SAMPLE, "--fast", "--lang", "spa")
        self.assert_played(run, captions(OBSERVATORY, "spa"))
        self.assertEqual([document["dataType"] for document in run.documents], [1, 1, 0, 1, 1, 0, 1])
        self.assert_golden("atsc3-images.json", run)

    def test_write_every_document_and_image_byte_for_byte(self):
        out = self.path("out")
        run = self.play(SAMPLE, "--fast", "--lang", "spa", "--out", out)
        self.assertEqual(run.status, 0, run.err)
        written = {}
        for name in sorted(os.listdir(out)):
            with open(os.path.join(out, name), "rb") as file:
                written[name] = file.read()
        expected = {}
        for number, (document, images) in enumerate(services.texts(OBSERVATORY, "spa"), 1):
            # The caption's last byte is a zero, which goes with what stands at the end.
            expected["%04d.ttml" % number] = document + (b"" if images else b"\0")
            if images:
                expected["%04d.png" % number] = images + b"\0"
        self.assertEqual(written, expected)

    def test_play_the_captions_of_a_url(self):
        url = "file://" + os.path.abspath(SAMPLE)
        self.assert_played(self.play(url, "--fast"), captions(OBSERVATORY))

    def test_play_a_recording_as_the_recorders_player(self):
        run = self.play(SAMPLE, "--fast", "--pvr")
        self.assertEqual(run.complaints, [])
        self.assert_delivered(run, captions(OBSERVATORY))
        self.assertEqual([code for code in run.codes if code != DATA],
                         [REGISTER_MENU, SET_MENU_LANG, STARTED, HIDE, STOPPED, SET_MENU_LANG, STARTED, *END])

    def test_do_not_read_the_mpd_in_the_korean_region(self):
        run = self.play_with_log(SAMPLE, "--fast", "--region", "korea")
        self.assert_played(run, captions(OBSERVATORY))
        self.assertIn("[MPD parsing not required for Korea!]", run.err)
        self.assertNotIn("[Route service!]", run.err)
        # Without the MPD's times it is the caption's own: availability start and presentation delay.
        self.assert_times(run, (0, 2, 5, 6, 8, 9, 11, 12), 1767225600000 + 1500)

    def test_end_after_the_given_duration(self):
        run = self.play(SAMPLE, "--duration", "300ms")
        self.assert_played(run, captions(OBSERVATORY)[:1])

    def test_show_kind_and_text_of_each_caption_to_people(self):
        run = self.run_client("atsc3", SAMPLE, "--fast", "--lang", "spa")
        self.assertEqual(run.status, 0, run.err)
        self.assertIn("IMSC1 image document, 803 B       [image 10.6 KB]", run.out)
        run = self.run_client("atsc3", SAMPLE, "--fast")
        self.assertIn("IMSC1 document, 641 B             The dome is open. Lights out, please.\n", run.out)
        self.assertIn("IMSC1 document, 54 B              (no text)\n", run.out)


class Scripts(LoggedCase):
    def run_script(self, words, *options):
        return self.play(SAMPLE, "--also", SECOND, "--script", words, *options)

    def notices(self, run):
        return [code for code in run.codes if code != DATA]

    def test_tune_by_number_and_file_name(self):
        for name in ("2", "second", "second.mpd", SECOND):
            with Live(self, SAMPLE, "--also", SECOND, "--script", "tune %s; wait 1h" % name) as live:
                codes, last = [], captions(NIGHT_TRAIN, "deu")[0]
                while (event := live.next_event()) and not (event["code"] == DATA and caption_of(event) == last):
                    codes.append(event["code"])
                run = live.interrupt()
            self.assertEqual([code for code in codes if code != DATA], START + TUNE + RETUNE)
            self.assertEqual((run.status, run.codes, run.complaints), (0, END, []))

    def test_tune_after_the_end_of_a_service(self):
        words = "wait 2s; tune 2; wait 1h"
        with Live(self, SAMPLE, "--fast", "--also", SECOND, "--script", words) as live:
            live.expect(*START, *TUNE)
            for caption in captions(OBSERVATORY):
                self.assertEqual(caption_of(live.next_event()), caption)
            live.expect(*RETUNE)
            for caption in captions(NIGHT_TRAIN, "deu"):
                self.assertEqual(caption_of(live.next_event()), caption)
            run = live.interrupt()
        self.assertEqual((run.status, run.codes, run.complaints), (0, END, []))

    def test_fail_at_a_service_that_does_not_exist(self):
        run = self.run_script("tune 3; show")
        self.assertEqual(run.status, 1)
        self.assertEqual(len(run.complaints), 1, run.err)
        self.assertIn("'3'", run.complaints[0])
        self.assertNotIn(SHOW, run.codes)

    def test_show_captions_only_while_the_setting_is_on(self):
        run = self.run_script("caption off; show; caption on; show; hide")
        self.assertEqual(run.status, 0, run.err)
        self.assertEqual(self.notices(run), START + TUNE + [SHOW, HIDE] + END)
        self.assertIn("[Reading vconf_get_int for CAPTION_STATUS returns OFF or Invalid.]", run.err)

    def test_put_the_settings_back_when_they_are_over(self):
        self.run_script("caption off")
        self.assertEqual(self.run_client("settings", "get", "db/menu/caption/caption").out, "1\n")

    def test_leave_the_viewers_settings_alone(self):
        self.run_client("settings", "set", "db/menu/caption/caption", "0")
        run = self.run_script("show")
        self.assertNotIn(SHOW, run.codes)
        self.assertEqual(self.run_client("settings", "get", "db/menu/caption/caption").out, "0\n")

    def test_have_the_source_read_a_new_mpd(self):
        run = self.play_with_log(SAMPLE, "--script", "mpd")
        self.assertEqual(run.status, 0, run.err)
        self.assertEqual(run.err.count("[Received signal ATSC3_SERVICE_SIGNALING_DONE_MPD]"), 1)
        # Once at the subscription, and once more.
        self.assertEqual(run.err.count("[GetMpdData() return: true]"), 2)

    def test_know_no_such_signal_in_the_korean_region(self):
        run = self.play_with_log(SAMPLE, "--region", "korea", "--script", "mpd")
        self.assertEqual(run.status, 0, run.err)
        self.assertNotIn("ATSC3_SERVICE_SIGNALING_DONE_MPD", run.err)

    def test_take_the_screen_from_the_service_and_give_it_back(self):
        run = self.run_script("tvs deactivate; tvs activate")
        self.assertEqual(run.status, 0, run.err)
        self.assertEqual(self.notices(run), START + TUNE + [UNREGISTER_MENU, REGISTER_MENU, SET_MENU_LANG, STOPPED,
                                                            STARTED] + END)

    def test_are_carried_out_in_order(self):
        run = self.run_script("show; tune second; tvs deactivate; tvs activate; pvr stop; pvr play; "
                              "channel-lock on; lock on; show; lock off; show; caption off; show; stop")
        self.assertEqual((run.status, run.complaints), (0, []), run.err)
        back = [UNREGISTER_MENU, REGISTER_MENU, SET_MENU_LANG, STOPPED, STARTED]
        self.assertEqual(self.notices(run), START + TUNE + [SHOW] + RETUNE + back + [HIDE, SHOW] + END)


class WrongUsage(Atsc3Case):
    def assert_refused(self, *arguments, word):
        run = self.run_client("atsc3", *arguments)
        self.assertEqual((run.status, run.out), (2, ""))
        self.assertEqual(len(run.complaints), 1, run.err)
        self.assertIn(word, run.complaints[0])

    def test_is_refused_in_one_line(self):
        self.assert_refused(word="INPUT")
        self.assert_refused("", word="takes a file or a URL")
        self.assert_refused(SAMPLE, "--also", "", word="takes a file or a URL")
        for tag in ("e", "en-", "en--US", "ninetags!", "ninetagss", "1en", "en-ninetagss", "en_US"):
            self.assert_refused(SAMPLE, "--lang", tag, word="takes a language tag, such as en, eng or pt-BR, not '%s'"
                                % tag)
        self.assert_refused(SAMPLE, "--region", "mars", word="takes korea, not 'mars'")
        self.assert_refused(SAMPLE, "--fast", "--speed", "2", word="exclude each other")
        self.assert_refused(SAMPLE, "--script", "caption", word="caption")


if __name__ == "__main__":
    unittest.main()
