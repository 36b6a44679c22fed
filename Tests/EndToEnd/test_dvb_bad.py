"""Transport streams that are damaged or not what they should be, through ttmlsrc and both shared libraries:
one clear line each, and the rest is delivered."""

import os
import re
import struct
import unittest

import streams
from dvb_case import SAMPLE, DvbCase
from streams import Changed, make_ts
from ts_maker import COMPRESSED, PLAIN, compressed, plain, ttml_field

TEXTS = streams.texts(make_ts.ENG)


def without_places(line):
    """How far a stream has been read when a line comes depends on how much is read at once."""
    return re.sub(r"before packet \d+", "before packet N", line)


class WhatCannotBePlayed(DvbCase):
    def assert_refused(self, stream, *lines, options=()):
        """Nothing comes, and these are the lines; {} in them stands for the input."""
        path = self.write("stream.ts", stream) if isinstance(stream, bytes) else stream
        run = self.play(path, "--fast", *options)
        self.assertEqual(run.documents, [])
        self.assertEqual([without_places(line) for line in run.complaints],
                         ["ttmlsrc: " + line.replace("{}", path) for line in lines])
        self.assertEqual(run.status, 1)
        return run

    def test_a_file_that_is_not_there(self):
        self.assert_refused(self.path("none.ts"), "Cannot open '{}': No such file or directory; check the path")

    def test_a_folder(self):
        self.assert_refused(self.path(), "Cannot open '{}': Is a directory; give the path of a file")

    def test_an_address_that_is_none(self):
        self.assert_refused("udp://127.0.0.1",
                            "Cannot open '{}': it has no port from 1 to 65535 at its end; write it as "
                            "udp://239.1.1.1:1234 or rtp://...")

    def test_an_empty_file(self):
        self.assert_refused(b"", "Cannot read '{}': it is empty; check how it was made")

    def test_text(self):
        self.assert_refused(b"Guten Abend.\n" * 100,
                            "'{}' is not a transport stream: no packet with sync byte 0x47 every 188, 192 or 204 "
                            "bytes in its 1300 bytes; check what file it is")

    def test_noise(self):
        self.assert_refused(streams.noise(500000),
                            "'{}' is not a transport stream: no packet with sync byte 0x47 every 188, 192 or 204 "
                            "bytes in its first 64 KB; check what file it is")

    def test_no_program_association(self):
        bare = streams.without_pid(streams.sample(), streams.PAT_PID)
        self.assert_refused(bare, "Cannot tune in '{}': no program association table (PAT) came within 5 s; give "
                                  "a transport stream with its tables")
        self.assert_refused(streams.seconds(bare, 0, 2),
                            "Cannot tune in '{}': it has no program association table (PAT); give a transport "
                            "stream with its tables")

    def test_a_service_that_does_not_exist(self):
        for service in ("7", "Harbour"):
            self.assert_refused(SAMPLE, "Cannot tune to service '%s' of '{}': there is no such service; choose one "
                                'of 101 "Harbour TV", 102 "Phare Doré"' % service, options=("--service", service))

    def test_no_subtitles(self):
        bare = b"".join(make_ts.Stream(with_ttml=False).packets())
        self.assert_refused(bare, "Cannot play subtitles of '{}': no service has TTML (101 \"Harbour TV\": video "
                                  '(MPEG-2); 102 "Phare Doré": video (MPEG-2)); give a stream with TTML subtitles')
        self.assert_refused(bare, "Cannot play subtitles of service 102 \"Phare Doré\" of '{}': it has no TTML, "
                                  "only video (MPEG-2); give a stream with TTML subtitles",
                            options=("--service", "102"))

    def test_scrambled_subtitles(self):
        # The second line is about the PID that the subtitles move to.
        self.assert_refused(
            streams.scrambled(streams.sample(), streams.ENGLISH, streams.ENGLISH_MOVED),
            *("The subtitles of service 101 \"Harbour TV\" of '{}' (PID %d) are scrambled and left out, the first "
              "of them before packet N; give a descrambled stream" % pid
              for pid in (streams.ENGLISH, streams.ENGLISH_MOVED)),
            "errors in '{}': 76 scrambled packets")

    def test_subtitles_that_are_announced_and_do_not_come(self):
        self.assert_refused(streams.without_pid(streams.sample(), streams.ENGLISH, streams.ENGLISH_MOVED),
                            "playing '{}' delivered nothing: no TTML PES packet came; play more of the stream, or "
                            "choose another service or language")

    def test_subtitles_that_cannot_be_read(self):
        run = self.assert_refused(Changed(field=lambda *_: b"no field", documents=2).bytes(),
                                  "playing '{}' delivered nothing: none of its 4 TTML PES packets could be read; "
                                  "the log says why")
        self.assertEqual(run.err.count("PES parsing failed!!!"), 4)


class WhatIsDamaged(DvbCase):
    def assert_delivers(self, stream, texts, *lines, log=()):
        """These documents come, with these lines and no other ({} stands for the input), and these words are
        on the log."""
        run = self.play_fast(stream)
        path = self.path("stream.ts")
        self.assertEqual([without_places(line) for line in run.complaints],
                         ["ttmlsrc: " + line.replace("{}", path) for line in lines])
        self.assert_delivered(run, texts)
        for words in log:
            self.assertIn(words, run.err)

    def test_a_truncated_file_plays_up_to_there(self):
        self.assert_delivers(streams.sample()[:2000 * streams.PACKET + 100], TEXTS[:11],
                             "The last packet of '{}' is cut off after 100 of 188 bytes and left out; check whether "
                             "the recording is complete")

    def test_a_file_that_ends_in_a_document(self):
        # The first document has five packets.
        end = streams.pes_starts(streams.sample(), streams.ENGLISH)[0] + 2
        self.assert_refused_quietly(streams.sample()[:end * streams.PACKET])

    def assert_refused_quietly(self, stream):
        run = self.play_fast(stream)
        self.assertEqual((run.status, run.documents, len(run.complaints)), (1, [], 2), run.err)
        self.assertEqual(run.complaints[-1], "ttmlsrc: errors in '%s': 1 subtitle packet left out"
                         % self.path("stream.ts"))

    def test_noise_between_packets_is_skipped(self):
        for at in (800, 2000):
            self.assert_delivers(streams.with_noise(streams.sample(), at, 5000), TEXTS,
                                 "The packets of '{}' are interrupted by 5000 bytes of something else after packet "
                                 "%d; more such places are counted only; check the recording or the reception" % at,
                                 "errors in '{}': 1 resynchronisation")

    def test_noise_before_the_first_packet_is_skipped(self):
        self.assert_delivers(streams.with_noise(streams.sample(), 0, 1000), TEXTS)

    def test_a_lost_packet_costs_only_what_it_was_part_of(self):
        # The repeat stands for the document.
        self.assert_delivers(streams.without_packet(streams.sample(), streams.ENGLISH, 2), TEXTS,
                             "A subtitle packet of '{}' (PID 258) is left out before packet N: a transport packet "
                             "is missing in it; more of them are counted only; check the reception",
                             "errors in '{}': 1 subtitle packet left out, 1 continuity error")

    def test_a_pes_packet_that_announces_more_than_it_holds(self):
        stream = streams.sample()
        holds = streams.pes_length(stream, streams.ENGLISH, 2)
        self.assert_delivers(streams.with_longer_pes(stream, streams.ENGLISH, 2, 700), TEXTS,
                             "A subtitle packet of '{}' (PID 258) is left out before packet N: it announces %d "
                             "bytes and holds %d; more of them are counted only; check the reception"
                             % (holds + 700, holds),
                             "errors in '{}': 1 subtitle packet left out")

    def test_a_segment_that_announces_more_than_there_is(self):
        def field(number, media_time, segments):
            if number == 1:
                head = (media_time << 8 | 1).to_bytes(7, "big") + struct.pack(">BH", PLAIN, 60000)
                return head + b"<tt/>" + bytes(4)
            return ttml_field(media_time, segments)

        self.assert_delivers(Changed(field=field).bytes(), [TEXTS[0]] + TEXTS[2:], log=["PES parsing failed!!!"])

    def test_a_damaged_gzip_segment(self):
        def segments(number, own):
            if number != 1:
                return own
            damaged = bytearray(own[0][1])
            damaged[len(damaged) // 2] ^= 0xFF
            return [(COMPRESSED, bytes(damaged))]

        self.assert_delivers(Changed(segments).bytes(), [TEXTS[0]] + TEXTS[2:], log=["PES parsing failed!!!"])

    def test_a_programme_map_that_changes_every_second(self):
        self.assert_delivers(streams.MovingEverySecond().bytes(), TEXTS)

    def test_clocks_that_jump(self):
        self.assert_delivers(streams.jumping(announced=True), TEXTS)
        self.assert_delivers(streams.jumping(announced=False), TEXTS,
                             "The clock of '{}' (PID 257) jumps ahead by 3600.0 s before packet N and does not "
                             "announce it; it is followed, and more jumps are not reported; check how the stream "
                             "was put together")


class WhatIsUnusualAndValid(DvbCase):
    def test_sixty_megabytes_of_zeros_in_one_segment(self):
        # The buffer grows in steps, which sanitizers copy every time: they need minutes for that much.
        size = (6 if os.environ.get("TTML_SANITIZE") else 60) * 1000 * 1000
        stream = Changed(lambda number, own: [compressed(bytes(size))], documents=1).bytes()
        run = self.run_client("dvb", self.write("stream.ts", stream), "--fast", "--out", self.path("out"))
        self.assertEqual((run.status, run.complaints), (0, []))
        self.assertEqual(os.listdir(self.path("out")), ["0001.ttml"])
        with open(self.path("out", "0001.ttml"), "rb") as file:
            self.assertEqual(file.read(), bytes(size))

    def test_as_many_segments_as_a_packet_can_have(self):
        texts = ["<tt>%d</tt>" % number for number in range(255)]
        stream = Changed(lambda number, own: [plain(text.encode()) for text in texts], documents=1).bytes()
        run = self.play_fast(stream)
        self.assertEqual(run.complaints, [])
        self.assert_delivered(run, texts * 2)


if __name__ == "__main__":
    unittest.main()
