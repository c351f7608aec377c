#pragma once
// A stand-in for the USB access library at link time: every status can be scripted, every call is recorded.

#include "vexlo/VxCallback.h"
#include "vexlo/VxDevice.h"
#include "vexlo/VxEventStream.h"
#include "vexlo/VxStream.h"

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// The one bus of the test program. Calls are named after object and operation: "Init", "Device.Open", "Stream.Close",
/// "Events.Open". All calls succeed unless scripted otherwise. A test sets it up and looks at it while nothing else
/// runs; the calls themselves are thread-safe.
class FakeVexlo {
public:
    using Bytes = std::vector<unsigned char>;
    using Properties = std::map<unsigned int, Bytes>;

    static FakeVexlo& Get();
    void Reset();

    /// The next calls of that name answer these statuses, one each; then they succeed again.
    void Script(const std::string& call, std::vector<vexlo::VxStatus> statuses);
    void FailNext(const std::string& call, vexlo::VxStatus status) { Script(call, {status}); }
    /// The call that makes the list of calls `index` + 1 long answers this status, whatever its name; with
    /// `andAllLater` all later ones do, too, as if the camera had been unplugged in that moment.
    void FailCall(std::size_t index, vexlo::VxStatus status, bool andAllLater = false);

    std::vector<std::string> Calls() const;
    void ForgetCalls();
    int Count(const std::string& call) const;

    /// Sets a little-endian value that a property answers.
    static Bytes Number(std::uint64_t value, std::size_t size);

    /// A completed buffer or a pending event; signals the registered wait object.
    void PushResult(const vexlo::CVxStream::GrabResult& result);
    void PushEvent(const Bytes& event);

    /// Calls the handlers of a kind on a thread of its own and waits for their end.
    void Notify(vexlo::EVxCallbackKind kind);
    std::size_t NumberOfRegistrations() const;

    /// Hears of each call at its beginning, with no lock of the stand-in held. It may wait or throw.
    std::function<void(const std::string& call)> onCall;

    /// Arguments of GetStatusMessage, and whether it found an empty buffer.
    struct MessageRequest {
        unsigned long size = 0;
        bool hasLength = false;
        bool wasZeroed = false;
    };

    // What the calls find and leave.
    std::vector<vexlo::DeviceDiscoveryInfo> cameras;
    vexlo::DeviceDiscoveryInfo lastOpenRecord = {};
    bool createsDevices = true;
    bool hasStream = true;
    bool hasEvents = true;
    bool throwsOnDestroy = false;
    std::string statusText = "text"; ///< status texts are this and the number; empty for an unknown status
    std::string xmlText = "<xml/>";
    std::string xmlName;
    bool hasXmlText = true;
    bool hasXmlName = true;
    std::map<unsigned long, unsigned char> memory; ///< bytes never written read as 0
    unsigned long shortReadBy = 0;
    std::optional<vexlo::VxStatus> inDoubt; ///< a WriteMem that fails with it may have been executed
    Properties deviceProperties, streamProperties, eventProperties;
    std::vector<std::pair<unsigned int, Bytes>> written; ///< all SetProperty calls of all objects
    unsigned long preparedBuffers = 0, preparedSize = 0;
    void* userBuffer = nullptr;
    unsigned long registeredSize = 0;
    const void* queuedHandle = nullptr;
    const void* queuedContext = nullptr;
    unsigned long countPreset = ~0ul;   ///< what RetrieveBuffer found in the count; all ones when there was none
    unsigned long eventSizePreset = 0;  ///< what RetrieveEvent found in the size
    bool askedForPendingEvents = false; ///< RetrieveEvent was given a third argument
    std::optional<bool> deviceSaysItIsOpen, streamSaysItIsOpen; ///< instead of the truth
    unsigned int lastDeviceType = ~0u;
    int liveDevices = 0;                   ///< made and not destroyed
    int openDevices = 0;                   ///< opened and not closed
    std::map<unsigned int, Bytes> answers; ///< what device properties answer, whatever was written to them
    std::vector<vexlo::VxCallbackParams> registered;
    MessageRequest lastMessageRequest;

    // For the stand-in's own calls.
    struct StreamState {
        std::shared_ptr<Tavix::_WaitObjectPosix_t> waitObject;
        std::function<void()> listener;
        std::size_t mappable = 0; ///< largest memory that the kernel maps
        bool open = false;
        bool prepared = false;
        /// Signalled while something is pending.
        void Announce(bool isPending) const;
    };
    class Call;
    vexlo::VxStatus Read(const Properties& properties, unsigned int id, void* buffer, unsigned long size) const;
    vexlo::VxStatus Write(Properties& properties, unsigned int id, const void* buffer, unsigned long size);
    StreamState stream, eventStream;
    mutable std::recursive_mutex lock;
    std::deque<vexlo::CVxStream::GrabResult> results;
    std::deque<Bytes> events;

private:
    FakeVexlo() = default;
    vexlo::VxStatus Note(const std::string& call);

    struct Failure {
        std::size_t index;
        vexlo::VxStatus status;
        bool andAllLater;
    };
    std::optional<Failure> m_Failure;
    std::map<std::string, std::deque<vexlo::VxStatus>> m_Scripts;
    std::vector<std::string> m_Calls;
};

/// The beginning of each of the stand-in's calls: tells who listens, takes the lock, writes the call down and takes the
/// scripted status.
class FakeVexlo::Call {
public:
    explicit Call(const char* name) {
        const auto hear = FakeVexlo::Get().onCall;
        if (hear) hear(name);
        m_Guard = std::unique_lock<std::recursive_mutex>(FakeVexlo::Get().lock);
        status = FakeVexlo::Get().Note(name);
    }
    /// For calls that wait for others.
    void GiveLockBack() { m_Guard.unlock(); }
    explicit operator bool() const { return status == vexlo::VX_OK; }

    vexlo::VxStatus status;

private:
    std::unique_lock<std::recursive_mutex> m_Guard;
};
