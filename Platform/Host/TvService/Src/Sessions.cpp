#include "Sessions.h"

#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "PlatformSettings.h"
#include "TvService.h"

namespace TTMLHost {

namespace {

constexpr int kDone = 1;
constexpr int kFailed = 0;

constexpr int kTvModeBroadcast = 1;
constexpr int kNavigationModeTelevision = 0;
constexpr int kNoLimit = -1;
constexpr int kSourceTypeBroadcast = 0;

// A country whose receivers know child rating, unless the settings store says otherwise.
constexpr int kDefaultLockType = 8;
constexpr char kLockTypeKey[] = "db/tv/lock_type";

// Runs the body of a query: what it throws (no memory) is its failure.
template <typename Body>
int Query(const Body& body)
{
    try {
        return body() ? kDone : kFailed;
    } catch (const std::exception&) {
        return kFailed;
    }
}

std::optional<TunedService> CurrentService()
{
    const auto input = TvService::Instance().Input();
    return input != nullptr ? input->Current() : std::nullopt;
}

// The attribute, if services of this platform have it.
std::optional<TCServiceValue> AttributeOf(const TunedService& service, int attribute)
{
    TCServiceValue value;
    switch (attribute) {
    case SERVICE_ATTRIBUTE_ID:
        value.number = service.id;
        return value;
    case SERVICE_ATTRIBUTE_LOCK:
        value.integer = TvService::Instance().IsLocked(service.id) ? 1 : 0;
        return value;
    case SERVICE_ATTRIBUTE_ATSC3:
        value.integer = service.isAtsc3 ? 1 : 0;
        return value;
    default:
        return std::nullopt;
    }
}

// There is one navigation mode here, and nothing that could be limited.
bool CoversTunedService(const TCNavigationCriteria& criteria)
{
    return criteria.navigationMode == kNavigationModeTelevision && criteria.firstLimit == kNoLimit &&
           criteria.secondLimit == kNoLimit && criteria.thirdLimit == kNoLimit;
}

} // namespace

int ServiceNavigation::GetTvMode(int& mode)
{
    return Query([&mode] {
        if (TvService::Instance().IsTerminated()) {
            return false;
        }
        mode = kTvModeBroadcast;
        return true;
    });
}

int ServiceNavigation::GetCurrentServiceInfo(int mode, const TCNavigationCriteria& criteria,
                                             TCServiceData& data)
{
    return Query([&] {
        const std::optional<TunedService> service = CurrentService();
        if (!service || mode != kTvModeBroadcast || !CoversTunedService(criteria)) {
            return false;
        }
        TCServiceData found;
        found.hasAttributes = true;
        for (const int attribute : criteria.attributes) {
            if (const auto value = AttributeOf(*service, attribute)) {
                found.attributes[attribute] = *value;
            }
        }
        data = std::move(found);
        return true;
    });
}

int SourceControl::GetCurrentSourceInfo(int& type)
{
    return Query([&type] {
        if (TvService::Instance().IsTerminated()) {
            return false;
        }
        type = kSourceTypeBroadcast;
        return true;
    });
}

int AvControl::GetParentalLock(bool& locked)
{
    return Query([&locked] {
        if (TvService::Instance().IsTerminated()) {
            return false;
        }
        // What is not there is not withheld.
        const std::optional<TunedService> service = CurrentService();
        locked = service && TvService::Instance().IsWithheld(*service);
        return true;
    });
}

int RatingUtil::GetRating(int& rating, bool& permitted)
{
    return Query([&] {
        const std::optional<TunedService> service = CurrentService();
        if (!service) {
            return false;
        }
        rating = service->rating.value_or(0);
        permitted = TvService::Instance().Permits(service->rating);
        return true;
    });
}

int SoSpecApp::GetValue(int key, int& value)
{
    return Query([&] {
        if (TvService::Instance().IsTerminated() || key != SO_SPEC_VALUE_LOCK_TYPE) {
            return false;
        }
        int lockType = kDefaultLockType;
        // A failed read leaves the default.
        (void)vconf_get_int(kLockTypeKey, &lockType);
        value = lockType;
        return true;
    });
}

int DataControl::GetCurrentHybridSBT(int& languageCode, int& currentIndex)
{
    return Query([&] {
        const auto input = TvService::Instance().Input();
        return input != nullptr && input->CurrentSubtitle(&languageCode, &currentIndex);
    });
}

int DataControl::GetSTCCount(unsigned long long& stc)
{
    return Query([&stc] {
        const auto input = TvService::Instance().Input();
        return input != nullptr && input->Stc(&stc);
    });
}

int DataControl::GetCurrentCaption(TCCaption& caption)
{
    return Query([&caption] {
        const auto input = TvService::Instance().Input();
        return input != nullptr && input->CurrentCaption(&caption);
    });
}

int Atsc3DataControl::GetMpdData(unsigned long long serviceId, std::string& mpd)
{
    return Query([&] {
        const auto input = TvService::Instance().Input();
        return input != nullptr && input->Mpd(serviceId, &mpd);
    });
}

int DataSubscriber::SubscribeCaption(TSCaptionCallback callback, void* userData, int& subscriptionId)
{
    return Query([&] { return TvService::Instance().SubscribeCaption(callback, userData, &subscriptionId); });
}

int DataSubscriber::UnsubscribeCaption(int subscriptionId)
{
    return Query([&] { return TvService::Instance().UnsubscribeCaption(subscriptionId); });
}

int ServiceDataAux::GetHybridSBT(unsigned long long serviceId, int index, int languageCode,
                                 TSHybridSBT& stream)
{
    return Query([&] {
        const auto input = TvService::Instance().Input();
        return input != nullptr && input->Subtitle(serviceId, index, languageCode, &stream);
    });
}

} // namespace TTMLHost
