#include "Viewer.h"

#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "CATSCSource.h"
#include "CBBSource.h"
#include "CDVBSource.h"
#include "Dice.h"
#include "Operations.h"
#include "Options.h"
#include "ScriptedPlayer.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

constexpr unsigned int kAddresses = 64;
std::array<std::atomic<void*>, kAddresses> s_addresses;
std::atomic<unsigned int> s_nextAddress{0};

// Numbers from which what callbacks do is drawn, apart from those of the threads.
constexpr std::uint64_t kFirstCallback = 1000;

TTML::CTTMLSource* NewSource(Kind kind)
{
    TTML::CTTMLSource* source = nullptr;
    switch (kind) {
    case Kind::BROADBAND:
        return TTML::CBBSource::Create(ScriptedPlayer::Handle(), kAgents[0]);
    case Kind::DVB:
        source = new TTML::CDVBSource;
        break;
    case Kind::ATSC:
        source = new TTML::CATSCSource;
        break;
    }
    source->t_Initialize(kAgents[0]);
    return source;
}

// The user data that comes with a callback.
void* UserDataOf(int code, void* data)
{
    switch (code) {
    case TTML::CALLBACK_DATA: {
        const std::unique_ptr<TTML::TTMLRawDataInfo> record(static_cast<TTML::TTMLRawDataInfo*>(data));
        const std::string& descriptor = record->trackDescriptor;
        EXPECT_TRUE(descriptor.empty() || descriptor == kDescriptors[0] || descriptor == kDescriptors[1])
            << "a torn text: " << descriptor;
        EXPECT_FALSE(record->data.empty());
        return record->userData;
    }
    case TTML::CALLBACK_STARTED:
        return static_cast<const TTML::TTMLStartNotice*>(data)->userData;
    case TTML::CALLBACK_SEEK_STARTED:
        return static_cast<const TTML::TTMLSeekNotice*>(data)->userData;
    default:
        return data;
    }
}

} // namespace

thread_local const Viewer* Viewer::s_used = nullptr;

const char* NameOf(Kind kind)
{
    return kind == Kind::BROADBAND ? "broadband" : kind == Kind::DVB ? "DVB" : "ATSC 3.0";
}

Viewer::~Viewer()
{
    Close();
}

void PrintTo(Kind kind, std::ostream* out)
{
    *out << NameOf(kind);
}

void Viewer::Open()
{
    const std::lock_guard<std::shared_mutex> use(m_use);
    Create();
}

void Viewer::Close()
{
    const std::lock_guard<std::shared_mutex> use(m_use);
    Destroy();
}

void Viewer::Create()
{
    m_mayCall = true;
    m_source = NewSource(m_kind);
    s_addresses.at(s_nextAddress.fetch_add(1, std::memory_order_relaxed) % kAddresses)
        .store(m_source, std::memory_order_relaxed);
    m_created.fetch_add(1, std::memory_order_relaxed);
    Register(*m_source, false);
}

void Viewer::Destroy()
{
    if (m_source != nullptr) {
        m_source->Destroy();
        m_source = nullptr;
        m_mayCall = false;
    }
}

void* Viewer::AnAddress(unsigned int number)
{
    return s_addresses.at(number % kAddresses).load(std::memory_order_relaxed);
}

void Viewer::Register(TTML::CTTMLSource& source, bool second)
{
    if (second) {
        source.RegisterCallBack(&Viewer::Callback<true>, &m_sides[1]);
    } else {
        source.RegisterCallBack(&Viewer::Callback<false>, &m_sides[0]);
    }
}

void Viewer::Post(TTML::CTTMLSource& source)
{
    source.SendEventToSourceThread(this, &Viewer::Handle);
}

void Viewer::Handle(int code, void* data)
{
    EXPECT_EQ(code, 14);
    static_cast<Viewer*>(data)->m_handled.fetch_add(1, std::memory_order_relaxed);
}

template <bool kSecond>
void Viewer::Callback(int code, void* data)
{
    const auto* const side = static_cast<const Side*>(UserDataOf(code, data));
    if (side == nullptr || side->second != kSecond) {
        ADD_FAILURE() << "code " << code << " came with " << (side == nullptr ? "no" : "another callback's")
                      << " user data";
        return;
    }
    side->viewer->Take(code);
}

void Viewer::Take(int code)
{
    EXPECT_TRUE(m_mayCall.load(std::memory_order_relaxed)) << "code " << code << " after the destruction";
    const unsigned long long number = m_callbacks.fetch_add(1, std::memory_order_relaxed);
    if (code == TTML::CALLBACK_FONTS_ERROR) {
        // The thread is inside an operation of the client's.
        Use([](TTML::CTTMLSource& source) { EXPECT_EQ(source.GetDownloadableFontsInfo().size(), 2U); });
    }
    static thread_local bool s_reacting = false;
    if (!s_reacting) {
        s_reacting = true;
        React(code, number);
        s_reacting = false;
    }
}

// Clients use the source inside their callbacks.
void Viewer::React(int code, unsigned long long number)
{
    Dice dice(TheOptions().seed, kFirstCallback + static_cast<std::uint64_t>(code) * 1000000 + number);
    const Operation operation = Draw(dice);
    const unsigned int argument = dice.Below(1000);
    if (dice.OneIn(4) && IsForCallbacks(operation)) {
        Use([&](TTML::CTTMLSource& source) { Perform(operation, *this, source, argument); });
    }
}

} // namespace TTMLTest
