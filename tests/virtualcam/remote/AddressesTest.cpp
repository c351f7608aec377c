#include "virtualcam/remote/Addresses.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace virtualcam {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

TEST(ReachableAddresses, AreTheOneThatIsListenedOn) {
    EXPECT_THAT(ReachableAddresses("127.0.0.1"), ElementsAre("127.0.0.1"));
    EXPECT_THAT(ReachableAddresses("::1"), ElementsAre("::1"));
    EXPECT_THAT(ReachableAddresses("camera-server.example"), ElementsAre("camera-server.example"));
}

TEST(ReachableAddresses, AreThoseOfTheComputerWhereAllAreListenedOn) {
    for (const char* all : {"0.0.0.0", "0", "::"}) {
        const std::vector<std::string> addresses = ReachableAddresses(all);
        EXPECT_THAT(addresses, Contains("127.0.0.1")) << all;
        EXPECT_THAT(addresses, Not(Contains("0.0.0.0")));
        EXPECT_THAT(addresses, Not(Contains("::")));
    }
}

TEST(ReachableAddresses, AreOfTheSameKind) {
    in_addr parsed{};
    for (const std::string& address : ReachableAddresses("0.0.0.0"))
        EXPECT_EQ(inet_pton(AF_INET, address.c_str(), &parsed), 1) << address;
}

} // namespace
} // namespace virtualcam
