#pragma once
// Who may come in: hosts, origins, one-time tokens and the keys that browsers get for them.

#include "core/Mutex.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <string_view>

namespace viewer {

/// The name in a Host header, in lower case and without its port; empty for what is none. Re-entrant.
std::string HostName(std::string_view host);
/// The value of a cookie. Re-entrant.
std::string CookieOf(std::string_view header, std::string_view name);
/// The token in "/?token=..."; empty when there is none. Re-entrant.
std::string TokenOf(std::string_view target);

/// A stranger's page can make a browser send requests here, and even under a name of the stranger's own that leads to
/// this computer. So names are looked at: of this computer's own side, or addresses in figures, which no name server
/// bends. Thread-safe.
class Gate {
public:
    /// With `others`, hosts may call the server by any address in figures, and by this computer's name.
    explicit Gate(bool others);

    bool IsHostAllowed(std::string_view host) const;
    /// Whether a page of this server asks; browsers tell the origin, others need not.
    bool IsOriginAllowed(std::string_view origin, std::string_view host) const;

    /// Good for one exchange.
    std::string MakeToken();
    /// A key for a browser; empty when the token is none, or was used.
    std::string Exchange(const std::string& token);
    bool IsKey(const std::string& key) const;

private:
    const bool m_Others;
    mutable Tavix::Mutex m_Lock;
    std::deque<std::string> m_Tokens TAVIX_GUARDED_BY(m_Lock); // as they were made
    std::set<std::string> m_Keys TAVIX_GUARDED_BY(m_Lock);
};

} // namespace viewer
