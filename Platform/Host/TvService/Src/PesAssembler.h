#ifndef PES_ASSEMBLER_H
#define PES_ASSEMBLER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ByteSpan.h"

namespace TTMLHost {

// Where a PES assembler's packets go.
class PesSink
{
public:
    virtual ~PesSink() = default;
    // The sink may change or take the bytes.
    virtual void OnPacket(std::vector<unsigned char>& packet) = 0;
    virtual void OnDropped(const std::string& why) = 0;
};

// Puts PES packets (ISO/IEC 13818-1 section 2.4.3.6) together from the payloads of one PID. A packet that
// says how long it is goes to the sink with its last byte, one that does not with the start of the next one.
// What is damaged is dropped, and said so once for each packet; what comes before the first start is not.
class PesAssembler
{
public:
    explicit PesAssembler(PesSink& sink);
    PesAssembler(const PesAssembler&) = delete;
    PesAssembler& operator=(const PesAssembler&) = delete;

    // A transport packet's payload. `suspect`: bytes of it may be somebody else's. A PES packet with such a
    // payload is whole only if the CRC_32 at its end says so, as that of TTML subtitles (ETSI EN 303 560)
    // has.
    void Push(bool unitStart, ByteSpan payload, bool suspect);
    // Payload is missing here, or useless. `why`: a clause about the packet that it belongs to.
    void Damage(const std::string& why);
    // There is no more: completes a packet of unknown length.
    void Flush();

    // A bounded packet's own length field allows 65,541 bytes. One of unknown length ends here at the latest:
    // the largest that the layout of TTML subtitles can use, 255 segments of 65,535 bytes.
    static constexpr std::size_t kLongest = 6 + 3 + 255 + 7 + std::size_t{255} * (3 + 65535) + 4;

private:
    enum class State
    {
        Skipping, // up to the next start, what comes is of no use and that has been said
        Complete, // nothing is under way
        Lost,     // the start of what comes may be missing
        Collecting
    };

    void CloseAtNextStart();
    void CloseWithout(const std::string& why);
    void Deliver();
    void Collect(ByteSpan payload);
    bool BeginsRight() const;
    bool IsUnbounded() const;

    PesSink& m_sink;
    State m_state = State::Skipping;
    bool m_suspect = false;
    std::vector<unsigned char> m_bytes;
    std::size_t m_wanted = 0; // bytes until the next decision
};

// PTS of a whole PES packet, nothing when it has none.
std::optional<std::uint64_t> PtsOf(const std::vector<unsigned char>& packet);

// Whether the packet's own header says that it is scrambled.
bool IsScrambledPes(const std::vector<unsigned char>& packet);

} // namespace TTMLHost

#endif
