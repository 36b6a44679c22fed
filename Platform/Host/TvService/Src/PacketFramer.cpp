#include "PacketFramer.h"

#include <algorithm>
#include <cstring>

#include "InputError.h"
#include "PacketSource.h"

namespace TTMLHost {

namespace {

constexpr std::size_t kStrides[] = {kPacketSize, 192, 204};
constexpr std::size_t kLargestStride = 204;
// So many sync bytes in their places are no chance: in random data, one of 2^32 places.
constexpr std::size_t kConfirmed = 5;
constexpr std::size_t kWindow = (kConfirmed - 1) * kLargestStride + 1;
// What is copied of a piece to look at the end of the one before: enough for each decision about a byte of
// that.
constexpr std::size_t kCopied = 2 * kWindow;
// The time stamp of a packet of 192 bytes stands before it.
constexpr std::size_t kTimeStampSize = 4;

} // namespace

PacketFramer::PacketFramer(Pieces pieces)
    : m_pieces(pieces)
{}

void PacketFramer::Push(ByteSpan bytes)
{
    m_piece = bytes;
    m_total += bytes.size;
}

void PacketFramer::Finish()
{
    m_finished = true;
}

// The bytes to be read next: what is pending first, then the piece itself.
ByteSpan PacketFramer::Rest() const
{
    return IsPending() ? ByteSpan{m_pending.data() + m_read, m_pending.size() - m_read} : m_piece;
}

void PacketFramer::Consume(std::size_t bytes)
{
    m_at += bytes;
    if (!IsPending()) {
        m_piece.data += bytes;
        m_piece.size -= bytes;
        return;
    }
    m_read += bytes;
    const std::size_t own = m_pending.size() - m_copied;
    if (m_read >= own) {
        // Goes on in the piece, where nothing is copied.
        m_piece.data += m_read - own;
        m_piece.size -= m_read - own;
        m_read = m_pending.size();
        m_copied = 0;
    }
}

// Puts the start of the piece behind what is pending.
void PacketFramer::Join()
{
    if (IsPending() && m_copied == 0 && m_piece.size != 0) {
        m_copied = std::min(m_piece.size, kCopied);
        m_pending.insert(m_pending.end(), m_piece.data, m_piece.data + m_copied);
    }
}

// Keeps what is left for the next piece.
void PacketFramer::KeepRest()
{
    if (IsPending()) {
        m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(m_read));
    } else {
        m_pending.clear();
    }
    // All of it has been copied if anything is pending: what is pending could be decided otherwise.
    m_pending.insert(m_pending.end(), m_piece.data + m_copied, m_piece.data + m_piece.size);
    m_read = 0;
    m_copied = 0;
    m_piece = {};
}

// How far into the rest a decision may be made: where it ends only because not all of the piece was copied,
// up to there.
std::size_t PacketFramer::Limit() const
{
    return IsPending() && m_copied < m_piece.size ? m_pending.size() - m_copied - m_read : Rest().size;
}

bool PacketFramer::Next(PacketBatch* batch)
{
    Step step = Step::Again;
    while (step == Step::Again && m_state != State::Rejected) {
        Join();
        step = m_state == State::Searching ? Search() : TakePackets(batch);
    }
    if (step != Step::Batch) {
        KeepRest();
    }
    return step == Step::Batch;
}

void PacketFramer::SkipGap()
{
    while (m_gap != 0 && Rest().size != 0) {
        const std::size_t skipped = std::min(m_gap, Rest().size);
        Consume(skipped);
        m_gap -= skipped;
    }
}

PacketFramer::Step PacketFramer::TakePackets(PacketBatch* batch)
{
    SkipGap();
    Join();
    const ByteSpan rest = Rest();
    if (rest.size == 0) {
        return Step::Starved;
    }
    if (rest.data[0] != kSyncByte) {
        Lose(m_at);
        return Step::Again;
    }
    const std::size_t seen = m_pieces == Pieces::AfterPackets || m_finished ? kPacketSize : m_stride + 1;
    std::size_t most = rest.size < seen ? 0 : (rest.size - seen) / m_stride + 1;
    most = std::min(most, (Limit() + m_stride - 1) / m_stride);
    std::size_t count = 0;
    while (count < most && rest.data[count * m_stride] == kSyncByte) {
        ++count;
    }
    if (count == 0) {
        m_cutOff = m_finished ? rest.size : 0;
        return Step::Starved;
    }
    const std::size_t next = count * m_stride;
    const bool isLost = next < rest.size && rest.data[next] != kSyncByte;
    *batch = {rest.data, count, m_stride, isLost};
    if (isLost) {
        // Bytes may be missing in the last packet, and the next one begin in it.
        const std::uint64_t expectedAt = m_at + next;
        Consume(next - m_stride + 1);
        Lose(expectedAt);
    } else {
        Consume(next - m_stride + kPacketSize);
        m_gap = m_stride - kPacketSize;
    }
    return Step::Batch;
}

void PacketFramer::Lose(std::uint64_t expectedAt)
{
    m_state = State::Searching;
    m_lostAt = expectedAt;
}

void PacketFramer::Begin(std::size_t stride)
{
    if (m_stride != 0) {
        ++m_resynchronisations;
    } else if (stride == kStrides[1] && m_at >= kTimeStampSize) {
        m_lostAt = kTimeStampSize;
    }
    m_skipped += m_at > m_lostAt ? m_at - m_lostAt : 0;
    m_state = State::Found;
    m_stride = stride;
    m_gap = 0;
}

PacketFramer::Step PacketFramer::Search()
{
    const ByteSpan rest = Rest();
    const std::size_t limit = Limit();
    std::size_t at = 0;
    for (;; ++at) {
        const void* const sync = at < limit ? std::memchr(rest.data + at, kSyncByte, limit - at) : nullptr;
        at = sync == nullptr ? limit
                             : static_cast<std::size_t>(static_cast<const unsigned char*>(sync) - rest.data);
        if (m_stride == 0 && m_at + at >= kSearched) {
            m_state = State::Rejected;
            return Step::Again;
        }
        std::size_t stride = 0;
        const Match match = sync == nullptr ? Match::Perhaps : MatchAny(rest, at, &stride);
        if (match == Match::Yes) {
            Consume(at);
            Begin(stride);
            return Step::Again;
        }
        if (match == Match::Perhaps) {
            break;
        }
    }
    const bool wasPending = IsPending();
    Consume(at);
    return wasPending && !IsPending() && m_piece.size != 0 ? Step::Again : EndSearch();
}

PacketFramer::Step PacketFramer::EndSearch()
{
    if (m_finished && m_stride == 0) {
        m_state = State::Rejected;
    } else if (m_finished) {
        m_skipped += m_total - m_lostAt;
        m_lostAt = m_total;
    }
    return Step::Starved;
}

PacketFramer::Match PacketFramer::MatchAny(ByteSpan bytes, std::size_t at, std::size_t* stride) const
{
    // The size that the packets had so far comes first; in a beginning input, bytes before the first one
    // tell.
    const std::size_t guess = m_stride == 0 && m_at + at == kTimeStampSize ? kStrides[1] : m_stride;
    Match best = Match::No;
    if (guess != 0) {
        best = MatchStride(bytes, at, guess);
        *stride = guess;
        // A smaller size is confirmed by fewer bytes. Not to wait for those of this one would find other
        // packets where a file is read in other pieces.
        if (best == Match::Perhaps) {
            return best;
        }
    }
    for (const std::size_t one : kStrides) {
        const Match match = MatchStride(bytes, at, one);
        if (match > best) {
            best = match;
            *stride = one;
        }
    }
    return best == Match::Fits ? Match::Yes : best;
}

PacketFramer::Match PacketFramer::MatchStride(ByteSpan bytes, std::size_t at, std::size_t stride) const
{
    std::size_t starts = 0;
    for (; starts < kConfirmed && at + starts * stride < bytes.size; ++starts) {
        if (bytes.data[at + starts * stride] != kSyncByte) {
            return Match::No;
        }
    }
    if (starts == kConfirmed) {
        return Match::Yes;
    }
    const std::size_t tail = bytes.size - at - (starts - 1) * stride;
    if (m_finished) {
        return IsEnough(starts, tail, at, stride) ? Match::Yes : Match::No;
    }
    // A datagram with nothing but whole packets need not wait for others.
    const bool endsWithPacket = tail == kPacketSize || tail == stride;
    return m_pieces == Pieces::AfterPackets && endsWithPacket ? Match::Fits : Match::Perhaps;
}

// Whether what is left at the end of the input, too little for a real confirmation, is taken for packets:
// `tail` bytes from the last sync byte on.
bool PacketFramer::IsEnough(std::size_t starts, std::size_t tail, std::size_t at, std::size_t stride) const
{
    const std::uint64_t firstSync = stride == kStrides[1] ? kTimeStampSize : 0;
    const bool isExpected = stride == m_stride || m_at + at == firstSync || m_at + at == 0;
    const bool endsWithPacket = tail == kPacketSize || tail == stride;
    const std::size_t needed = 3 - (isExpected ? 1U : 0U) - (endsWithPacket ? 1U : 0U);
    return starts >= needed;
}

std::string DescribeNoTransportStream(const std::string& input, std::uint64_t totalBytes)
{
    if (totalBytes == 0) {
        return DescribeInputFailure("read", input, "it is empty", "check how it was made");
    }
    const std::uint64_t searched = std::min<std::uint64_t>(totalBytes, PacketFramer::kSearched);
    const std::string where = totalBytes < PacketFramer::kSearched
                                  ? std::to_string(searched) + " bytes"
                                  : "first " + std::to_string(searched / 1024) + " KB";
    return NameOfInput(input) +
           " is not a transport stream: no packet with sync byte 0x47 every 188, 192 or 204 " +
           "bytes in its " + where + "; check what file it is";
}

} // namespace TTMLHost
