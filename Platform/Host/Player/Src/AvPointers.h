#ifndef AV_POINTERS_H
#define AV_POINTERS_H

// Owners of libav objects.

#include <memory>

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
#include <libavformat/avio.h>
#include <libavutil/dict.h>
}

namespace TTMLHost {

struct AvFormatDeleter
{
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

struct AvIoDeleter
{
    void operator()(AVIOContext* io) const { avio_closep(&io); }
};

struct AvPacketDeleter
{
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

using AvFormatPtr = std::unique_ptr<AVFormatContext, AvFormatDeleter>;
using AvIoPtr = std::unique_ptr<AVIOContext, AvIoDeleter>;
using AvPacketPtr = std::unique_ptr<AVPacket, AvPacketDeleter>;

// A dictionary that libav's open functions take from and leave the rest in.
class AvDictionary
{
public:
    AvDictionary() = default;
    ~AvDictionary() { av_dict_free(&m_dictionary); }
    AvDictionary(const AvDictionary&) = delete;
    AvDictionary& operator=(const AvDictionary&) = delete;

    void Set(const char* key, const char* value) { av_dict_set(&m_dictionary, key, value, 0); }
    AVDictionary** Get() { return &m_dictionary; }

private:
    AVDictionary* m_dictionary = nullptr;
};

} // namespace TTMLHost

#endif
