#pragma once
// A variable of the environment for a scope.

#include <cstdlib>
#include <string>

namespace tooltest {

/// Set as long as this lives, for programs that are started meanwhile. Bound to a thread.
class Variable {
public:
    Variable(const char* name, const std::string& value) : m_Name(name) {
        setenv(name, value.c_str(), /*overwrite=*/1);
    }
    ~Variable() { unsetenv(m_Name); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* const m_Name;
};

} // namespace tooltest
