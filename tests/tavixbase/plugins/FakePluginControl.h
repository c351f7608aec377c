#pragma once
// What a test tells a fake plug-in, and what the plug-in tells the test.

#include <atomic>
#include <functional>
#include <initializer_list>

namespace Tavix {

enum class FakeFailure { None, GenICam, Standard, Text };

// The one record of a plug-in, reached through its symbol "GetFakePluginControl". Thread-safe.
struct FakePluginControl {
    std::atomic<FakeFailure> failsInGetTLInfoList{FakeFailure::None};
    std::atomic<FakeFailure> failsInCreate{FakeFailure::None};
    std::atomic<FakeFailure> failsInDestroy{FakeFailure::None};
    std::atomic<FakeFailure> failsInDiscovery{FakeFailure::None};
    std::atomic<bool> offersNothing{false};
    std::atomic<bool> createsNull{false};
    std::atomic<int> attachedDevices{1};

    std::function<void()> onDestroy = [] {}; // set while nobody uses the plug-in

    std::atomic<int> creations{0};
    std::atomic<int> destructions{0};
    std::atomic<int> discoveries{0};
    std::atomic<int> entriesRunning{0};
    std::atomic<int> overlaps{0}; // times that an entry function ran beside another

    void Reset() {
        for (auto* pFailure : {&failsInGetTLInfoList, &failsInCreate, &failsInDestroy, &failsInDiscovery}) {
            *pFailure = FakeFailure::None;
        }
        offersNothing = createsNull = false;
        onDestroy = [] {};
        attachedDevices = 1;
        creations = destructions = discoveries = overlaps = 0;
    }
};

using GetFakePluginControlFunction = FakePluginControl* (*)();

} // namespace Tavix
