#include "HostTvService.h"

#include <exception>
#include <new>

#include "InputError.h"
#include "PlatformLog.h"
#include "TvService.h"

namespace TTMLHost {

namespace {

constexpr char kTag[] = "TTMLHOST";

// Makes a call of the service that has no way to tell its failure.
template <typename Body>
void Try(const char* doing, const Body& body)
{
    try {
        body();
    } catch (const std::exception& failure) {
        __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, kTag,
                     "Cannot %s: %s; free some memory or threads", doing, failure.what());
    }
}

// The same for one that has.
template <typename Body>
bool TryWithError(std::string* error, const Body& body)
{
    try {
        std::string why;
        const bool done = body(&why);
        if (!done && error != nullptr) {
            *error = std::move(why);
        }
        return done;
    } catch (const std::exception&) {
        Try("say why it failed", [error] {
            if (error != nullptr) {
                *error = "There is no memory left; free some";
            }
        });
        return false;
    }
}

} // namespace

bool TvOpen(const TvOptions& options, TvListener* listener, std::string* error)
{
    return TryWithError(error,
                        [&](std::string* why) { return TvService::Instance().Open(options, listener, why); });
}

bool TvOpenAtsc3(const TvAtsc3Options& options, TvListener* listener, std::string* error)
{
    return TryWithError(error,
                        [&](std::string* why) { return TvService::Instance().Open(options, listener, why); });
}

void TvStart()
{
    Try("start the TV service", [] { TvService::Instance().Start(); });
}

bool TvTune(const std::string& service, std::string* error)
{
    return TryWithError(error, [&](std::string* why) { return TvService::Instance().Tune(service, why); });
}

void TvActivate()
{
    Try("activate the TV service", [] { TvService::Instance().RaiseSignal(SIGNAL_TVS_ACTIVATE); });
}

void TvDeactivate()
{
    Try("deactivate the TV service", [] { TvService::Instance().RaiseSignal(SIGNAL_TVS_DEACTIVATE); });
}

void TvSignalMpd()
{
    Try("signal a new MPD", [] { TvService::Instance().RaiseNewMpd(); });
}

void TvTerminate()
{
    Try("terminate the TV service", [] { TvService::Instance().Terminate(); });
}

void TvLockService(bool locked)
{
    Try("lock the service", [locked] { TvService::Instance().LockService(locked); });
}

void TvSetRatingLimit(std::optional<int> age)
{
    Try("set the rating limit", [age] { TvService::Instance().SetRatingLimit(age); });
}

void TvSettle()
{
    Try("wait for the signals", [] { TvService::Instance().Settle(); });
}

TvStatistics TvGetStatistics()
{
    TvStatistics statistics;
    Try("count", [&statistics] { statistics = TvService::Instance().Statistics(); });
    return statistics;
}

void TvClose()
{
    Try("close the TV service", [] { TvService::Instance().Close(); });
}

} // namespace TTMLHost
