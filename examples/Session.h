#pragma once
// The steps that every example takes and none of them is about; enumerate_and_grab.cpp shows them one by one.

#include <atomic>
#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <GenApi/GenApi.h>
#include <tavix/Tavix.h>

namespace example {

/// The system gives the signal to any thread.
inline std::atomic<bool> g_Interrupted{false};

/// Whether the user pressed Ctrl-C. Loops ask, so that the camera is stopped and closed as always.
inline bool Interrupted() {
    return g_Interrupted;
}

/// For steps at the end of a scope. A camera that has gone refuses some of them, which is no reason to leave out the
/// rest.
template<class Step>
void Try(Step step) {
    try {
        step();
    } catch (const GenICam::GenericException& e) {
        std::fprintf(stderr, "while finishing: %s\n", e.GetDescription());
    }
}

/// An open camera, closed and given back at the end of its scope. Bound to a thread.
class Camera {
public:
    explicit Camera(const Tavix::CDeviceInfo& info = {}) : m_Device(Factory().CreateFirstDevice(info)) {
        try {
            m_Device->Open();
        } catch (...) {
            Factory().DestroyDevice(m_Device);
            throw;
        }
    }
    ~Camera() {
        Try([&] { m_Device->Close(); });
        Try([&] { Factory().DestroyDevice(m_Device); });
    }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    static Tavix::CTlFactory& Factory() { return Tavix::CTlFactory::GetInstance(); }
    Tavix::ITavixDevice* operator->() const { return m_Device; }
    void Set(const char* name, const char* value) const {
        GenApi::CValuePtr(m_Device->GetNodeMap()->GetNode(name))->FromString(value);
    }
    long long Integer(const char* name) const {
        return GenApi::CIntegerPtr(m_Device->GetNodeMap()->GetNode(name))->GetValue();
    }
    void Execute(const char* name) const { GenApi::CCommandPtr(m_Device->GetNodeMap()->GetNode(name))->Execute(); }

private:
    Tavix::ITavixDevice* m_Device;
};

/// A prepared stream with queued buffers, undone at the end of its scope. Bound to a thread.
class Stream {
public:
    /// A camera may state any size of its images; one for which the buffers would take more than `most` bytes is not
    /// believed.
    explicit Stream(const Camera& camera, std::size_t count = 4, std::size_t most = std::size_t(1) << 30)
        : m_Grabber(*camera->GetStreamGrabber(0)), m_Size(Believable(camera.Integer("PayloadSize"), count, most)) {
        while (m_Buffers.size() < count)
            m_Buffers.emplace_back(new unsigned char[m_Size]); // not touched before an image comes
        m_Grabber.Open();
        try {
            Prepare();
        } catch (...) {
            Finish(); // or the camera would fill buffers that are gone
            throw;
        }
    }
    ~Stream() { Finish(); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    Tavix::IStreamGrabber* operator->() const { return &m_Grabber; }

private:
    static std::size_t Believable(long long stated, std::size_t count, std::size_t most) {
        if (stated > 0 && static_cast<std::size_t>(stated) <= most / count) return static_cast<std::size_t>(stated);
        throw std::runtime_error("The camera states " + std::to_string(stated) + " bytes for an image; " +
                                 std::to_string(count) + " buffers may have " + std::to_string(most) + " bytes.");
    }
    void Prepare() {
        SetParameter("MaxNumBuffer", m_Buffers.size());
        SetParameter("MaxBufferSize", m_Size);
        m_Grabber.PrepareGrab(); // buffers are registered from here on
        m_IsPrepared = true;
        for (auto& buffer : m_Buffers) {
            m_Handles.push_back(m_Grabber.RegisterBuffer(buffer.get(), m_Size));
            m_Grabber.QueueBuffer(m_Handles.back());
        }
    }
    void Finish() {
        if (m_IsPrepared) {
            Try([&] { m_Grabber.CancelGrab(); });
            Try([&] {
                for (Tavix::GrabResult result; m_Grabber.RetrieveResult(result);) {
                }
            });
            Try([&] { m_Grabber.FinishGrab(); });
        }
        for (auto handle : m_Handles)
            Try([&] { m_Grabber.DeregisterBuffer(handle); });
        Try([&] { m_Grabber.Close(); });
    }
    void SetParameter(const char* name, std::size_t value) const {
        GenApi::CIntegerPtr(m_Grabber.GetNodeMap()->GetNode(name))->SetValue(static_cast<std::int64_t>(value));
    }

    Tavix::IStreamGrabber& m_Grabber;
    const std::size_t m_Size;
    std::vector<std::unique_ptr<unsigned char[]>> m_Buffers;
    std::vector<Tavix::StreamBufferHandle> m_Handles;
    bool m_IsPrepared = false;
};

/// Runs an example; its exceptions become a line and exit status 1.
template<class Body>
int Run(Body body) {
    std::signal(SIGINT, [](int) { g_Interrupted = true; });
    try {
        return body();
    } catch (const GenICam::GenericException& e) {
        std::fprintf(stderr, "%s\n", e.GetDescription());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
    }
    return 1;
}

} // namespace example
