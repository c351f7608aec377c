// Requests that no page of ours makes.

#include "viewer/Viewer.h"
#include "viewer/Wire.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <string>
#include <thread>

namespace {

using namespace viewertest;
using testing::HasSubstr;
using testing::Not;

/// A server without cameras, and the key of one browser.
class Hostile : public testing::Test {
protected:
    explicit Hostile(std::chrono::milliseconds timeout = std::chrono::seconds(60), std::size_t connections = 64)
        : m_Server(Options(timeout, connections)), m_Thread([this] { m_Server.Run(); }) {}
    ~Hostile() override {
        m_Server.Stop();
        m_Thread.join();
    }

    static viewer::ViewerOptions Options(std::chrono::milliseconds timeout, std::size_t connections) {
        viewer::PrepareVirtualCameras();
        viewer::ViewerOptions options;
        options.timeout = timeout;
        options.connections = connections;
        return options;
    }
    std::uint16_t Port() const { return m_Server.Port(); }
    std::string Token() {
        const std::string address = m_Server.Invite();
        return address.substr(address.find("/?token="));
    }
    std::string Ask(const std::string& request) {
        Wire wire(Port());
        wire.Send(request);
        return wire.ReadAnswer();
    }
    /// As a line of a header.
    std::string Cookie() {
        const std::string answer = Ask(Get(Token()));
        const auto begin = answer.find("Set-Cookie: ") + 12;
        return "Cookie: " + answer.substr(begin, answer.find(';', begin) - begin) + "\r\n";
    }
    /// A socket for messages, its welcome read.
    std::unique_ptr<Wire> Connect() {
        auto wire = std::make_unique<Wire>(Port());
        wire->Send(Upgrade(Cookie()));
        EXPECT_EQ("101", StatusOf(wire->ReadAnswer()));
        EXPECT_THAT(wire->ReadMessage(), HasSubstr("welcome"));
        return wire;
    }

    viewer::Viewer m_Server;
    std::thread m_Thread;
};

/// The next message that is an answer.
std::string AnswerIn(Wire& wire) {
    std::string message;
    do {
        message = wire.ReadMessage();
    } while (!message.empty() && message.find("\"re\":") == std::string::npos);
    return message;
}

TEST_F(Hostile, WithoutAKeyThereIsNothingToSee) {
    for (const char* path : {"/", "/main.js", "/socket", "/nothing"}) {
        const std::string answer = Ask(Get(path));
        EXPECT_EQ("401", StatusOf(answer)) << path;
        EXPECT_THAT(answer, HasSubstr("tavix view"));
        EXPECT_THAT(answer, Not(HasSubstr("<script")));
    }
    EXPECT_EQ("401", StatusOf(Ask(Get("/", "Cookie: tavix-" + std::to_string(Port()) + "=0000\r\n"))));
}

TEST_F(Hostile, ATokenLetsOneBrowserIn) {
    const std::string token = Token();
    const std::string answer = Ask(Get(token));
    EXPECT_EQ("303", StatusOf(answer));
    EXPECT_THAT(answer, HasSubstr("HttpOnly; SameSite=Strict"));
    EXPECT_EQ("401", StatusOf(Ask(Get(token))));
    EXPECT_EQ("401", StatusOf(Ask(Get("/?token=0123456789abcdef0123456789abcdef"))));
}

TEST_F(Hostile, AnotherNameLeadsNowhereEvenWithAKey) {
    const std::string cookie = Cookie();
    EXPECT_EQ("421", StatusOf(Ask(Get("/", cookie, "evil.example"))));
    EXPECT_EQ("421", StatusOf(Ask("GET / HTTP/1.1\r\n" + cookie + "\r\n"))) << "no name";
    EXPECT_EQ("421", StatusOf(Ask(Get(Token(), "", "evil.example:80")))) << "with a token";
    EXPECT_EQ("200", StatusOf(Ask(Get("/", cookie, "localhost:9000"))));
}

TEST_F(Hostile, PathsLeadToFilesOfThePageOnly) {
    const std::string cookie = Cookie();
    for (const char* path : {"/../Viewer.cpp", "/../../etc/passwd", "/%2e%2e/etc/passwd", "//", "/main.js/",
                             "/main.js?x", "/./main.js", "main.js", "/etc/passwd", "http://evil.example/"})
        EXPECT_EQ("404", StatusOf(Ask(Get(path, cookie)))) << path;
    EXPECT_EQ("200", StatusOf(Ask(Get("/main.js", cookie))));
}

TEST_F(Hostile, AnswersHaveThePolicyWithoutExceptions) {
    const std::string cookie = Cookie();
    for (const char* path : {"/", "/main.js", "/nothing"}) {
        const std::string answer = Ask(Get(path, cookie));
        EXPECT_THAT(answer,
                    HasSubstr("Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
                              "img-src 'self'; connect-src 'self'; base-uri 'none'; form-action 'none'; "
                              "frame-ancestors 'none'\r\n"));
        EXPECT_THAT(answer, HasSubstr("X-Content-Type-Options: nosniff\r\n"));
    }
}

TEST_F(Hostile, NothingCanBeWritten) {
    for (const char* verb : {"POST", "PUT", "DELETE", "OPTIONS", "CONNECT", "BREW"})
        EXPECT_EQ("405", StatusOf(Ask(std::string(verb) + " / HTTP/1.1\r\nHost: localhost\r\n\r\n"))) << verb;
    EXPECT_EQ("413", StatusOf(Ask("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000000000000\r\n\r\n")));
}

TEST_F(Hostile, WhatIsNoRequestIsRefused) {
    EXPECT_EQ("400", StatusOf(Ask("\x16\x03\x01\x02\r\n\r\n")));
    EXPECT_EQ("400", StatusOf(Ask("GET / HTTP/9.9\r\n\r\n")));
    EXPECT_EQ("400", StatusOf(Ask("GET / HTTP/1.1\r\nHost localhost\r\n\r\n")));
    EXPECT_EQ("431", StatusOf(Ask(Get("/", "X: " + std::string(100000, 'x') + "\r\n"))));
    EXPECT_EQ("431", StatusOf(Ask(Get("/" + std::string(100000, 'x')))));
}

TEST_F(Hostile, OtherPagesGetNoSocket) {
    const std::string cookie = Cookie();
    EXPECT_EQ("403", StatusOf(Ask(Upgrade(cookie, "http://evil.example"))));
    EXPECT_EQ("403", StatusOf(Ask(Upgrade(cookie, "null"))));
    EXPECT_EQ("403", StatusOf(Ask(Upgrade(cookie, ""))));
    EXPECT_EQ("426", StatusOf(Ask(Get("/socket", cookie))));
    EXPECT_EQ("401", StatusOf(Ask(Upgrade(""))));
    EXPECT_EQ("101", StatusOf(Ask(Upgrade(cookie))));
}

TEST_F(Hostile, MessagesThatAreNoneGetAReason) {
    const auto wire = Connect();
    wire->SendMessage("nonsense");
    EXPECT_THAT(AnswerIn(*wire), HasSubstr("this is no request"));
    wire->SendMessage(R"({"id": 2, "do": "open", "camera": "not there"})");
    EXPECT_THAT(AnswerIn(*wire), HasSubstr("this camera is not there any more"));
    wire->SendMessage(R"({"id": 3, "do": "start", "camera": "not open"})");
    EXPECT_THAT(AnswerIn(*wire), HasSubstr("this camera is not open"));
}

TEST_F(Hostile, AMessageThatIsTooLongEndsTheConnection) {
    const auto wire = Connect();
    wire->SendMessage(std::string(300 * 1024, ' '));
    EXPECT_EQ("", AnswerIn(*wire));
}

TEST_F(Hostile, ABinaryMessageEndsTheConnection) {
    const auto wire = Connect();
    wire->Send(std::string("\x82\x81\0\0\0\0x", 7));
    EXPECT_EQ("", AnswerIn(*wire));
}

TEST_F(Hostile, OnlyOneSteersUntilAnotherTakesOver) {
    const auto first = Connect(), second = Connect();
    second->SendMessage(R"({"id": 1, "do": "invite"})");
    EXPECT_THAT(AnswerIn(*second), HasSubstr("another browser steers; take over first"));
    second->SendMessage(R"({"id": 2, "do": "take"})");
    EXPECT_EQ(R"({"re":2})", AnswerIn(*second));
    second->SendMessage(R"({"id": 3, "do": "invite"})");
    EXPECT_THAT(AnswerIn(*second), HasSubstr("/?token="));
    first->SendMessage(R"({"id": 4, "do": "invite"})");
    EXPECT_THAT(AnswerIn(*first), HasSubstr("another browser steers"));
}

TEST_F(Hostile, WhoSteeredAndLeftLeavesItToAnother) {
    auto first = Connect();
    const auto second = Connect();
    first.reset();
    EXPECT_THAT(second->ReadMessage(), HasSubstr("steering"));
    second->SendMessage(R"({"id": 3, "do": "invite"})");
    EXPECT_THAT(AnswerIn(*second), HasSubstr("/?token="));
}

class HurriedServer : public Hostile {
protected:
    HurriedServer() : Hostile(std::chrono::seconds(1)) {} // which a busy machine does not take for a request
};

TEST_F(HurriedServer, DoesNotWaitForARequestThatNeverEnds) {
    Wire wire(Port());
    wire.Send("GET / HTTP/1.1\r\nHost: loc");
    EXPECT_EQ("", wire.ReadAll());
}

TEST_F(HurriedServer, DoesNotWaitForABrowserThatTakesNothing) {
    const auto wire = Connect();
    const std::string request = R"({"id": 1, "do": "faults")" + std::string(200, ' ') + "}";
    int sent = 0;
    while (sent < 10'000'000 && wire->SendMessage(request))
        ++sent;
    EXPECT_LT(sent, 10'000'000) << "it was let go";
}

class SmallServer : public Hostile {
protected:
    SmallServer() : Hostile(std::chrono::seconds(60), /*connections=*/4) {}
};

TEST_F(SmallServer, RefusesMorePagesThanItHasRoomFor) {
    const std::string cookie = Cookie();
    std::list<std::unique_ptr<Wire>> pages;
    for (int i = 0; i < 4; ++i)
        pages.push_back(Connect());
    EXPECT_EQ("503", StatusOf(Ask(Get("/", cookie))));
}

TEST_F(SmallServer, LetsTheLongestIdleConnectionOfAPageGo) {
    const std::string cookie = Cookie();
    std::list<Wire> wires; // which stay open
    for (int i = 0; i < 9; ++i) {
        wires.emplace_back(Port());
        wires.back().Send(Get("/", cookie));
        EXPECT_EQ("200", StatusOf(wires.back().ReadAnswer())) << i;
    }
    EXPECT_EQ("", wires.front().ReadAll());
    wires.back().Send(Get("/", cookie));
    EXPECT_EQ("200", StatusOf(wires.back().ReadAnswer()));
}

TEST_F(SmallServer, HasRoomForAPageWhateverStrangersDo) {
    const auto page = Connect();
    const std::string cookie = Cookie();
    std::list<Wire> strangers; // who say nothing
    for (int i = 0; i < 9; ++i) {
        strangers.emplace_back(Port());
        EXPECT_EQ("200", StatusOf(Ask(Get("/", cookie)))) << i;
    }
    EXPECT_EQ("", strangers.front().ReadAll()) << "the oldest one is let go";
    strangers.back().Send(Get("/"));
    EXPECT_EQ("401", StatusOf(strangers.back().ReadAnswer())) << "and not the newest one";
    page->SendMessage(R"({"id": 1, "do": "invite"})");
    EXPECT_THAT(AnswerIn(*page), HasSubstr("/?token="));
}

} // namespace
