// Four threads call the producer at random, with good and bad handles. No call may crash, hang or break a rule of the
// interface, and in the end the producer must give images as if nothing had been.
//
//   gentl_fuzz [--seconds N] [--calls N] [--seed N]
#include "Caller.h"
#include "gentl-consumer/support/Session.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <thread>

namespace {

using namespace consumer;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLongestCall{60};

struct Options {
    unsigned seconds = 4;
    std::uint64_t calls = ~std::uint64_t{0};
    unsigned seed = std::random_device()();
};

Options Parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const auto value = std::strtoull(argv[i + 1], nullptr, 10);
        if (std::strcmp(argv[i], "--seconds") == 0) options.seconds = static_cast<unsigned>(value);
        if (std::strcmp(argv[i], "--calls") == 0) options.calls = value;
        if (std::strcmp(argv[i], "--seed") == 0) options.seed = static_cast<unsigned>(value);
    }
    return options;
}

/// One of the threads, and whether it gets on.
class Worker {
public:
    Worker(Library& library, Booty& booty, unsigned seed, const Options& options)
        : m_Caller(library, booty, seed), m_Thread([this, options] { Run(options); }) {}
    void Join() { m_Thread.join(); }
    bool IsDone() const { return m_Done; }
    const Caller& Calls() const { return m_Caller; }
    /// Empty when nothing broke a rule. After Join.
    const std::string& Error() const { return m_Error; }

private:
    Caller m_Caller;
    std::string m_Error;
    std::atomic<bool> m_Done{false};
    std::thread m_Thread;

    void Run(const Options& options) {
        const Clock::time_point end = Clock::now() + std::chrono::seconds(options.seconds);
        try {
            while (Clock::now() < end && m_Caller.Calls() < options.calls)
                m_Caller.Step();
        } catch (const std::exception& e) {
            m_Error = e.what();
        }
        m_Done = true;
    }
};

/// Ends the program with the name of the call when one does not return.
void Watch(const std::vector<std::unique_ptr<Worker>>& workers) {
    for (const auto& worker : workers) {
        std::uint64_t calls = 0;
        Clock::time_point since = Clock::now();
        while (!worker->IsDone()) {
            std::this_thread::yield();
            if (const std::uint64_t now = worker->Calls().Calls(); now != calls) {
                calls = now;
                since = Clock::now();
            }
            if (Clock::now() - since < kLongestCall) continue;
            for (const auto& each : workers)
                std::printf("hangs: %s\n", each->Calls().Doing());
            std::fflush(stdout);
            std::abort();
        }
    }
}

/// A new camera gives whole images.
void StreamAsIfNothingHadBeen() {
    Session session;
    session.Announce(4);
    session.QueueAll();
    session.Start();
    for (int i = 0; i < 20; ++i) {
        const BUFFER_HANDLE buffer = session.Next();
        if (!buffer || session.BufferInfo(buffer, BUFFER_INFO_IS_INCOMPLETE).Number() != 0)
            throw std::runtime_error("no whole image in the end");
        session.Must(session->DSQueueBuffer(session.Stream(), buffer), "DSQueueBuffer");
    }
}

int Fuzz(const Options& options) {
    std::printf("seed %u\n", options.seed);
    std::fflush(stdout);
    setenv(
        "TAVIX_VIRTUAL_CAMERAS",
        R"({"cameras": [{"serial": "Z1", "guid": "120900000021", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 2000},
                           {"serial": "Z2", "guid": "120900000022", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 500,
                            "faults": {"replugAfterMs": 20, "control": [{"fault": "Unplug", "skip": 3000, "count": 20}]}}]})",
        1);
    Library library;
    Booty booty;
    std::vector<std::unique_ptr<Worker>> workers;
    for (unsigned i = 0; i < 4; ++i)
        workers.push_back(std::make_unique<Worker>(library, booty, options.seed + i * 7919, options));
    Watch(workers);
    int failures = 0;
    std::uint64_t calls = 0, good = 0;
    for (const auto& worker : workers) {
        worker->Join();
        calls += worker->Calls().Calls();
        good += worker->Calls().Good();
        if (worker->Error().empty()) continue;
        std::printf("broken: %s\n", worker->Error().c_str());
        ++failures;
    }
    (void)library.GCCloseLib();
    StreamAsIfNothingHadBeen();
    std::printf("%llu calls, %llu of them good\n", static_cast<unsigned long long>(calls),
                static_cast<unsigned long long>(good));
    return failures == 0 && good > 100 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Fuzz(Parse(argc, argv));
    } catch (const std::exception& e) {
        std::printf("failed: %s\n", e.what());
        return 1;
    }
}
