// PlatformTvService.h: subtitle PES packets.

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CallbackContract.h"
#include "TvSessions.h"

namespace {

using namespace PortTest;

constexpr std::uint64_t kClockMask = (1ULL << 33) - 1;

template <int Slot>
void OnPacket(TSPESData& packet, void* userData)
{
    EXPECT_FALSE(packet.data.empty());
    packet.data.assign(1, 0xff); // it may be changed
    Receiver::Call(userData);
}

// Subscriptions of two names. Each call has an object of its own: what it subscribes to outlives it.
class PacketSubscriptions : public Subscription
{
public:
    bool Begin(int slot, Receiver* receiver) override
    {
        return CTVServiceSubscriber(Name(slot))
            .SubscribePES(slot == 0 ? &OnPacket<0> : &OnPacket<1>, receiver);
    }
    bool End(int slot) override { return CTVServiceSubscriber(Name(slot)).UnsubscribePES(); }
    void Raise() override {} // the broadcaster does

private:
    static std::string Name(int slot) { return "port-test-" + std::to_string(slot); }
};

std::unique_ptr<Subscription> MakePackets()
{
    TelevisionControl* const tv = Port().Television();
    if (tv == nullptr || !tv->Offers(Broadcast::Dvb)) {
        return nullptr;
    }
    tv->Tune(Broadcast::Dvb, false);
    return std::make_unique<PacketSubscriptions>();
}

const SubscriptionKind kPackets{"Subscriptions", "a DVB service with subtitles", &MakePackets};
PORT_INSTANTIATE(TvPacket, CallbackContract, kPackets);
PORT_INSTANTIATE(TvPacket, CountedCallbackContract, kPackets);
PORT_INSTANTIATE(TvPacket, SerialCallbackContract, kPackets);

// A packet as it came, and the system time clock then.
struct Packet
{
    TSPESData data;
    unsigned long long stc = 0;
    bool hasStc = false;
};

// Keeps the packets of the name "ttml", under which sources subscribe.
class PacketLog
{
public:
    PacketLog() { EXPECT_TRUE(CTVServiceSubscriber("ttml").SubscribePES(&Take, this)); }
    ~PacketLog() { EXPECT_TRUE(CTVServiceSubscriber("ttml").UnsubscribePES()); }
    PacketLog(const PacketLog&) = delete;
    PacketLog& operator=(const PacketLog&) = delete;

    bool WaitFor(unsigned int count) const { return m_count.WaitFor(count); }
    unsigned int Count() const { return m_count.Count(); }
    std::vector<Packet> Packets()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_packets;
    }

private:
    static void Take(TSPESData& data, void* userData)
    {
        auto* const log = static_cast<PacketLog*>(userData);
        Packet packet;
        packet.data = data;
        packet.hasStc = NewDataControl()->GetSTCCount(packet.stc) != 0;
        {
            const std::lock_guard<std::mutex> guard(log->m_mutex);
            log->m_packets.push_back(packet);
        }
        log->m_count.Add();
    }

    TTMLTest::CountingGate m_count{"subtitle packets"};
    std::mutex m_mutex;
    std::vector<Packet> m_packets; // guarded by m_mutex
};

// The presentation time of a PES packet (ISO/IEC 13818-1) that has one.
std::uint64_t PtsOf(const std::vector<unsigned char>& packet)
{
    const auto bits = [&packet](std::size_t at, unsigned mask) { return std::uint64_t{packet[at] & mask}; };
    return (bits(9, 0x0e) << 29) | (bits(10, 0xff) << 22) | (bits(11, 0xfe) << 14) | (bits(12, 0xff) << 7) |
           (bits(13, 0xfe) >> 1);
}

class TvPacket : public TelevisionTest
{};

TEST_F(TvPacket, IsSubscribedToWithoutATunedService)
{
    Receiver receiver("packet");
    CTVServiceSubscriber subscriber("port-test-alone");
    EXPECT_TRUE(subscriber.SubscribePES(&OnPacket<0>, &receiver));
    EXPECT_TRUE(subscriber.UnsubscribePES());
    EXPECT_FALSE(subscriber.UnsubscribePES());
}

TEST_F(TvPacket, IsTheWholePacketWithItsHeader)
{
    PORT_NEEDS(Offers(Broadcast::Dvb), "a DVB service with subtitles");
    PacketLog log;
    Tv().Tune(Broadcast::Dvb, false);
    ASSERT_TRUE(log.WaitFor(3));
    for (const Packet& packet : log.Packets()) {
        const std::vector<unsigned char>& bytes = packet.data.data;
        EXPECT_EQ(packet.data.dataType, PES_DATA_TYPE_TTML);
        ASSERT_GT(bytes.size(), 14U);
        EXPECT_EQ(bytes[0], 0);
        EXPECT_EQ(bytes[1], 0);
        EXPECT_EQ(bytes[2], 1);
        EXPECT_EQ(bytes[3], 0xbd) << "private_stream_1 (ETSI EN 303 560)";
        EXPECT_EQ(std::size_t{bytes[4]} * 256 + bytes[5], bytes.size() - 6) << "PES_packet_length";
        EXPECT_NE(bytes[7] & 0x80, 0) << "it has a PTS";
    }
}

TEST_F(TvPacket, HasItsPtsOnTheScaleOfTheSystemTimeClock)
{
    // A broadcaster sends a subtitle some seconds ahead of its time.
    constexpr std::int64_t kTenSeconds = 900000;
    PORT_NEEDS(Offers(Broadcast::Dvb), "a DVB service with subtitles");
    PacketLog log;
    Tv().Tune(Broadcast::Dvb, true);
    ASSERT_TRUE(log.WaitFor(2));
    for (const Packet& packet : log.Packets()) {
        const std::uint64_t pts = PtsOf(packet.data.data);
        EXPECT_EQ(packet.data.pesData.pts, static_cast<unsigned long>(pts));
        ASSERT_TRUE(packet.hasStc) << "the clock can be asked for inside the callback";
        // Either may have wrapped.
        auto ahead = static_cast<std::int64_t>((pts - packet.stc) & kClockMask);
        ahead = ahead > static_cast<std::int64_t>(kClockMask / 2)
                    ? ahead - static_cast<std::int64_t>(kClockMask) - 1
                    : ahead;
        EXPECT_LT(std::llabs(ahead), kTenSeconds) << "PTS " << pts << ", clock " << packet.stc;
    }
}

TEST_F(TvPacket, IsEachSubscribersOwnToChange)
{
    PORT_NEEDS(Offers(Broadcast::Dvb), "a DVB service with subtitles");
    Receiver before("before");
    Receiver after("after");
    PacketSubscriptions others; // they change what they are given
    ASSERT_TRUE(others.Begin(0, &before));
    PacketLog log;
    ASSERT_TRUE(others.Begin(1, &after));
    Tv().Tune(Broadcast::Dvb, false);
    EXPECT_TRUE(log.WaitFor(3));
    EXPECT_TRUE(before.WaitForCalls(2));
    EXPECT_TRUE(after.WaitForCalls(2));
    EXPECT_TRUE(others.End(0));
    EXPECT_TRUE(others.End(1));
    for (const Packet& packet : log.Packets()) {
        EXPECT_GT(packet.data.data.size(), 14U);
    }
}

TEST_F(TvPacket, ComesOfTheServiceThatIsTunedLater)
{
    PORT_NEEDS(Offers(Broadcast::OtherDvb), "a second DVB service");
    PORT_NEEDS(Offers(Broadcast::Dvb), "a DVB service with subtitles");
    PacketLog log;
    SignalWatch watch;
    Tv().Tune(Broadcast::Dvb, false);
    ASSERT_TRUE(log.WaitFor(1));
    Tv().Tune(Broadcast::OtherDvb, false);
    ASSERT_TRUE(watch.WaitFor(SIGNAL_TUNE_SUCCESS, 2));
    EXPECT_TRUE(log.WaitFor(log.Count() + 1));
}

} // namespace
