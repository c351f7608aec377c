// What the README and the pages in docs/ show is what the program and the examples are.

#include "tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>

namespace {

using namespace tooltest;

const std::filesystem::path kRoot = TAVIX_SOURCE_ROOT;

std::string TextOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::filesystem::path> Pages() {
    std::vector<std::filesystem::path> pages{kRoot / "README.md"};
    for (const auto& entry : std::filesystem::directory_iterator(kRoot / "docs")) {
        if (entry.path().extension() == ".md") pages.push_back(entry.path());
    }
    return pages;
}

/// Command lines of the tool in a page: in backticks, in indented lines, behind a prompt.
std::vector<std::string> CommandLines(const std::string& page) {
    std::vector<std::string> lines;
    const std::regex pattern("(?:`|\n {4}(?:\\$ )?)(tavix [^`\n]*)");
    for (std::sregex_iterator match(page.begin(), page.end(), pattern), end; match != end; ++match)
        lines.push_back((*match)[1]);
    return lines;
}

/// The words of a line up to what ends a command of the shell.
std::vector<std::string> WordsOf(const std::string& line) {
    std::istringstream stream(line.substr(0, line.find_first_of("|#>")));
    return {std::istream_iterator<std::string>(stream), {}};
}

/// Help of a command, or an empty text for one that does not exist.
const std::string& HelpOf(const std::string& command) {
    static std::map<std::string, std::string> known;
    const auto [entry, isNew] = known.try_emplace(command);
    if (isNew) {
        const Outcome outcome = RunTool({command, "--help"});
        if (outcome.status == 0) entry->second = outcome.out + RunTool({"--help"}).out;
        if (command == "virtual") entry->second += RunTool({"virtual", "serve", "--help"}).out;
    }
    return entry->second;
}

TEST(Docs, ShowOnlyCommandsAndOptionsThatThereAre) {
    int checked = 0;
    for (const auto& page : Pages()) {
        for (const std::string& line : CommandLines(TextOf(page))) {
            std::string command;
            std::vector<std::string> options;
            const auto words = WordsOf(line);
            for (std::size_t i = 1; i < words.size(); ++i) {
                const bool isOption = words[i][0] == '-' || words[i].rfind("[-", 0) == 0;
                if (isOption) {
                    options.push_back(words[i].substr(words[i].find('-')));
                    if (command.empty() && words[i] == "--virtual") ++i;
                } else if (command.empty()) {
                    command = words[i];
                }
            }
            if (command.empty()) continue;
            ASSERT_NE(HelpOf(command), "") << page << ": " << line;
            for (const std::string& option : options)
                EXPECT_NE(HelpOf(command).find(option.substr(0, option.find_first_of("=]"))), std::string::npos)
                    << page << ": " << line;
            ++checked;
        }
    }
    EXPECT_GT(checked, 20);
}

TEST(Docs, NameEveryCommandInTheReadme) {
    const std::string readme = TextOf(kRoot / "README.md");
    std::string list = RunTool({"nonsense"}).err;
    list.erase(0, list.find("the commands are ") + 17);
    list.resize(list.find(';'));
    std::istringstream stream(list);
    for (std::string name; std::getline(stream, name, ',');) {
        name.erase(0, name.find_first_not_of(' '));
        EXPECT_NE(readme.find("`tavix " + name), std::string::npos) << name;
    }
}

/// The README shows a program that the tests run.
TEST(Docs, ShowTheExampleAsItIs) {
    const std::string readme = TextOf(kRoot / "README.md");
    const auto begin = readme.find("```cpp\n") + 7;
    const std::string shown = readme.substr(begin, readme.find("```", begin) - begin);
    EXPECT_GE(Lines(shown).size(), 8u);
    EXPECT_NE(TextOf(kRoot / "examples/camera/first_images.cpp").find(shown), std::string::npos);
}

/// The page about GenTL shows lines of a program that the tests run.
TEST(Docs, ShowTheConsumerAsItIs) {
    const std::string page = TextOf(kRoot / "docs/gentl.md");
    const auto begin = page.find("```python\n");
    ASSERT_NE(begin, std::string::npos);
    const std::string shown = page.substr(begin + 10, page.find("```", begin + 10) - begin - 10);
    EXPECT_EQ(Lines(shown).size(), 2u);
    EXPECT_NE(TextOf(kRoot / "examples/gentl/grab.py").find(shown), std::string::npos) << shown;
}

TEST(Docs, LinkToFilesThatThereAre) {
    const std::regex pattern("\\]\\(([^)#:]+)\\)");
    for (const auto& page : Pages()) {
        const std::string text = TextOf(page);
        for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
            EXPECT_TRUE(std::filesystem::exists(page.parent_path() / (*match)[1].str())) << page << ": " << (*match)[1];
    }
}

/// Paths in backticks that begin with a folder of the project.
TEST(Docs, NameFilesThatThereAre) {
    const std::regex pattern("`((?:docs|examples|scripts|tests|src|include|virtualcam|tools|bench|fuzz|cmake|udev)/"
                             "[A-Za-z0-9_./-]+)`");
    int checked = 0;
    for (const auto& page : Pages()) {
        const std::string text = TextOf(page);
        for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match, ++checked)
            EXPECT_TRUE(std::filesystem::exists(kRoot / (*match)[1].str())) << page << ": " << (*match)[1];
    }
    EXPECT_GT(checked, 10);
}

} // namespace
