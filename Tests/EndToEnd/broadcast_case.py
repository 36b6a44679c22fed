"""What the tests of broadcasts share, whatever is broadcast."""

import json
import signal
import subprocess
import threading

from ttmlsrc_case import DATA, TIME_LIMIT, Case, Run


class BroadcastCase(Case):
    COMMAND = None  # of the client

    def environment(self):
        environment = super().environment()
        # The settings that a run finds are its own.
        environment["XDG_STATE_HOME"] = self.path("state")
        return environment

    def play(self, input_, *options):
        return self.run_client(self.COMMAND, input_, "--json", *options)


class Live:
    """A run of a BroadcastCase's command that the test gives its input while it reads what comes of it. A
    context; the run must have been ended in it."""

    def __init__(self, case, input_, *options, stdin=subprocess.DEVNULL):
        self.case = case
        self.process = case.start_client(case.COMMAND, input_, "--json", *options, stdin=stdin)
        # Whoever reads from a run that hangs finds that it has ended.
        self.limit = threading.Timer(TIME_LIMIT, self.process.kill)
        self.limit.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.limit.cancel()
        # Only a test that failed leaves it running.
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()
        self.process.stderr.close()

    def next_event(self):
        line = self.process.stdout.readline()
        self.case.assertNotEqual(line, b"", "the run ended: " + self.read_errors(line))
        return json.loads(line)

    def read_errors(self, line):
        return self.process.stderr.read().decode() if not line else ""

    def expect(self, *codes):
        """Reads as many events, which must have these codes."""
        for code in codes:
            event = self.next_event()
            self.case.assertEqual(event["code"], code, event)

    def expect_document(self):
        event = self.next_event()
        self.case.assertEqual(event["code"], DATA, event)
        return event["data"]

    def next_complaint(self):
        """The next line of the client's own on the standard error."""
        for line in self.process.stderr:
            if line.startswith(b"ttmlsrc: "):
                return line.decode().rstrip("\n")
        return None

    def interrupt(self):
        """Ends the run; returns what is left of it."""
        self.process.send_signal(signal.SIGINT)
        return self.finish()

    def finish(self):
        """Waits for the end of the run; returns what is left of it."""
        out, err = self.process.communicate(timeout=TIME_LIMIT)
        return Run(subprocess.CompletedProcess(self.process.args, self.process.returncode, out, err))
