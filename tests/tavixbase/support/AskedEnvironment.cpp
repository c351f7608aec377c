#include "AskedEnvironment.h"

#include <cstdlib>
#include <mutex>
#include <string_view>

#include <unistd.h>

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

namespace Tavix::asked {

std::set<std::string> Safely() {
    const std::lock_guard<std::mutex> guard(g_Lock);
    return g_AskedSafely;
}

std::set<std::string> Plainly() {
    const std::lock_guard<std::mutex> guard(g_Lock);
    return g_AskedPlainly;
}

Privileges::Privileges() {
    g_IsPrivileged = true;
}

Privileges::~Privileges() {
    g_IsPrivileged = false;
}

} // namespace Tavix::asked
