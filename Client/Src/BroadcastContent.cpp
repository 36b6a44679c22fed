#include "BroadcastContent.h"

#include <utility>

#include "Output.h"
#include "Session.h"

namespace TTMLClient {

BroadcastContent::BroadcastContent(std::function<void()> onTuned, std::function<void(bool failed)> onOver)
    : m_onTuned(std::move(onTuned))
    , m_onOver(std::move(onOver))
{}

void BroadcastContent::Connect(Session* session)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_session = session;
}

void BroadcastContent::Disconnect()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_session = nullptr;
    m_changed.wait(lock, [this] { return !m_settling; });
}

void BroadcastContent::ExpectTune()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_tune = Tune::Expected;
    m_tuneError.clear();
    // That of the service before; another one may play on.
    m_over = false;
}

std::string BroadcastContent::WaitTuned()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock,
                   [this] { return m_tune == Tune::Done || !m_tuneError.empty() || m_over || m_givenUp; });
    return m_tune == Tune::Done ? std::string() : m_tuneError;
}

void BroadcastContent::GiveUpWaits()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_givenUp = true;
    }
    m_changed.notify_all();
}

std::string BroadcastContent::InputError() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_inputError;
}

bool BroadcastContent::Tuned() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_tunedOnce;
}

bool BroadcastContent::Complained() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_complained;
}

// A broadcast cannot be held, and its data reach the client without the source's queue.

void BroadcastContent::Play()
{}

void BroadcastContent::Pause()
{}

void BroadcastContent::HoldSamples()
{}

void BroadcastContent::Seek(long long /*positionMs*/)
{}

void BroadcastContent::WaitDelivered()
{}

void BroadcastContent::OnSignal(ESignalType signal)
{
    Session* session = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        session = m_session;
        m_settling = session != nullptr;
    }
    if (session != nullptr) {
        session->Settle();
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_settling = false;
    }
    m_changed.notify_all();
    NoteTune(signal);
}

void BroadcastContent::NoteTune(ESignalType signal)
{
    bool first = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (signal == SIGNAL_TUNE_START) {
            m_tune = Tune::Started;
        } else if (signal == SIGNAL_TUNE_SUCCESS && m_tune == Tune::Started) {
            // A success without a start is that of the tune before the one that is expected.
            m_tune = Tune::Done;
            first = !m_tunedOnce;
            m_tunedOnce = true;
        }
    }
    if (first && m_onTuned) {
        m_onTuned();
    }
    m_changed.notify_all();
}

void BroadcastContent::OnPesDelivered()
{}

void BroadcastContent::OnWarning(const std::string& line)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_complained = true;
    }
    PrintMessage(line);
}

void BroadcastContent::OnTuneFailed(const std::string& line)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_complained = true;
        m_tuneError = line;
    }
    m_changed.notify_all();
}

void BroadcastContent::OnEnd(const std::string& error)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_over = true;
        m_inputError = error;
    }
    m_changed.notify_all();
    if (m_onOver) {
        m_onOver(!error.empty());
    }
}

} // namespace TTMLClient
