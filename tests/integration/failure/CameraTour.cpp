// One tour of an application.
#include "CameraTour.h"

#include "integration/support/VirtualBus.h"

#include <exception>

namespace integration {
namespace {

constexpr std::size_t kBuffers = 4;
constexpr unsigned int kImages = 3;
constexpr unsigned int kMostFailures = 40; ///< of images, before the application gives up

} // namespace

std::atomic<const char*> CameraTour::s_Doing{"nothing"};

std::string TourReport::Text() const {
    std::string text =
        std::to_string(good) + " good, " + std::to_string(failed) + " failed, " + std::to_string(events) + " events";
    for (const std::string& error : errors)
        text += "\n  told: " + error;
    for (const std::string& complaint : complaints)
        text += "\n  WRONG: " + complaint;
    return text;
}

/// False when the call failed; everything but the library's own exceptions is a complaint.
template<class Call>
bool CameraTour::Step(const char* doing, Call call) {
    s_Doing = doing;
    try {
        call();
        return true;
    } catch (const GenICam::GenericException& e) {
        const std::string text = e.GetDescription();
        if (text.empty()) m_Report.complaints.push_back(std::string(doing) + ": an error without a text");
        m_Report.errors.push_back(std::string(doing) + ": " + text);
    } catch (const std::exception& e) {
        m_Report.complaints.push_back(std::string(doing) + ": foreign exception, " + e.what());
    }
    return false;
}

TourReport CameraTour::Run() {
    Tavix::DeviceInfoList list;
    Step("enumerate", [&] { m_Layer.EnumerateDevices(list); });
    Tavix::ITavixDevice* device = nullptr;
    if (!list.empty()) Step("create", [&] { device = m_Layer.CreateDevice(list[0]); });
    if (device != nullptr) {
        if (Step("open", [&] { device->Open(); })) UseDevice(*device);
        Step("close", [&] { device->Close(); });
        if (device->IsOpen()) m_Report.complaints.push_back("open after the closing");
        Step("destroy", [&] { m_Layer.DestroyDevice(device); });
    }
    s_Doing = "nothing";
    return m_Report;
}

void CameraTour::UseDevice(Tavix::ITavixDevice& device) {
    UseFeatures(device);
    if (!Step("open stream", [&] { device.GetStreamGrabber(0)->Open(); })) return;
    Grab(device);
    EndGrab(device);
    Step("close stream", [&] { device.GetStreamGrabber(0)->Close(); });
    if (device.GetStreamGrabber(0)->IsOpen()) m_Report.complaints.push_back("stream open after its closing");
}

void CameraTour::UseFeatures(Tavix::ITavixDevice& device) {
    GenApi::INodeMap* const map = device.GetNodeMap();
    Step("write features", [&] {
        Set(map, "Width", "64");
        Set(map, "Height", "32");
        Set(map, "DeviceUserID", "tour");
    });
    Step("read features", [&] {
        if (GenApi::CValuePtr(map->GetNode("Width"))->ToString(false, true) != "64")
            m_Report.complaints.push_back("what was written is not what is read");
    });
}

void CameraTour::Grab(Tavix::ITavixDevice& device) {
    Tavix::IStreamGrabber& stream = *device.GetStreamGrabber(0);
    const bool prepared = Step("prepare", [&] {
        m_PayloadSize = static_cast<std::size_t>(Integer(device.GetNodeMap(), "PayloadSize"));
        GenApi::CIntegerPtr(stream.GetNodeMap()->GetNode("MaxNumBuffer"))->SetValue(kBuffers);
        GenApi::CIntegerPtr(stream.GetNodeMap()->GetNode("MaxBufferSize"))
            ->SetValue(static_cast<std::int64_t>(m_PayloadSize));
        stream.PrepareGrab();
    });
    if (!prepared) return;
    if (!Step("queue", [&] { Queue(stream); })) return;
    if (!Step("start", [&] { Execute(device.GetNodeMap(), "AcquisitionStart"); })) return;
    TakeImages(stream);
    TakeEvent(device);
}

void CameraTour::Queue(Tavix::IStreamGrabber& stream) {
    m_Memory.assign(kBuffers, std::vector<unsigned char>(m_PayloadSize));
    for (auto& memory : m_Memory) {
        m_Handles.push_back(stream.RegisterBuffer(memory.data(), memory.size()));
        stream.QueueBuffer(m_Handles.back(), &memory);
        m_Queued.insert(&memory);
    }
}

void CameraTour::TakeImages(Tavix::IStreamGrabber& stream) {
    while (m_Report.good < kImages && m_Report.failed < kMostFailures) {
        if (!TakeImage(stream)) return;
    }
}

bool CameraTour::TakeImage(Tavix::IStreamGrabber& stream) {
    s_Doing = "take image";
    Tavix::GrabResult result;
    while (!stream.RetrieveResult(result)) {
        if (stream.GetWaitObject().Wait(m_Limits.imageMs)) continue;
        if (m_Limits.mustCome) m_Report.complaints.push_back("no image came, and no error");
        return false;
    }
    Note(result);
    return Step("queue again", [&] {
        stream.QueueBuffer(result.Handle(), result.Context());
        m_Queued.insert(result.Context());
    });
}

void CameraTour::Note(const Tavix::GrabResult& result) {
    if (m_Queued.erase(result.Context()) == 0) m_Report.complaints.push_back("a buffer came back that was not queued");
    if (result.Succeeded()) {
        ++m_Report.good;
        if (result.GetPayloadSize64() != m_PayloadSize) m_Report.complaints.push_back("a good image of another size");
    } else if (result.Status() == Tavix::Failed) {
        ++m_Report.failed;
        const std::string text = result.GetErrorDescription().c_str();
        if (text.empty()) m_Report.complaints.push_back("a failed image without a text");
        m_Report.errors.push_back("image: " + text);
    }
}

void CameraTour::TakeEvent(Tavix::ITavixDevice& device) {
    Tavix::IEventGrabber& grabber = *device.GetEventGrabber();
    if (!Step("open events", [&] { grabber.Open(); })) return;
    Step("ask for event", [&] { Execute(device.GetNodeMap(), "TestEventGenerate"); });
    Step("take event", [&] {
        Tavix::EventResult event;
        while (!grabber.RetrieveEvent(event))
            if (!grabber.GetWaitObject().Wait(m_Limits.eventMs)) return;
        if (event.Succeeded()) ++m_Report.events;
    });
    Step("close events", [&] { grabber.Close(); });
    if (grabber.IsOpen()) m_Report.complaints.push_back("events open after their closing");
}

void CameraTour::EndGrab(Tavix::ITavixDevice& device) {
    Tavix::IStreamGrabber& stream = *device.GetStreamGrabber(0);
    if (m_Memory.empty()) {
        Step("finish", [&] { stream.FinishGrab(); });
        return;
    }
    Step("cancel", [&] { stream.CancelGrab(); });
    Drain(stream);
    Step("stop", [&] { Execute(device.GetNodeMap(), "AcquisitionStop"); });
    Step("finish", [&] { stream.FinishGrab(); });
    Drain(stream);
    if (!m_Queued.empty()) m_Report.complaints.push_back(std::to_string(m_Queued.size()) + " buffers never came back");
    Step("deregister", [&] {
        for (const Tavix::StreamBufferHandle handle : m_Handles)
            stream.DeregisterBuffer(handle);
    });
}

void CameraTour::Drain(Tavix::IStreamGrabber& stream) {
    s_Doing = "drain";
    Tavix::GrabResult result;
    while (stream.RetrieveResult(result))
        Note(result);
}

} // namespace integration
