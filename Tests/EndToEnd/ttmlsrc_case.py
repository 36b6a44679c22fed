"""What the end-to-end tests share: the client, the HTTP server, and reading what the client says.

The client's path comes in the environment variable TTMLSRC. Nothing here sleeps: a run is waited for, with a
time limit that fails the test.
"""

import json
import os
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
SAMPLES = os.path.join(ROOT, "Samples")
SERVER = os.path.join(ROOT, "Tests", "Support", "http_server.py")
TTMLSRC = os.environ.get("TTMLSRC", os.path.join(ROOT, "build", "release", "bin", "ttmlsrc"))
TIME_LIMIT = 90  # seconds; a run that takes longer hangs

DATA, STARTED, STOPPED, PAUSED, RESUMED, INVALIDATED, SEEK_STARTED, SEEK_COMPLETED = range(8)
REGISTER_MENU, UNREGISTER_MENU, SET_MENU_LANG, SHOW, HIDE, FONTS_ERROR = range(8, 14)


class Run:
    """What a run of the client left behind."""

    def __init__(self, completed):
        self.status = completed.returncode
        self.out = completed.stdout.decode("utf-8")
        self.err = completed.stderr.decode("utf-8", "replace")

    @property
    def events(self):
        return [json.loads(line) for line in self.out.splitlines()]

    @property
    def codes(self):
        return [event["code"] for event in self.events]

    @property
    def documents(self):
        return [event for event in self.events if event["code"] == DATA]

    @property
    def complaints(self):
        """The client's own lines on the standard error; the log's are left out."""
        return [line for line in self.err.splitlines() if line.startswith("ttmlsrc: ")]


class Server:
    """The test HTTP server, as a context."""

    def __init__(self, *options):
        self.command = [sys.executable, SERVER, "--until-stdin-closes", *options]

    def __enter__(self):
        self.process = subprocess.Popen(self.command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.port = int(self.process.stdout.readline())
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait(TIME_LIMIT)
        self.process.stdout.close()

    def url(self, path, scheme="http"):
        return "%s://127.0.0.1:%d%s" % (scheme, self.port, path)

    def next_trace(self):
        """The next line of a server started with --trace; waits for it."""
        return self.process.stdout.readline().decode().strip()


class Case(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def path(self, *names):
        return os.path.join(self.folder.name, *names)

    def write(self, name, data):
        with open(self.path(name), "wb") as file:
            file.write(data)
        return self.path(name)

    def environment(self):
        environment = dict(os.environ)
        environment.pop("http_proxy", None)
        environment["TTML_LOG"] = "warning"
        return environment

    def run_client(self, *arguments, stdin=subprocess.DEVNULL):
        completed = subprocess.run([TTMLSRC, *arguments], env=self.environment(), stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, stdin=stdin, timeout=TIME_LIMIT)
        return Run(completed)

    def start_client(self, *arguments, stdin=subprocess.DEVNULL):
        """A run that the test ends itself; finish_client() waits for it."""
        return subprocess.Popen([TTMLSRC, *arguments], env=self.environment(), stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, stdin=stdin)

    def finish_client(self, process):
        out, err = process.communicate(timeout=TIME_LIMIT)
        return Run(subprocess.CompletedProcess(process.args, process.returncode, out, err))

    def assert_golden(self, name, run):
        """Compares a run's events with a reviewed file, without what differs between two runs. With
        TTML_UPDATE_GOLDEN set it writes the file instead; review the difference then."""
        lines = []
        for event in run.events:
            event["wallMs"] = 0
            event["mediaTimeMs"] = None if event["mediaTimeMs"] is None else 0
            lines.append(json.dumps(event, ensure_ascii=False) + "\n")
        path = os.path.join(HERE, "golden", name)
        if os.environ.get("TTML_UPDATE_GOLDEN"):
            with open(path, "w", encoding="utf-8") as file:
                file.writelines(lines)
        with open(path, encoding="utf-8") as file:
            self.assertEqual(lines, file.readlines())

    def assert_delivered(self, run, texts):
        self.assertEqual([document["data"] for document in run.documents], texts, run.err)
        self.assertEqual(run.status, 0, run.err)

    def assert_failed(self, run, *words):
        """Nothing came, and one line says why."""
        self.assertEqual(run.documents, [])
        self.assertEqual(run.status, 1, run.err)
        self.assertEqual(len(run.complaints), 1, run.err)
        for word in words:
            self.assertIn(word, run.complaints[0])
