// Whatever libusb asks of the system fails once, or from some call on: each call of an errand in turn, with each error
// that a kernel may give. No crash, no hang, no buffer lost, nothing left behind, and the next errand succeeds.
//
// The ordinary run takes some calls of each kind. TAVIX_FAULTS=all takes all of them; another value is a
// regular expression for the texts of those to be taken, such as "submit 81, call 3:".
#include "Errand.h"
#include "VirtualBus.h"
#include "Watchdog.h"

#include "support/usbfs/Bus.h"
#include "support/usbfs/Udev.h"
#include "virtualcam/Device.h"
#include "virtualcam/Protocol.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <regex>
#include <set>

namespace {

using namespace integration;
using usbfs::Call;
using usbfs::CallFault;
using usbfs::CallFaults;
using usbfs::CallSite;

constexpr const char* kCamera = R"([{"frameRateEnable": false}])";
constexpr unsigned int kSample = 4; ///< calls of each kind in the ordinary run
constexpr unsigned int kBriefMs = 300;
constexpr unsigned int kLastingSample = 2; ///< the same when all that follow fail too

/// Empty in the ordinary run.
std::string Wanted() {
    const char* const wanted = std::getenv("TAVIX_FAULTS");
    return wanted != nullptr ? wanted : "";
}

bool IsComplete() {
    return !Wanted().empty();
}

bool IsWanted(const std::string& name) {
    return Wanted().empty() || Wanted() == "all" || std::regex_search(name, std::regex(Wanted()));
}

CallFaults& Faults() {
    return usbfs::Bus::Instance().Faults();
}

/// The kinds of call and what a kernel may answer to each.
struct FailingCall {
    const char* name;
    Call call;
    std::vector<int> errors;
};

void PrintTo(const FailingCall& call, std::ostream* out) {
    *out << call.name;
}

class FailingSystem : public testing::TestWithParam<FailingCall> {
protected:
    CallFaults::Counts CountCalls() {
        Faults().Count();
        ExpectGoodErrand();
        return Faults().GetCounts();
    }
    /// A device that is gone does not only fail to answer: the system soon says so.
    std::function<void()> Before(int error) {
        if (error != ENODEV && error != ESHUTDOWN) return {};
        return [this] { m_Bus.Camera().Unplug(); };
    }
    /// Fails one call, or all from there on, in one errand; the one after that must succeed.
    void Fail(const CallSite& site, unsigned int index, int error, unsigned int times) {
        CallFault fault{site, index, error, times, Before(error)};
        const std::string name = usbfs::ToText(fault);
        if (!IsWanted(name)) return;
        SCOPED_TRACE(name);
        m_Watchdog.Watch(name);
        // Where the failing call is the one that would have brought it, an event is waited for in vain.
        Errand::Patience patience{5000, kBriefMs, true};
        if (times != 1 || fault.before) patience = {kBriefMs, kBriefMs, false};
        Faults().Arm(std::move(fault));
        const ErrandReport report = Errand(m_Bus.Layer(), patience).Run();
        m_Hits += Faults().Disarm() != 0 ? 1 : 0;
        // libusb takes a device without a node off its list, until it hears that the node has been made.
        if (error == ENOENT) usbfs::PostUdevEvent("add", "2-1", {});
        ++m_Cases;
        if (IsComplete()) std::cout << name << ": " << report.Text() << std::endl;
        for (const std::string& told : report.errors)
            ++m_Told[told];
        ASSERT_TRUE(report.complaints.empty()) << report.Text();
        ASSERT_TRUE(IsCameraBack());
        ASSERT_EQ(usbfs::Bus::Instance().OpenFileCount(), 0u) << report.Text();
        ASSERT_EQ(usbfs::Bus::Instance().Memory().Used(), 0u) << report.Text();
        ASSERT_NO_FATAL_FAILURE(ExpectGoodErrand()) << report.Text();
    }
    void ExpectGoodErrand() {
        const ErrandReport report = Errand(m_Bus.Layer(), {}).Run();
        ASSERT_TRUE(report.complaints.empty() && report.errors.empty()) << report.Text();
        ASSERT_GE(report.good, 3u) << report.Text();
        ASSERT_EQ(report.events, 1u) << report.Text();
    }
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
    /// Calls to fail out of so many: all, or some from the first to the last.
    static std::set<unsigned int> Choose(unsigned int count, unsigned int most) {
        std::set<unsigned int> chosen;
        const unsigned int wanted = IsComplete() ? count : std::min(count, most);
        for (unsigned int i = 0; i < wanted; ++i)
            chosen.insert(wanted == 1 ? 0 : i * (count - 1) / (wanted - 1));
        return chosen;
    }
    /// A camera that does not answer is waited for, too long for the ordinary run; one that is gone is not.
    std::vector<int> ErrorsOf(const CallSite& site, unsigned int times) {
        std::vector<int> errors = GetParam().errors;
        const bool isOfControl = site.endpoint == virtualcam::kControlIn || site.endpoint == virtualcam::kControlOut;
        if (IsComplete() || times == 1 || !isOfControl) return errors;
        errors.erase(std::remove_if(errors.begin(), errors.end(), [this](int error) { return !Before(error); }),
                     errors.end());
        return errors;
    }
    void FailAll(const CallSite& site, unsigned int count, unsigned int times) {
        const std::vector<int> errors = ErrorsOf(site, times);
        for (const unsigned int index : Choose(count, times == 1 ? kSample : kLastingSample)) {
            const std::size_t first = IsComplete() ? 0 : m_Turn++ % errors.size();
            const std::size_t end = IsComplete() ? errors.size() : first + 1;
            for (std::size_t i = first; i < end; ++i)
                ASSERT_NO_FATAL_FAILURE(Fail(site, index, errors[i], times));
        }
    }
    void Run(unsigned int times) {
        const CallFaults::Counts counts = CountCalls();
        for (const auto& [site, count] : counts) {
            if (site.call != GetParam().call) continue;
            std::cout << GetParam().name << " " << int(site.endpoint) << ": " << count << " calls\n";
            ASSERT_NO_FATAL_FAILURE(FailAll(site, count, times));
        }
        std::cout << m_Cases << " cases, " << m_Hits << " met\n";
        if (!IsComplete()) return;
        for (const auto& [error, count] : m_Told)
            std::cout << count << " x " << error << "\n";
    }

    VirtualBus m_Bus{kCamera};
    Watchdog m_Watchdog{&Errand::Doing};
    std::map<std::string, unsigned int> m_Told;
    unsigned int m_Cases = 0, m_Hits = 0;
    std::size_t m_Turn = 0;
};

TEST_P(FailingSystem, OnceDoesNoLastingHarm) {
    Run(1);
    EXPECT_TRUE(m_Hits > 0 || !Wanted().empty());
}

TEST_P(FailingSystem, FromSomeCallOnDoesNoLastingHarm) {
    Run(CallFault::kAlways);
    EXPECT_TRUE(m_Hits > 0 || !Wanted().empty());
}

const std::vector<int> kSubmitErrors{ENODEV, ENOMEM, EIO, EPIPE, EINVAL, ENOENT, ESHUTDOWN, EHOSTUNREACH};
const std::vector<int> kTransferErrors{EPROTO, EPIPE,  EOVERFLOW, EILSEQ,     ETIME,
                                       ECOMM,  ENOENT, ESHUTDOWN, ECONNRESET, EIO};

INSTANTIATE_TEST_SUITE_P(
    Each, FailingSystem,
    testing::Values(
        FailingCall{"OpenNode", Call::OpenNode, {ENODEV, ENOENT, EACCES, EPERM, EIO, EMFILE, ENOMEM, EINTR}},
        FailingCall{"OpenAttribute", Call::OpenAttribute, {ENODEV, ENOENT, EACCES, EMFILE, ENOMEM}},
        FailingCall{"Capabilities", Call::Capabilities, {ENODEV, ENOTTY, EFAULT}},
        FailingCall{"Claim", Call::Claim, {ENODEV, EBUSY, EINVAL, ENOENT, ENOMEM, ENOTTY, EACCES, EIO}},
        FailingCall{"Release", Call::Release, {ENODEV, EINVAL}},
        FailingCall{"Driver", Call::Driver, {ENODEV, EBUSY, EINVAL, EIO, ENOTTY}},
        FailingCall{"ClearHalt",
                    Call::ClearHalt,
                    {ENODEV, EPIPE, EPROTO, ETIMEDOUT, ENOMEM, EINVAL, ENOENT, EIO, EBUSY, EINTR}},
        FailingCall{"Submit", Call::Submit, kSubmitErrors}, FailingCall{"Reap", Call::Reap, {ENODEV}},
        FailingCall{"Discard", Call::Discard, {ENODEV, EINVAL}},
        FailingCall{"TransferStart", Call::TransferStart, kTransferErrors},
        FailingCall{"TransferEnd", Call::TransferEnd, kTransferErrors}),
    [](const auto& instance) { return instance.param.name; });

} // namespace
