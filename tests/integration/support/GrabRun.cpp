#include "GrabRun.h"

#include "VirtualBus.h"

namespace integration {

GrabRun::GrabRun(Tavix::ITavixDevice& device, unsigned int buffers)
    : m_Device(device), m_Grabber(*device.GetStreamGrabber(0)),
      m_Size(static_cast<std::size_t>(Integer(device.GetNodeMap(), "PayloadSize"))) {
    m_Grabber.Open();
    GenApi::CIntegerPtr(m_Grabber.GetNodeMap()->GetNode("MaxNumBuffer"))->SetValue(buffers);
    GenApi::CIntegerPtr(m_Grabber.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(static_cast<std::int64_t>(m_Size));
    m_Grabber.PrepareGrab();
    m_Memory.resize(buffers, std::vector<std::uint8_t>(m_Size));
    for (auto& memory : m_Memory) {
        m_Handles.push_back(m_Grabber.RegisterBuffer(memory.data(), memory.size()));
        m_Grabber.QueueBuffer(m_Handles.back(), &memory);
    }
}

GrabRun::~GrabRun() {
    // A camera that was unplugged refuses some of these; the rest must work all the same.
    ErrorOf([&] { m_Grabber.CancelGrab(); });
    Drain();
    ErrorOf([&] { m_Grabber.FinishGrab(); });
    for (auto handle : m_Handles)
        ErrorOf([&] { m_Grabber.DeregisterBuffer(handle); });
    m_Grabber.Close();
}

void GrabRun::Start() {
    Execute(m_Device.GetNodeMap(), "AcquisitionStart");
}

void GrabRun::Stop() {
    Execute(m_Device.GetNodeMap(), "AcquisitionStop");
}

Frame GrabRun::Next(Then then) {
    Frame frame;
    if (!m_Grabber.RetrieveResult(frame.result)) {
        if (!m_Grabber.GetWaitObject().Wait(kTimeoutMs) || !m_Grabber.RetrieveResult(frame.result)) return frame;
    }
    frame.bytes = *static_cast<const std::vector<std::uint8_t>*>(frame.result.Context());
    if (then == Then::Requeue) ErrorOf([&] { m_Grabber.QueueBuffer(frame.result.Handle(), frame.result.Context()); });
    return frame;
}

std::vector<Frame> GrabRun::Next(std::size_t count) {
    std::vector<Frame> frames;
    while (frames.size() < count) {
        frames.push_back(Next());
        if (frames.back().result.Status() == Tavix::_UndefinedGrabStatus) break;
    }
    return frames;
}

std::vector<Tavix::GrabResult> GrabRun::Drain() {
    std::vector<Tavix::GrabResult> results;
    Tavix::GrabResult result;
    while (m_Grabber.RetrieveResult(result))
        results.push_back(result);
    return results;
}

} // namespace integration
