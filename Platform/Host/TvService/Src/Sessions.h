#ifndef SESSIONS_H
#define SESSIONS_H

#include "PlatformTvService.h"

namespace TTMLHost {

// The session objects of the TV service's boundary. They hold nothing: each query asks the TV service of the
// process, and fails once that is terminated or where it has no answer.

class ServiceNavigation final : public TVServiceAPI::IServiceNavigation
{
public:
    virtual ~ServiceNavigation() = default;
    void Release() override { delete this; }
    int GetTvMode(int& mode) override;
    int GetCurrentServiceInfo(int mode, const TCNavigationCriteria& criteria, TCServiceData& data) override;
};

class SourceControl final : public TVServiceAPI::ISourceControl
{
public:
    virtual ~SourceControl() = default;
    void Release() override { delete this; }
    int GetCurrentSourceInfo(int& type) override;
};

class AvControl final : public TVServiceAPI::IAVControl
{
public:
    virtual ~AvControl() = default;
    void Release() override { delete this; }
    int GetParentalLock(bool& locked) override;
};

class RatingUtil final : public TVServiceAPI::IRatingUtil
{
public:
    virtual ~RatingUtil() = default;
    void Release() override { delete this; }
    int GetRating(int& rating, bool& permitted) override;
};

class SoSpecApp final : public TVServiceAPI::ISOSpecApp
{
public:
    virtual ~SoSpecApp() = default;
    void Release() override { delete this; }
    int GetValue(int key, int& value) override;
};

class DataControl final : public TVServiceAPI::IDataControl
{
public:
    virtual ~DataControl() = default;
    void Release() override { delete this; }
    int GetCurrentHybridSBT(int& languageCode, int& currentIndex) override;
    int GetSTCCount(unsigned long long& stc) override;
    int GetCurrentCaption(TCCaption& caption) override;
};

class Atsc3DataControl final : public TVServiceAPI::IATSC3DataControl
{
public:
    virtual ~Atsc3DataControl() = default;
    void Release() override { delete this; }
    int GetMpdData(unsigned long long serviceId, std::string& mpd) override;
};

class DataSubscriber final : public TVServiceAPI::IDataSubscriber
{
public:
    virtual ~DataSubscriber() = default;
    void Release() override { delete this; }
    int SubscribeCaption(TSCaptionCallback callback, void* userData, int& subscriptionId) override;
    int UnsubscribeCaption(int subscriptionId) override;
};

class ServiceDataAux final : public TVServiceAPI::IServiceDataAux
{
public:
    virtual ~ServiceDataAux() = default;
    void Release() override { delete this; }
    int GetHybridSBT(unsigned long long serviceId, int index, int languageCode, TSHybridSBT& stream) override;
};

} // namespace TTMLHost

#endif
