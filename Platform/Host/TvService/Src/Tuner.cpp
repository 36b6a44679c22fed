#include "Tuner.h"

#include <algorithm>
#include <utility>

#include "MonotonicTime.h"
#include "StreamStatistics.h"

namespace TTMLHost {

namespace {

// Between two looks at what else is going on.
constexpr std::size_t kPacketsAtOnce = 2048;

constexpr int kPatienceS = 5;
constexpr std::int64_t kNsPerS = 1000000000;
constexpr std::int64_t kPatienceNs = kPatienceS * kNsPerS;
// Program map tables come at least this often (ETSI TR 101 290).
constexpr std::int64_t kPmtPeriodNs = kNsPerS / 2;

// The stream's own clock stands between two references.
constexpr double kStanding = 0.0;
constexpr double kRealTime = 1.0;

double SpeedOf(const TvOptions& options, bool isLive)
{
    if (options.fast && !isLive) {
        return kStanding;
    }
    return isLive ? kRealTime : options.speed;
}

} // namespace

Tuner::Tuner(const TvOptions& options, bool isLive, ServiceOutput* output)
    : m_options(options)
    , m_isLive(isLive)
    , m_output(output)
    , m_reports(options.input)
    , m_stream(*this)
    , m_watch(&m_stream)
    , m_pacer(options.speed)
    , m_timer(isLive)
    , m_jump(isLive)
    , m_clock(SpeedOf(options, isLive))
    , m_wanted(options.service)
{}

bool Tuner::AwaitStart()
{
    Lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_started || m_stop; });
    return !m_stop;
}

void Tuner::Start()
{
    const Lock lock(m_mutex);
    if (m_started) {
        return;
    }
    // Under the lock, so that signals come in the order of what they tell. The call only queues. Whoever has
    // seen the signal finds the request made.
    m_started = true;
    m_requested = true;
    m_output->Raise(SIGNAL_TUNE_START);
    m_changed.notify_all();
}

bool Tuner::Tune(const std::string& service, std::string* error)
{
    const Lock lock(m_mutex);
    int id = 0;
    if (m_ended) {
        *error = m_reports.InputIsOver(service);
        return false;
    }
    if (m_directory.Excludes(service) ||
        m_directory.Find(service, false, &id) == ServiceDirectory::Answer::Missing) {
        *error = m_reports.NoSuchService(service, m_directory);
        return false;
    }
    std::string wanted = service;
    if (m_started) {
        m_requested = true;
        m_output->Raise(SIGNAL_TUNE_START);
        m_tuned.reset();
        m_component.reset();
        m_clock.End();
        m_changed.notify_all();
    }
    m_wanted.swap(wanted);
    return true;
}

void Tuner::Stop()
{
    const Lock lock(m_mutex);
    m_stop = true;
    m_changed.notify_all();
}

// What the other threads want, before anything else is done. False when the reader is to stop.
bool Tuner::MayGoOn()
{
    if (m_options.fast && !m_isLive && !m_stop) {
        m_output->AwaitSignals();
    }
    TakeRequest();
    return !m_stop && m_error.empty();
}

bool Tuner::Push(const PacketBatch& batch)
{
    std::size_t done = 0;
    while (done < batch.count) {
        if (!MayGoOn()) {
            return false;
        }
        PacketBatch piece = batch;
        piece.packets += done * batch.stride;
        piece.count = std::min(kPacketsAtOnce, batch.count - done);
        if (!m_isTuned) {
            // Patience may be over before the packet that would have ended the wait.
            piece.count = m_timer.OnPackets(piece);
            CheckPatience();
            if (!m_error.empty()) {
                return false;
            }
        }
        done += piece.count;
        piece.lastIsSuspect = batch.lastIsSuspect && done == batch.count;
        m_stream.Push(piece);
        TakeCounters();
    }
    return MayGoOn();
}

bool Tuner::Idle()
{
    if (!MayGoOn()) {
        return false;
    }
    CheckPatience();
    return m_error.empty();
}

void Tuner::Finish()
{
    m_stream.Flush();
    TakeCounters();
    End();
    TakeRequest();
    std::string line;
    {
        const Lock lock(m_mutex);
        line = m_error.empty() && !m_stop ? WhyNotTuned() : m_error;
    }
    if (m_isTuned || m_isFirstTune) {
        m_error = line;
    } else if (!line.empty()) {
        FailTune(line);
    }
}

// What a regular end of the input leaves to be said. Under m_mutex.
std::string Tuner::WhyNotTuned() const
{
    if (m_tuned) {
        return m_hadTtml ? std::string() : m_reports.NoTtml(*m_tuned, m_directory);
    }
    if (!m_directory.HasPat()) {
        return m_reports.NoPat();
    }
    if (!m_target) {
        return m_wanted.empty() ? m_reports.NoTtmlAnywhere(m_directory)
                                : m_reports.NoSuchService(m_wanted, m_directory);
    }
    return m_directory.PmtOf(*m_target) == nullptr ? m_reports.NoPmt(*m_target, m_directory)
                                                   : m_reports.NoPcr(*m_target, m_directory);
}

// A new tune begins in the reader.
void Tuner::TakeRequest()
{
    if (!m_requested) {
        return;
    }
    {
        const Lock lock(m_mutex);
        m_requested = false;
    }
    m_target.reset();
    m_isTuned = false;
    m_waited = false;
    m_isLate = false;
    m_reportedLanguage = false;
    m_reportedLoss = false;
    m_timer.Restart(NowNs());
    // Until the new service's references come the old ones go on setting the pace.
    m_watch.Set({m_pacePid}, kNoPid);
    FindService();
}

void Tuner::FindService()
{
    if (m_isTuned || m_target) {
        return;
    }
    int id = 0;
    ServiceDirectory::Answer answer = ServiceDirectory::Answer::NotYet;
    {
        const Lock lock(m_mutex);
        answer = m_directory.Find(m_wanted, m_waited, &id);
    }
    if (answer == ServiceDirectory::Answer::Found) {
        m_target = id;
        Aim();
    } else if (answer == ServiceDirectory::Answer::Missing) {
        OnMissingService();
    }
}

void Tuner::OnMissingService()
{
    std::string line;
    {
        const Lock lock(m_mutex);
        if (m_requested) {
            return;
        }
        line = m_reports.NoSuchService(m_wanted, m_directory);
    }
    if (m_isFirstTune) {
        m_error = line;
    } else {
        FailTune(line);
    }
}

// A tune to another service cannot be done, which does not end the input.
void Tuner::FailTune(const std::string& line)
{
    if (!std::exchange(m_isLate, true)) {
        m_output->OnTuneFailed(line);
    }
}

// Watches what the tune needs of the service, once its program map is there.
void Tuner::Aim()
{
    int pcrPid = kNoPid;
    int pesPid = kNoPid;
    {
        const Lock lock(m_mutex);
        const Pmt* const pmt = m_directory.PmtOf(*m_target);
        if (pmt == nullptr || m_requested) {
            return;
        }
        pcrPid = pmt->pcrPid;
        m_component = m_directory.Choose(*m_target, m_options.language, m_component);
        pesPid = m_component ? m_component->pid : kNoPid;
    }
    if (m_isTuned) {
        m_pacePid = pcrPid;
    }
    m_watch.Set({m_pacePid, pcrPid}, pesPid);
}

void Tuner::OnPat(const Pat& pat)
{
    {
        const Lock lock(m_mutex);
        m_directory.Set(pat);
    }
    FindService();
}

void Tuner::OnSdt(const Sdt& sdt)
{
    {
        const Lock lock(m_mutex);
        m_directory.Set(sdt);
    }
    FindService();
}

void Tuner::OnPmt(const Pmt& pmt)
{
    {
        const Lock lock(m_mutex);
        m_directory.Set(pmt);
    }
    if (m_isTuned && pmt.serviceId == *m_target) {
        FollowComponent();
    } else if (m_target && pmt.serviceId == *m_target) {
        Aim();
    } else {
        FindService();
    }
}

// The tuned service has a new program map.
void Tuner::FollowComponent()
{
    std::optional<TtmlStream> old;
    bool changed = false;
    {
        const Lock lock(m_mutex);
        if (m_requested) {
            return;
        }
        old = m_component;
        m_component = m_directory.Choose(*m_target, m_options.language, old);
        changed = old.has_value() != m_component.has_value() || (old && !(*old == *m_component));
        if (changed) {
            m_output->Raise(SIGNAL_PES_CHANGED);
        }
    }
    Aim();
    if (changed) {
        ReportComponent(old.has_value());
        // A fast input would be at the next change before this one has been handled.
        (void)MayGoOn();
    }
}

void Tuner::ReportComponent(bool hadOne)
{
    std::string line;
    {
        const Lock lock(m_mutex);
        if (m_requested) {
            // What there is belongs to the next tune.
            return;
        }
        const std::string& language = m_options.language;
        if (m_component) {
            m_hadTtml = true;
            if (!language.empty() && !m_reportedLanguage &&
                !IsSameName(m_component->descriptor.language, language)) {
                m_reportedLanguage = true;
                line = m_reports.NoSuchLanguage(language, *m_target, m_component->descriptor.language,
                                                m_directory);
            }
        } else if (hadOne) {
            if (std::exchange(m_reportedLoss, true)) {
                return;
            }
            line = m_reports.LostTtml(*m_target, m_directory);
        } else if (m_isLive || IsPaced() || m_hadTtml) {
            line = m_reports.WaitsForTtml(*m_target, m_directory);
        }
    }
    if (!line.empty()) {
        m_output->OnWarning(line);
    }
}

void Tuner::OnRating(int serviceId, std::optional<int> age)
{
    std::optional<TunedService> service;
    {
        const Lock lock(m_mutex);
        m_directory.SetRating(serviceId, age);
        service = CurrentLocked();
    }
    if (service && service->id == static_cast<std::uint64_t>(serviceId)) {
        m_output->OnRatingChanged(*service);
        (void)MayGoOn();
    }
}

void Tuner::OnPcr(int pid, std::uint64_t pcr27MHz, bool discontinuity)
{
    if (!MayGoOn()) {
        return;
    }
    if (!m_isTuned && m_target && IsReferenceOfTarget(pid)) {
        CompleteTune(pid, pcr27MHz);
    } else if (pid == m_pacePid) {
        NoteReference(pid, pcr27MHz, discontinuity);
        if (!m_isTuned) {
            // The packets that are pushed at once may last longer than patience does.
            m_timer.OnReference(pid, pcr27MHz);
            CheckPatience();
        }
        const std::int64_t dueNs = Pace(pcr27MHz, discontinuity);
        if (MayGoOn() && m_isTuned) {
            m_clock.OnPcr(pcr27MHz, dueNs, discontinuity);
        }
    }
}

void Tuner::NoteReference(int pid, std::uint64_t pcr27MHz, bool discontinuity)
{
    if (const auto jump = m_jump.OnPcr(pid, pcr27MHz, NowNs(), discontinuity)) {
        m_output->OnWarning(m_reports.Jumps(pid, *jump, Packets()));
    }
}

bool Tuner::IsReferenceOfTarget(int pid) const
{
    const Lock lock(m_mutex);
    const Pmt* const pmt = m_directory.PmtOf(*m_target);
    return pmt != nullptr && pmt->pcrPid == pid;
}

// Program association, program map and a clock reference of the service are there.
void Tuner::CompleteTune(int pcrPid, std::uint64_t pcr27MHz)
{
    std::optional<TunedService> service;
    {
        const Lock lock(m_mutex);
        if (m_requested) {
            return;
        }
        m_tuned = m_target;
        m_clock.Begin(pcr27MHz);
        m_output->Raise(SIGNAL_TUNE_SUCCESS);
        service = CurrentLocked();
    }
    m_isTuned = true;
    m_isFirstTune = false;
    m_pacePid = pcrPid;
    m_pacer.Reset();
    NoteReference(pcrPid, pcr27MHz, true);
    m_watch.Set({pcrPid}, m_watch.PesPid());
    m_output->OnTuned(*service);
    ReportComponent(false);
    if (!m_isLive) {
        // The time that the signals take belongs to no packet: it begins when they have been handled, and so
        // the first packet finds its subscriber.
        m_output->AwaitSignals();
        const std::int64_t nowNs = NowNs();
        m_clock.BeginAgain(pcr27MHz, nowNs);
        (void)m_pacer.DueNs(pcr27MHz, nowNs, true);
    }
}

// Waits until a clock reference is due, and answers when that was.
std::int64_t Tuner::Pace(std::uint64_t pcr27MHz, bool discontinuity)
{
    const std::int64_t nowNs = NowNs();
    if (!IsPaced()) {
        return nowNs;
    }
    const std::int64_t dueNs = m_pacer.DueNs(pcr27MHz, nowNs, discontinuity);
    Lock lock(m_mutex);
    m_changed.wait_until(lock, TimePointOf(dueNs), [this] { return m_stop || m_requested; });
    return dueNs;
}

void Tuner::OnPes(int pid, std::vector<unsigned char>& packet, std::optional<std::uint64_t> pts90kHz)
{
    if (!MayGoOn()) {
        return;
    }
    {
        const Lock lock(m_mutex);
        if (!m_tuned || !m_component || m_component->pid != pid) {
            return;
        }
    }
    m_clock.OnPacket();
    m_packet.dataType = PES_DATA_TYPE_TTML;
    m_packet.pesData.pid = pid;
    m_packet.pesData.pts = static_cast<unsigned long>(pts90kHz.value_or(0));
    m_packet.data.swap(packet);
    if (m_output->OnPes(m_packet)) {
        {
            const Lock lock(m_mutex);
            ++m_statistics.pesDelivered;
        }
        m_output->OnPesDelivered();
    }
    // What was asked for in those calls begins with the next packet.
    (void)MayGoOn();
}

void Tuner::OnScrambled(int pid)
{
    if (pid != m_watch.PesPid() || !m_reportedScrambled.insert(pid).second) {
        return;
    }
    std::string line;
    {
        const Lock lock(m_mutex);
        line = m_reports.Scrambled(*m_target, pid, Packets(), m_directory);
    }
    m_output->OnWarning(line);
}

void Tuner::OnPesDropped(int pid, const std::string& why)
{
    if (!m_reportedDamage) {
        m_reportedDamage = true;
        m_output->OnWarning(m_reports.Damaged(pid, why, Packets()));
    }
}

// What a tune that takes too long leads to.
void Tuner::CheckPatience()
{
    if (m_isTuned) {
        return;
    }
    const std::int64_t elapsedNs = m_timer.ElapsedNs(NowNs());
    bool takesAny = false;
    {
        const Lock lock(m_mutex);
        takesAny = m_wanted.empty();
    }
    if (!m_waited && elapsedNs >= (takesAny ? kPmtPeriodNs : kPatienceNs)) {
        m_waited = true;
        FindService();
    }
    if (elapsedNs < kPatienceNs || m_isLate || !m_error.empty()) {
        return;
    }
    std::string line;
    {
        const Lock lock(m_mutex);
        if (m_requested) {
            return;
        }
        if (!m_directory.HasPat()) {
            line = m_reports.NoPatIn(kPatienceS);
        } else if (m_isLive || !m_isFirstTune) {
            line = WhyNotTuned();
        }
    }
    if (!m_isFirstTune) {
        FailTune(line);
    } else if (m_isLive) {
        m_output->OnWarning(line);
    } else {
        m_error = line;
    }
    m_isLate = true;
}

void Tuner::TakeCounters()
{
    const TransportCounters counters = m_stream.Counters();
    const Lock lock(m_mutex);
    TTMLHost::TakeCounters(counters, &m_statistics);
}

std::optional<TunedService> Tuner::CurrentLocked() const
{
    if (!m_tuned) {
        return std::nullopt;
    }
    TunedService service;
    service.id = static_cast<std::uint64_t>(*m_tuned);
    service.rating = m_directory.RatingOf(*m_tuned);
    return service;
}

std::optional<TtmlStream> Tuner::CurrentSubtitle() const
{
    const Lock lock(m_mutex);
    return m_tuned ? m_component : std::nullopt;
}

bool Tuner::Subtitle(std::uint64_t serviceId, int index, int languageCode, TSHybridSBT* stream) const
{
    const Lock lock(m_mutex);
    if (!m_tuned || serviceId > static_cast<std::uint64_t>(kLastServiceId) ||
        m_directory.PmtOf(static_cast<int>(serviceId)) == nullptr) {
        return false;
    }
    const int service = static_cast<int>(serviceId);
    if (!m_directory.HasTtml(service)) {
        *stream = TSHybridSBT();
        return true;
    }
    const std::optional<TtmlStream> found = m_directory.Ttml(service, index);
    if (!found || LanguageCodeOf(*found) != languageCode) {
        return false;
    }
    *stream = HybridSbtOf(*found);
    return true;
}

} // namespace TTMLHost
