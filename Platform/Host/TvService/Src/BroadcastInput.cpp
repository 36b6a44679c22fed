#include "BroadcastInput.h"

#include <exception>
#include <optional>
#include <utility>

#include <pthread.h>

#include "InputError.h"
#include "InputStart.h"
#include "MonotonicTime.h"

namespace TTMLHost {

namespace {

constexpr char kThreadName[] = "TvReader";
constexpr int kSilenceS = 5;
constexpr std::int64_t kNsPerS = 1000000000;

} // namespace

BroadcastInput::BroadcastInput(const TvOptions& options, ServiceOutput* output)
    : m_options(options)
    , m_output(output)
    , m_noMemory(DescribeInputFailure("play", options.input, "there is no memory left", "free some"))
{}

BroadcastInput::~BroadcastInput()
{
    RequestStop();
    Join();
}

bool BroadcastInput::Open(std::string* error)
{
    m_source = PacketSource::Open(m_options.input, error);
    if (m_source == nullptr) {
        return false;
    }
    if (IsCancelled(m_options.cancel, "open", m_options.input, error)) {
        return false;
    }
    const bool isLive = m_source->IsLive();
    m_framer = std::make_unique<PacketFramer>(isLive ? PacketFramer::Pieces::AfterPackets
                                                     : PacketFramer::Pieces::Anywhere);
    m_tuner = std::make_unique<Tuner>(m_options, isLive, m_output);
    return StartInputThread(m_options.input, &m_thread, error, [this] { Run(); });
}

bool BroadcastInput::Tune(const std::string& service, std::string* error)
{
    return m_tuner->Tune(service, error);
}

void BroadcastInput::RequestStop()
{
    m_stop = true;
    if (m_tuner != nullptr) {
        m_tuner->Stop();
    }
    if (m_source != nullptr) {
        m_source->Interrupt();
    }
}

void BroadcastInput::Join()
{
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void BroadcastInput::Run()
{
    pthread_setname_np(pthread_self(), kThreadName);
    if (!m_tuner->AwaitStart()) {
        return;
    }
    std::string error;
    // A copy might find no memory either.
    const std::string* reason = &error;
    try {
        error = Play();
    } catch (const std::exception&) {
        // Nothing else is thrown here.
        reason = &m_noMemory;
    }
    m_tuner->End();
    if (!m_stop) {
        m_output->OnEnd(*reason);
    }
}

// Plays until the end, and says why that came.
std::string BroadcastInput::Play()
{
    std::string error;
    ReadAll(&error);
    if (m_stop || !error.empty()) {
        return error;
    }
    m_framer->Finish();
    if (PushPackets(&error)) {
        ReportCutOff();
        m_tuner->Finish();
        error = m_tuner->Error();
    }
    if (!m_source->IsLive()) {
        m_output->AwaitSignals();
    }
    return error;
}

void BroadcastInput::ReadAll(std::string* error)
{
    ByteSpan bytes;
    std::int64_t lastNs = NowNs();
    while (m_source->Read(&bytes, error)) {
        m_framer->Push(bytes);
        if (!PushPackets(error)) {
            return;
        }
        if (bytes.size == 0) {
            ReportSilence(NowNs() - lastNs);
        } else {
            lastNs = NowNs();
        }
        if (bytes.size == 0 && !m_tuner->Idle()) {
            *error = m_tuner->Error();
            return;
        }
    }
}

// False when the input is over, with the reason in `error` if there is one.
bool BroadcastInput::PushPackets(std::string* error)
{
    PacketBatch batch;
    while (m_framer->Next(&batch)) {
        ReportGarbage();
        if (!m_tuner->Push(batch)) {
            *error = m_tuner->Error();
            return false;
        }
    }
    if (m_framer->IsNotTransportStream() && !m_reportedForeign) {
        m_reportedForeign = true;
        const std::string line = DescribeNoTransportStream(m_options.input, m_framer->TotalBytes());
        if (!m_source->IsLive()) {
            *error = line;
            return false;
        }
        m_output->OnWarning(line);
    }
    return true;
}

void BroadcastInput::ReportGarbage()
{
    const std::uint64_t before = m_resynchronisations.exchange(m_framer->Resynchronisations());
    if (before == 0 && m_resynchronisations != 0) {
        m_output->OnWarning("The packets of " + NameOfInput(m_options.input) + " are interrupted by " +
                            std::to_string(m_framer->SkippedBytes()) +
                            " bytes of something else after packet " + std::to_string(m_tuner->Packets()) +
                            "; more such places are counted only; check the recording or the reception");
    }
}

// A network without packets is late with its tune; nothing tells of a program that does not write.
void BroadcastInput::ReportSilence(std::int64_t lastingNs)
{
    if (!m_source->IsLive() && lastingNs >= kSilenceS * kNsPerS && !m_reportedSilence) {
        m_reportedSilence = true;
        m_output->OnWarning("Nothing has come from " + NameOfInput(m_options.input) + " for " +
                            std::to_string(kSilenceS) + " s; waiting for it");
    }
}

void BroadcastInput::ReportCutOff()
{
    if (m_framer->CutOffBytes() != 0) {
        m_output->OnWarning("The last packet of " + NameOfInput(m_options.input) + " is cut off after " +
                            std::to_string(m_framer->CutOffBytes()) + " of " +
                            std::to_string(m_framer->PacketSize()) +
                            " bytes and left out; check whether the recording is complete");
    }
}

TvStatistics BroadcastInput::Statistics() const
{
    TvStatistics statistics = m_tuner->Statistics();
    statistics.resynchronisations = m_resynchronisations;
    return statistics;
}

bool BroadcastInput::CurrentSubtitle(int* languageCode, int* index) const
{
    const std::optional<TtmlStream> stream = m_tuner->CurrentSubtitle();
    if (!stream) {
        return false;
    }
    *languageCode = LanguageCodeOf(*stream);
    *index = stream->index;
    return true;
}

bool BroadcastInput::Subtitle(std::uint64_t serviceId, int index, int languageCode, TSHybridSBT* stream) const
{
    return m_tuner->Subtitle(serviceId, index, languageCode, stream);
}

bool BroadcastInput::Stc(unsigned long long* stc) const
{
    const std::optional<std::uint64_t> now = m_tuner->Stc();
    if (!now) {
        return false;
    }
    *stc = *now;
    return true;
}

} // namespace TTMLHost
