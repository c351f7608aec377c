#pragma once
// Who has the ports of a node map, of which there is one set for all who use them.

#include <algorithm>
#include <vector>

namespace Tavix {

/// The user that came last has the ports. A User takes them by being made and leaves them by being destroyed; LosePorts
/// tells it that another one is about to take them, RegainPorts lets it take them again. Users are borrowed. Guarded by
/// what guards its owner's users.
template<class User>
class PortSuccession {
public:
    /// `make` makes a user and returns it; when it throws, the one before has its ports again.
    template<class Make>
    User* Add(Make make) {
        User* const pBefore = Last();
        m_Users.push_back(nullptr);
        if (pBefore) pBefore->LosePorts();
        try {
            return m_Users.back() = make();
        } catch (...) {
            m_Users.pop_back();
            if (pBefore) pBefore->RegainPorts();
            throw;
        }
    }

    /// `destroy` destroys the user.
    template<class Destroy>
    void Remove(const User* pUser, Destroy destroy) {
        const bool hadPorts = Last() == pUser;
        m_Users.erase(std::remove(m_Users.begin(), m_Users.end(), pUser), m_Users.end());
        destroy();
        if (hadPorts && Last()) Last()->RegainPorts();
    }

    /// Nobody regains anything.
    void Clear() { m_Users.clear(); }

private:
    User* Last() const { return m_Users.empty() ? nullptr : m_Users.back(); }

    std::vector<User*> m_Users; // borrowed, in the order of their making
};

} // namespace Tavix
