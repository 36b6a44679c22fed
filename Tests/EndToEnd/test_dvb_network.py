"""Transport streams over UDP and RTP on the loopback interface, through ttmlsrc and both shared libraries.

The sender is paced by what the client shows: it sends on when the documents sent so far have come.
"""

import re
import socket
import struct
import unittest

import streams
from dvb_case import END, START, TUNE, DvbCase, Live
from streams import make_ts

TEXTS = streams.texts(make_ts.ENG)
PACKETS_A_DATAGRAM = 7


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Received(Live):
    """A run that receives. It listens before it tunes, so from the tune's beginning on it may be sent to."""

    def __init__(self, case, scheme, *options):
        self.address = ("127.0.0.1", free_port())
        self.input = "%s://127.0.0.1:%d" % (scheme, self.address[1])
        super().__init__(case, self.input, *options)
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.sequence = 65530 if scheme == "rtp" else None  # soon to wrap
        self.expect(*START, *TUNE[:2])

    def __exit__(self, *details):
        self.socket.close()
        super().__exit__(*details)

    def datagrams(self, first, last):
        """The sample from one second to another, in datagrams."""
        data = streams.seconds(streams.sample(), first, last)
        size = PACKETS_A_DATAGRAM * streams.PACKET
        for at in range(0, len(data), size):
            head = b""
            if self.sequence is not None:
                head = struct.pack(">BBHII", 0x80, 33, self.sequence, at, 0x4711)
                self.sequence = (self.sequence + 1) & 0xFFFF
            yield head + data[at:at + size]

    def send(self, datagrams):
        for datagram in datagrams:
            self.socket.sendto(datagram, self.address)


class OverTheNetwork(DvbCase):
    # Where the first document begins, which has five packets, and where it is over.
    BEGIN = streams.pes_starts(streams.sample(), streams.ENGLISH)[0] / streams.PER_SECOND
    OVER = BEGIN + 0.2

    def assert_everything_comes(self, scheme, change=lambda sent: sent, lines=()):
        """`change` is done to the datagrams with the first document, but for its first packet. What it costs
        comes with the repeat a second later."""
        with Received(self, scheme) as run:
            run.send(run.datagrams(0, self.BEGIN))
            run.expect(*TUNE[2:])
            run.send(run.datagrams(self.BEGIN, self.BEGIN + 0.01))
            run.send(change(list(run.datagrams(self.BEGIN + 0.01, self.OVER))))
            run.send(run.datagrams(self.OVER, 2.5))
            self.assertEqual(run.expect_document(), TEXTS[0])
            run.send(run.datagrams(2.5, 4.5))
            self.assertEqual(run.expect_document(), TEXTS[1])
            run.send(run.datagrams(4.5, 7))
            self.assertEqual(run.expect_document(), TEXTS[2])
            rest = run.interrupt()
        self.assertEqual((rest.status, rest.codes), (0, END))
        errors = ["errors in '%s': 1 subtitle packet left out, N continuity errors"] if lines else []
        self.assertEqual([re.sub(r"packet \d+:", "packet N:", re.sub(r"\d+ continuity errors?", "N continuity errors",
                                                                    line)) for line in rest.complaints],
                         ["ttmlsrc: " + line % run.input for line in [*lines, *errors]])

    DAMAGED = ("A subtitle packet of '%s' (PID 258) is left out before packet N: a transport packet is missing "
               "in it; more of them are counted only; check the reception")

    def test_everything_comes(self):
        for scheme in ("udp", "rtp"):
            self.assert_everything_comes(scheme)

    def test_rtp_in_another_order_is_put_in_order(self):
        self.assert_everything_comes("rtp", lambda sent: [sent[1], sent[0], *sent[2:]])

    def test_rtp_that_comes_twice_counts_once(self):
        self.assert_everything_comes("rtp", lambda sent: [sent[0], sent[0], *sent[1:], sent[1]])

    def test_udp_in_another_order_is_damaged(self):
        self.assert_everything_comes("udp", lambda sent: [sent[1], sent[0], *sent[2:]], [self.DAMAGED])

    def test_lost_datagrams_cost_what_was_in_them(self):
        for scheme in ("udp", "rtp"):
            self.assert_everything_comes(scheme, lambda sent: sent[1:], [self.DAMAGED])

    def test_a_sender_is_waited_for(self):
        with Received(self, "udp") as run:
            line = run.next_complaint()
            self.assertEqual(line, "ttmlsrc: Cannot tune in '%s': no program association table (PAT) came within "
                                   "5 s; give a transport stream with its tables" % run.input)
            run.send(run.datagrams(0, 0.4))
            run.expect(*TUNE[2:])
            rest = run.interrupt()
        self.assertEqual((rest.status, rest.codes, rest.complaints), (0, END, []))

    def test_a_duration_without_a_sender_fails(self):
        address = "udp://127.0.0.1:%d" % free_port()
        run = self.play(address, "--duration", "300ms")
        self.assertEqual((run.status, run.codes), (1, START + TUNE[:2] + END[1:]))
        self.assertEqual(run.complaints, ["ttmlsrc: nothing came from '%s' within --duration; check the address and "
                                          "the sender" % address])

    def test_an_address_that_is_taken_is_refused(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as taken:
            taken.bind(("127.0.0.1", 0))
            address = "udp://127.0.0.1:%d" % taken.getsockname()[1]
            run = self.play(address)
        self.assertEqual((run.status, run.codes), (1, []))
        self.assertEqual(run.complaints, ["ttmlsrc: Cannot open '%s': Address already in use; end the program that "
                                          "uses this port" % address])


if __name__ == "__main__":
    unittest.main()
