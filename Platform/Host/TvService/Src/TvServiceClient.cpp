#include "PlatformTvService.h"

#include <exception>
#include <new>

#include "Sessions.h"
#include "TvService.h"

using TTMLHost::TvService;

namespace {

constexpr int kOk = 0;
constexpr int kFailed = -1;
constexpr int kGroup = 0;

template <typename Session, typename Interface>
int Create(EProfile profile, Interface** session)
{
    if (session == nullptr || profile != PROFILE_MAIN) {
        return kFailed;
    }
    *session = new (std::nothrow) Session();
    return *session != nullptr ? kOk : kFailed;
}

} // namespace

EProfile CTVServiceSubscriber::m_profile = PROFILE_MAIN;
int CTVServiceSubscriber::m_group = kGroup;

void TCServiceUtility::IsTvsTerminated(bool& terminated)
{
    try {
        terminated = TvService::Instance().IsTerminated();
    } catch (const std::exception&) {
        // Without the memory for a service there is none.
        terminated = true;
    }
}

void TCCriteriaHelper::Fetch(int attribute)
{
    try {
        m_attributes.push_back(attribute);
    } catch (const std::exception&) {
        // An attribute that is not asked for is not answered, which the caller has to expect.
    }
}

TCNavigationCriteria TCNavigationModeHelper::GetNavigationCriteria(const TCCriteriaHelper& helper,
                                                                   int navigationMode, int firstLimit,
                                                                   int secondLimit, int thirdLimit)
{
    TCNavigationCriteria criteria;
    criteria.navigationMode = navigationMode;
    criteria.firstLimit = firstLimit;
    criteria.secondLimit = secondLimit;
    criteria.thirdLimit = thirdLimit;
    try {
        criteria.attributes = helper.Attributes();
    } catch (const std::exception&) {
        // The same.
    }
    return criteria;
}

CTVServiceSubscriber::CTVServiceSubscriber(const std::string& name)
    : m_name(name)
{}

CTVServiceSubscriber::~CTVServiceSubscriber() = default;

bool CTVServiceSubscriber::SubscribePES(TSPESCallback callback, void* userData)
{
    try {
        return TvService::Instance().SubscribePes(m_name, callback, userData);
    } catch (const std::exception&) {
        return false;
    }
}

bool CTVServiceSubscriber::UnsubscribePES()
{
    try {
        return TvService::Instance().UnsubscribePes(m_name);
    } catch (const std::exception&) {
        return false;
    }
}

namespace TVServiceAPI {

int CreateSignalSubscriber(TSSignalCallback callback, ISignalSubscriber** subscriber)
{
    if (callback == nullptr || subscriber == nullptr) {
        return kFailed;
    }
    try {
        *subscriber = TvService::Instance().Subscribers().Create(callback);
        return *subscriber != nullptr ? kOk : kFailed;
    } catch (const std::exception&) {
        return kFailed;
    }
}

int DestroySignalSubscriber(TSSignalCallback callback)
{
    try {
        return TvService::Instance().Subscribers().Destroy(callback) ? kOk : kFailed;
    } catch (const std::exception&) {
        return kFailed;
    }
}

int CreateServiceNavigation(EProfile profile, int /*group*/, IServiceNavigation** navigation)
{
    return Create<TTMLHost::ServiceNavigation>(profile, navigation);
}

int CreateSourceControl(EProfile profile, int /*group*/, ISourceControl** control)
{
    return Create<TTMLHost::SourceControl>(profile, control);
}

int CreateAVControl(EProfile profile, int /*group*/, IAVControl** control)
{
    return Create<TTMLHost::AvControl>(profile, control);
}

int CreateRatingUtil(IRatingUtil** utility)
{
    return Create<TTMLHost::RatingUtil>(PROFILE_MAIN, utility);
}

int CreateSOSpecApp(EProfile profile, int /*group*/, ISOSpecApp** application)
{
    return Create<TTMLHost::SoSpecApp>(profile, application);
}

int CreateDataControl(EProfile profile, int /*group*/, IDataControl** control)
{
    return Create<TTMLHost::DataControl>(profile, control);
}

int CreateATSC3DataControl(EProfile profile, int /*group*/, IATSC3DataControl** control)
{
    return Create<TTMLHost::Atsc3DataControl>(profile, control);
}

int CreateDataSubscriber(EProfile profile, int /*group*/, IDataSubscriber** subscriber)
{
    return Create<TTMLHost::DataSubscriber>(profile, subscriber);
}

IServiceDataAux* ServiceDataAux(EProfile profile, int /*group*/)
{
    IServiceDataAux* auxiliary = nullptr;
    return Create<TTMLHost::ServiceDataAux>(profile, &auxiliary) == kOk ? auxiliary : nullptr;
}

void Destroy(ITvsSession* session)
{
    if (session != nullptr) {
        session->Release();
    }
}

} // namespace TVServiceAPI
