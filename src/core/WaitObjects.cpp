#include "core/WaitState.h"

#include <algorithm>

namespace Tavix {
namespace {

using States = std::vector<_WaitObjectPosix_t*>;

// Each state once: an object with automatic reset can be consumed only once, however often it was added.
States DistinctStates(const std::vector<WaitObject>& objects) {
    States states;
    for (const WaitObject& object : objects) {
        if (std::find(states.begin(), states.end(), object.GetHandle()) == states.end())
            states.push_back(object.GetHandle());
    }
    return states;
}

bool WaitUntilEachWasSignalled(const States& states, const Deadline& deadline) {
    for (_WaitObjectPosix_t* state : states) {
        pollfd descriptor{state->Watch(), POLLIN, 0};
        if (!deadline.Poll(&descriptor, 1)) return false;
    }
    return true;
}

bool TryConsumeAll(const States& states) {
    const bool allSignalled =
        std::all_of(states.begin(), states.end(), [](auto* state) { return state->IsSignalled(); });
    if (!allSignalled) return false;
    States pulses; // that were taken
    pulses.reserve(states.size());
    for (_WaitObjectPosix_t* state : states) {
        const Taken taken = state->TryConsume();
        if (taken == Taken::Pulse && !state->m_ManualReset) pulses.push_back(state);
        if (taken != Taken::Nothing) continue;
        for (_WaitObjectPosix_t* pulse : pulses)
            pulse->Signal();
        return false;
    }
    return true;
}

/// Of those that poll has found signalled.
bool TryConsumeAny(const std::vector<WaitObject>& objects, const std::vector<pollfd>& polled, unsigned int* pIndex) {
    for (std::size_t i = 0; i < objects.size(); ++i) {
        if ((polled[i].revents & POLLIN) == 0 || objects[i].GetHandle()->TryConsume() == Taken::Nothing) continue;
        if (pIndex != nullptr) *pIndex = static_cast<unsigned int>(i);
        return true;
    }
    return false;
}

} // namespace

unsigned int WaitObjects::Add(const WaitObject& object) {
    m_Objects.push_back(object);
    return GetCount() - 1;
}

void WaitObjects::RemoveAll() {
    m_Objects.clear();
}

bool WaitObjects::WaitForAll(unsigned int timeoutMs) const {
    const States states = DistinctStates(m_Objects);
    if (std::find(states.begin(), states.end(), nullptr) != states.end()) return false;
    const Deadline deadline(timeoutMs);
    while (!TryConsumeAll(states)) {
        if (!WaitUntilEachWasSignalled(states, deadline)) return false;
    }
    return true;
}

bool WaitObjects::WaitForAny(unsigned int timeoutMs, unsigned int* pIndex) const {
    if (std::none_of(m_Objects.begin(), m_Objects.end(), [](const WaitObject& object) { return object.IsValid(); }))
        return false;
    std::vector<pollfd> descriptors;
    descriptors.reserve(m_Objects.size());
    for (const WaitObject& object : m_Objects)
        descriptors.push_back({object.GetFd(), POLLIN, 0}); // poll skips the -1 of an object that is not valid
    const Deadline deadline(timeoutMs);
    do {
        if (!deadline.Poll(descriptors.data(), descriptors.size())) return false;
    } while (!TryConsumeAny(m_Objects, descriptors, pIndex)); // somebody else was faster
    return true;
}

} // namespace Tavix
