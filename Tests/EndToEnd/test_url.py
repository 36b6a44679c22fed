"""Documents at a URL, through ttmlsrc and both shared libraries."""

import os
import signal
import subprocess
import sys
import unittest

from ttmlsrc_case import (DATA, HIDE, SAMPLES, SHOW, STARTED, STOPPED, Case, Server)

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "Support"))
from http_server import DOCUMENT, pattern  # noqa: E402


class DocumentsAtAUrl(Case):
    @classmethod
    def setUpClass(cls):
        cls.server = Server("--root", SAMPLES)
        cls.server.__enter__()
        cls.addClassCleanup(cls.server.__exit__)

    def fetch(self, path, *options):
        return self.run_client("broadband", "--url", self.server.url(path), "--json", *options)

    def test_deliver_the_document_then_the_start_then_the_stop(self):
        run = self.fetch("/document", "--descriptor", "English")
        self.assert_delivered(run, [DOCUMENT])
        self.assertEqual(run.codes, [DATA, STARTED, STOPPED])
        data, started, stopped = run.events
        self.assertEqual(list(data), ["code", "event", "thread", "wallMs", "mediaTimeMs", "index", "dataType",
                                      "timestamp", "segStartTimeMs", "segEndTimeMs", "trackDescriptor",
                                      "bytes", "secondaryBytes", "data"])
        self.assertEqual({event["thread"] for event in run.events}, {"Source"})
        self.assertEqual((data["event"], data["index"], data["dataType"], data["timestamp"],
                          data["segStartTimeMs"], data["segEndTimeMs"], data["trackDescriptor"],
                          data["bytes"], data["secondaryBytes"]),
                         ("data", 0, -1, 0, 0, 0, "English", len(DOCUMENT.encode()), 0))
        self.assertEqual((started["event"], started["inBand"]), ("started", False))
        self.assertEqual(stopped["event"], "stopped")

    def test_send_the_user_agent_and_no_dnt_header_unless_told(self):
        run = self.fetch("/headers", "--user-agent", "engine/7.1 (test)")
        lines = run.documents[0]["data"].splitlines()
        self.assertIn("User-Agent: engine/7.1 (test)", lines)
        self.assertEqual([line for line in lines if line.startswith("DNT")], [])

    def test_send_each_dnt_header_as_it_stands(self):
        for option, header in (("0", "DNT: 0"), ("1", "DNT: 1"), ("2", "DNT: null")):
            lines = self.fetch("/headers", "--dnt", option).documents[0]["data"].splitlines()
            self.assertIn(header, lines)

    def test_follow_redirects_up_to_the_limit(self):
        self.assert_delivered(self.fetch("/redirect/10"), [DOCUMENT])
        self.assert_failed(self.fetch("/redirect/11"), "/redirect/11", "redirect")

    def test_fail_with_one_line_for_each_bad_status(self):
        for status in (400, 404, 500, 503):
            self.assert_failed(self.fetch("/status/%d" % status), "/status/%d" % status, str(status))

    def test_fail_when_the_server_dies_midway(self):
        self.assert_failed(self.fetch("/close/midway"), "/close/midway")

    def test_fail_when_nobody_listens(self):
        with Server() as gone:
            url = gone.url("/document")
        run = self.run_client("broadband", "--url", url, "--json")
        self.assert_failed(run, url)

    def test_deliver_documents_of_every_size(self):
        for size in (0, 1, 20 * 1024 * 1024):
            run = self.fetch("/bytes/%d" % size)
            self.assertEqual(run.status, 0, run.err)
            self.assertEqual([document["bytes"] for document in run.documents], [size])
            self.assertEqual(run.documents[0]["data"], pattern(size).decode())

    def test_wait_for_a_slow_server(self):
        self.assert_delivered(self.fetch("/drip/40/20"), [pattern(40).decode()])

    def test_decode_what_the_server_encoded(self):
        self.assert_delivered(self.fetch("/gzip"), [DOCUMENT])
        self.assert_delivered(self.fetch("/brotli"), [DOCUMENT])

    def test_deliver_utf16_documents_as_utf8(self):
        for path in ("/utf16le", "/utf16be"):
            run = self.fetch(path)
            self.assertEqual(run.status, 0, run.err)
            self.assertEqual(run.documents[0]["data"].lstrip("\ufeff"), DOCUMENT)

    def test_deliver_a_local_file_by_path_or_url(self):
        path = os.path.join(SAMPLES, "imsc1-text.ttml")
        with open(path, encoding="utf-8") as file:
            text = file.read()
        self.assert_delivered(self.run_client("broadband", "--url", path, "--json"), [text])
        self.assert_delivered(self.run_client("broadband", "--url", "file://" + path, "--json"), [text])

    def test_write_the_document_byte_for_byte(self):
        run = self.fetch("/document", "--out", self.path("out"))
        self.assertEqual(run.status, 0, run.err)
        self.assertEqual(os.listdir(self.path("out")), ["0001.ttml"])
        with open(self.path("out", "0001.ttml"), "rb") as file:
            self.assertEqual(file.read(), DOCUMENT.encode())

    def test_mark_what_comes_while_the_caption_is_hidden(self):
        run = self.run_client("broadband", "--url", self.server.url("/document"), "--script",
                              "hide; play; show; stop; play; stop")
        self.assertEqual(run.status, 0, run.err)
        documents = [line for line in run.out.splitlines() if "Grüße" in line]
        self.assertEqual(["[hidden]" in line for line in documents], [True, False])

    def test_play_a_script_as_reviewed(self):
        run = self.run_client("broadband", "--url", os.path.join(SAMPLES, "greek.ttml"), "--json", "--script",
                              "hide; play; pause; resume; seek 10s; seek-done; show; fonts Attika, Doric; "
                              "stop; play; invalidate")
        self.assertEqual((run.status, run.err), (0, ""))
        self.assert_golden("script-url.json", run)

    def test_refuse_a_play_while_invalid_and_say_so_on_the_log(self):
        run = self.fetch("/document", "--script", "play; invalidate; play; show; hide")
        self.assertEqual(run.codes, [DATA, STARTED, 5, SHOW, HIDE])
        self.assertIn("Not a proper state to play, state:[0]", run.err)

    def test_fetch_again_for_each_play_and_stop_in_between(self):
        run = self.fetch("/document", "--script", "play; play; stop; stop")
        self.assertEqual(run.codes, [DATA, STARTED, STOPPED, DATA, STARTED, STOPPED])
        self.assertIn("Wrong state for StopTrack to be called", run.err)

    def test_end_at_once_when_interrupted_during_a_stalled_fetch(self):
        with Server("--trace") as server:
            process = self.start_client("broadband", "--url", server.url("/stall/headers"), "--json")
            self.assertEqual(server.next_trace(), "GET /stall/headers")
            self.assertEqual(server.next_trace(), "stalled /stall/headers")
            process.send_signal(signal.SIGINT)
            run = self.finish_client(process)
        self.assertEqual(run.documents, [])
        self.assertGreaterEqual(run.status, 0, "killed by a signal: " + run.err)

    def test_refuse_wrong_usage_with_status_2(self):
        for arguments in (("broadband",), ("broadband", "--url", "a", "--media", "b"),
                          ("broadband", "--url", "a", "--dnt", "3"),
                          ("broadband", "--url", "a", "--script", "dance"),
                          ("broadband", "--url", "a", "--fast"), ("broadband", "--url", "a", "--out", ""), ("nonsense",), ()):
            run = self.run_client(*arguments)
            self.assertEqual((run.status, run.out), (2, ""), arguments)
            self.assertNotEqual(run.err, "")


class DocumentsOverTls(Case):
    def test_are_refused_from_a_server_with_the_wrong_certificate(self):
        certificate, key = self.path("cert.pem"), self.path("key.pem")
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                        "/CN=localhost", "-keyout", key, "-out", certificate], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        with Server("--tls", certificate, key) as server:
            url = server.url("/document", "https")
            self.assert_failed(self.run_client("broadband", "--url", url, "--json"), url, "certificate")


if __name__ == "__main__":
    unittest.main()
