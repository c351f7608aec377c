// Every operation of the stream grabber in every state and on every road that fails: the calls it makes and the lines
// it writes, in their order and nothing besides.

#include "tavixusb/support/CallRecord.h"
#include "tavixusb/support/StreamGrabberFixture.h"

using testing::ElementsAreArray;

namespace {
namespace stream_calls {

using Tavix::IStreamGrabber;
using Failing = std::map<std::string, vexlo::VxStatus>;

struct StreamStep {
    const char* name; // begins with the state that the step begins in
    void (*act)(IStreamGrabber&);
    Failing failing;
    std::vector<std::string> calls;
    const char* stateAfter;
    std::string failure; // text of the exception; empty for none
};

void PrintTo(const StreamStep& step, std::ostream* out) {
    *out << step.name;
}

std::string Refusal(const char* state, const char* operation) {
    return std::string("Invalid stream grabber state '") + state + "' in " + operation + " for device '1:2:3'.";
}
std::string Error(const std::string& text) {
    return "256 " + text;
}

int g_Memory;
void* g_Registered = &g_Memory;

void Open(IStreamGrabber& grabber) {
    grabber.Open();
}
void Close(IStreamGrabber& grabber) {
    grabber.Close();
}
void PrepareGrab(IStreamGrabber& grabber) {
    grabber.PrepareGrab();
}
void FinishGrab(IStreamGrabber& grabber) {
    grabber.FinishGrab();
}
void CancelGrab(IStreamGrabber& grabber) {
    grabber.CancelGrab();
}
void RegisterBuffer(IStreamGrabber& grabber) {
    grabber.RegisterBuffer(&g_Memory, sizeof g_Memory);
}
void RegisterNull(IStreamGrabber& grabber) {
    grabber.RegisterBuffer(nullptr, 4);
}
void DeregisterBuffer(IStreamGrabber& grabber) {
    EXPECT_EQ(&g_Memory, grabber.DeregisterBuffer(&g_Registered));
}
void QueueBuffer(IStreamGrabber& grabber) {
    grabber.QueueBuffer(&g_Registered, &g_Memory);
}
void RetrieveResult(IStreamGrabber& grabber) {
    Tavix::GrabResult result;
    EXPECT_FALSE(grabber.RetrieveResult(result));
}
void Ask(IStreamGrabber& grabber) {
    grabber.IsOpen();
    EXPECT_TRUE(grabber.GetWaitObject().IsValid());
    EXPECT_NE(nullptr, grabber.GetNodeMap());
}

const std::string kOpening = "64 Opening stream grabber for device '1:2:3'";
const std::string kOpened = "64 Opened stream grabber for device '1:2:3' successfully";
const std::string kClosing = "64 Closing stream grabber for device '1:2:3'.";
const std::string kClosed = "64 Closed stream grabber for device '1:2:3' successfully.";
const std::string kPreparing = "64 Preparing grab for device '1:2:3'.";
const std::string kPrepared = "64 Prepared grab for device '1:2:3' successfully.";
const std::string kFinishing = "64 Finishing grab for device '1:2:3'.";
const std::string kFinished = "64 Finished grab for device '1:2:3' successfully.";
const std::string kCancelling = "64 Cancelling grab for device '1:2:3'.";
const std::string kCancelled = "64 Cancelled grab for device '1:2:3' successfully.";
const std::string kStillGrabbing = "128 Stream grabber for device '1:2:3' still grabbing. Call "
                                   "ITavix::Streamgrabber::FinishGrab before closing the stream grabber.";
const std::string kNotClosed = "128 Failed to close vx stream grabber for device '1:2:3'. Error: 'text E2000777'";
const std::string kNoWaitObject = "Failed to register wait object for device '1:2:3'. Error: 'text E2000777'";
const std::string kNotOpened = "Failed to open vx stream grabber for device '1:2:3'. Error: 'text E2000777'";
const std::string kIsOpen = "Stream fro device '1:2:3' is already open";
const std::string kNull = "Invalid Buffer passed to RegisterBuffer for device %hs'";
const std::string kNotRegistered = "Failed to register buffer at vx stream for device 1:2:3'. Error: 'text E2000777'";
const std::string kNotDeregistered =
    "Failed to deregister buffer at vx stream for device '1:2:3'. Error: 'text E2000777'";
const std::string kNotPrepared = "PrepareGrab failed for device '1:2:3'. Error: 'text E2000777'";
const std::string kNotStarted = "PrepareGrab (StartStreaming) failed for device '1:2:3'. Error: 'text E2000777'";
const std::string kNotUndone =
    "128 vxFinishGrab grab during clean up failed for device '1:2:3'. Error: 'text E2000001'";
const std::string kNotFinished = "256 FinishGrab failed for device '1:2:3'. Error: 'text E2000777'";
const std::string kNotCancelled = "CancelGrab failed for device '1:2:3'. Error: 'text E2000777'";
const std::string kNotRetrieved = "Stream grabber not open when calling RetrievResult for device '1:2:3'.";
const std::string kFinishFailure = "FinishGrab() failed: text E2000777";

StreamStep Refused(const char* name, void (*act)(IStreamGrabber&), const char* state, const char* operation,
                   std::vector<std::string> before = {}) {
    before.push_back(Error(Refusal(state, operation)));
    return {name, act, {}, before, state, Refusal(state, operation)};
}

const StreamStep kSteps[] = {
    {"ClosedOpen", Open, {}, {kOpening, "Stream.RegisterWaitObject", "Stream.Open", kOpened}, "Open", {}},
    {"ClosedOpenWithoutWaitObject",
     Open,
     {{"Stream.RegisterWaitObject", kFailure}},
     {kOpening, "Stream.RegisterWaitObject", Error(kNoWaitObject)},
     "Closed",
     kNoWaitObject},
    {"ClosedOpenThatFails",
     Open,
     {{"Stream.Open", kFailure}},
     {kOpening, "Stream.RegisterWaitObject", "Stream.Open", "Stream.Close", Error(kNotOpened)},
     "Closed",
     kNotOpened},
    {"ClosedOpenThatFailsAndCannotBeUndone",
     Open,
     {{"Stream.Open", kFailure}, {"Stream.Close", 0xE2000001}},
     {kOpening, "Stream.RegisterWaitObject", "Stream.Open", "Stream.Close", Error(kNotOpened)},
     "Closed",
     kNotOpened},
    {"ClosedClose", Close, {}, {kClosing, kClosed}, "Closed", {}},
    Refused("ClosedPrepareGrab", PrepareGrab, "Closed", "PrepareGrab", {kPreparing}),
    Refused("ClosedFinishGrab", FinishGrab, "Closed", "FinishGrab", {kFinishing}),
    Refused("ClosedCancelGrab", CancelGrab, "Closed", "CancelGrab", {kCancelling}),
    Refused("ClosedQueueBuffer", QueueBuffer, "Closed", "QueueBuffer"),
    Refused("ClosedRegisterBuffer", RegisterBuffer, "Closed", "RegisterBuffer"),
    Refused("ClosedDeregisterBuffer", DeregisterBuffer, "Closed", "RegisterBuffer"), // sic
    {"ClosedRegisterNull", RegisterNull, {}, {Error(kNull)}, "Closed", kNull},
    {"ClosedRetrieveResult", RetrieveResult, {}, {Error(kNotRetrieved)}, "Closed", kNotRetrieved},
    {"ClosedAsk", Ask, {}, {}, "Closed", {}},

    {"OpenOpen", Open, {}, {kOpening, Error(kIsOpen)}, "Open", kIsOpen},
    {"OpenClose", Close, {}, {kClosing, "Stream.Close", kClosed}, "Closed", {}},
    {"OpenCloseThatFails",
     Close,
     {{"Stream.Close", kFailure}},
     {kClosing, "Stream.Close", kNotClosed, kClosed},
     "Closed",
     {}},
    {"OpenPrepareGrab",
     PrepareGrab,
     {},
     {kPreparing, "Stream.PrepareGrab", "Stream.StartStreaming", "Device.WriteMem", kPrepared},
     "Grabbing",
     {}},
    {"OpenPrepareGrabThatFails",
     PrepareGrab,
     {{"Stream.PrepareGrab", kFailure}},
     {kPreparing, "Stream.PrepareGrab", Error(kNotPrepared)},
     "Open",
     kNotPrepared},
    {"OpenPrepareGrabThatDoesNotStart",
     PrepareGrab,
     {{"Stream.StartStreaming", kFailure}},
     {kPreparing, "Stream.PrepareGrab", "Stream.StartStreaming", Error(kNotStarted), "Stream.FinishGrab"},
     "Open",
     kNotStarted},
    {"OpenPrepareGrabThatCannotBeUndone",
     PrepareGrab,
     {{"Stream.StartStreaming", kFailure}, {"Stream.FinishGrab", 0xE2000001}},
     {kPreparing, "Stream.PrepareGrab", "Stream.StartStreaming", Error(kNotStarted), "Stream.FinishGrab", kNotUndone},
     "Open",
     kNotStarted},
    Refused("OpenFinishGrab", FinishGrab, "Open", "FinishGrab", {kFinishing}),
    Refused("OpenCancelGrab", CancelGrab, "Open", "CancelGrab", {kCancelling}),
    Refused("OpenQueueBuffer", QueueBuffer, "Open", "QueueBuffer"),
    Refused("OpenRegisterBuffer", RegisterBuffer, "Open", "RegisterBuffer"),
    {"OpenRegisterNull", RegisterNull, {}, {Error(kNull)}, "Open", kNull},
    {"OpenDeregisterBuffer", DeregisterBuffer, {}, {"Stream.DeregisterBuffer"}, "Open", {}},
    {"OpenRetrieveResult", RetrieveResult, {}, {"Stream.RetrieveBuffer"}, "Open", {}},
    {"OpenAsk", Ask, {}, {}, "Open", {}},

    {"GrabbingOpen", Open, {}, {kOpening, Error(kIsOpen)}, "Grabbing", kIsOpen},
    {"GrabbingClose",
     Close,
     {},
     {kClosing, kStillGrabbing, kFinishing, "Stream.FinishGrab", "Device.WriteMem", kFinished, "Stream.Close", kClosed},
     "Closed",
     {}},
    {"GrabbingCloseThatCannotFinish",
     Close,
     {{"Stream.FinishGrab", kFailure}},
     {kClosing, kStillGrabbing, kFinishing, "Stream.FinishGrab", "Device.WriteMem", kNotFinished},
     "Open",
     kFinishFailure},
    Refused("GrabbingPrepareGrab", PrepareGrab, "Grabbing", "PrepareGrab", {kPreparing}),
    {"GrabbingFinishGrab", FinishGrab, {}, {kFinishing, "Stream.FinishGrab", "Device.WriteMem", kFinished}, "Open", {}},
    {"GrabbingFinishGrabThatFails",
     FinishGrab,
     {{"Stream.FinishGrab", kFailure}},
     {kFinishing, "Stream.FinishGrab", "Device.WriteMem", kNotFinished},
     "Open",
     kFinishFailure},
    {"GrabbingCancelGrab", CancelGrab, {}, {kCancelling, "Stream.CancelGrab", kCancelled}, "Grabbing", {}},
    {"GrabbingCancelGrabThatFails",
     CancelGrab,
     {{"Stream.CancelGrab", kFailure}},
     {kCancelling, "Stream.CancelGrab", Error(kNotCancelled)},
     "Grabbing",
     kNotCancelled},
    {"GrabbingQueueBuffer", QueueBuffer, {}, {"Stream.QueueBuffer"}, "Grabbing", {}},
    {"GrabbingQueueBufferThatFails",
     QueueBuffer,
     {{"Stream.QueueBuffer", kFailure}},
     {"Stream.QueueBuffer"},
     "Grabbing",
     "QueueBuffer() failed: text E2000777"},
    {"GrabbingRegisterBuffer", RegisterBuffer, {}, {"Stream.RegisterBuffer"}, "Grabbing", {}},
    {"GrabbingRegisterBufferThatFails",
     RegisterBuffer,
     {{"Stream.RegisterBuffer", kFailure}},
     {"Stream.RegisterBuffer", Error(kNotRegistered)},
     "Grabbing",
     kNotRegistered},
    {"GrabbingRegisterNull", RegisterNull, {}, {Error(kNull)}, "Grabbing", kNull},
    {"GrabbingDeregisterBuffer", DeregisterBuffer, {}, {"Stream.DeregisterBuffer"}, "Grabbing", {}},
    {"GrabbingDeregisterBufferThatFails",
     DeregisterBuffer,
     {{"Stream.DeregisterBuffer", kFailure}},
     {"Stream.DeregisterBuffer", Error(kNotDeregistered)},
     "Grabbing",
     kNotDeregistered},
    {"GrabbingRetrieveResult", RetrieveResult, {}, {"Stream.RetrieveBuffer"}, "Grabbing", {}},
    {"GrabbingAsk", Ask, {}, {}, "Grabbing", {}},
};

class StreamGrabberStep : public StreamGrabber, public testing::WithParamInterface<StreamStep> {
protected:
    void Begin() {
        const std::string name = GetParam().name;
        StreamGrabber::Open();
        if (name.rfind("Closed", 0) != 0) grabber().Open();
        if (name.rfind("Grabbing", 0) == 0) grabber().PrepareGrab();
        for (const auto& [call, status] : GetParam().failing)
            bus.FailNext(call, status);
    }
};

TEST_P(StreamGrabberStep, DoesAndSaysThisAndNothingBesides) {
    Begin();
    CallRecord record("Tavix.USB.Stream");
    std::string failure;
    EXPECT_THAT(record.Of([&] { failure = FailureOf([&] { GetParam().act(grabber()); }); }),
                ElementsAreArray(GetParam().calls));
    EXPECT_EQ(GetParam().failure, failure);
    EXPECT_EQ(GetParam().stateAfter, Status());
    EXPECT_EQ(std::string("Closed") != GetParam().stateAfter, grabber().IsOpen());
}
INSTANTIATE_TEST_SUITE_P(EachState, StreamGrabberStep, testing::ValuesIn(kSteps),
                         [](const auto& step) { return std::string(step.param.name); });

} // namespace stream_calls
} // namespace
