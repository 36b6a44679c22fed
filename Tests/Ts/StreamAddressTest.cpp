#include <optional>
#include <string>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>

#include "StreamAddress.h"

namespace {

using TTMLHost::ParseStreamAddress;
using TTMLHost::StreamAddress;

std::optional<StreamAddress> Parse(const std::string& text)
{
    std::string why;
    return ParseStreamAddress(text, &why);
}

std::string WhyNot(const std::string& text)
{
    std::string why;
    EXPECT_FALSE(ParseStreamAddress(text, &why));
    return why;
}

std::string Host(const StreamAddress& address)
{
    char text[INET6_ADDRSTRLEN] = {};
    const void* const host = address.family == AF_INET6 ? static_cast<const void*>(&address.v6.sin6_addr)
                                                        : static_cast<const void*>(&address.v4.sin_addr);
    return inet_ntop(address.family, host, text, sizeof(text));
}

TEST(StreamAddress, HasHostAndPort)
{
    const std::optional<StreamAddress> address = Parse("127.0.0.1:1234");
    ASSERT_TRUE(address);
    EXPECT_EQ(address->family, AF_INET);
    EXPECT_EQ(Host(*address), "127.0.0.1");
    EXPECT_EQ(address->Port(), 1234);
    EXPECT_FALSE(address->multicast);
}

TEST(StreamAddress, MayBeAllOfTheMachine)
{
    for (const char* text : {":65535", "@:65535", "0.0.0.0:65535"}) {
        const std::optional<StreamAddress> address = Parse(text);
        ASSERT_TRUE(address) << text;
        EXPECT_EQ(Host(*address), "0.0.0.0");
        EXPECT_EQ(address->Port(), 65535);
    }
}

TEST(StreamAddress, MayBeAGroup)
{
    EXPECT_TRUE(Parse("224.0.0.1:1")->multicast);
    EXPECT_TRUE(Parse("@239.255.255.255:1")->multicast);
    EXPECT_FALSE(Parse("223.255.255.255:1")->multicast);
    EXPECT_FALSE(Parse("240.0.0.0:1")->multicast);
    EXPECT_TRUE(Parse("[ff15::1]:5000")->multicast);
}

TEST(StreamAddress, MayHaveAnInterfacesAddress)
{
    const std::optional<StreamAddress> address = Parse("192.168.1.2@239.1.1.1:5000");
    ASSERT_TRUE(address);
    EXPECT_EQ(address->interfaceAddress.s_addr, inet_addr("192.168.1.2"));
    EXPECT_EQ(address->interfaceIndex, 0U);
    EXPECT_EQ(Host(*address), "239.1.1.1");
}

TEST(StreamAddress, MayHaveAnInterfacesName)
{
    const std::optional<StreamAddress> address = Parse("lo@239.1.1.1:5000");
    ASSERT_TRUE(address);
    EXPECT_EQ(address->interfaceIndex, if_nametoindex("lo"));
}

TEST(StreamAddress, MayBeOfVersion6)
{
    const std::optional<StreamAddress> address = Parse("lo@[ff15::1]:5000");
    ASSERT_TRUE(address);
    EXPECT_EQ(address->family, AF_INET6);
    EXPECT_EQ(Host(*address), "ff15::1");
    EXPECT_EQ(address->Port(), 5000);
    EXPECT_EQ(address->interfaceIndex, if_nametoindex("lo"));
}

TEST(StreamAddress, NeedsAPort)
{
    for (const char* text : {"", "239.1.1.1", "239.1.1.1:", "239.1.1.1:x", "239.1.1.1:12x", "239.1.1.1:65536",
                             "239.1.1.1:99999999999999999999", "239.1.1.1:-1", "239.1.1.1:1234/"}) {
        EXPECT_EQ(WhyNot(text), "it has no port from 1 to 65535 at its end") << text;
    }
}

TEST(StreamAddress, NeedsAnIpAddress)
{
    EXPECT_EQ(WhyNot("example.com:1"), "'example.com' is no IP address");
    EXPECT_EQ(WhyNot("1.2.3:1"), "'1.2.3' is no IP address");
    EXPECT_EQ(WhyNot("ff15::1:1"), "'ff15::1' is no IP address");
    EXPECT_EQ(WhyNot("[ff15::x]:1"), "'[ff15::x]' is no IP address");
}

TEST(StreamAddress, NeedsAnInterfaceThatIsThere)
{
    EXPECT_EQ(WhyNot("nosuch0@239.1.1.1:1"), "this machine has no network interface 'nosuch0'");
    EXPECT_EQ(WhyNot("127.0.0.1@[ff15::1]:1"), "this machine has no network interface '127.0.0.1'");
    EXPECT_EQ(WhyNot("[2001:db8::77]@[ff15::1]:1"), "this machine has no network interface '[2001:db8::77]'");
}

} // namespace
