#include "tavixbase/support/Expect.h"
#include "tavixbase/support/Scoped.h"

#include <sys/stat.h>

namespace Tavix {
namespace {

const CDeviceInfo kCamera = CDeviceInfo().SetModelName("m").SetSerialNumber("1");

} // namespace

TEST(ConfigFileRegistry, TakesTheDevicesOwnDescriptionWithoutEntries) {
    const ScopedBindings bindings;
    const XmlFileBinding binding = bindings.registry.GetXmlFileBinding(kCamera);
    EXPECT_TRUE(binding.fromDevice);
    EXPECT_FALSE(binding.hasFile);
    EXPECT_FALSE(binding.hasMergeFile);
    EXPECT_TRUE(binding.filePath.empty() && binding.mergeFilePath.empty());
}

TEST(ConfigFileRegistry, BindsAFileToThoseThatThePatternFits) {
    const ScopedBindings bindings;
    bindings.registry.BindFile(CDeviceInfo().SetSerialNumber("1"), "/a.xml");
    const XmlFileBinding binding = bindings.registry.GetXmlFileBinding(kCamera);
    EXPECT_FALSE(binding.fromDevice);
    EXPECT_TRUE(binding.hasFile);
    EXPECT_EQ(binding.filePath, "/a.xml");
    EXPECT_TRUE(bindings.registry.GetXmlFileBinding(CDeviceInfo().SetSerialNumber("2")).fromDevice);
}

TEST(ConfigFileRegistry, LetsTheFirstEntryThatFitsDecide) {
    const ScopedBindings bindings;
    bindings.registry.BindFile(CDeviceInfo().SetModelName("other"), "/other.xml");
    bindings.registry.BindFile(CDeviceInfo().SetModelName("m"), "/first.xml");
    bindings.registry.BindNothing(CDeviceInfo().SetModelName("m"));
    EXPECT_EQ(bindings.registry.GetXmlFileBinding(kCamera).filePath, "/first.xml");
}

TEST(ConfigFileRegistry, LooksMergeFilesUpApart) {
    const ScopedBindings bindings;
    bindings.registry.BindMergeFile(CDeviceInfo().SetModelName("m"), "/merge.xml");
    const XmlFileBinding binding = bindings.registry.GetXmlFileBinding(kCamera);
    EXPECT_TRUE(binding.fromDevice);
    EXPECT_TRUE(binding.hasMergeFile);
    EXPECT_EQ(binding.mergeFilePath, "/merge.xml");
}

TEST(ConfigFileRegistry, CanLeaveADeviceWithoutDescription) {
    const ScopedBindings bindings;
    bindings.registry.BindNothing(CDeviceInfo());
    const XmlFileBinding binding = bindings.registry.GetXmlFileBinding(kCamera);
    EXPECT_FALSE(binding.fromDevice);
    EXPECT_FALSE(binding.hasFile);
}

TEST(TextFile, IsReadWhole) {
    const ScopedFolder folder;
    std::string text(100000, 'x');
    text[50000] = '\0';
    EXPECT_EQ(textFileToString(folder.Write("long.xml", text).c_str()).str(), text);
    EXPECT_EQ(textFileToString(folder.Write("empty.xml", "").c_str()), "");
}

TEST(TextFile, NamesFileAndReasonWhenItIsMissing) {
    EXPECT_THROW_TEXT(RuntimeException, textFileToString("/no/such.xml"),
                      "Failed to read file '/no/such.xml': No such file or directory");
}

TEST(TextFile, RefusesFoldersAndPipes) {
    const ScopedFolder folder;
    EXPECT_THROW_PARTS(RuntimeException, textFileToString(folder.Path().c_str()), folder.Path(), "Not a regular file");
    ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    EXPECT_THROW_PARTS(RuntimeException, textFileToString(folder.Path("pipe").c_str()), "pipe", "Not a regular file");
}

TEST(GlobalDeviceFilter, GivesThePreviousOneBack) {
    const DeviceInfoList filter;
    EXPECT_EQ(GetGlobalDeviceFilterInstance(), nullptr);
    EXPECT_EQ(SetGlobalDeviceFilterInstance(&filter), nullptr);
    EXPECT_EQ(GetGlobalDeviceFilterInstance(), &filter);
    EXPECT_EQ(SetGlobalDeviceFilterInstance(nullptr), &filter);
    EXPECT_EQ(GetGlobalDeviceFilterInstance(), nullptr);
}

TEST(TextFile, RefusesMoreTextThanAnyDescriptionHas) {
    const ScopedFolder folder;
    const std::string path = folder.Write("large.xml", "x");
    std::filesystem::resize_file(path, (std::uintmax_t{64} << 20) + 1);
    EXPECT_THROW_PARTS(RuntimeException, textFileToString(path.c_str()), path, "more than the 67108864 bytes");
    std::filesystem::resize_file(path, std::uintmax_t{64} << 20);
    EXPECT_EQ(textFileToString(path.c_str()).size(), std::size_t{64} << 20);
}

} // namespace Tavix
