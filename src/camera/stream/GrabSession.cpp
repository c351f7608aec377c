#include "camera/stream/GrabSession.h"

#include "camera/CameraLog.h"
#include "camera/Failure.h"

#include <tavix/Device.h>
#include <tavix/StreamCallback.h>
#include <tavix/StreamMemory.h>
#include <tavix/camera/Error.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <limits>
#include <new>

namespace Tavix::detail {
namespace {

constexpr std::size_t kMostFrames = 4096; // further ones beyond the first buffers
constexpr std::size_t kPage = 4096;

std::shared_ptr<void> OrdinaryMemory(std::size_t size) {
    void* memory = ::operator new(size, std::align_val_t(kPage));
    return {memory, [](void* p) { ::operator delete(p, std::align_val_t(kPage)); }};
}

void Execute(GenApi::INodeMap& nodes, const char* name) {
    const GenApi::CCommandPtr command(nodes.GetNode(name));
    if (command) command->Execute();
}

} // namespace

GrabSession::GrabSession(std::shared_ptr<OpenDevice> device, const GrabOptions& options,
                         std::shared_ptr<FramePool> pool)
    : m_Device(std::move(device)), m_Options(options), m_Pool(std::move(pool)) {}

void GrabSession::Open(IStreamResultSink* sink) {
    m_Grabber = m_Device->Device().GetStreamGrabber(0);
    if (!m_Grabber) throw Error(m_Device->Name() + " has no image stream");
    auto* const memory = dynamic_cast<IStreamMemory*>(m_Grabber);
    m_PayloadSize = Believable(StatedSize(memory));
    const std::size_t further = m_Options.keepBudget / std::max<std::size_t>(m_PayloadSize, 1);
    m_MaxFrames = m_Options.buffers + std::min(further, kMostFrames);
    if (!m_Options.allocator) m_Mapper = memory;
    m_Grabber->Open();
    auto* callbacks = dynamic_cast<IStreamCallback*>(m_Grabber);
    if (callbacks) callbacks->SetResultSink(sink);
    m_HasSink = callbacks && sink;
    Prepare();
}

std::int64_t GrabSession::StatedSize(IStreamMemory* stream) const {
    if (const std::size_t size = stream ? stream->RequiredSize() : 0; size > 0) return static_cast<std::int64_t>(size);
    const GenApi::CIntegerPtr payload(m_Device->Nodes().GetNode("PayloadSize"));
    if (!payload) throw Error(m_Device->Name() + " does not tell the size of its images");
    return payload->GetValue();
}

std::size_t GrabSession::Believable(std::int64_t stated) const {
    if (stated <= 0) throw Error(m_Device->Name() + " says that its images have " + std::to_string(stated) + " bytes");
    const auto size = static_cast<std::size_t>(stated);
    if (size <= m_Options.memoryLimit / std::max<std::size_t>(m_Options.buffers, 1)) return size;
    const std::size_t fitting = m_Options.memoryLimit / size;
    throw ValueError(m_Device->Name() + ": " + std::to_string(m_Options.buffers) + " buffers for images of " +
                     std::to_string(size) + " bytes take more than the " + std::to_string(m_Options.memoryLimit) +
                     " bytes of memoryLimit; " +
                     (fitting > 0 ? std::to_string(fitting) + " would fit" : "not even one would fit"));
}

void GrabSession::Prepare() {
    SetParameter("MaxNumBuffer", m_MaxFrames);
    SetParameter("MaxBufferSize", m_PayloadSize);
    if (m_Options.transferSize > 0) SetParameter("MaxTransferSize", m_Options.transferSize, "transferSize");
    if (m_Options.threadPriority > 0)
        SetParameter("TransferLoopThreadPriority", m_Options.threadPriority, "threadPriority");
    m_Grabber->PrepareGrab();
    m_IsPrepared = true;
    while (m_Frames < m_Options.buffers) {
        if (!AddFrame())
            throw Error(m_Device->Name() + ": there is no memory for images" +
                        (m_NoMemory.empty() ? "" : ": " + m_NoMemory));
    }
    if (m_Mapper && m_MappedFrames < m_Frames) {
        LogTrace(LogCategoryCamera(), kLogInfo, "%zu of %zu buffers of '%s' are ordinary memory.",
                 m_Frames - m_MappedFrames, m_Frames.load(), m_Device->Name().c_str());
    }
}

void GrabSession::SetParameter(const char* name, std::size_t value, const char* option) try {
    constexpr std::size_t kLargest = std::numeric_limits<std::int64_t>::max();
    const GenApi::CIntegerPtr parameter(m_Grabber->GetNodeMap()->GetNode(name));
    if (parameter) parameter->SetValue(static_cast<std::int64_t>(std::min(value, kLargest)));
} catch (const GenICam::GenericException& e) {
    if (!option) throw;
    throw ValueError(m_Device->Name() + ": " + option + " cannot be " + std::to_string(value) + ": " + Reason(e));
}

void GrabSession::StartCamera() {
    m_IsStarted = true;
    Execute(m_Device->Nodes(), "AcquisitionStart");
}

bool GrabSession::Allocate(Frame& frame) try {
    if (m_Mapper) frame.memory = m_Mapper->AllocateBuffer(m_PayloadSize);
    frame.isMapped = frame.memory != nullptr;
    if (!frame.memory)
        frame.memory = m_Options.allocator ? m_Options.allocator(m_PayloadSize) : OrdinaryMemory(m_PayloadSize);
    frame.size = m_PayloadSize;
    return frame.memory != nullptr;
} catch (const std::exception& e) {
    m_NoMemory = Reason(e);
    LogTrace(LogCategoryCamera(), kLogWarning, "There is no memory for an image: %s", m_NoMemory.c_str());
    return false;
} catch (...) {
    m_NoMemory = "the allocator threw what is no std::exception";
    LogTrace(LogCategoryCamera(), kLogWarning, "There is no memory for an image: %s", m_NoMemory.c_str());
    return false;
}

bool GrabSession::AddFrame() {
    if (!CanGrow()) return false;
    Frame& frame = m_Pool->Add();
    if (!Allocate(frame)) {
        m_Pool->Remove(frame);
        m_MaxFrames = m_Frames.load();
        return false;
    }
    frame.handle = m_Grabber->RegisterBuffer(frame.memory.get(), frame.size);
    m_Handles.push_back(frame.handle);
    ++m_Frames;
    if (frame.isMapped) ++m_MappedFrames;
    Queue(frame);
    return true;
}

[[gnu::hot]] void GrabSession::Queue(Frame& frame) {
    ++m_Queued; // first, since its result may come before the call returns
    try {
        m_Grabber->QueueBuffer(frame.handle, &frame);
    } catch (...) {
        --m_Queued;
        throw;
    }
}

bool GrabSession::Retrieve(GrabResult& result) {
    if (m_HasSink || !m_Grabber->RetrieveResult(result)) return false;
    CountTaken();
    return true;
}

const WaitObject& GrabSession::Ready() const {
    return m_Grabber->GetWaitObject();
}

void GrabSession::Close() noexcept {
    if (!m_Grabber) return;
    if (m_IsStarted) Attempt("Stopping a camera", [&] { Execute(m_Device->Nodes(), "AcquisitionStop"); });
    if (m_IsPrepared) {
        Attempt("Cancelling a grab", [&] { m_Grabber->CancelGrab(); });
        Attempt("Taking back buffers", [&] {
            for (GrabResult result; m_Grabber->RetrieveResult(result);) {
            }
        });
        Attempt("Finishing a grab", [&] { m_Grabber->FinishGrab(); });
        for (StreamBufferHandle handle : m_Handles)
            Attempt("Deregistering a buffer", [&] { m_Grabber->DeregisterBuffer(handle); });
    }
    if (m_HasSink)
        Attempt("Leaving a grabber", [&] { dynamic_cast<IStreamCallback&>(*m_Grabber).SetResultSink(nullptr); });
    Attempt("Closing a grabber", [&] {
        if (m_Grabber->IsOpen()) m_Grabber->Close();
    });
    m_Grabber = nullptr;
}

} // namespace Tavix::detail
