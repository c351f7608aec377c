// What is atomic, against the tables of docs/threads.md.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

std::string TextOf(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Where the template arguments end that begin here.
std::size_t EndOfArguments(const std::string& line, std::size_t at) {
    int depth = 0;
    for (; at < line.size(); ++at) {
        if (line[at] == '<') ++depth;
        if (line[at] == '>' && --depth == 0) return at + 1;
    }
    return line.size();
}

/// The names that a line declares to be atomic or pointers to what is: none for references and for types inside types.
std::vector<std::string> AtomicsOf(std::string line) {
    line.erase(std::min(line.find("//"), line.size()));
    std::size_t at = line.find("std::atomic");
    if (at == std::string::npos) return {};
    at = line.compare(at, 12, "std::atomic<") == 0 ? EndOfArguments(line, at) : line.find_first_of(" (", at);
    if (at >= line.size() || (line[at] != ' ' && line[at] != '*')) return {};
    static const std::regex name(R"(\**\s*(?:\w+::)*(\w+)\s*(\{[^}]*\}|=[^,;]*)?\s*[,;])");
    std::vector<std::string> names;
    std::smatch found;
    for (std::string rest = line.substr(at); std::regex_search(rest, found, name); rest = found.suffix())
        names.push_back(found[1]);
    return names;
}

/// docs/threads.md names it, or its file as a whole.
bool IsTold(const std::string& page, const std::string& name, const fs::path& file) {
    if (page.find('`' + file.stem().string() + '`') != std::string::npos) return true;
    return std::regex_search(page, std::regex("\\b" + name + "\\b"));
}

} // namespace

TEST(LockFree, IsToldWhyItsOrderIsEnough) {
    const fs::path root = TAVIX_SOURCE_ROOT;
    const std::string all = TextOf(root / "docs/threads.md");
    const std::string page = all.substr(all.find("## Without a lock"));
    int count = 0;
    for (const char* folder :
         {"include", "src", "TavixTL_USB", "virtualcam", "gentl", "viewer", "tools", "python", "gstreamer"}) {
        for (const fs::path& file : fs::recursive_directory_iterator(root / folder)) {
            if (file.extension() != ".h" && file.extension() != ".cpp") continue;
            std::istringstream lines(TextOf(file));
            for (std::string line; std::getline(lines, line);) {
                for (const std::string& name : AtomicsOf(line)) {
                    ++count;
                    EXPECT_TRUE(IsTold(page, name, file)) << file << ": docs/threads.md does not tell of " << name;
                }
            }
        }
    }
    EXPECT_GT(count, 80);
}

TEST(LockFree, IsFoundByItsDeclaration) {
    using Names = std::vector<std::string>;
    EXPECT_EQ(AtomicsOf("    std::atomic<bool> m_A{false}, m_B{true}; // why"), (Names{"m_A", "m_B"}));
    EXPECT_EQ(AtomicsOf("std::atomic<std::chrono::time_point<int>> m_A{};"), Names{"m_A"});
    EXPECT_EQ(AtomicsOf("std::atomic<long>* m_A = nullptr;"), Names{"m_A"});
    EXPECT_EQ(AtomicsOf("std::atomic_flag m_A = ATOMIC_FLAG_INIT;"), Names{"m_A"});
    EXPECT_EQ(AtomicsOf("std::atomic<int> Stream::s_A{0};"), Names{"s_A"});
    EXPECT_EQ(AtomicsOf("void Take(std::atomic<int>& place);"), Names{});
    EXPECT_EQ(AtomicsOf("// std::atomic<int> m_A;"), Names{});
}
