#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Plugin, IsNamedAsTheFactoryLooksForIt) {
    const std::string path = TAVIXUSB_PLUGIN;
    EXPECT_EQ("libtavixusb-4.0.0.so", path.substr(path.rfind('/') + 1));
}

} // namespace
