#pragma once
// Random calls of the interface, with handles that are right, closed, foreign or of another kind.

#include "Booty.h"
#include "gentl-consumer/support/Library.h"

#include <atomic>
#include <random>
#include <string>

namespace consumer {

/// One thread's calls. Throws std::runtime_error when an answer breaks a rule. Bound to a thread.
class Caller {
public:
    Caller(Library& library, Booty& booty, std::uint32_t seed) : m_Library(library), m_Booty(booty), m_Random(seed) {}

    /// One call, or one step towards images.
    void Step();
    /// The function that is being called, or was last. For other threads, too.
    const char* Doing() const { return m_Doing; }
    std::uint64_t Calls() const { return m_Calls; }
    /// How many calls succeeded.
    std::uint64_t Good() const { return m_Good; }

private:
    Library& m_Library;
    Booty& m_Booty;
    std::mt19937 m_Random;
    std::atomic<const char*> m_Doing{"nothing"};
    std::atomic<std::uint64_t> m_Calls{0}, m_Good{0};

    std::uint32_t Draw(std::uint32_t below) { return static_cast<std::uint32_t>(m_Random() % below); }
    void* Handle(Booty::Kind kind);
    std::uint64_t Address();
    std::string Id(Booty::Kind kind);
    template<class Function, class... Arguments>
    GC_ERROR Call(const char* name, Function function, Arguments... arguments);
    template<class Function, class... Arguments>
    void Ask(const char* name, Function function, Arguments... arguments);
    template<class Function, class... Arguments>
    void Open(const char* name, Booty::Kind kind, Function function, Arguments... arguments);
    void Climb();
    void Stream();
    void Ports();
    void Infos();
    void BufferInfos();
    void Events();
    void Buffers();
    void Lists();
    void Close();
};

} // namespace consumer
