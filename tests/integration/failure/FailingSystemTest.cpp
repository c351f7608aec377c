// Whatever libusb asks of the system fails once, or from some call on: each call of a tour in turn, with each error
// that a kernel may give. No crash, no hang, no buffer lost, nothing left behind, and the next tour succeeds.
#include "TourTest.h"

#include "support/usbfs/system/Udev.h"
#include "virtualcam/device/Protocol.h"

#include <cerrno>

namespace {

using namespace integration;
using usbfs::Call;
using usbfs::CallFault;
using usbfs::CallFaults;
using usbfs::CallSite;

constexpr unsigned int kSample = 3;        ///< calls of each kind in the ordinary run
constexpr unsigned int kLastingSample = 2; ///< the same when all that follow fail too

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

class FailingSystem : public TourTest, public testing::WithParamInterface<FailingCall> {
protected:
    CallFaults::Counts CountCalls() {
        Faults().Count();
        ExpectGoodTour();
        return Faults().GetCounts();
    }
    /// A device that is gone does not only fail to answer: the system soon says so.
    std::function<void()> Before(int error) {
        if (error != ENODEV && error != ESHUTDOWN) return {};
        return [this] { m_Bus.Camera().Unplug(); };
    }
    /// Fails one call, or all from there on, in one tour.
    void Fail(const CallSite& site, unsigned int index, int error, unsigned int times) {
        CallFault fault{site, index, error, times, Before(error)};
        const std::string name = usbfs::ToText(fault);
        if (!IsWanted(name)) return;
        SCOPED_TRACE(name);
        // Where the failing call is the one that would have brought it, an event is waited for in vain.
        CameraTour::Limits limits{5000, kBriefMs, true};
        if (times != 1 || fault.before) limits = {kBriefMs, kBriefMs, false};
        Faults().Arm(std::move(fault));
        const TourReport report = RunTour(name, limits);
        m_Hits += Faults().Disarm() != 0 ? 1 : 0;
        // libusb takes a device without a node off its list, until it hears that the node has been made.
        if (error == ENOENT) usbfs::AnnounceNode("2-1");
        Judge(name, report);
    }
    /// A camera that does not answer is waited for, too long for the ordinary run; one that is gone is not.
    std::vector<int> ErrorsOf(const CallSite& site, unsigned int times) {
        std::vector<int> errors = GetParam().errors;
        const bool isOfControl = site.endpoint == virtualcam::kControlIn || site.endpoint == virtualcam::kControlOut;
        if (!IsOrdinaryRun() || times == 1 || !isOfControl) return errors;
        errors.erase(std::remove_if(errors.begin(), errors.end(), [this](int error) { return !Before(error); }),
                     errors.end());
        return errors;
    }
    void FailAll(const CallSite& site, unsigned int count, unsigned int times) {
        const std::vector<int> errors = ErrorsOf(site, times);
        for (const unsigned int index : Choose(count, times == 1 ? kSample : kLastingSample)) {
            const std::size_t first = IsOrdinaryRun() ? m_Turn++ % errors.size() : 0;
            const std::size_t end = IsOrdinaryRun() ? first + 1 : errors.size();
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
        EXPECT_TRUE(m_Hits > 0 || !IsOrdinaryRun());
    }

private:
    unsigned int m_Hits = 0;
    std::size_t m_Turn = 0;
};

TEST_P(FailingSystem, OnceDoesNoLastingHarm) {
    Run(1);
}

TEST_P(FailingSystem, FromSomeCallOnDoesNoLastingHarm) {
    Run(CallFault::kAlways);
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
