#include "tavixbase/PluginSearch.h"

#include "tavixbase/support/AskedEnvironment.h"
#include "tavixbase/support/Scoped.h"

#include <gtest/gtest.h>

namespace Tavix {

using plugin::FindPluginFiles;
using plugin::IsPluginFileName;
using plugin::SearchFolders;

TEST(PluginSearch, KnowsPluginsByTheirNames) {
    for (const char* name : {"libtavixusb-4.0.0.so", "libtavixfake-cam-10.20.30.so", "libtavix-0.0.1.so"}) {
        EXPECT_TRUE(IsPluginFileName(name)) << name;
    }
    for (const char* name :
         {"libtavixusb.so", "libtavixusb-4.0.so", "libtavixusb-4.0.0.so.1", "libtavixusb-4.0.0", "libtavixusb-4.0.x.so",
          "libtavixusb-4..0.so", "libtavixusb-4.0.0.0.so", "libtavixusb4.0.0.so", "tavixusb-4.0.0.so",
          "libvexlo-4.0.0.so", "libtavixusb-.so", "libtavixusb-4.0.0 .so", "libtavix.so", "", ".so"}) {
        EXPECT_FALSE(IsPluginFileName(name)) << name;
    }
}

TEST(PluginSearch, LooksIntoTheFoldersOfTheVariableThenBesideItsOwnCode) {
    const ScopedVariable path("TAVIX_TL_PATH", "/a::/b/:");
    const std::vector<std::string> folders = SearchFolders();
    ASSERT_EQ(folders.size(), 3U);
    EXPECT_EQ(folders[0], "/a");
    EXPECT_EQ(folders[1], "/b/");
    EXPECT_TRUE(std::filesystem::equivalent(folders[2], std::filesystem::read_symlink("/proc/self/exe").parent_path()));
}

TEST(PluginSearch, LooksBesideItsOwnCodeWithoutTheVariable) {
    const ScopedVariable path("TAVIX_TL_PATH", "");
    EXPECT_EQ(SearchFolders().size(), 1U);
}

TEST(PluginSearch, HeedsNoVariableInAProgramWithMoreRightsThanItsUser) {
    const ScopedVariable path("TAVIX_TL_PATH", "/some/folder");
    EXPECT_EQ(SearchFolders().size(), 2U);
    const asked::Privileges privileges;
    EXPECT_EQ(SearchFolders().size(), 1U);
}

TEST(PluginSearch, ListsFolderByFolderSortedByName) {
    const ScopedFolder first, second;
    second.Write("libtavixa-1.0.0.so", "");
    first.Write("libtavixc-1.0.0.so", "");
    first.Write("libtavixb-1.0.0.so", "");
    first.Write("readme.txt", "");
    EXPECT_EQ(FindPluginFiles({first.Path(), "/no/such/folder", second.Path()}),
              (std::vector<std::string>{first.Path("libtavixb-1.0.0.so"), first.Path("libtavixc-1.0.0.so"),
                                        second.Path("libtavixa-1.0.0.so")}));
}

TEST(PluginSearch, ListsFilesOfEqualNamesOfEachFolder) {
    const ScopedFolder first, second;
    first.Write("libtavixa-1.0.0.so", "");
    second.Write("libtavixa-1.0.0.so", "");
    EXPECT_EQ(FindPluginFiles({first.Path(), second.Path() + "/"}),
              (std::vector<std::string>{first.Path("libtavixa-1.0.0.so"), second.Path("libtavixa-1.0.0.so")}));
}

} // namespace Tavix
