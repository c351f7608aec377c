#include "viewer/server/Gate.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>

#include <arpa/inet.h>
#include <sys/random.h>
#include <unistd.h>

namespace viewer {
namespace {

constexpr std::size_t kMostTokens = 64; // that nobody used
constexpr std::size_t kMostKeys = 256;

std::string Random() {
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("the system gives no random numbers");
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

/// Takes as long for a nearly right text as for a wrong one.
bool IsSame(const std::string& left, const std::string& right) {
    if (left.size() != right.size()) return false;
    unsigned char difference = 0;
    for (std::size_t i = 0; i < left.size(); ++i)
        difference |= static_cast<unsigned char>(left[i] ^ right[i]);
    return difference == 0;
}

template<class Texts>
typename Texts::const_iterator Find(const Texts& texts, const std::string& text) {
    auto found = texts.end();
    for (auto one = texts.begin(); one != texts.end(); ++one) {
        if (IsSame(*one, text)) found = one;
    }
    return found;
}

bool IsAddress(const std::string& name) {
    in6_addr bytes{};
    return inet_pton(AF_INET, name.c_str(), &bytes) == 1 || inet_pton(AF_INET6, name.c_str(), &bytes) == 1;
}

std::string OwnName() {
    char name[256] = {};
    return gethostname(name, sizeof name - 1) == 0 ? HostName(name) : std::string();
}

} // namespace

std::string HostName(std::string_view host) {
    const bool isBracketed = !host.empty() && host.front() == '[';
    const std::size_t end = isBracketed ? host.find(']') : host.find(':');
    if (isBracketed && end == std::string_view::npos) return {};
    const std::string_view port = end == std::string_view::npos ? "" : host.substr(end + (isBracketed ? 1 : 0));
    const bool isPort = port.empty() || (port.size() > 1 && port.front() == ':' &&
                                         port.find_first_not_of("0123456789", 1) == std::string_view::npos);
    if (!isPort) return {};
    std::string name(isBracketed ? host.substr(1, end - 1) : host.substr(0, end));
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    return name;
}

std::string CookieOf(std::string_view header, std::string_view name) {
    while (!header.empty()) {
        const std::string_view pair = header.substr(0, header.find(';'));
        header.remove_prefix(std::min(header.size(), pair.size() + 1));
        const std::size_t first = pair.find_first_not_of(' '), equals = pair.find('=');
        if (first == std::string_view::npos || equals == std::string_view::npos || equals < first) continue;
        if (pair.substr(first, equals - first) == name) return std::string(pair.substr(equals + 1));
    }
    return {};
}

std::string TokenOf(std::string_view target) {
    constexpr std::string_view kStart = "/?token=";
    return target.substr(0, kStart.size()) == kStart ? std::string(target.substr(kStart.size())) : std::string();
}

Gate::Gate(bool others) : m_Others(others) {}

bool Gate::IsHostAllowed(std::string_view host) const {
    const std::string name = HostName(host);
    if (name == "localhost" || name == "127.0.0.1" || name == "::1") return true;
    return m_Others && !name.empty() && (IsAddress(name) || name == OwnName());
}

bool Gate::IsOriginAllowed(std::string_view origin, std::string_view host) const {
    constexpr std::string_view kScheme = "http://";
    return IsHostAllowed(host) && origin.substr(0, kScheme.size()) == kScheme && origin.substr(kScheme.size()) == host;
}

std::string Gate::MakeToken() {
    const Tavix::MutexLock lock(m_Lock);
    if (m_Tokens.size() >= kMostTokens) m_Tokens.pop_front();
    return m_Tokens.emplace_back(Random());
}

std::string Gate::Exchange(const std::string& token) {
    const Tavix::MutexLock lock(m_Lock);
    const auto found = Find(m_Tokens, token);
    if (found == m_Tokens.end() || m_Keys.size() >= kMostKeys) return {};
    m_Tokens.erase(found);
    return *m_Keys.insert(Random()).first;
}

bool Gate::IsKey(const std::string& key) const {
    const Tavix::MutexLock lock(m_Lock);
    return Find(m_Keys, key) != m_Keys.end();
}

} // namespace viewer
