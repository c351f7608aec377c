#include "Library.h"

#include <dlfcn.h>

#include <cstdlib>
#include <stdexcept>

namespace consumer {

std::string Library::Path() {
    const char* path = std::getenv("TAVIX_GENTL_PRODUCER");
    return path ? path : TAVIX_GENTL_PRODUCER;
}

Library::Library(const std::string& path) : m_File(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!m_File) throw std::runtime_error(dlerror());
#define CONSUMER_FIND(name, parameters) Find(name, #name);
    CONSUMER_FUNCTIONS(CONSUMER_FIND)
#undef CONSUMER_FIND
}

Library::~Library() {
    dlclose(m_File);
}

template<class Function>
void Library::Find(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(m_File, name));
    if (!function) m_Missing.emplace_back(name);
}

} // namespace consumer
