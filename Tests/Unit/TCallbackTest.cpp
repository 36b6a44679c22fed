#include "TCallback.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "VtableSlot.h"

using TTML::ICallback;
using TTML::TCallback;
using namespace TTMLTest;

namespace {

class Target
{
public:
    virtual ~Target() = default;
    void Take(void* event) { m_events.push_back(event); }
    virtual void TakeVirtually(void* event) { m_events.push_back(event); }

    std::vector<void*> m_events;
};

class DerivedTarget : public Target
{
public:
    void TakeVirtually(void* event) override
    {
        m_events.push_back(event);
        m_events.push_back(event);
    }
};

class CountedCallback : public ICallback
{
public:
    explicit CountedCallback(int& deleted)
        : m_deleted(deleted)
    {}
    ~CountedCallback() override { ++m_deleted; }
    void Invoke(void* /*event*/) override {}

private:
    int& m_deleted;
};

struct CallbackProbe : ICallback
{
    virtual void Added() = 0;
};

} // namespace

TEST(Callback, InvokeCallsTheMemberOnItsTargetWithTheEvent)
{
    Target target;
    Target other;
    int event = 0;
    TCallback<Target> callback(&target, &Target::Take);
    callback.Invoke(&event);
    callback.Invoke(nullptr);
    EXPECT_EQ(target.m_events, (std::vector<void*>{&event, nullptr}));
    EXPECT_TRUE(other.m_events.empty());
}

TEST(Callback, InvokeFollowsAVirtualMember)
{
    DerivedTarget target;
    int event = 0;
    const std::unique_ptr<ICallback> callback =
        std::make_unique<TCallback<Target>>(&target, &Target::TakeVirtually);
    callback->Invoke(&event);
    EXPECT_EQ(target.m_events, (std::vector<void*>{&event, &event}));
}

TEST(Callback, DeletingItLeavesTheTargetAlone)
{
    Target target;
    delete new TCallback<Target>(&target, &Target::Take);
    int event = 0;
    target.Take(&event);
    EXPECT_EQ(target.m_events.size(), 1U);
}

TEST(Callback, IsDeletedThroughItsInterface)
{
    int deleted = 0;
    const ICallback* const callback = new CountedCallback(deleted);
    delete callback;
    EXPECT_EQ(deleted, 1);
}

TEST(CallbackLayout, InvokeIsTheFirstSlotAndTheDestructorsFollow)
{
    EXPECT_EQ(VtableSlot(&ICallback::Invoke), 0U);
    EXPECT_EQ(VtableSlot(&CallbackProbe::Added), 3U);
    EXPECT_EQ(VtableSlot(&Target::Take), kNotVirtual);
}

TEST(CallbackLayout, HoldsTheTargetAndTheMemberPointer)
{
    EXPECT_EQ(sizeof(TCallback<Target>), 4 * sizeof(void*));
}
