// The camera's features and how they hang together.

#include <cmath>

#include "virtualcam/device/channel/StreamMeter.h"
#include "virtualcam/firmware/Firmware.h"

namespace virtualcam {
namespace {

constexpr std::uint64_t kSuperSpeedBytes = 500000000;
constexpr std::uint64_t kHighSpeedBytes = 60000000;

} // namespace

void Firmware::AddFeatures() {
    const FeatureMaker make(m_Registers, [this] { return m_Streaming.any(); });
    AddDeviceControl(make);
    m_Registers.AddValue<std::uint32_t>(reg::kPayloadSize, Access::ReadOnly, 0);
    const auto payloadChanged = [this] { PayloadChanged(); };
    m_Format = std::make_unique<ImageFormat>(make, m_Settings.sensorWidth, m_Settings.sensorHeight, payloadChanged);
    m_Analog = std::make_unique<AnalogControl>(make);
    m_Chunks = std::make_unique<ChunkControl>(make, payloadChanged);
    m_Io = std::make_unique<DigitalIo>(make, [this](LineSource source) { return m_Acquisition->Level(source); });
    m_EventControl = std::make_unique<EventControl>(make, m_Events);
    const AcquisitionParts parts{*m_Format, *m_Analog, *m_Chunks, *m_Io, *m_EventControl, m_Clock};
    const AcquisitionOptions options{m_Settings.frameRate, m_Settings.frameRateEnable, m_Settings.bufferedFrames,
                                     m_Settings.streams};
    m_Acquisition = std::make_unique<AcquisitionControl>(make, parts, options, [this] { Available(); });
    m_UserSets = std::make_unique<UserSets>(make, m_Persistent.sets);
    PayloadChanged();
    m_UserSets->PowerUp();
}

void Firmware::AddDeviceControl(const FeatureMaker& make) {
    make.Reading(reg::kTemperature, [this] {
        const double seconds = static_cast<double>(m_Clock.Nanoseconds()) * 1e-9;
        return FloatBits(static_cast<float>(40.0 + 2.0 * std::sin(seconds / 60.0)));
    });
    make.Command(reg::kDeviceReset, [this] { m_Host.ResetRequested(); });
    const bool superSpeed = m_Settings.speed >= usb::Speed::Super;
    m_Registers.AddValue(reg::kLinkSpeed, Access::ReadOnly, superSpeed ? kSuperSpeedBytes : kHighSpeedBytes);
    Register& pending = make.Range(reg::kTestPendingAck, 0, 0, 60000);
    pending.inUserSet = false;
    pending.written = [this, &pending] { m_Control->DelayAcknowledge(Load<std::uint32_t>(pending.bytes.data())); };
    m_Registers.AddText(reg::kFirmwareVersion, abrm::kTextSize, Access::ReadOnly, m_Settings.firmwareVersion);
    for (unsigned stream = 0; stream < m_Settings.streams; ++stream)
        m_Registers.Add(reg::kStreamFigures + stream * reg::kStreamFiguresStride, StreamMeter::kSize, Access::ReadOnly)
            .refresh = [this, stream](Register& figures) { figures.bytes = m_Host.StreamFigures(stream); };
    make.Command(reg::kTestEventGenerate, [this] { RaiseEvent(kTestEvent, {}); });
}

void Firmware::PayloadChanged() {
    const ChunkPlan plan = m_Chunks->Plan();
    const std::size_t extra = plan.active ? 0 : m_Settings.registers.extraPayload;
    const std::size_t payload = plan.PayloadBytes(m_Format->Get().ImageBytes()) + extra;
    m_Registers.Set(reg::kPayloadSize, static_cast<std::uint32_t>(payload));
    for (unsigned stream = 0; stream < m_Settings.streams; ++stream)
        m_Registers.Set<std::uint64_t>(sirm::Of(stream, sirm::kRequiredPayload),
                                       m_Settings.registers.zeroPayloadSize ? 0 : payload);
}

void Firmware::Available() {
    m_Host.StreamAvailable();
    if (m_Events.HasMessage()) m_Host.EventQueued();
}

void Firmware::SetInput(std::uint32_t line, bool high) {
    if (m_Io->SetInput(line, high)) m_Acquisition->LineEdge(line, m_Io->Level(line));
}

void Firmware::RunTimers(TimePoint now) {
    m_Acquisition->RunTimers(now);
}

} // namespace virtualcam
