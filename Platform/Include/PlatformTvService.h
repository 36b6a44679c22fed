#ifndef TTML_PLATFORM_TV_SERVICE_H
#define TTML_PLATFORM_TV_SERVICE_H

// Platform service: the TV service client library. Any thread may make any call, on several at once, also
// inside a callback of the service, and none may throw.
//
// The interfaces are used by the places of their virtual operations: an operation keeps its place,
// counted with the inherited ones from 1, and places that the source layer does not use are reserved.
//
// A session object belongs to the caller that created it, who releases it with Destroy(); it is used on one
// thread at a time. A call that creates one returns 0 and stores the object, or another value (or null) on
// failure and creates nothing. Unless stated otherwise a query returns a value above 0 on success, and on
// failure leaves its outputs as they are.

#include <cstdint>
#include <string>
#include <vector>

#include "PlatformExport.h"
#include "PlatformTvServiceData.h"

// A signal subscription's callback: called on a thread of the service, one call at a time. The data is the
// callback's own copy. Returns 1 when it took the signal and 0 when it did not; the service does not care.
typedef int (*TSSignalCallback)(ESignalType signal, EProfile profile, unsigned short index, TSSignalData data,
                                void* userData);

// A PES subscription's callback: called on a thread of the service, one call at a time. The packet stays the
// service's, may be changed, and is valid during the call.
typedef void (*TSPESCallback)(TSPESData& packet, void* userData);

// A caption subscription's callback: the same.
typedef void (*TSCaptionCallback)(TSCaption& caption, void* userData);

class TTML_PLATFORM_EXPORT TCServiceUtility
{
public:
    // Whether the TV service has ended. Every other query fails then.
    static void IsTvsTerminated(bool& terminated);
};

// Collects the attributes that a service query is to answer.
class TTML_PLATFORM_EXPORT TCCriteriaHelper
{
public:
    TCCriteriaHelper() = default;

    // Adds an attribute.
    void Fetch(int attribute);

    const std::vector<int>& Attributes() const { return m_attributes; }

private:
    std::vector<int> m_attributes;
};

// What a service query is to answer, and which services it may answer for.
struct TCNavigationCriteria
{
    int navigationMode = 0;
    int firstLimit = -1;
    int secondLimit = -1;
    int thirdLimit = -1;
    std::vector<int> attributes;
};

class TTML_PLATFORM_EXPORT TCNavigationModeHelper
{
public:
    // The criteria of a navigation mode (0 for television) with the attributes of `helper`; limits that are
    // -1 do not limit.
    static TCNavigationCriteria GetNavigationCriteria(const TCCriteriaHelper& helper, int navigationMode,
                                                      int firstLimit, int secondLimit, int thirdLimit);
};

// Subscribes to PES packets under a name, which the subscription keeps when the object goes.
class TTML_PLATFORM_EXPORT CTVServiceSubscriber
{
public:
    explicit CTVServiceSubscriber(const std::string& name);
    ~CTVServiceSubscriber();
    CTVServiceSubscriber(const CTVServiceSubscriber&) = delete;
    CTVServiceSubscriber& operator=(const CTVServiceSubscriber&) = delete;

    // Has `callback` called with each TTML PES packet of the service that is tuned, and of those tuned
    // later, whichever PID carries it. Does not wait for callbacks. A second subscription of the same name,
    // callback and user data counts, but does not double the calls. Returns whether it is subscribed.
    bool SubscribePES(TSPESCallback callback, void* userData);

    // Takes back one subscription of the name. With the last one all calls end: none runs after the return,
    // unless the call is made inside the callback, where it does not wait. While other subscriptions of
    // the name remain, calls with any of the user data given may go on. Returns whether it was taken back.
    bool UnsubscribePES();

    // Profile and group that the service gives to the process.
    static EProfile m_profile;
    static int m_group;

private:
    std::string m_name;
};

namespace TVServiceAPI {

// What every session object begins with.
class ITvsSession
{
public:
    // 1: for Destroy() alone.
    virtual void Release() = 0;

protected:
    ~ITvsSession() = default;
};

// Signal subscriptions of one callback.
class ISignalSubscriber
{
public:
    virtual int reserved1() { return 0; }
    virtual int reserved2() { return 0; }
    // 3: has the callback called with `userData` at each such signal.
    virtual int Subscribe(ESignalType signal, void* userData, EProfile profile, unsigned short index,
                          TSSignalCallback callback) = 0;
    // 4: ends that: no call for the signal runs after the return, unless it is made inside the callback,
    // where it does not wait.
    virtual int Unsubscribe(ESignalType signal, EProfile profile, unsigned short index,
                            TSSignalCallback callback) = 0;

protected:
    ~ISignalSubscriber() = default;
};

// The services that can be tuned to.
class IServiceNavigation : public ITvsSession
{
public:
    // 2: the kind of television that is on; the value goes into the next query.
    virtual int GetTvMode(int& mode) = 0;
    // 3: what the criteria ask for, of the service that is tuned; attributes that it does not have are left
    // out. The record is the caller's. Fails while no service is tuned.
    virtual int GetCurrentServiceInfo(int mode, const TCNavigationCriteria& criteria,
                                      TCServiceData& data) = 0;

protected:
    ~IServiceNavigation() = default;
};

class ISourceControl : public ITvsSession
{
public:
    // 2: the input source that is on: 0 and 29 are those with broadcast subtitles.
    virtual int GetCurrentSourceInfo(int& type) = 0;

protected:
    ~ISourceControl() = default;
};

class IAVControl : public ITvsSession
{
public:
    // 2: whether picture and sound of the service are withheld just now; false where no service is tuned.
    virtual int GetParentalLock(bool& locked) = 0;

protected:
    ~IAVControl() = default;
};

class IRatingUtil : public ITvsSession
{
public:
    // 2: the rating of what is on (an age; 0 without one), and whether the viewer's limit permits it.
    virtual int GetRating(int& rating, bool& permitted) = 0;

protected:
    ~IRatingUtil() = default;
};

// Key of the lock type; the types 8 and 14 have child rating.
#define SO_SPEC_VALUE_LOCK_TYPE 96

class ISOSpecApp : public ITvsSession
{
public:
    // 2: a value of the country's specification.
    virtual int GetValue(int key, int& value) = 0;

protected:
    ~ISOSpecApp() = default;
};

class IDataControl : public ITvsSession
{
public:
    // 2: language (three letters of ISO 639, one a byte, the first in the highest place) and index of the
    // subtitle stream that is on. Fails where there is none.
    virtual int GetCurrentHybridSBT(int& languageCode, int& currentIndex) = 0;
    // 3: the decoder's system time clock, 33 bits at 90 kHz. A result other than 0 is success; there is none
    // before the first clock reference of the tuned service.
    virtual int GetSTCCount(unsigned long long& stc) = 0;
    virtual int reserved4() { return 0; }
    virtual int reserved5() { return 0; }
    virtual int reserved6() { return 0; }
    virtual int reserved7() { return 0; }
    virtual int reserved8() { return 0; }
    virtual int reserved9() { return 0; }
    virtual int reserved10() { return 0; }
    virtual int reserved11() { return 0; }
    virtual int reserved12() { return 0; }
    virtual int reserved13() { return 0; }
    virtual int reserved14() { return 0; }
    virtual int reserved15() { return 0; }
    virtual int reserved16() { return 0; }
    virtual int reserved17() { return 0; }
    virtual int reserved18() { return 0; }
    // 19: the caption track that is on. The record is the caller's.
    virtual int GetCurrentCaption(TCCaption& caption) = 0;

protected:
    ~IDataControl() = default;
};

class IATSC3DataControl : public ITvsSession
{
public:
    virtual int reserved2() { return 0; }
    virtual int reserved3() { return 0; }
    // 4: the MPD of the service as it stands. The text is the caller's. A result other than 0 is success.
    virtual int GetMpdData(unsigned long long serviceId, std::string& mpd) = 0;

protected:
    ~IATSC3DataControl() = default;
};

class IDataSubscriber : public ITvsSession
{
public:
    virtual int reserved2() { return 0; }
    virtual int reserved3() { return 0; }
    // 4: has the callback called with each caption of the tuned service; `subscriptionId` ends it. Does not
    // wait for callbacks.
    virtual int SubscribeCaption(TSCaptionCallback callback, void* userData, int& subscriptionId) = 0;
    // 5: ends that: no call runs after the return, unless it is made inside the callback, where it does not
    // wait.
    virtual int UnsubscribeCaption(int subscriptionId) = 0;

protected:
    ~IDataSubscriber() = default;
};

// Further data of services.
class IServiceDataAux : public ITvsSession
{
public:
    // 2: a subtitle stream of a service, by its index and language. The record is the caller's; its type is
    // another one for a service without TTML. A result other than 0 is success.
    virtual int GetHybridSBT(unsigned long long serviceId, int index, int languageCode,
                             TSHybridSBT& stream) = 0;

protected:
    ~IServiceDataAux() = default;
};

// A subscriber for signals to `callback`, which the caller keeps until DestroySignalSubscriber().
TTML_PLATFORM_EXPORT int CreateSignalSubscriber(TSSignalCallback callback, ISignalSubscriber** subscriber);

// Releases one subscriber of the callback: one whose subscriptions have all been ended if there is such, then
// one that never had any, else the oldest, with its subscriptions. No call for it runs after the return,
// unless the call is made inside the callback, where it does not wait. Returns 0 on success.
TTML_PLATFORM_EXPORT int DestroySignalSubscriber(TSSignalCallback callback);

// Session objects.
TTML_PLATFORM_EXPORT int CreateServiceNavigation(EProfile profile, int group,
                                                 IServiceNavigation** navigation);
TTML_PLATFORM_EXPORT int CreateSourceControl(EProfile profile, int group, ISourceControl** control);
TTML_PLATFORM_EXPORT int CreateAVControl(EProfile profile, int group, IAVControl** control);
TTML_PLATFORM_EXPORT int CreateRatingUtil(IRatingUtil** utility);
TTML_PLATFORM_EXPORT int CreateSOSpecApp(EProfile profile, int group, ISOSpecApp** application);
TTML_PLATFORM_EXPORT int CreateDataControl(EProfile profile, int group, IDataControl** control);
TTML_PLATFORM_EXPORT int CreateATSC3DataControl(EProfile profile, int group, IATSC3DataControl** control);
TTML_PLATFORM_EXPORT int CreateDataSubscriber(EProfile profile, int group, IDataSubscriber** subscriber);
// Null on failure.
TTML_PLATFORM_EXPORT IServiceDataAux* ServiceDataAux(EProfile profile, int group);

// Releases a session object. Null is ignored.
TTML_PLATFORM_EXPORT void Destroy(ITvsSession* session);

} // namespace TVServiceAPI

#endif
