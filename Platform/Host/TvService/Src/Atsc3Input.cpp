#include "Atsc3Input.h"

#include <exception>
#include <utility>

#include <pthread.h>

#include "HostSystem.h"
#include "InputError.h"
#include "InputStart.h"
#include "PlatformSystemInfo.h"

namespace TTMLHost {

namespace {

constexpr char kThreadName[] = "TvAtsc3";

// In the Korean region nobody reads the MPD's times.
CaptionTimeline::Receiver ReceiverOfRegion()
{
    bool isKorean = false;
    // A failed read leaves the default.
    (void)system_info_get_custom_bool(kKoreanRegionFeature, &isKorean);
    return isKorean ? CaptionTimeline::Receiver::IgnoresMpd : CaptionTimeline::Receiver::ReadsMpd;
}

} // namespace

Atsc3Input::Atsc3Input(const TvAtsc3Options& options, ServiceOutput* output)
    : m_options(options)
    , m_output(output)
    , m_services(options.input, options.also)
    , m_noMemory(DescribeInputFailure("play", options.input, "there is no memory left", "free some"))
{}

Atsc3Input::~Atsc3Input()
{
    RequestStop();
    Join();
}

bool Atsc3Input::Open(std::string* error)
{
    if (IsCancelled(m_options.cancel, "open", m_options.input, error) || !CheckFiles(error)) {
        return false;
    }
    return StartInputThread(m_options.input, &m_thread, error, [this] { Run(); });
}

// An MPD that is a file and cannot be read is told of before anything plays. Servers may take their time, and
// are asked when their service is tuned to.
bool Atsc3Input::CheckFiles(std::string* error) const
{
    for (std::size_t place = 0; place < m_services.Count(); ++place) {
        SegmentStore store(m_services.InputOf(place));
        if (!store.IsLocal()) {
            continue;
        }
        StoredFile file = store.FetchMpd();
        if (file.kind != StoredFile::Kind::Fetched) {
            *error = std::move(file.error);
            return false;
        }
    }
    return true;
}

void Atsc3Input::Start()
{
    const Lock lock(m_mutex);
    if (m_started) {
        return;
    }
    // Under the lock, so that signals come in the order of what they tell. The call only queues.
    m_output->Raise(SIGNAL_TUNE_START);
    m_started = true;
    m_requested = true;
    m_changed.notify_all();
}

bool Atsc3Input::Tune(const std::string& service, std::string* error)
{
    const std::optional<std::size_t> place = m_services.Find(service);
    if (!place) {
        *error = m_services.NoSuchService(service);
        return false;
    }
    std::shared_ptr<SegmentStore> store;
    {
        const Lock lock(m_mutex);
        m_wanted = *place;
        if (!m_started) {
            return true;
        }
        m_output->Raise(SIGNAL_TUNE_START);
        m_tuned.reset();
        m_requested = true;
        store = m_store;
        m_changed.notify_all();
    }
    if (store != nullptr) {
        store->Interrupt();
    }
    return true;
}

void Atsc3Input::RequestStop()
{
    std::shared_ptr<SegmentStore> store;
    {
        const Lock lock(m_mutex);
        m_stop = true;
        store = m_store;
        m_changed.notify_all();
    }
    if (store != nullptr) {
        store->Interrupt();
    }
}

void Atsc3Input::Join()
{
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Atsc3Input::Run()
{
    pthread_setname_np(pthread_self(), kThreadName);
    while (AwaitRequest()) {
        Playing playing;
        std::string error;
        // A copy might find no memory either.
        const std::string* reason = &error;
        try {
            error = Play(&playing);
        } catch (const std::exception&) {
            // Nothing else is thrown here.
            reason = &m_noMemory;
        }
        // What has been raised before the end is handed out before it.
        if (!MayGoOn(true)) {
            continue;
        }
        if (playing.isTuned || m_isFirstTune) {
            m_output->OnEnd(*reason);
        } else {
            FailTune(*reason, &playing);
        }
    }
}

// False when the thread is to end.
bool Atsc3Input::AwaitRequest()
{
    Lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_requested || m_stop; });
    return !m_stop;
}

// Plays the service that was asked for last, until it is over or something else is wanted. Says why nothing
// more comes.
std::string Atsc3Input::Play(Playing* playing)
{
    if (!TakeRequest(playing) || !MayGoOn(m_options.fast)) {
        return {};
    }
    CaptionFeed feed(playing->store.get(), m_services.InputOf(playing->place), m_options.language,
                     m_options.speed, ReceiverOfRegion());
    std::vector<std::string> warnings;
    std::string error;
    if (!feed.Open(&warnings, &error)) {
        return error;
    }
    Warn(warnings);
    feed.Tune(playing->clock.NowNs());
    playing->clock.Follow(feed.Pace() == ServicePace::Live);
    if (feed.Initialize()) {
        CompleteTune(feed, playing);
    }
    return PlayFeed(&feed, playing);
}

// False when the thread is to end.
bool Atsc3Input::TakeRequest(Playing* playing)
{
    const Lock lock(m_mutex);
    m_requested = false;
    playing->place = m_wanted;
    if (m_stop) {
        return false;
    }
    // In place before anything is read, so that whoever wants something else can interrupt that.
    m_store = std::make_shared<SegmentStore>(m_services.InputOf(m_wanted));
    playing->store = m_store;
    return true;
}

std::string Atsc3Input::PlayFeed(CaptionFeed* feed, Playing* playing)
{
    CaptionSchedule schedule(feed->Pace() == ServicePace::Live, m_options.fast);
    while (MayGoOn(m_options.fast)) {
        switch (schedule.Next(playing->clock.NowNs())) {
        case CaptionSchedule::Task::Deliver:
            Deliver(schedule.Take());
            break;
        case CaptionSchedule::Task::AskFeed:
            AskFeed(feed, playing, &schedule);
            break;
        case CaptionSchedule::Task::Wait:
            WaitUntil(playing->clock.LookAgainAt(schedule.UntilNs()));
            break;
        case CaptionSchedule::Task::End:
            return schedule.Error();
        }
    }
    return {};
}

// False when something else is wanted.
bool Atsc3Input::MayGoOn(bool afterSignals)
{
    if (afterSignals && !m_stop) {
        m_output->AwaitSignals();
    }
    return !m_stop && !m_requested;
}

void Atsc3Input::AskFeed(CaptionFeed* feed, Playing* playing, CaptionSchedule* schedule)
{
    FeedStep step = feed->Next(playing->clock.NowNs());
    if (playing->isTuned || m_isFirstTune || step.warnings.empty()) {
        Warn(step.warnings);
    } else {
        FailTune(step.warnings.front(), playing);
    }
    if (!playing->isTuned && feed->IsInitialized()) {
        CompleteTune(*feed, playing);
    }
    if (step.kind == FeedStep::Kind::NewMpd && playing->isTuned) {
        TakeNewMpd(*feed);
    }
    schedule->Add(&step, feed->Captions());
}

// The MPD and what the captions begin with are there.
void Atsc3Input::CompleteTune(const CaptionFeed& feed, Playing* playing)
{
    TunedService service;
    service.id = Atsc3Services::IdOf(playing->place);
    service.isAtsc3 = true;
    auto mpd = std::make_shared<const std::string>(feed.MpdText());
    TCCaption caption = feed.Captions();
    {
        const Lock lock(m_mutex);
        if (m_requested) {
            return;
        }
        m_output->Raise(SIGNAL_TUNE_SUCCESS);
        m_tuned = service;
        m_mpd = std::move(mpd);
        m_caption = std::move(caption);
    }
    playing->isTuned = true;
    m_isFirstTune = false;
    m_output->OnTuned(service);
    // So the first caption finds its subscriber.
    m_output->AwaitSignals();
}

void Atsc3Input::TakeNewMpd(const CaptionFeed& feed)
{
    auto mpd = std::make_shared<const std::string>(feed.MpdText());
    const Lock lock(m_mutex);
    if (m_requested) {
        return;
    }
    m_mpd = std::move(mpd);
    m_output->RaiseNewMpd();
}

void Atsc3Input::Deliver(ScheduledCaption caption)
{
    {
        const Lock lock(m_mutex);
        if (m_requested) {
            return;
        }
        m_caption = std::move(caption.track);
    }
    if (m_output->OnCaption(caption.due.caption)) {
        {
            const Lock lock(m_mutex);
            ++m_statistics.captionsDelivered;
        }
        m_output->OnCaptionDelivered();
    }
}

// A later tune cannot be done (yet), which does not end the input.
void Atsc3Input::FailTune(const std::string& line, Playing* playing)
{
    if (!std::exchange(playing->hasFailed, true)) {
        m_output->OnTuneFailed(line);
    }
}

void Atsc3Input::WaitUntil(std::chrono::steady_clock::time_point time)
{
    Lock lock(m_mutex);
    m_changed.wait_until(lock, time, [this] { return m_stop || m_requested; });
}

void Atsc3Input::Warn(const std::vector<std::string>& lines)
{
    for (const std::string& line : lines) {
        m_output->OnWarning(line);
    }
}

TvStatistics Atsc3Input::Statistics() const
{
    const Lock lock(m_mutex);
    return m_statistics;
}

std::optional<TunedService> Atsc3Input::Current() const
{
    const Lock lock(m_mutex);
    return m_tuned;
}

bool Atsc3Input::Mpd(std::uint64_t serviceId, std::string* mpd) const
{
    std::shared_ptr<const std::string> text;
    {
        const Lock lock(m_mutex);
        if (!m_tuned || m_tuned->id != serviceId) {
            return false;
        }
        text = m_mpd;
    }
    *mpd = *text;
    return true;
}

bool Atsc3Input::CurrentCaption(TCCaption* caption) const
{
    const Lock lock(m_mutex);
    if (!m_tuned) {
        return false;
    }
    *caption = m_caption;
    return true;
}

} // namespace TTMLHost
