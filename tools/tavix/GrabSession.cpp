#include "GrabSession.h"

#include "Error.h"

#include <GenApi/GenApi.h>

#include <cstdio>

namespace tool {
namespace {

std::string FilePrefix(const Tavix::CDeviceInfo& info, const std::string& folder) {
    std::string name = std::string(info.GetModelName().c_str()) + "_" + info.GetSerialNumber().c_str();
    for (char& c : name) {
        const bool plain =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
        if (!plain) c = '_';
    }
    return folder + "/" + name + "_";
}

void SetInteger(GenApi::INodeMap& map, const char* name, std::int64_t value) {
    GenApi::CIntegerPtr node(map.GetNode(name));
    if (node.IsValid()) node->SetValue(value);
}

void Execute(GenApi::INodeMap& map, const char* name) {
    GenApi::CCommandPtr command(map.GetNode(name));
    if (!command.IsValid())
        throw Error(std::string("this camera has no feature ") + name + "; it cannot be grabbed from");
    command->Execute();
}

std::int64_t PayloadSize(Camera& camera) {
    GenApi::CIntegerPtr size(camera.Features().GetNode("PayloadSize"));
    if (!size.IsValid()) throw Error(camera.Name() + " has no feature PayloadSize; it cannot be grabbed from");
    return size->GetValue();
}

} // namespace

GrabSession::GrabSession(const Tavix::CDeviceInfo& info, const GrabOptions& options)
    : m_Info(info), m_Options(options), m_Name(info.GetFriendlyName().c_str()),
      m_FilePrefix(FilePrefix(info, options.folder)) {}

void GrabSession::Run() {
    Camera camera(m_Info);
    m_Writer = std::make_unique<ImageWriter>();
    try {
        Prepare(camera);
        Loop(camera);
    } catch (...) {
        m_Writer.reset(); // the writer holds buffers: they come back before the grab is finished
        try {
            Finish(camera);
        } catch (const std::exception&) {
            // The first failure is the one to report; the camera is closed by its scope in any case.
        }
        throw;
    }
    m_Writer->Finish();
    Finish(camera);
    m_Writer.reset();
}

void GrabSession::Prepare(Camera& camera) {
    if (m_Options.checkChunks) ApplySetting(camera.Features(), "ChunkModeActive=1");
    for (const std::string& setting : m_Options.settings)
        ApplySetting(camera.Features(), setting);
    const std::int64_t size = PayloadSize(camera);
    m_Grabber = camera.Device().GetStreamGrabber(0);
    m_Grabber->Open();
    SetInteger(*m_Grabber->GetNodeMap(), "MaxNumBuffer", m_Options.buffers);
    SetInteger(*m_Grabber->GetNodeMap(), "MaxBufferSize", size);
    m_Grabber->PrepareGrab();
    for (unsigned int i = 0; i < m_Options.buffers; ++i) {
        auto slot = std::make_unique<Slot>();
        slot->memory.resize(static_cast<std::size_t>(size));
        slot->handle = m_Grabber->RegisterBuffer(slot->memory.data(), slot->memory.size());
        m_Grabber->QueueBuffer(slot->handle, slot.get());
        m_Slots.push_back(std::move(slot));
    }
    if (m_Options.checkChunks) m_Parser = camera.Device().CreateChunkParser();
}

bool GrabSession::WantsMore() const {
    return !m_Stop && m_Figures.good + m_Figures.failed < m_Options.frames;
}

void GrabSession::Loop(Camera& camera) {
    Execute(camera.Features(), "AcquisitionStart");
    m_First = m_Last = std::chrono::steady_clock::now();
    while (WantsMore()) {
        if (!m_Grabber->GetWaitObject().Wait(m_Options.timeoutMs)) {
            if (m_Stop) break;
            throw Error(m_Name + " sent no image for " + std::to_string(m_Options.timeoutMs) +
                        " ms; is it waiting for a trigger? (tavix set TriggerMode=Off)");
        }
        Tavix::GrabResult result;
        while (WantsMore() && m_Grabber->RetrieveResult(result))
            Handle(result);
    }
    m_Figures.seconds = std::chrono::duration<double>(m_Last - m_First).count();
    Execute(camera.Features(), "AcquisitionStop");
}

void GrabSession::Handle(const Tavix::GrabResult& result) {
    Slot& slot = *static_cast<Slot*>(const_cast<void*>(result.Context()));
    if (!result.Succeeded()) {
        ++m_Figures.failed;
        if (m_Figures.firstError.empty()) m_Figures.firstError = result.GetErrorDescription().c_str();
        Requeue(slot);
        return;
    }
    if (m_LastBlockId != ~std::uint64_t(0) && result.GetBlockID() > m_LastBlockId + 1) {
        m_Figures.missed += result.GetBlockID() - m_LastBlockId - 1;
    }
    m_LastBlockId = result.GetBlockID();
    m_Last = std::chrono::steady_clock::now();
    if (m_Figures.good == 0) m_First = m_Last;
    ++m_Figures.good;
    m_Figures.bytes += result.GetPayloadSize64();
    if (m_Parser) CheckChunks(result);
    const bool save = !m_Options.folder.empty() && (m_Figures.good - 1) % m_Options.every == 0;
    if (save) {
        Save(result);
    } else {
        Requeue(slot);
    }
}

void GrabSession::CheckChunks(const Tavix::GrabResult& result) {
    try {
        m_Parser->AttachBuffer(result.Buffer(), static_cast<std::int64_t>(result.GetPayloadSize64()));
        const bool right = m_Parser->HasCRC() && m_Parser->CheckCRC();
        ++(right ? m_Figures.checked : m_Figures.checkFailed);
        m_Parser->DetachBuffer();
    } catch (const GenICam::GenericException&) {
        ++m_Figures.checkFailed;
    }
}

void GrabSession::Save(const Tavix::GrabResult& result) {
    Slot& slot = *static_cast<Slot*>(const_cast<void*>(result.Context()));
    char number[24];
    std::snprintf(number, sizeof number, "%06llu", static_cast<unsigned long long>(result.GetBlockID()));
    ImageWriter::Job job;
    job.path = m_FilePrefix + number;
    job.format = m_Options.format;
    job.view.data = slot.memory.data();
    job.view.size = std::min<std::size_t>(slot.memory.size(), result.GetPayloadSize64());
    job.view.pixelFormat = static_cast<std::uint32_t>(result.GetPixelType());
    job.view.width = static_cast<std::uint32_t>(std::max(0, result.GetSizeX()));
    job.view.height = static_cast<std::uint32_t>(std::max(0, result.GetSizeY()));
    job.view.paddingX = static_cast<std::uint32_t>(std::max(0, result.GetPaddingX()));
    job.done = [this, &slot] { Requeue(slot); };
    m_Writer->Write(std::move(job));
}

void GrabSession::Requeue(Slot& slot) {
    try {
        m_Grabber->QueueBuffer(slot.handle, &slot);
    } catch (const GenICam::GenericException& e) {
        // A camera that is gone refuses buffers; the loop sees that by itself.
        std::fprintf(stderr, "tavix: %s: %s\n", m_Name.c_str(), e.GetDescription());
    }
}

void GrabSession::Finish(Camera& camera) {
    if (m_Parser) camera.Device().DestroyChunkParser(m_Parser);
    m_Parser = nullptr;
    if (!m_Grabber || !m_Grabber->IsOpen()) return;
    m_Grabber->CancelGrab();
    Tavix::GrabResult result;
    while (m_Grabber->RetrieveResult(result)) {
    }
    m_Grabber->FinishGrab();
    for (auto& slot : m_Slots)
        m_Grabber->DeregisterBuffer(slot->handle);
    m_Slots.clear();
    m_Grabber->Close();
}

} // namespace tool
