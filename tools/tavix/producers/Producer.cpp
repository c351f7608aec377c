#include "producers/Producer.h"

#include "Error.h"

#include <memory>
#include <vector>

#include <dlfcn.h>

namespace tool {
namespace {

struct FileCloser {
    void operator()(void* file) const { dlclose(file); }
};

void* Load(const std::string& path) {
    // A name without a slash would be looked for among the system's libraries.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    if (void* loaded = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) return loaded;
    throw Error(path + " cannot be loaded: " + dlerror());
}

} // namespace

Producer::Producer(const std::string& path) : m_Path(path), m_File(Load(path)) {
    std::unique_ptr<void, FileCloser> keeper(m_File); // the destructor does not run if this throws
#define TAVIX_GENTL_FIND(name) name = reinterpret_cast<decltype(name)>(Function(#name));
    TAVIX_GENTL_WALK(TAVIX_GENTL_FIND)
#undef TAVIX_GENTL_FIND
    Require(GCInitLib(), "GCInitLib");
    keeper.release();
}

Producer::~Producer() {
    GCCloseLib();
    dlclose(m_File);
}

void* Producer::Function(const char* name) const {
    if (void* function = dlsym(m_File, name)) return function;
    throw Error(m_Path + " is no GenTL producer: it has no function " + name);
}

std::string Producer::Failure(GC_ERROR result, const char* call) const {
    std::string line = std::string(call) + " fails with " + std::to_string(result);
    std::vector<char> text(1024);
    std::size_t size = text.size();
    GC_ERROR code = 0;
    if (GCGetLastError(&code, text.data(), &size) != GC_ERR_SUCCESS || code != result) return line;
    text.back() = '\0';
    return line + ": " + text.data();
}

void Producer::Require(GC_ERROR result, const char* call) const {
    if (result != GC_ERR_SUCCESS) throw Error(m_Path + " does not work: " + Failure(result, call));
}

} // namespace tool
