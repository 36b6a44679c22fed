#include "Demuxer.h"

#include <algorithm>
#include <array>
#include <utility>

#include "AvError.h"
#include "AvLog.h"
#include "IsoFile.h"
#include "PlatformLog.h"

namespace TTMLHost {

namespace {

constexpr unsigned kStppTag = MKTAG('s', 't', 'p', 'p');
constexpr AVRational kMilliseconds = {1, 1000};
constexpr AVRational kAvTimeBase = {1, AV_TIME_BASE}; // of the whole input

constexpr std::size_t kHeadBytes = 512;
constexpr std::size_t kLargestManifest = std::size_t{16} << 20U;

// What a manifest from the network may lead to. A local one may also name local files.
constexpr char kRemoteProtocols[] = "http,https,tcp,tls,httpproxy,crypto,data";
constexpr char kLocalProtocols[] = "file,http,https,tcp,tls,httpproxy,crypto,data";

constexpr char kOpening[] = "open";
constexpr char kReading[] = "read";
constexpr char kFormatAdvice[] = "give an MP4 file with a TTML (stpp) track or a DASH manifest";

// Points a demuxer at the log of the call under way, for its interrupt callback and its error texts.
class CaptureScope
{
public:
    explicit CaptureScope(AvLogCapture** place)
        : m_place(place)
    {
        *m_place = &m_capture;
    }
    ~CaptureScope() { *m_place = nullptr; }
    CaptureScope(const CaptureScope&) = delete;
    CaptureScope& operator=(const CaptureScope&) = delete;

private:
    AvLogCapture m_capture;
    AvLogCapture** m_place;
};

bool IsTtml(const AVStream& stream)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    return parameters.codec_tag == kStppTag || parameters.codec_id == AV_CODEC_ID_TTML;
}

bool IsAudioOrVideo(const AVStream& stream)
{
    return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO ||
           stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
}

bool StartsWithNoCase(const std::string& text, const std::string& prefix)
{
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(), [](char expected, char c) {
               return expected == (c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
           });
}

// "scheme" of "scheme://...", empty for anything else.
std::string SchemeOf(const std::string& input)
{
    const std::size_t end = input.find("://");
    return end != std::string::npos && input.find('/') == end + 1 ? input.substr(0, end) : std::string();
}

bool LooksLikeXml(const std::string& head)
{
    const std::size_t start = head.find_first_not_of("\xEF\xBB\xBF \t\r\n");
    return start != std::string::npos && head[start] == '<';
}

// Appends up to `most` bytes. 0 at the end of the input or once `most` is reached, else libav's code.
int ReadUpTo(AVIOContext* io, std::size_t most, std::string* text)
{
    std::array<unsigned char, 4096> buffer;
    while (most > 0) {
        const int wanted = static_cast<int>(std::min(most, buffer.size()));
        const int got = avio_read(io, buffer.data(), wanted);
        if (got == AVERROR_EOF || got == 0) {
            return 0;
        }
        if (got < 0) {
            return got;
        }
        text->append(reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(got));
        most -= static_cast<std::size_t>(got);
    }
    return 0;
}

} // namespace

Demuxer::Demuxer(std::string input, const PlayerOptions& options, std::function<bool()> stop)
    : m_input(std::move(input))
    , m_options(options)
    , m_stop(std::move(stop))
{
    RouteAvLog();
}

int Demuxer::InterruptCallback(void* self)
{
    const auto* const demuxer = static_cast<Demuxer*>(self);
    // On a live presentation libavformat goes on to later and later segments without a pause when one
    // cannot be opened yet, for ever.
    const bool outran =
        demuxer->m_manifest.live && demuxer->m_capture != nullptr && demuxer->m_capture->FailedSegments() > 0;
    return outran || demuxer->m_stop() ? 1 : 0;
}

bool Demuxer::Open(std::string* error)
{
    const CaptureScope scope(&m_capture);
    m_packet.reset(av_packet_alloc());
    if (m_packet == nullptr) {
        *error = DescribeAvError(kOpening, m_input, AVERROR(ENOMEM), *m_capture);
        return false;
    }
    return ResolveInput(error) && OpenIo(error) && OpenFormat(error) && FindTracks(error);
}

bool Demuxer::ResolveInput(std::string* error)
{
    if (m_input.empty()) {
        *error =
            DescribeError(kOpening, m_input, "there is no name", "name a local file or an http(s) address");
        return false;
    }
    const std::string scheme = SchemeOf(m_input);
    if (StartsWithNoCase(m_input, "http://") || StartsWithNoCase(m_input, "https://") ||
        StartsWithNoCase(m_input, "file:")) {
        m_url = m_input;
        m_localPath = StartsWithNoCase(m_input, "file:") ? m_input.substr(5) : std::string();
    } else if (!scheme.empty()) {
        *error = DescribeError(kOpening, m_input, "'" + scheme + "' addresses are not supported",
                               "give a local file or an http(s) address");
        return false;
    } else {
        // Says that it is a path, whatever characters are in it.
        m_url = "file:" + m_input;
        m_localPath = m_input;
    }
    return true;
}

void Demuxer::SetNetworkOptions(AvDictionary* dictionary) const
{
    const bool isLocal = !m_localPath.empty();
    dictionary->Set("protocol_whitelist", isLocal ? kLocalProtocols : kRemoteProtocols);
    if (!isLocal) {
        // libav trusts every certificate by default.
        dictionary->Set("tls_verify", "1");
        dictionary->Set("rw_timeout", std::to_string(m_options.networkTimeoutMs * 1000LL).c_str());
        if (!m_options.userAgent.empty()) {
            dictionary->Set("user_agent", m_options.userAgent.c_str());
        }
    }
}

// Looks at the first bytes: a manifest's times are needed, and whether it is live, before libavformat
// begins to load segments.
bool Demuxer::OpenIo(std::string* error)
{
    AvDictionary options;
    SetNetworkOptions(&options);
    const AVIOInterruptCB interrupt = {InterruptCallback, this};
    AVIOContext* io = nullptr;
    int code = avio_open2(&io, m_url.c_str(), AVIO_FLAG_READ, &interrupt, options.Get());
    m_io.reset(io);
    std::string head;
    if (code >= 0) {
        code = ReadUpTo(m_io.get(), kHeadBytes, &head);
    }
    if (code < 0) {
        *error = DescribeOpenFailure(code);
        return false;
    }
    if (head.empty()) {
        *error = DescribeError(kOpening, m_input, "it is empty", kFormatAdvice);
        return false;
    }
    if (LooksLikeXml(head)) {
        return ReadManifest(std::move(head), error);
    }
    avio_seek(m_io.get(), 0, SEEK_SET);
    return true;
}

bool Demuxer::ReadManifest(std::string text, std::string* error)
{
    const int code = ReadUpTo(m_io.get(), kLargestManifest - text.size(), &text);
    if (code < 0) {
        *error = DescribeOpenFailure(code);
        return false;
    }
    const std::optional<DashManifest> manifest = ParseDashManifest(text);
    if (!manifest) {
        *error = DescribeError(kOpening, m_input, "it is XML, but no DASH manifest", kFormatAdvice);
        return false;
    }
    m_manifest = *manifest;
    m_isDash = true;
    // libavformat's DASH demuxer opens the manifest itself, at its own address.
    m_io.reset();
    return true;
}

bool Demuxer::OpenFormat(std::string* error)
{
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        *error = DescribeAvError(kOpening, m_input, AVERROR(ENOMEM), *m_capture);
        return false;
    }
    context->interrupt_callback = {InterruptCallback, this};
    context->pb = m_io.get();
    // Without this flag libavformat walks through every fragment of a file when it opens it, which over
    // HTTP is a request for each.
    context->flags |= AVFMT_FLAG_IGNIDX;
    AvDictionary options;
    SetNetworkOptions(&options);
    const AVInputFormat* const format = m_isDash ? av_find_input_format("dash") : nullptr;
    // Frees the context when it fails.
    const int code = avformat_open_input(&context, m_url.c_str(), format, options.Get());
    if (code < 0) {
        *error = DescribeOpenFailure(code);
        return false;
    }
    m_format.reset(context);
    return true;
}

std::string Demuxer::DescribeOpenFailure(int code) const
{
    if (m_manifest.hasUnmarkedSubtitles && code == AVERROR_INVALIDDATA) {
        return DescribeError(kOpening, m_input,
                             "its subtitle adaptation set has only mimeType=\"application/mp4\", which "
                             "libavformat does not take for subtitles",
                             "add contentType=\"text\" to the AdaptationSet in the manifest");
    }
    if (code == AVERROR_EXIT && !m_stop()) {
        const std::string& detail = m_capture->Cause();
        return DescribeError(kOpening, m_input,
                             "a media segment of the live presentation cannot be read" +
                                 (detail.empty() ? detail : " (" + detail + ")"),
                             "check that the server has the segments that the manifest announces for now");
    }
    return DescribeAvError(kOpening, m_input, code, *m_capture);
}

bool Demuxer::FindTracks(std::string* error)
{
    const auto begin = m_format->streams;
    const auto end = begin + m_format->nb_streams;
    if (!m_isDash && std::any_of(begin, end, [](const AVStream* s) { return IsAudioOrVideo(*s); })) {
        // Where the content starts is known only then.
        const int code = avformat_find_stream_info(m_format.get(), nullptr);
        if (code < 0) {
            *error = DescribeOpenFailure(code);
            return false;
        }
    }
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
        const AVStream& stream = *m_format->streams[i];
        if (IsTtml(stream)) {
            const AVDictionaryEntry* const language = av_dict_get(stream.metadata, "language", nullptr, 0);
            m_tracks.push_back({stream.index, language != nullptr ? language->value : std::string()});
        }
    }
    if (m_tracks.empty()) {
        *error = m_manifest.hasUnmarkedSubtitles
                     ? DescribeOpenFailure(AVERROR_INVALIDDATA)
                     : DescribeError(kOpening, m_input, "it has no TTML track", kFormatAdvice);
        return false;
    }
    const std::size_t track = m_options.track < 0 ? 0 : static_cast<std::size_t>(m_options.track);
    if (track >= m_tracks.size()) {
        *error = DescribeError("play track " + std::to_string(track) + " of", m_input,
                               "it has " + std::to_string(m_tracks.size()) + " TTML track" +
                                   (m_tracks.size() == 1 ? "" : "s"),
                               "choose one from 0 to " + std::to_string(m_tracks.size() - 1));
        return false;
    }
    m_stream = m_format->streams[m_tracks[track].streamIndex];
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
        AVStream* const stream = m_format->streams[i];
        stream->discard = stream == m_stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    return true;
}

std::int64_t Demuxer::StartMs() const
{
    const std::int64_t start = m_format->start_time;
    return start == AV_NOPTS_VALUE ? kUnknownTime : av_rescale_q(start, kAvTimeBase, kMilliseconds);
}

ReadStatus Demuxer::Read(DemuxedSample* sample, std::string* error)
{
    const CaptureScope scope(&m_capture);
    for (;;) {
        const int code = av_read_frame(m_format.get(), m_packet.get());
        NoteIoError();
        if (code < 0) {
            return HandleReadError(code, error);
        }
        if (m_packet->stream_index != m_stream->index) {
            // Read ahead while the streams were probed.
            av_packet_unref(m_packet.get());
            continue;
        }
        m_damaged = (m_packet->flags & AV_PKT_FLAG_CORRUPT) != 0;
        if (!m_damaged) {
            sample->text.assign(reinterpret_cast<const char*>(m_packet->data),
                                static_cast<std::size_t>(m_packet->size));
            FillTimes(*m_packet, sample);
        }
        av_packet_unref(m_packet.get());
        if (m_isDash && m_capture->FailedSegments() > 0) {
            __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, "TTMLHOST",
                         "A media segment of '%s' could not be read; its subtitles are missing",
                         m_input.c_str());
        }
        if (!m_damaged) {
            return ReadStatus::Sample;
        }
    }
}

void Demuxer::NoteIoError()
{
    // The demuxers may make anything of a failed read, and forget it when they seek.
    const int ioError = m_format->pb != nullptr ? m_format->pb->error : 0;
    if (ioError < 0 && ioError != AVERROR_EOF) {
        m_ioError = ioError;
    }
}

ReadStatus Demuxer::HandleReadError(int code, std::string* error)
{
    if (m_stop()) {
        return ReadStatus::Stopped;
    }
    if (m_isDash && m_capture->FailedSegments() > 0) {
        return HandleMissingSegments(error);
    }
    if (m_ioError < 0) {
        *error = DescribeAvError(kReading, m_input, m_ioError, *m_capture);
        return ReadStatus::Failed;
    }
    // libavformat takes a file that ends between two samples for complete, even inside a box.
    if (m_damaged || (code == AVERROR_EOF && EndsInsideBox(m_localPath))) {
        *error = DescribeError(kReading, m_input, "it is cut off",
                               "get a complete copy; what came before was played");
        return ReadStatus::Failed;
    }
    if (code == AVERROR_EOF) {
        return ReadStatus::End;
    }
    *error = DescribeAvError(kReading, m_input, code, *m_capture);
    return ReadStatus::Failed;
}

ReadStatus Demuxer::HandleMissingSegments(std::string* error)
{
    const std::string& cause = m_capture->Cause();
    *error = DescribeError(kReading, m_input,
                           "media segments are missing up to the end" +
                               (cause.empty() ? cause : " (" + cause + ")"),
                           "check that the server is up and has them");
    if (m_manifest.live) {
        return ReadStatus::NotYet;
    }
    // libavformat asks for one more segment than a template with a fixed duration has.
    return m_capture->FailedSegments() > 1 ? ReadStatus::Failed : ReadStatus::End;
}

std::int64_t Demuxer::ToMs(std::int64_t streamTime) const
{
    return av_rescale_q(streamTime, m_stream->time_base, kMilliseconds);
}

std::int64_t Demuxer::EndInFragment(std::int64_t dts, bool* sure) const
{
    *sure = false;
    const int here = av_index_search_timestamp(m_stream, dts, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
    const AVIndexEntry* const next = here >= 0 ? avformat_index_get_entry(m_stream, here + 1) : nullptr;
    if (next != nullptr) {
        *sure = true;
        return next->timestamp;
    }
    return m_fragmentEnd;
}

void Demuxer::FillTimes(const AVPacket& packet, DemuxedSample* sample)
{
    const std::int64_t dts = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
    const std::int64_t pts = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
    sample->timed = pts != AV_NOPTS_VALUE;
    sample->startMs = sample->timed ? ToMs(pts) : m_lastStartMs;
    sample->endMs = kUnknownTime;
    sample->endsWithNext = false;
    sample->latestEndMs = std::numeric_limits<std::int64_t>::max();
    m_lastStartMs = sample->startMs;

    // libavformat leaves the duration of fragmented samples out, but sets that of the stream to the end of
    // each fragment that goes beyond it. Taking it back shows the end of the next one, too.
    if (packet.duration <= 0 && m_stream->duration > 0) {
        m_fragmentEnd = m_stream->duration;
        m_stream->duration = 0;
    }
    if (!sample->timed) {
        return;
    }
    if (packet.duration > 0) {
        sample->endMs = ToMs(pts + packet.duration);
    } else if (m_isDash) {
        // The DASH demuxer hides both the fragments and their end.
        sample->endsWithNext = !m_manifest.live;
    } else {
        bool sure = false;
        const std::int64_t end = EndInFragment(dts, &sure);
        if (end == AV_NOPTS_VALUE || end <= dts) {
            return;
        }
        if (sure || (m_format->pb->seekable & AVIO_SEEKABLE_NORMAL) == 0) {
            sample->endMs = ToMs(pts + (end - dts));
        } else {
            // The stream's duration may also come from a header, and then is that of the whole track.
            sample->endsWithNext = true;
            sample->latestEndMs = ToMs(pts + (end - dts));
        }
    }
}

bool Demuxer::SeekBefore(std::int64_t positionMs)
{
    const CaptureScope scope(&m_capture);
    const std::int64_t position = av_rescale_q(positionMs, kMilliseconds, m_stream->time_base);
    return av_seek_frame(m_format.get(), m_stream->index, position, AVSEEK_FLAG_BACKWARD) >= 0;
}

} // namespace TTMLHost
