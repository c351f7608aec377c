#pragma once
// The producer as a consumer loads it: found by dlopen, its functions by dlsym.

#include "Functions.h"

#include <string>
#include <vector>

namespace consumer {

/// Loads the file of its own, and lets go of it at the end. All members are null that the file does not export.
/// Thread-safe after construction.
class Library {
public:
    /// Throws std::runtime_error when the file cannot be loaded.
    explicit Library(const std::string& path = Path());
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// Names that the file does not export.
    const std::vector<std::string>& Missing() const { return m_Missing; }
    /// The producer of this build, or the one that TAVIX_GENTL_PRODUCER names.
    static std::string Path();

#define CONSUMER_MEMBER(name, parameters) GC_ERROR(*name) parameters = nullptr;
    CONSUMER_FUNCTIONS(CONSUMER_MEMBER)
#undef CONSUMER_MEMBER

private:
    void* m_File;
    std::vector<std::string> m_Missing;

    template<class Function>
    void Find(Function& function, const char* name);
};

} // namespace consumer
