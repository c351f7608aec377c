// A program that runs with more rights than its user. The system's functions that ask the environment are replaced, so
// that the test needs no such rights.

#include "tavixbase/PluginSearch.h"

#include "Scoped.h"

#include "core/Log.h"
#include "tavix/TlFactory.h"

#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <string_view>

namespace {

std::mutex g_Lock;
std::set<std::string> g_AskedSafely, g_AskedPlainly; // guarded by g_Lock
bool g_IsPrivileged = false;

char* Find(const char* name) {
    const std::size_t length = std::string_view(name).size();
    for (char** entry = environ; entry && *entry; ++entry) {
        if (std::string_view(*entry).substr(0, length) == name && (*entry)[length] == '=') return *entry + length + 1;
    }
    return nullptr;
}

void Note(std::set<std::string>& asked, const char* name) {
    const std::lock_guard<std::mutex> guard(g_Lock);
    if (std::string_view(name).substr(0, 6) == "TAVIX_") asked.insert(name);
}

} // namespace

extern "C" {
char* getenv(const char* name) noexcept {
    Note(g_AskedPlainly, name);
    return Find(name);
}
char* secure_getenv(const char* name) noexcept {
    Note(g_AskedSafely, name);
    return g_IsPrivileged ? nullptr : Find(name);
}
}

namespace Tavix {

TEST(PrivilegedProgram, IsAskedForEveryVariableInTheSafeWay) {
    CTlFactory& factory = CTlFactory::GetInstance();
    LogTrace(LogGetCatID("Test"), kLogError, "a line");
    DeviceInfoList devices;
    factory.EnumerateDevices(devices);
    for (const char* name :
         {"TAVIX_LOG_CONFIG", "TAVIX_TL_PATH", "TAVIX_USE_TL", "TAVIX_VIRTUAL_CAMERAS", "TAVIX_TRACE"})
        EXPECT_EQ(g_AskedSafely.count(name), 1U) << name;
    EXPECT_EQ(g_AskedPlainly, std::set<std::string>());
}

TEST(PrivilegedProgram, LoadsNothingThatItsUserNames) {
    const ScopedVariable path("TAVIX_TL_PATH", "/some/folder");
    EXPECT_EQ(plugin::SearchFolders().size(), 2U);
    g_IsPrivileged = true;
    EXPECT_EQ(plugin::SearchFolders().size(), 1U);
    g_IsPrivileged = false;
}

} // namespace Tavix
