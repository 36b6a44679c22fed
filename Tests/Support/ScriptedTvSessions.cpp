// The scripted TV service's session objects and the queries that they answer.

#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Journal.h"
#include "ScriptedTvState.h"

namespace TTMLTest {

namespace {

// Whether the current thread is inside TVServiceAPI::Destroy(), the only one who may release an object.
thread_local bool s_destroying = false;

std::string Numbers(const std::vector<int>& numbers)
{
    std::string text;
    for (const int number : numbers) {
        text += (text.empty() ? "" : " ") + std::to_string(number);
    }
    return "[" + text + "]";
}

// A text that needs no making.
auto Says(const char* text)
{
    return [text] { return std::string(text); };
}

auto Says(const char* name, int profile, int group)
{
    return [=] {
        return std::string(name) + "(" + std::to_string(profile) + ", " + std::to_string(group) + ")";
    };
}

// A session object of the library's, which is used on one thread at a time.
template <class Interface>
class Session : public Interface, public TvObject
{
public:
    using TvObject::TvObject;

    void Release() override
    {
        const FaultPause pause;
        if (!s_destroying) {
            Journal::Instance().Refuse("tv service", Name() + ".Release()", "that is for Destroy() alone");
        }
        MarkReleased();
    }

protected:
    // One query: `text` makes its text, `write` hands out the values and adds them to that.
    template <class Text, class Write>
    int Query(TvCall kind, const Text& text, const Write& write)
    {
        const bool busy = m_busy.exchange(true);
        TvCallScope call(
            kind, [&] { return Name() + "." + text(); }, 1);
        if (IsReleased()) {
            call.Refuse("the object is released");
        } else if (busy) {
            call.Refuse("another thread is using the object");
        } else if (call.HasEffect()) {
            write(call);
        }
        if (!busy) {
            m_busy.store(false);
        }
        return call.Result();
    }

private:
    std::atomic<bool> m_busy{false};
};

class Navigation : public Session<TVServiceAPI::IServiceNavigation>
{
public:
    using Session::Session;

    int GetTvMode(int& mode) override
    {
        return Query(TvCall::GET_TV_MODE, Says("GetTvMode()"), [&](TvCallScope& call) {
            mode = call.Scene().tvMode;
            call.Add(std::to_string(mode));
        });
    }

    int GetCurrentServiceInfo(int mode, const TCNavigationCriteria& criteria, TCServiceData& data) override
    {
        const auto text = [&] {
            return "GetCurrentServiceInfo(" + std::to_string(mode) + ", " +
                   std::to_string(criteria.navigationMode) + ", " + std::to_string(criteria.firstLimit) +
                   ", " + std::to_string(criteria.secondLimit) + ", " + std::to_string(criteria.thirdLimit) +
                   ", " + Numbers(criteria.attributes) + ")";
        };
        return Query(TvCall::GET_CURRENT_SERVICE_INFO, text, [&](TvCallScope& call) {
            data.hasAttributes = call.Scene().hasAttributes;
            for (const int attribute : criteria.attributes) {
                const auto known = call.Scene().attributes.find(attribute);
                if (known != call.Scene().attributes.end()) {
                    data.attributes[attribute] = known->second;
                }
            }
        });
    }
};

class SourceControl : public Session<TVServiceAPI::ISourceControl>
{
public:
    using Session::Session;

    int GetCurrentSourceInfo(int& type) override
    {
        return Query(TvCall::GET_CURRENT_SOURCE_INFO, Says("GetCurrentSourceInfo()"), [&](TvCallScope& call) {
            type = call.Scene().sourceType;
            call.Add(std::to_string(type));
        });
    }
};

class AvControl : public Session<TVServiceAPI::IAVControl>
{
public:
    using Session::Session;

    int GetParentalLock(bool& locked) override
    {
        return Query(TvCall::GET_PARENTAL_LOCK, Says("GetParentalLock()"), [&](TvCallScope& call) {
            locked = call.Scene().parentalLock;
            call.Add(locked);
        });
    }
};

class RatingUtil : public Session<TVServiceAPI::IRatingUtil>
{
public:
    using Session::Session;

    int GetRating(int& rating, bool& permitted) override
    {
        return Query(TvCall::GET_RATING, Says("GetRating()"), [&](TvCallScope& call) {
            rating = call.Scene().rating;
            permitted = call.Scene().ratingPermitted;
            call.Add(std::to_string(rating));
            call.Add(permitted);
        });
    }
};

class SpecApp : public Session<TVServiceAPI::ISOSpecApp>
{
public:
    using Session::Session;

    int GetValue(int key, int& value) override
    {
        return Query(
            TvCall::GET_VALUE, [&] { return "GetValue(" + std::to_string(key) + ")"; },
            [&](TvCallScope& call) {
                const auto known = call.Scene().specValues.find(key);
                if (known == call.Scene().specValues.end()) {
                    call.Refuse("the scene has no such value");
                    return;
                }
                value = known->second;
                call.Add(std::to_string(value));
            });
    }
};

class DataControl : public Session<TVServiceAPI::IDataControl>
{
public:
    using Session::Session;

    int GetCurrentHybridSBT(int& languageCode, int& currentIndex) override
    {
        const auto text = [&] {
            return "GetCurrentHybridSBT(" + std::to_string(languageCode) + ", " +
                   std::to_string(currentIndex) + ")";
        };
        return Query(TvCall::GET_CURRENT_HYBRID_SBT, text, [&](TvCallScope& call) {
            languageCode = call.Scene().languageCode;
            currentIndex = call.Scene().index;
            call.Add(std::to_string(languageCode));
            call.Add(std::to_string(currentIndex));
        });
    }

    int GetSTCCount(unsigned long long& stc) override
    {
        return Query(TvCall::GET_STC_COUNT, Says("GetSTCCount()"), [&](TvCallScope& call) {
            stc = call.Scene().stc;
            call.Add(stc);
        });
    }

    int GetCurrentCaption(TCCaption& caption) override
    {
        return Query(TvCall::GET_CURRENT_CAPTION, Says("GetCurrentCaption()"), [&](TvCallScope& call) {
            if (!call.Scene().caption) {
                call.Refuse("the scene has no caption");
                return;
            }
            const unsigned char profileBefore = caption.profile;
            caption = *call.Scene().caption;
            if (!call.Scene().captionProfileTold) {
                caption.profile = profileBefore;
            }
            call.Add(Quoted(caption.id.c_str()));
        });
    }
};

class Atsc3DataControl : public Session<TVServiceAPI::IATSC3DataControl>
{
public:
    using Session::Session;

    int GetMpdData(unsigned long long serviceId, std::string& mpd) override
    {
        return Query(
            TvCall::GET_MPD_DATA, [&] { return "GetMpdData(" + std::to_string(serviceId) + ")"; },
            [&](TvCallScope& call) {
                if (!call.Scene().mpd) {
                    call.Refuse("the scene has no MPD", 0);
                    return;
                }
                mpd = *call.Scene().mpd;
                call.Add(Quoted(mpd.c_str()));
            });
    }
};

class DataSubscriber : public Session<TVServiceAPI::IDataSubscriber>
{
public:
    using Session::Session;

    int SubscribeCaption(TSCaptionCallback callback, void* userData, int& subscriptionId) override
    {
        return Query(TvCall::SUBSCRIBE_CAPTION, Says("SubscribeCaption()"), [&](TvCallScope& call) {
            subscriptionId = AddTvCaptionSubscription(callback, userData);
            call.Add(std::to_string(subscriptionId));
        });
    }

    int UnsubscribeCaption(int subscriptionId) override
    {
        const auto text = [&] { return "UnsubscribeCaption(" + std::to_string(subscriptionId) + ")"; };
        const int result = Query(TvCall::UNSUBSCRIBE_CAPTION, text, [&](TvCallScope& call) {
            if (!RemoveTvCaptionSubscription(subscriptionId)) {
                call.Refuse("there is no such subscription");
            }
        });
        if (result < 1) {
            GiveUpTvCaptionSubscription(subscriptionId);
        }
        return result;
    }
};

class ServiceAux : public Session<TVServiceAPI::IServiceDataAux>
{
public:
    using Session::Session;

    int GetHybridSBT(unsigned long long serviceId, int index, int languageCode, TSHybridSBT& stream) override
    {
        const auto text = [&] {
            return "GetHybridSBT(" + std::to_string(serviceId) + ", " + std::to_string(index) + ", " +
                   std::to_string(languageCode) + ")";
        };
        return Query(TvCall::GET_HYBRID_SBT, text, [&](TvCallScope& call) {
            stream = call.Scene().stream;
            call.Add(std::to_string(stream.sbtType));
            call.Add(stream.profile);
        });
    }
};

// A call that creates a session object. The object is null on failure and on a success without an object;
// with TvAnswer::Result() it comes beside another result than 0, which a platform should not do.
template <class Object, class Text, class Interface>
int Create(TvCall kind, const Text& text, Interface** place)
{
    TvCallScope call(kind, text, 0);
    if (place == nullptr) {
        call.Refuse("no place for the object");
        return call.Result();
    }
    Object* const object = call.HasEffect() ? NewTvObject<Object>() : nullptr;
    call.Add(object != nullptr ? object->Name() : "null");
    if (object != nullptr || call.Result() == 0) {
        *place = object;
    }
    return call.Result();
}

} // namespace

} // namespace TTMLTest

EProfile CTVServiceSubscriber::m_profile = static_cast<EProfile>(TTMLTest::ScriptedTvService::kProfile);
int CTVServiceSubscriber::m_group = TTMLTest::ScriptedTvService::kGroup;

void TCServiceUtility::IsTvsTerminated(bool& terminated)
{
    using namespace TTMLTest;
    TvCallScope call(TvCall::IS_TVS_TERMINATED, Says("IsTvsTerminated()"), 0);
    terminated = call.Scene().terminated || !call.HasEffect();
    call.SetResult(terminated ? 1 : 0);
}

void TCCriteriaHelper::Fetch(int attribute)
{
    const TTMLTest::FaultPause pause;
    TTMLTest::Journal::Instance().Add("tv service", "Fetch(" + std::to_string(attribute) + ")");
    m_attributes.push_back(attribute);
}

TCNavigationCriteria TCNavigationModeHelper::GetNavigationCriteria(const TCCriteriaHelper& helper,
                                                                   int navigationMode, int firstLimit,
                                                                   int secondLimit, int thirdLimit)
{
    const TTMLTest::FaultPause pause;
    TTMLTest::Journal::Instance().Add(
        "tv service", "GetNavigationCriteria(" + std::to_string(navigationMode) + ", " +
                          std::to_string(firstLimit) + ", " + std::to_string(secondLimit) + ", " +
                          std::to_string(thirdLimit) + ", " + TTMLTest::Numbers(helper.Attributes()) + ")");
    return {navigationMode, firstLimit, secondLimit, thirdLimit, helper.Attributes()};
}

namespace TVServiceAPI {

using namespace TTMLTest;

int CreateServiceNavigation(EProfile profile, int group, IServiceNavigation** navigation)
{
    return Create<Navigation>(TvCall::CREATE_SERVICE_NAVIGATION,
                              Says("CreateServiceNavigation", profile, group), navigation);
}

int CreateSourceControl(EProfile profile, int group, ISourceControl** control)
{
    return Create<SourceControl>(TvCall::CREATE_SOURCE_CONTROL, Says("CreateSourceControl", profile, group),
                                 control);
}

int CreateAVControl(EProfile profile, int group, IAVControl** control)
{
    return Create<AvControl>(TvCall::CREATE_AV_CONTROL, Says("CreateAVControl", profile, group), control);
}

int CreateRatingUtil(IRatingUtil** utility)
{
    return Create<RatingUtil>(TvCall::CREATE_RATING_UTIL, Says("CreateRatingUtil()"), utility);
}

int CreateSOSpecApp(EProfile profile, int group, ISOSpecApp** application)
{
    return Create<SpecApp>(TvCall::CREATE_SO_SPEC_APP, Says("CreateSOSpecApp", profile, group), application);
}

int CreateDataControl(EProfile profile, int group, IDataControl** control)
{
    return Create<DataControl>(TvCall::CREATE_DATA_CONTROL, Says("CreateDataControl", profile, group),
                               control);
}

int CreateATSC3DataControl(EProfile profile, int group, IATSC3DataControl** control)
{
    return Create<Atsc3DataControl>(TvCall::CREATE_ATSC3_DATA_CONTROL,
                                    Says("CreateATSC3DataControl", profile, group), control);
}

int CreateDataSubscriber(EProfile profile, int group, IDataSubscriber** subscriber)
{
    return Create<DataSubscriber>(TvCall::CREATE_DATA_SUBSCRIBER,
                                  Says("CreateDataSubscriber", profile, group), subscriber);
}

IServiceDataAux* ServiceDataAux(EProfile profile, int group)
{
    IServiceDataAux* aux = nullptr;
    Create<ServiceAux>(TvCall::SERVICE_DATA_AUX, Says("ServiceDataAux", profile, group), &aux);
    return aux;
}

void Destroy(ITvsSession* session)
{
    auto* const object = dynamic_cast<TvObject*>(session);
    TvCallScope call(
        TvCall::DESTROY,
        [&] { return "Destroy(" + (object != nullptr ? object->Name() : std::string("null")) + ")"; }, 0);
    if (object == nullptr) {
        return;
    }
    if (object->IsReleased()) {
        call.Refuse("the object is released");
        return;
    }
    s_destroying = true;
    session->Release();
    s_destroying = false;
}

} // namespace TVServiceAPI
