"""Transport streams for tests: the sample's parts rebuilt with something changed, and the sample damaged.

Streams are made by Samples/make_ts.py, at one packet every 10 ms; what is changed is said at each function.
Packets are 188 bytes, and a position in a stream is its packet's number.
"""

import os
import random
import struct
import sys

from ttmlsrc_case import SAMPLES

sys.path.insert(0, SAMPLES)
import make_ts  # noqa: E402
from ts_maker import DATA, PTS_WRAP, Unit, compressed, pes, plain, pmt, ttml_field  # noqa: E402

PACKET = 188
PER_SECOND = 100
PAT_PID, SDT_PID, EIT_PID = 0x00, 0x11, 0x12
ENGLISH, ENGLISH_MOVED, GERMAN, FRENCH = SUBTITLES = 0x102, 0x104, 0x103, 0x202


def sample():
    with open(os.path.join(SAMPLES, "subtitles.ts"), "rb") as file:
        return file.read()


def packets(stream):
    return [stream[at:at + PACKET] for at in range(0, len(stream), PACKET)]


def seconds(stream, first, last):
    """The packets of a time of the stream."""
    return stream[round(first * PER_SECOND) * PACKET:round(last * PER_SECOND) * PACKET]


def pid_of(packet):
    return (packet[1] & 0x1F) << 8 | packet[2]


def starts(packet):
    """Whether a PES packet or a section begins in it."""
    return bool(packet[1] & 0x40)


def texts(component, documents=None):
    """The documents that a source delivers of a component that comes whole: a repeat right after its like is
    left out, so of a pair of segments that is repeated nothing is."""
    delivered, last = [], None
    for number in range(component.count(30) if documents is None else documents):
        how, pair = component.documents(number)
        for _ in range(2):
            for document in pair:
                text = document.decode("utf-8")
                if text != last:
                    delivered.append(text)
                    last = text
    return delivered


def without_pid(stream, *pids):
    return b"".join(packet for packet in packets(stream) if pid_of(packet) not in pids)


def with_first(stream, count, *pids):
    """Moves what so many first packets have of the PIDs to the front."""
    head = packets(stream)[:count]
    return b"".join(sorted(head, key=lambda packet: pid_of(packet) not in pids)) + stream[count * PACKET:]


def scrambled(stream, *pids):
    """The packets of the PIDs say that they are scrambled with the even key."""
    return b"".join(packet[:3] + bytes([packet[3] | 0x80]) + packet[4:] if pid_of(packet) in pids else packet
                    for packet in packets(stream))


def with_transport_errors(stream, *pids):
    """The packets of the PIDs say that they have bits in them that could not be corrected."""
    return b"".join(packet[:1] + bytes([packet[1] | 0x80]) + packet[2:] if pid_of(packet) in pids else packet
                    for packet in packets(stream))


def noise(size):
    """Random bytes, the same every time, without a sync byte among them."""
    return random.Random(4711).randbytes(size).replace(b"\x47", b"\x48")


def with_noise(stream, at, size):
    """Random bytes before packet `at`."""
    return stream[:at * PACKET] + noise(size) + stream[at * PACKET:]


def without_packet(stream, pid, number):
    """Leaves out the packet `number` of a PID, counted from 0."""
    kept, seen = [], 0
    for packet in packets(stream):
        if pid_of(packet) == pid:
            seen += 1
            if seen == number + 1:
                continue
        kept.append(packet)
    return b"".join(kept)


def pes_starts(stream, pid):
    """The positions at which PES packets of a PID begin."""
    return [at for at, packet in enumerate(packets(stream)) if pid_of(packet) == pid and starts(packet)]


def pes_length_place(stream, pid, number):
    """Where the length of the PES packet `number` of a PID stands."""
    at = pes_starts(stream, pid)[number] * PACKET
    return stream.index(b"\x00\x00\x01\xbd", at, at + PACKET) + 4


def pes_length(stream, pid, number):
    """What it announces with its first six bytes."""
    place = pes_length_place(stream, pid, number)
    return struct.unpack(">H", stream[place:place + 2])[0] + 6


def with_longer_pes(stream, pid, number, more):
    """It announces so many bytes more than it holds."""
    place = pes_length_place(stream, pid, number)
    length = pes_length(stream, pid, number) - 6 + more
    return stream[:place] + struct.pack(">H", length) + stream[place + 2:]


class Changed(make_ts.Stream):
    """The sample with the English documents replaced: `segments(number, of the component's own)` says what
    the documents hold, or `field(number, media time, segments)` what the PES data field is."""

    def __init__(self, segments=None, field=None, seconds=30, documents=None):
        super().__init__(seconds, services=(make_ts.HARBOUR,))
        self.segments, self.field = segments, field
        self.documents = documents

    def feeds(self):
        component = make_ts.ENG
        return [self.programme_tables(), self.service_tables(), self.pictures(make_ts.HARBOUR),
                self.english(component)]

    def english(self, component):
        for number in range(component.count(self.seconds) if self.documents is None else self.documents):
            segments = component.segments(number)
            if self.segments:
                segments = self.segments(number, segments)
            for at in (component.sent(number), component.sent(number) + make_ts.REPEAT_MS):
                media_time = (component.time_at_start + at + make_ts.LEAD_MS) * 10
                field = (self.field or (lambda _, *parts: ttml_field(*parts)))(number, media_time, segments)
                yield Unit(at, DATA, self.pid_of(component, at),
                           pes(make_ts.PRIVATE_STREAM_1, self.clock_at(at + make_ts.LEAD_MS), field))

    def bytes(self):
        return b"".join(self.packets())


class MovingEverySecond(make_ts.Stream):
    """A new PMT every second, which moves the English subtitles to and fro between two PIDs."""

    def __init__(self, seconds=30):
        super().__init__(seconds, services=(make_ts.HARBOUR,))

    def pid_of(self, component, at):
        return ENGLISH_MOVED if component is make_ts.ENG and at // 1000 % 2 else component.pid

    def pmt(self, service, at):
        streams = [(make_ts.VIDEO, service.video_pid, b"")]
        streams += [(make_ts.PRIVATE_DATA, self.pid_of(component, at), component.descriptors)
                    for component in service.components]
        return pmt(service.number, service.video_pid, streams, at // 1000 % 32)

    def bytes(self):
        return b"".join(self.packets())


def jumping(announced):
    """A stream whose PCRs jump an hour ahead at ten seconds and back at twenty, with their PTS; announced by
    the discontinuity_indicator or not."""
    changed, last = [], {}
    hour = 3600 * 90000
    for at, packet in enumerate(packets(sample())):
        ahead = hour if 10 * PER_SECOND <= at < 20 * PER_SECOND else 0
        packet = bytearray(packet)
        if packet[3] & 0x20 and packet[4] and packet[5] & 0x10:
            clock = int.from_bytes(packet[6:12], "big")
            base = ((clock >> 15) + ahead) % PTS_WRAP
            packet[6:12] = (base << 15 | clock & 0x7FFF).to_bytes(6, "big")
            if announced and last.get(pid_of(packet)) not in (None, ahead):
                packet[5] |= 0x80
            last[pid_of(packet)] = ahead
        if starts(packet) and pid_of(packet) in SUBTITLES:
            start = packet.index(b"\x00\x00\x01\xbd")
            moved_pts(packet, start + 9, ahead)
        changed.append(bytes(packet))
    return b"".join(changed)


def moved_pts(packet, at, ticks):
    pts = (packet[at] >> 1 & 7) << 30 | packet[at + 1] << 22 | packet[at + 2] >> 1 << 15 | \
        packet[at + 3] << 7 | packet[at + 4] >> 1
    pts = (pts + ticks) % PTS_WRAP
    packet[at:at + 5] = bytes([0x21 | pts >> 29 & 0x0E, pts >> 22 & 0xFF, pts >> 14 & 0xFE | 1, pts >> 7 & 0xFF,
                               pts << 1 & 0xFE | 1])
