#include "viewer/server/Gate.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace viewer;

TEST(Gate, KnowsTheNamesOfThisComputersOwnSide) {
    const Gate gate(/*others=*/false);
    for (const char* host : {"localhost", "localhost:8080", "LOCALHOST:1", "127.0.0.1:40000", "[::1]:9", "[::1]"})
        EXPECT_TRUE(gate.IsHostAllowed(host)) << host;
    for (const char* host : {"", "evil.example", "evil.example:80", "127.0.0.1.evil.example", "localhost.evil.example",
                             "localhost:", "localhost:80x", "192.168.0.7:80", "[::1", "127.0.0.1:80:80", "::1"})
        EXPECT_FALSE(gate.IsHostAllowed(host)) << host;
}

TEST(Gate, AllowsOtherAddressesInFiguresOnlyWhenOthersMayCome) {
    const Gate gate(/*others=*/true);
    EXPECT_TRUE(gate.IsHostAllowed("192.168.0.7:80"));
    EXPECT_TRUE(gate.IsHostAllowed("[fe80::1]:80"));
    EXPECT_FALSE(gate.IsHostAllowed("evil.example:80")) << "a name that a stranger's name server leads here";
}

TEST(Gate, LetsOnlyItsOwnPageTalk) {
    const Gate gate(/*others=*/false);
    EXPECT_TRUE(gate.IsOriginAllowed("http://127.0.0.1:80", "127.0.0.1:80"));
    EXPECT_TRUE(gate.IsOriginAllowed("http://localhost:9000", "localhost:9000")) << "forwarded by ssh";
    for (const char* origin : {"", "null", "http://evil.example", "https://127.0.0.1:80", "http://127.0.0.1:81",
                               "http://localhost:80", "http://127.0.0.1:80.evil.example"})
        EXPECT_FALSE(gate.IsOriginAllowed(origin, "127.0.0.1:80")) << origin;
}

TEST(Gate, ExchangesATokenOnce) {
    Gate gate(/*others=*/false);
    const std::string token = gate.MakeToken();
    EXPECT_EQ(32u, token.size());
    EXPECT_NE(token, gate.MakeToken());
    const std::string key = gate.Exchange(token);
    EXPECT_TRUE(gate.IsKey(key));
    EXPECT_NE(token, key);
    EXPECT_EQ("", gate.Exchange(token));
}

TEST(Gate, TakesNothingElseForATokenOrAKey) {
    Gate gate(/*others=*/false);
    const std::string token = gate.MakeToken();
    for (const std::string& wrong : {std::string(), token.substr(1), token + "0", std::string(32, '0')}) {
        EXPECT_EQ("", gate.Exchange(wrong));
        EXPECT_FALSE(gate.IsKey(wrong));
    }
    EXPECT_FALSE(gate.IsKey(token)) << "a token is no key";
}

TEST(Gate, KeepsNoMoreTokensThanAnybodyNeeds) {
    Gate gate(/*others=*/false);
    std::vector<std::string> tokens(200);
    for (std::string& token : tokens)
        token = gate.MakeToken();
    for (std::size_t i = 0; i < tokens.size(); ++i)
        EXPECT_EQ(!gate.Exchange(tokens[i]).empty(), i >= 200 - 64) << i << ": the oldest go first";
}

TEST(Cookie, IsFoundAmongOthers) {
    EXPECT_EQ("7", CookieOf("a=1; tavix-80=7; b=2", "tavix-80"));
    EXPECT_EQ("7", CookieOf("tavix-80=7", "tavix-80"));
    EXPECT_EQ("", CookieOf("xtavix-80=7; tavix-8=1", "tavix-80"));
    EXPECT_EQ("", CookieOf("tavix-80", "tavix-80"));
    EXPECT_EQ("", CookieOf("=;;= ;", "tavix-80"));
}

TEST(Token, IsReadFromTheTarget) {
    EXPECT_EQ("abc", TokenOf("/?token=abc"));
    EXPECT_EQ("", TokenOf("/"));
    EXPECT_EQ("", TokenOf("/x?token=abc"));
}

} // namespace
