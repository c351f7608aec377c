// Logs what its arguments say: core_log_probe <category> <mode>.
// "levels": one line a level; "threads": 4 threads of 200 lines; "atexit": a line from the destructor of a static.

#include "core/Log.h"

#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

namespace {

struct LateLogger {
    ~LateLogger() { Tavix::LogTrace(Tavix::LogGetCatID("Probe.Late"), Tavix::kLogError, "late line"); }
};

LateLogger g_LateLogger; // made before anything of the log

void LogLevels(unsigned int id) {
    for (const unsigned int level : {256u, 128u, 64u, 32u, 16u}) {
        Tavix::LogTrace(id, level, "line %u", level);
        std::printf("%u %s\n", level, Tavix::LogIsEnabled(id, level) ? "enabled" : "silent");
    }
}

void LogFromThreads(unsigned int id) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([=] {
            for (int i = 0; i < 200; ++i)
                Tavix::LogTrace(id, Tavix::kLogError, "thread %d line %d", t, i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const unsigned int id = Tavix::LogGetCatID(argv[1]);
    if (std::strcmp(argv[2], "levels") == 0)
        LogLevels(id);
    else if (std::strcmp(argv[2], "threads") == 0)
        LogFromThreads(id);
    return 0;
}
