#include "viewer/server/Protocol.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

using namespace viewer;

std::string Refusal(const std::string& text) {
    std::uint64_t id = 0;
    std::string why;
    EXPECT_FALSE(ParseRequest(text, id, why)) << text;
    return why;
}

/// Both ends have the table, each in its own language; that of the page is JSON behind its first line.
TEST(Protocol, IsTheSameAtBothEnds) {
    std::ifstream file(TAVIX_SOURCE_ROOT "/viewer/page/protocol.js");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::string start = "export const commands = ";
    const auto begin = text.find(start) + start.size();
    const auto end = text.rfind(';');
    ASSERT_LT(begin, end);
    EXPECT_EQ(Json::parse(text.substr(begin, end - begin)), DescribeCommands());
}

TEST(Protocol, ReadsARequest) {
    std::uint64_t id = 0;
    std::string why;
    const auto request =
        ParseRequest(R"({"id": 7, "do": "set", "camera": "c", "name": "Gain", "value": "3"})", id, why);
    ASSERT_TRUE(request) << why;
    EXPECT_EQ(7u, id);
    EXPECT_TRUE(request->command->steers);
    EXPECT_EQ("Gain", request->Text("name"));
    EXPECT_FALSE(request->Flag("nearest"));
}

TEST(Protocol, SaysWhatIsWrong) {
    EXPECT_EQ("this is no request", Refusal(""));
    EXPECT_EQ("this is no request", Refusal("[]"));
    EXPECT_EQ("this is no request", Refusal(R"({"do": "take"})"));
    EXPECT_EQ("this is no request", Refusal(R"({"id": -1, "do": "take"})"));
    EXPECT_EQ("this is no request", Refusal(R"({"id": 1, "do": 5})"));
    EXPECT_EQ("there is no such command", Refusal(R"({"id": 1, "do": "destroy"})"));
    EXPECT_EQ("'open' needs 'camera'", Refusal(R"({"id": 1, "do": "open"})"));
    EXPECT_EQ("'camera' of 'open' is no text", Refusal(R"({"id": 1, "do": "open", "camera": 5})"));
    EXPECT_EQ("'open' has a field too many", Refusal(R"({"id": 1, "do": "open", "camera": "c", "more": 1})"));
    EXPECT_EQ("'names' of 'watch' is no texts", Refusal(R"({"id": 1, "do": "watch", "camera": "c", "names": [1]})"));
}

TEST(Protocol, RefusesWhatIsTooLongTooDeepOrTooMuch) {
    EXPECT_EQ("this is no request", Refusal(std::string(kLongestRequest + 1, ' ')));
    EXPECT_EQ("this is no request", Refusal(std::string(100000, '[')));
    const std::string deep =
        R"({"id": 1, "do": "virtual", "request": )" + std::string(20, '[') + std::string(20, ']') + "}";
    EXPECT_EQ("this is no request", Refusal(deep));
    Json many = {{"id", 1}, {"do", "watch"}, {"camera", "c"}, {"names", std::vector<std::string>(kMostItems + 1, "x")}};
    EXPECT_EQ("'names' of 'watch' is no texts", Refusal(many.dump()));
    Json large = {{"id", 1}, {"do", "open"}, {"camera", std::string(kLongestText + 1, 'x')}};
    EXPECT_EQ("'camera' of 'open' is no text", Refusal(large.dump()));
}

TEST(Protocol, BendsNumbersOfPixelsToWhatThereCanBe) {
    std::uint64_t id = 0;
    std::string why;
    const auto request = ParseRequest(
        R"({"id": 1, "do": "region", "camera": "c", "x": -5, "y": 1e300, "width": 3.9, "height": 0})", id, why);
    ASSERT_TRUE(request) << why;
    EXPECT_EQ(0u, request->Count("x"));
    EXPECT_EQ(1048576u, request->Count("y"));
    EXPECT_EQ(3u, request->Count("width"));
}

TEST(Protocol, PutsTheHeaderOfAnImageBeforeItsBytes) {
    const std::string message = EncodeImage({{"a", 1}}, "xyz", 3);
    EXPECT_EQ(std::string("\x07\0\0\0{\"a\":1}xyz", 14), message);
}

TEST(Protocol, ReplacesBytesThatAreNoText) {
    EXPECT_EQ("{\"a\":\"\xEF\xBF\xBD\"}", Dump({{"a", "\xFF"}}));
}

} // namespace
