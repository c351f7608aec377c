#pragma once
// The system's functions that ask the environment, replaced for the whole program: they say what they were asked for,
// and a program that runs with more rights than its user can be played without having them.

#include <set>
#include <string>

namespace Tavix::asked {

/// The variables of ours that were asked for so far. Thread-safe.
std::set<std::string> Safely();
std::set<std::string> Plainly();

/// Plays the program that runs with more rights than its user, as long as it lives. Bound to a thread.
class Privileges {
public:
    Privileges();
    ~Privileges();
    Privileges(const Privileges&) = delete;
    Privileges& operator=(const Privileges&) = delete;
};

} // namespace Tavix::asked
