// Memory that runs out, and files that would take all of it.

#include "tests/tools/support/TestFolder.h"
#include "tests/tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include <sys/resource.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TAVIX_SANITIZED 1
#endif

namespace {

using namespace tooltest;

constexpr std::size_t kMegabyte = std::size_t{1} << 20;
constexpr long kMostKilobytes = 512 * 1024;

/// Programs that are started meanwhile have no more address space. Bound to a thread.
class AddressSpace {
public:
    explicit AddressSpace(std::size_t bytes) {
        getrlimit(RLIMIT_AS, &m_Before);
        rlimit less = m_Before;
        less.rlim_cur = bytes;
        setrlimit(RLIMIT_AS, &less);
    }
    ~AddressSpace() { setrlimit(RLIMIT_AS, &m_Before); }
    AddressSpace(const AddressSpace&) = delete;
    AddressSpace& operator=(const AddressSpace&) = delete;

private:
    rlimit m_Before{};
};

std::string Repeat(std::size_t bytes, const std::function<std::string(std::size_t)>& piece) {
    std::string text;
    for (std::size_t i = 0; text.size() < bytes; ++i)
        text += piece(i);
    return text;
}

std::string Described(const std::string& nodes) {
    return "<?xml version=\"1.0\"?><RegisterDescription ModelName=\"m\" VendorName=\"v\" StandardNameSpace=\"None\" "
           "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
           "MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"a\" VersionGuid=\"b\"><Category Name=\"Root\"/>" +
           nodes + "</RegisterDescription>";
}

std::string Numbered(const char* before, std::size_t i, const char* after) {
    return before + std::to_string(i) + after;
}

TEST(Memory, ThatRunsOutEndsTheProgramWithALine) {
#ifdef TAVIX_SANITIZED
    GTEST_SKIP() << "the sanitizers need more address space than there is";
#endif
    const TestFolder folder;
    const std::string file = folder.Write("large.xml", Described(Repeat(8 * kMegabyte, [](std::size_t i) {
                                              return Numbered("<Integer Name=\"N", i, "\"><Value>1</Value></Integer>");
                                          })));
    const std::size_t limits[] = {60 * kMegabyte, 80 * kMegabyte, 100 * kMegabyte};
    for (const std::size_t limit : limits) {
        const Outcome outcome = [&] {
            const AddressSpace little(limit);
            return RunTool({"xml", "--lint", file});
        }();
        EXPECT_EQ(outcome.status, 1) << limit;
        EXPECT_EQ(outcome.err, "tavix: there is not enough memory; end other programs, or ask for less\n") << limit;
    }
}

/// What is repeated in a description, and what stands around it.
struct Hostile {
    const char* name;
    const char *before, *pieceBefore, *pieceAfter, *after;
};

void PrintTo(const Hostile& row, std::ostream* to) {
    *to << row.name;
}

class HostileDescription : public testing::TestWithParam<Hostile> {};

/// Each in sizes that are just taken and sizes that are refused.
TEST_P(HostileDescription, CostsAtMostHalfAGigabyte) {
#ifdef TAVIX_SANITIZED
    GTEST_SKIP() << "the sanitizers keep what was freed";
#endif
    const TestFolder folder;
    const Hostile& hostile = GetParam();
    for (const std::size_t megabytes : {8, 11, 63}) {
        const std::string pieces = Repeat(megabytes * kMegabyte, [&](std::size_t i) {
            return Numbered(hostile.pieceBefore, i % 1000000, hostile.pieceAfter);
        });
        const std::string file = folder.Write("hostile.xml", Described(hostile.before + pieces + hostile.after));
        const Outcome outcome = RunTool({"xml", "--lint", file});
        EXPECT_LT(outcome.status, 2) << outcome.err;
        EXPECT_LE(Lines(outcome.err).size(), 1u) << outcome.err;
        EXPECT_LT(outcome.peakKilobytes, kMostKilobytes) << megabytes << " MiB";
    }
}

constexpr Hostile kHostile[] = {
    {"Nodes", "", "<Integer Name=\"N", "\"><Value>1</Value></Integer>", ""},
    {"OpenTags", "", "<a", ">", ""},
    {"Attributes", "<Integer Name=\"X\" ", "a", "=\"1\" ", "/>"},
    {"Variables", "<IntSwissKnife Name=\"X\">", "<pVariable Name=\"V", "\">X</pVariable>",
     "<Formula>1</Formula></IntSwissKnife>"},
    {"Entries", "<Enumeration Name=\"X\">", "<EnumEntry Name=\"E", "\"><Value>1</Value></EnumEntry>",
     "<Value>1</Value></Enumeration>"},
    {"Links", "<Integer Name=\"X\">", "<pInvalidator>N", "</pInvalidator>", "<Value>1</Value></Integer>"},
    {"Formula", "<IntSwissKnife Name=\"X\"><Formula>", "-", "+", "1</Formula></IntSwissKnife>"},
    {"Text", "<Integer Name=\"X\"><ToolTip>", "x", "", "</ToolTip><Value>1</Value></Integer>"},
};

INSTANTIATE_TEST_SUITE_P(Of, HostileDescription, testing::ValuesIn(kHostile),
                         [](const auto& each) { return std::string(each.param.name); });

} // namespace
