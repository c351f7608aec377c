#include "gentl/support/Producer.h"

#include <stdexcept>

#include <dlfcn.h>

namespace consumer {

Producer::Producer(const std::string& path) : m_File(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!m_File) throw std::runtime_error(::dlerror());
#define GENTL_FIND(name)                                                                                               \
    name = reinterpret_cast<decltype(name)>(::dlsym(m_File, #name));                                                   \
    if (!name) throw std::runtime_error("the producer lacks " #name);
    GENTL_FUNCTIONS(GENTL_FIND)
#undef GENTL_FIND
}

Producer::~Producer() {
    ::dlclose(m_File);
}

} // namespace consumer
