"""Building blocks of MPEG transport streams with DVB TTML subtitles: descriptors, sections, PES packets, the
TTML data field, and a multiplexer. make_ts.py builds the sample of them; tests build damaged streams.

ISO/IEC 13818-1 has packets, PES and the PAT and PMT; ETSI EN 300 468 the SDT, the EIT and DVB text; ETSI
EN 303 560 the TTML descriptor and data field. Only Python's standard library is used.
"""

import collections
import datetime
import functools
import heapq
import struct
import zlib


def bits(*fields):
    """Packs (value, width) pairs, most significant bit first, into bytes; the last one is filled with 0."""
    number = width = 0
    for value, size in fields:
        if value >> size:
            raise ValueError("%d does not fit into %d bits" % (value, size))
        number, width = number << size | value, width + size
    return (number << -width % 8).to_bytes((width + 7) // 8, "big")


def remainders(polynomial, width):
    table = []
    for byte in range(256):
        rest = byte << (width - 8)
        for _ in range(8):
            rest = rest << 1 ^ (polynomial if rest >> (width - 1) else 0)
        table.append(rest)
    return table


CRC_TABLE = remainders(0x104C11DB7, 32)


def crc_32(data):
    """CRC-32/MPEG-2. Over data with its own CRC behind it is 0."""
    rest = 0xFFFFFFFF
    for byte in data:
        rest = rest << 8 & 0xFFFFFFFF ^ CRC_TABLE[rest >> 24 ^ byte]
    return struct.pack(">I", rest)


@functools.lru_cache
def parity_table():
    """What each byte adds to the 16 parity bytes of RS(204,188) (ETSI EN 300 429): the field is of 256
    elements, with x^8 + x^4 + x^3 + x^2 + 1, and the generator has the roots 1, x, x^2 .. x^15."""
    def times(a, b):
        product = 0
        while b:
            product ^= a if b & 1 else 0
            a, b = a << 1 ^ (0x11D if a & 0x80 else 0), b >> 1
        return product

    generator, root = [1], 1
    for _ in range(16):
        shifted = generator + [0]
        generator = [high ^ times(low, root) for high, low in zip(shifted, [0] + generator)]
        root = times(root, 2)
    return [int.from_bytes(bytes(times(byte, g) for g in generator[1:]), "big") for byte in range(256)]


def parity(packet):
    table, rest = parity_table(), 0
    for byte in packet:
        rest = (rest << 8 & (1 << 128) - 1) ^ table[rest >> 120 ^ byte]
    return rest.to_bytes(16, "big")


def latin_1(text):
    """DVB text (ETSI EN 300 468, annex A) in ISO/IEC 8859-1."""
    return b"\x10\x00\x01" + text.encode("latin-1")


def utf_8(text):
    """DVB text in UTF-8."""
    return b"\x15" + text.encode("utf-8")


def descriptor(tag, *parts):
    body = b"".join(parts)
    return struct.pack("BB", tag, len(body)) + body


def counted(text):
    return bytes([len(text)]) + text


def ttml_descriptor(language, purpose=0, profiles=(0,), suitability=0, text=b"", qualifier=None, fonts=(),
                    reserved=b""):
    """TTML_subtitling_descriptor, an extension descriptor."""
    return descriptor(
        0x7F, b"\x20", language.encode("ascii"),
        bits((purpose, 6), (suitability, 2), (bool(fonts), 1), (qualifier is not None, 1), (0, 2),
             (len(profiles), 4)),
        bytes(profiles), b"" if qualifier is None else struct.pack(">I", qualifier),
        counted(bytes(fonts)) if fonts else b"", counted(text), reserved)


def service_descriptor(provider, name):
    return descriptor(0x48, b"\x01", counted(provider), counted(name))


def short_event_descriptor(language, name, text):
    return descriptor(0x4D, language.encode("ascii"), counted(name), counted(text))


def parental_rating_descriptor(country, age):
    return descriptor(0x55, country.encode("ascii"), bytes([age - 3]))


def stream_identifier_descriptor(component_tag):
    return descriptor(0x52, bytes([component_tag]))


def section(table_id, extension, version, body, number=0, last=0, private=False):
    """A section with the long header, and its CRC. `private`: the bit that DVB's own tables set."""
    head = bits((table_id, 8), (1, 1), (private, 1), (3, 2), (len(body) + 9, 12), (extension, 16), (3, 2),
                (version, 5), (1, 1), (number, 8), (last, 8))
    return head + body + crc_32(head + body)


def pat(stream_id, pmt_pids, version=0):
    """`pmt_pids`: from service to PID."""
    return section(0x00, stream_id, version, b"".join(
        bits((service, 16), (7, 3), (pid, 13)) for service, pid in pmt_pids.items()))


def pmt(service, pcr_pid, streams, version=0):
    """`streams`: (stream_type, PID, descriptors) of each."""
    return section(0x02, service, version, bits((7, 3), (pcr_pid, 13), (15, 4), (0, 12)) + b"".join(
        bits((kind, 8), (7, 3), (pid, 13), (15, 4), (len(extra), 12)) + extra for kind, pid, extra in streams))


def sdt(stream_id, network, descriptors, version=0):
    """`descriptors`: from service to its descriptors. All are said to run, in clear, and to have an EIT."""
    return section(0x42, stream_id, version, bits((network, 16), (255, 8)) + b"".join(
        bits((service, 16), (63, 6), (0, 1), (1, 1), (4, 3), (0, 1), (len(extra), 12)) + extra
        for service, extra in descriptors.items()), private=True)


def eit(service, stream_id, network, number, event, start, minutes, descriptors, version=0):
    """Section 0, the present event, or section 1, the following one."""
    day = start.toordinal() - datetime.date(1858, 11, 17).toordinal()
    return section(0x4E, service, version, bits(
        (stream_id, 16), (network, 16), (1, 8), (0x4E, 8), (event, 16), (day, 16),
        (int(start.strftime("%H%M%S"), 16), 24), (int("%02d%02d00" % divmod(minutes, 60), 16), 24),
        (1 if number else 4, 3), (0, 1), (len(descriptors), 12)) + descriptors, number, 1, private=True)


PTS_WRAP = 1 << 33


def pes(stream_id, pts, data):
    """A PES packet of known length, aligned, with a PTS (in 90 kHz, wrapped here) and no DTS."""
    pts %= PTS_WRAP
    return b"\x00\x00\x01" + struct.pack(">BHBBB", stream_id, len(data) + 8, 0x84, 0x80, 5) + bits(
        (2, 4), (pts >> 30, 3), (1, 1), (pts >> 15 & 0x7FFF, 15), (1, 1), (pts & 0x7FFF, 15), (1, 1)) + data


PLAIN, COMPRESSED = 1, 2


def plain(document):
    return PLAIN, document


def compressed(document, multiple_of=1):
    """A gzip segment; where `multiple_of` is not 1, with 1 or more zeros behind, up to that multiple."""
    deflate = zlib.compressobj(9, zlib.DEFLATED, -15)
    # The header names no time and no system, so that it does not tell when and where it was made.
    data = b"\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\xff" + deflate.compress(document) + deflate.flush()
    data += struct.pack("<II", zlib.crc32(document), len(document) & 0xFFFFFFFF)
    return COMPRESSED, data + bytes(multiple_of - len(data) % multiple_of if multiple_of > 1 else 0)


def ttml_field(media_time, segments):
    """The PES data field: `media_time`, in units of 100 us, is the documents' own time at the PTS; segments
    are (segment_type, bytes)."""
    field = bits((media_time, 48), (len(segments), 8)) + b"".join(
        struct.pack(">BH", kind, len(data)) + data for kind, data in segments)
    return field + crc_32(field)


CLOCKED, TABLE, DATA = range(3)  # a PES packet that carries the PCR; a section; any other PES packet

# Something to send on a PID, `at` milliseconds after the start of the stream or as soon after as there is room.
Unit = collections.namedtuple("Unit", "at kind pid data")

SLOT_MS = 10  # one packet every 10 ms: 150.4 kbit/s with packets of 188 bytes
NULL_PACKET = b"\x47\x1f\xff\x10" + b"\xff" * 184


class Mux:
    """Cuts units into packets at a constant rate, the more urgent kinds first, and null packets between."""

    def __init__(self, start=0, packet_size=188):
        """`start`: the 90 kHz system time clock of the first packet."""
        self.start = start
        self.packet_size = packet_size
        self.counters = collections.Counter()

    def packets(self, feeds, seconds):
        """`feeds` yield units, each in order of time. Units that do not fit in before the end are cut off."""
        coming = heapq.merge(*feeds, key=lambda unit: unit.at)
        unit = next(coming, None)
        waiting = [collections.deque() for _ in range(3)]
        begun = [collections.deque() for _ in range(3)]
        for slot in range(seconds * 1000 // SLOT_MS):
            clock = self.start * 300 + slot * SLOT_MS * 27000
            while unit and unit.at <= slot * SLOT_MS:
                waiting[unit.kind].append(unit)
                unit = next(coming, None)
            packet = NULL_PACKET
            for kind in (CLOCKED, TABLE, DATA):
                if not begun[kind] and waiting[kind]:
                    begun[kind].extend(self.cut(waiting[kind].popleft(), clock))
                if begun[kind]:
                    packet = begun[kind].popleft()
                    break
            yield self.framed(packet, clock)

    def cut(self, unit, clock):
        """The packets of one unit, begun at `clock` (in 27 MHz). A PES packet's last one is filled by a longer
        adaptation field, a section's by bytes of ones."""
        rest, field, first = unit.data, b"", True
        if unit.kind == CLOCKED:
            field = b"\x50" + bits((clock // 300 % PTS_WRAP, 33), (63, 6), (clock % 300, 9))
        if unit.kind == TABLE:
            rest = b"\x00" + rest
            rest += b"\xff" * (-len(rest) % 184)
        while rest:
            room = 183 - len(field) if field else 184
            part, rest = rest[:room], rest[room:]
            spare = room - len(part)
            if field:
                field = bytes([len(field) + spare]) + field + b"\xff" * spare
            elif spare:
                field = (bytes([spare - 1, 0]) + b"\xff" * (spare - 2))[:spare]
            yield struct.pack(">BHB", 0x47, first << 14 | unit.pid,
                              (0x30 if field else 0x10) | self.counters[unit.pid] & 15) + field + part
            self.counters[unit.pid] += 1
            field, first = b"", False

    def framed(self, packet, clock):
        if self.packet_size == 192:
            return struct.pack(">I", clock & 0x3FFFFFFF) + packet
        return packet + parity(packet) if self.packet_size == 204 else packet


# dct_dc_size codes of ISO/IEC 13818-2, tables B.12 and B.13, by size.
LUMA_SIZES = "100 00 01 101 110 1110 11110 111110 1111110".split()
CHROMA_SIZES = "00 01 10 110 1110 11110 111110 1111110 11111110".split()


def picture(luma, cb, cr, width=64, height=48):
    """MPEG-2 video (ISO/IEC 13818-2): a sequence header and an intra picture of one colour, which the first
    macroblock of each slice sets and the others keep."""
    def level(sizes, value):
        step = value - 128
        size = abs(step).bit_length()
        step += 0 if step >= 0 else (1 << size) - 1
        return sizes[size] + (format(step, "0%db" % size) if size else "")

    same = ("100" + "10") * 3  # no difference from the block before, end of block
    first = "11" + level(LUMA_SIZES, luma) + "10" + same
    first += level(CHROMA_SIZES, cb) + "10" + level(CHROMA_SIZES, cr) + "10"
    other = "11" + "10010" + same + "0010" + "0010"
    row = "00001" + "0" + first + other * (width // 16 - 1)
    slices = b"".join(
        b"\x00\x00\x01" + bytes([number]) + bits((int(row, 2), len(row))) for number in range(1, height // 16 + 1))
    return (
        b"\x00\x00\x01\xb3" + bits((width, 12), (height, 12), (1, 4), (3, 4), (80, 18), (1, 1), (2, 10), (0, 3))
        + b"\x00\x00\x01\xb5" + bits((1, 4), (0x4A, 8), (1, 1), (1, 2), (0, 16), (1, 1), (0, 16))
        + b"\x00\x00\x01\xb8" + bits((0, 1), (0, 11), (1, 1), (0, 12), (1, 1), (0, 6))
        + b"\x00\x00\x01\x00" + bits((0, 10), (1, 3), (0xFFFF, 16), (0, 3))
        + b"\x00\x00\x01\xb5" + bits((8, 4), (0xFFFF, 16), (0, 2), (3, 2), (0, 1), (1, 1), (0, 4), (0, 1), (1, 1),
                                     (1, 1), (0, 1), (0, 6))
        + slices)
