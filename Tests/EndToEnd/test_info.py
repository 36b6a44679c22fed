"""What a transport stream holds, as ttmlsrc tells it."""

import json
import unittest

import streams
from dvb_case import SAMPLE
from streams import make_ts
from ttmlsrc_case import Case

TABLE = """: 3000 transport packets of 188 bytes, 2 services

service 101 'Harbour TV': PMT on PID 256, 749 PCRs on PID 257, rated 12
    PID  component                 PES packets  details
    257  video (MPEG-2)                    749
    258  TTML subtitles                     11  eng, same-language dialogue, IMSC1 Text
    259  TTML subtitles                     22  deu, same-language dialogue for the hard of hearing, \
EBU-TT-D or IMSC1 Text
    260  TTML subtitles                     11  eng, same-language dialogue, IMSC1 Text

service 102 'Phare Doré': PMT on PID 512, 749 PCRs on PID 513
    PID  component                 PES packets  details
    513  video (MPEG-2)                    749
    514  TTML subtitles                     18  fra, same-language dialogue, EBU-TT-D

errors: 0 continuity, 0 transport, 0 resynchronisation, 0 scrambled packets, 0 damaged PES packets, 0 bad tables
"""


class Info(Case):
    def info(self, stream):
        run = self.run_client("info", self.write("stream.ts", stream), "--json")
        self.assertEqual((run.status, run.err), (0, ""))
        self.assertEqual(run.out.count("\n"), 1)
        return json.loads(run.out)

    def test_shows_a_table_to_people(self):
        run = self.run_client("info", SAMPLE)
        self.assertEqual((run.status, run.err), (0, ""))
        self.assertEqual(run.out, "'%s'%s" % (SAMPLE, TABLE))

    def test_reads_standard_input(self):
        with open(SAMPLE, "rb") as stream:
            run = self.run_client("info", "-", stdin=stream)
        self.assertEqual((run.status, run.err), (0, ""))
        self.assertEqual(run.out, "standard input" + TABLE)

    def test_says_the_same_to_programs(self):
        info = self.info(streams.sample())
        self.assertEqual(list(info), ["input", "packetSize", "packets", "continuityErrors", "transportErrors",
                                      "resynchronisations", "scrambledPackets", "damagedPesPackets", "badTables",
                                      "services"])
        self.assertEqual(info["input"], self.path("stream.ts"))
        harbour, phare = info["services"]
        self.assertEqual((harbour["id"], harbour["name"], harbour["rating"]), (101, "Harbour TV", 12))
        self.assertEqual((phare["id"], phare["name"], phare["rating"]), (102, "Phare Doré", None))
        self.assertEqual(phare["ttml"], [{"pid": 514, "language": "fra", "purpose": 0,
                                          "purposeText": "same-language dialogue", "profiles": [2],
                                          "profileTexts": ["EBU-TT-D"], "pesPackets": 18}])
        self.assertEqual(phare["others"], [{"pid": 513, "streamType": 2, "kind": "video (MPEG-2)",
                                            "pesPackets": 749}])

    def test_finds_the_size_of_packets(self):
        for size in (192, 204):
            self.assertEqual(self.info(b"".join(make_ts.Stream(10).packets(size)))["packetSize"], size)

    def test_counts_what_is_wrong(self):
        stream = streams.sample()
        self.assertEqual(self.info(streams.without_packet(stream, streams.GERMAN, 2))["continuityErrors"], 1)
        self.assertEqual(self.info(streams.without_packet(stream, streams.GERMAN, 2))["damagedPesPackets"], 1)
        self.assertEqual(self.info(streams.with_noise(stream, 800, 5000))["resynchronisations"], 1)
        german = sum(streams.pid_of(packet) == streams.GERMAN for packet in streams.packets(stream))
        self.assertEqual(self.info(streams.scrambled(stream, streams.GERMAN))["scrambledPackets"], german)
        self.assertEqual(self.info(streams.with_transport_errors(stream, streams.GERMAN))["transportErrors"], german)

    def test_shows_a_stream_without_subtitles(self):
        info = self.info(b"".join(make_ts.Stream(with_ttml=False).packets()))
        self.assertEqual([service["ttml"] for service in info["services"]], [[], []])

    def test_refuses_with_one_line_what_is_no_transport_stream(self):
        path = self.write("text", b"Guten Abend.\n" * 100)
        lines = {
            path: "'%s' is not a transport stream: no packet with sync byte 0x47 every 188, 192 or 204 bytes in its "
                  "1300 bytes; check what file it is" % path,
            self.path("none"): "Cannot open '%s': No such file or directory; check the path" % self.path("none"),
            "udp://127.0.0.1:9": "Cannot inspect 'udp://127.0.0.1:9': it has no end; record some of it and give the "
                                 "file",
        }
        for input_, line in lines.items():
            for options in ((), ("--json",)):
                run = self.run_client("info", input_, *options)
                self.assertEqual((run.status, run.out, run.err), (1, "", "ttmlsrc: %s\n" % line))


if __name__ == "__main__":
    unittest.main()
