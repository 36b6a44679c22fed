#ifndef STREAM_MAKER_H
#define STREAM_MAKER_H

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "TsBuilder.h"

namespace TTMLBench {

// Makes a transport stream (ISO/IEC 13818-1) of constant rate: one service with MPEG-2 pictures whose slices
// are random, and with TTML subtitles, a document of about 3 KB every two seconds. Tables are there twelve
// times a second, a clock reference with each picture.
class StreamMaker
{
public:
    static constexpr std::size_t kPacketBytes = 188;
    // Of one picture with all that is sent in its time.
    static constexpr std::size_t kPacketsPerPicture = 200;
    static constexpr std::size_t kPictureBytes = kPacketsPerPicture * kPacketBytes;

    StreamMaker();

    // The next picture's packets, until the next call.
    const std::vector<unsigned char>& Next();

    // How many documents are whole in what has been made.
    std::size_t Documents() const { return m_documents; }
    // Bytes of their PES packets without the headers.
    std::size_t DataFieldBytes() const { return m_dataFieldBytes; }

private:
    void m_PutPictureBegin();
    void m_PutTables();
    void m_BeginDocument();
    void m_PutSubtitles();
    void m_PutSlices();
    void m_Put(std::size_t slot, const TTMLTest::Bytes& packet);

    const std::vector<unsigned char> m_slices; // of a picture, in the room of all packets
    const std::string m_segments[2];           // in turn, so that no document repeats the one before
    std::vector<unsigned char> m_packets;
    std::vector<bool> m_taken; // a slot for each packet
    std::size_t m_pictures = 0;
    TTMLTest::PidWriter m_pat;
    TTMLTest::PidWriter m_pmt;
    TTMLTest::PidWriter m_subtitles;
    int m_videoCounter = 0;
    std::deque<TTMLTest::Bytes> m_waiting; // packets of the document being sent
    std::size_t m_waitingBytes = 0;        // of its data field
    std::size_t m_documents = 0;
    std::size_t m_dataFieldBytes = 0;
};

} // namespace TTMLBench

#endif
