#include "virtualcam/remote/Addresses.h"

#include <algorithm>
#include <memory>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>

namespace virtualcam {
namespace {

bool IsLinkLocal(const sockaddr& address) {
    return address.sa_family == AF_INET6 &&
           IN6_IS_ADDR_LINKLOCAL(&reinterpret_cast<const sockaddr_in6&>(address).sin6_addr);
}

std::string TextOf(const sockaddr& address) {
    char text[INET6_ADDRSTRLEN] = "";
    const bool isV4 = address.sa_family == AF_INET;
    const void* const bytes = isV4 ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in&>(address).sin_addr)
                                   : &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
    return inet_ntop(address.sa_family, bytes, text, sizeof text) != nullptr ? text : "";
}

/// The family of an address that stands for all; 0 for any other.
int FamilyOfAll(const std::string& address) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* found = nullptr;
    if (getaddrinfo(address.c_str(), nullptr, &hints, &found) != 0) return 0;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> keep(found, &freeaddrinfo);
    const std::string text = TextOf(*found->ai_addr);
    return text == "0.0.0.0" || text == "::" ? found->ai_family : 0;
}

} // namespace

std::vector<std::string> ReachableAddresses(const std::string& address) {
    const int family = FamilyOfAll(address);
    ifaddrs* found = nullptr;
    if (family == 0 || getifaddrs(&found) != 0) return {address};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> keep(found, &freeifaddrs);
    std::vector<std::string> local, others;
    for (const ifaddrs* each = found; each != nullptr; each = each->ifa_next) {
        if (each->ifa_addr == nullptr || (each->ifa_flags & IFF_UP) == 0 || IsLinkLocal(*each->ifa_addr)) continue;
        const int own = each->ifa_addr->sa_family;
        if (own != AF_INET && (own != AF_INET6 || family != AF_INET6)) continue; // the one of IPv6 takes both
        ((each->ifa_flags & IFF_LOOPBACK) != 0 ? local : others).push_back(TextOf(*each->ifa_addr));
    }
    if (local.size() > 1) local.resize(1);
    local.insert(local.end(), others.begin(), others.end());
    return local.empty() ? std::vector<std::string>{address} : local;
}

} // namespace virtualcam
