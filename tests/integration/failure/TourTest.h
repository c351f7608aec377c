#pragma once
// What must hold after a tour in which something failed.

#include "CameraTour.h"
#include "Watchdog.h"
#include "integration/support/VirtualBus.h"

#include "support/usbfs/Bus.h"
#include "virtualcam/device/Device.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace integration {

/// The ordinary run takes some cases of each kind. TAVIX_FAULTS=all takes all of them; another value is a regular
/// expression for the texts of those to be taken.
inline std::string WantedFaults() {
    const char* const wanted = std::getenv("TAVIX_FAULTS");
    return wanted != nullptr ? wanted : "";
}
inline bool IsOrdinaryRun() {
    return WantedFaults().empty();
}

/// A camera for tours that fail. Bound to a thread.
class TourTest : public testing::Test {
protected:
    static constexpr unsigned int kBriefMs = 300;

    static bool IsWanted(const std::string& name) {
        const std::string wanted = WantedFaults();
        return wanted.empty() || wanted == "all" || std::regex_search(name, std::regex(wanted));
    }
    /// Calls to fail out of so many: all, or some from the first to the last.
    static std::set<unsigned int> Choose(unsigned int count, unsigned int most) {
        std::set<unsigned int> chosen;
        const unsigned int wanted = IsOrdinaryRun() ? std::min(count, most) : count;
        for (unsigned int i = 0; i < wanted; ++i)
            chosen.insert(wanted == 1 ? 0 : i * (count - 1) / (wanted - 1));
        return chosen;
    }
    TourReport RunTour(const std::string& name, const CameraTour::Limits& limits) {
        m_Watchdog.Watch(name);
        return CameraTour(m_Bus.Layer(), limits).Run();
    }
    /// After it nothing fails any more: nothing was lost or left, and another tour succeeds.
    void Judge(const std::string& name, const TourReport& report) {
        ++m_Cases;
        if (!IsOrdinaryRun()) std::cout << name << ": " << report.Text() << std::endl;
        for (const std::string& told : report.errors)
            ++m_Told[told];
        ASSERT_TRUE(report.complaints.empty()) << report.Text();
        ASSERT_TRUE(IsCameraBack());
        ASSERT_EQ(usbfs::Bus::Instance().OpenFileCount(), 0u) << report.Text();
        ASSERT_EQ(usbfs::Bus::Instance().Memory().Used(), 0u) << report.Text();
        ASSERT_NO_FATAL_FAILURE(ExpectGoodTour()) << report.Text();
    }
    void ExpectGoodTour() {
        const TourReport report = CameraTour(m_Bus.Layer(), {}).Run();
        ASSERT_TRUE(report.complaints.empty() && report.errors.empty()) << report.Text();
        ASSERT_GE(report.good, 3u) << report.Text();
        ASSERT_EQ(report.events, 1u) << report.Text();
    }
    void TearDown() override {
        if (IsOrdinaryRun()) return;
        std::cout << m_Cases << " cases\n";
        for (const auto& [error, count] : m_Told)
            std::cout << count << " x " << error << "\n";
    }

    VirtualBus m_Bus{R"([{"frameRateEnable": false}])"};

private:
    bool IsCameraBack() {
        const Tavix::WaitObjectEx never = Tavix::WaitObjectEx::Create();
        const auto waitFor = [&](std::size_t count) {
            for (int i = 0; i < 2000 && m_Bus.Cameras().size() != count; ++i)
                (void)Tavix::WaitObject(never).Wait(5);
            return m_Bus.Cameras().size() == count;
        };
        if (m_Bus.Camera().IsPlugged()) return waitFor(1);
        if (!waitFor(0)) return false;
        m_Bus.Camera().Plug();
        return waitFor(1);
    }

    Watchdog m_Watchdog{&CameraTour::Doing};
    std::map<std::string, unsigned int> m_Told;
    unsigned int m_Cases = 0;
};

} // namespace integration
