// What the plug-in shows to the world, as the linker made it.

#include <gmock/gmock.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <string>

namespace {

/// The name at the end of a line of nm: address, kind, name.
std::string NameOf(const std::string& line) {
    const std::size_t kind = line.find(' ');
    return kind == std::string::npos || line.size() < kind + 3 ? std::string() : line.substr(kind + 3);
}

std::set<std::string> Exported() {
    std::set<std::string> names;
    const std::string command = std::string("nm -D -C --defined-only '") + TAVIXUSB_PLUGIN + "'";
    const std::unique_ptr<FILE, int (*)(FILE*)> nm(popen(command.c_str(), "r"), &pclose);
    char line[4096];
    while (nm && std::fgets(line, sizeof line, nm.get())) {
        std::string text(line);
        text.erase(text.find_last_not_of("\n") + 1);
        names.insert(NameOf(text));
    }
    return names;
}

std::set<std::string> Expected() {
    std::set<std::string> names;
    std::ifstream file(TAVIXUSB_EXPORTS);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty()) names.insert(line);
    }
    return names;
}

TEST(Plugin, ExportsThreeFunctionsAndOneClass) {
    const std::set<std::string> expected = Expected();
    ASSERT_GT(expected.size(), 6u);
    EXPECT_THAT(Exported(), testing::ContainerEq(expected));
}

TEST(Plugin, IsNamedAsTheFactoryLooksForIt) {
    const std::string path = TAVIXUSB_PLUGIN;
    EXPECT_EQ("libtavixusb-4.0.0.so", path.substr(path.rfind('/') + 1));
}

} // namespace
