#include "virtualcam/firmware/Firmware.h"

#include <array>

#include "virtualcam/device/endpoint/Descriptors.h"

namespace virtualcam {
namespace {

constexpr std::uint64_t kCapability = 0x0001 | 0x0004 | 0x0008 | 0x0200 | 0x0400 | 0x0800 | 0x1000;
constexpr std::uint64_t kMultiEvent = 0x0002; // bit of the configuration
constexpr std::uint64_t kFamilyCapability = 0x0100;
constexpr std::uint64_t kOptionalCapabilities = 0x0001 | 0x0400; // user-defined name, byte order
constexpr std::uint32_t kTransferLength = 16384;
constexpr std::uint32_t kSmallestPlausible = 64;
constexpr std::uint32_t kResponseTime = 100;
constexpr std::array<std::uint64_t, 6> kStreamSizes{sirm::kMaximumLeader, sirm::kTransferSize, sirm::kTransferCount,
                                                    sirm::kFinal1Size,    sirm::kFinal2Size,   sirm::kMaximumTrailer};

std::size_t PacketSize(usb::Speed speed) {
    return speed >= usb::Speed::Super ? 1024 : 512;
}

// An exponent that no sizes could obey is reported, but not enforced.
std::uint64_t AlignmentUnit(const RegisterFaults& faults) {
    return std::uint64_t{1} << (faults.alignmentExponent < 32 ? faults.alignmentExponent : 0);
}

bool HasFamily(const CameraSettings& settings) {
    return !settings.family.empty() && !settings.registers.missingOptional;
}

// A camera that reports nonsense still takes packets of the usual size.
std::uint32_t Plausible(std::uint32_t length) {
    return length >= kSmallestPlausible ? length : kTransferLength;
}

// What the host has written stays, as of a command that is at work.
void MakeEndless(Register& command) {
    command.written = [&command, execute = std::move(command.written)] {
        const Bytes wanted = command.bytes;
        if (execute) execute();
        command.bytes = wanted;
    };
}

ControlLimits LimitsOf(const CameraSettings& settings) {
    ControlLimits limits;
    limits.packetSize = PacketSize(settings.speed);
    limits.maximumCommand = Plausible(settings.registers.maximumCommand.value_or(kTransferLength));
    limits.maximumAcknowledge = Plausible(settings.registers.maximumAcknowledge.value_or(kTransferLength));
    limits.responseTime = settings.registers.responseTime.value_or(kResponseTime);
    limits.largestRead = settings.registers.largestRead.value_or(0);
    limits.singleRegisterReads = settings.registers.singleRegisterReads;
    if (settings.registers.bootMs != 0) limits.awake = Clock::Now() + milliseconds(settings.registers.bootMs);
    return limits;
}

} // namespace

Firmware::Firmware(const CameraSettings& settings, const Manifest& manifest, Persistent& persistent, CameraHost& host)
    : m_Settings(settings), m_Persistent(persistent), m_Host(host), m_Clock(settings.clock),
      m_Events(PacketSize(settings.speed), settings.queuedEvents) {
    m_Events.SetFaults(settings.faults.events);
    const ControlLimits limits = LimitsOf(settings);
    m_Control = std::make_unique<ControlChannel>(m_Registers, limits);
    m_Control->SetFaults(settings.faults.control);
    AddIdentity();
    AddTechnology();
    AddUsbRegisters();
    for (unsigned stream = 0; stream < settings.streams; ++stream)
        AddStreamRegisters(stream);
    AddEventRegisters(limits.packetSize);
    AddManifest(manifest);
    AddFeatures();
    for (const std::uint64_t address : settings.registers.absent)
        if (address <= abrm::kLast) m_Registers.Remove(address);
    for (const std::uint64_t address : settings.registers.endlessCommands)
        if (m_Registers.Has(address)) MakeEndless(m_Registers.At(address));
}

void Firmware::AddIdentity() {
    RegisterSpace& registers = m_Registers;
    const auto text = [&registers](std::uint64_t address, const std::string& value) {
        registers.AddText(address, abrm::kTextSize, Access::ReadOnly, value);
    };
    registers.AddValue<std::uint32_t>(abrm::kGenCpVersion, Access::ReadOnly, kGenCpVersion);
    text(abrm::kManufacturerName, m_Settings.vendor);
    text(abrm::kModelName, m_Settings.model);
    if (HasFamily(m_Settings)) text(abrm::kFamilyName, m_Settings.family);
    text(abrm::kDeviceVersion, m_Settings.deviceVersion);
    text(abrm::kManufacturerInfo, m_Settings.manufacturerInfo);
    text(abrm::kSerialNumber, m_Settings.serial);
    if (m_Settings.registers.missingOptional) return;
    Register& name =
        registers.AddText(abrm::kUserDefinedName, abrm::kTextSize, Access::ReadWrite, m_Persistent.userName);
    name.written = [this, &name] { m_Persistent.userName = LoadText(name.bytes.data(), name.bytes.size()); };
}

void Firmware::AddTechnology() {
    RegisterSpace& registers = m_Registers;
    const std::uint64_t family = HasFamily(m_Settings) ? kFamilyCapability : 0;
    const std::uint64_t missing = m_Settings.registers.missingOptional ? kOptionalCapabilities : 0;
    registers.AddValue<std::uint64_t>(abrm::kCapability, Access::ReadOnly, (kCapability | family) & ~missing);
    registers.AddValue<std::uint32_t>(abrm::kResponseTime, Access::ReadOnly,
                                      m_Settings.registers.responseTime.value_or(kResponseTime));
    registers.AddValue<std::uint64_t>(abrm::kManifestAddress, Access::ReadOnly, memory::kManifest);
    registers.AddValue<std::uint64_t>(abrm::kSbrmAddress, Access::ReadOnly, memory::kSbrm);
    AddConfiguration();
    registers.AddValue<std::uint64_t>(abrm::kTimestamp, Access::ReadOnly, 0);
    Register& latch = registers.AddValue<std::uint32_t>(abrm::kTimestampLatch, Access::WriteOnly, 0);
    latch.written = [this, &latch] {
        const bool latched = (Load<std::uint32_t>(latch.bytes.data()) & 1) != 0;
        if (latched && m_Registers.Has(abrm::kTimestamp)) m_Registers.Set(abrm::kTimestamp, m_Clock.Nanoseconds());
        latch.bytes.assign(latch.bytes.size(), 0);
    };
    registers.AddValue<std::uint64_t>(abrm::kTimestampIncrement, Access::ReadOnly, 1);
    if (missing != 0) return;
    registers.AddValue<std::uint32_t>(abrm::kImplementationEndianness, Access::ReadOnly, 0xFFFFFFFF);
}

void Firmware::AddConfiguration() {
    Register& configuration = m_Registers.AddValue<std::uint64_t>(abrm::kConfiguration, Access::ReadWrite, 0);
    configuration.check = [](const std::uint8_t* wanted) {
        return (Load<std::uint64_t>(wanted) & ~kMultiEvent) == 0 ? Status::Success : Status::InvalidParameter;
    };
    configuration.written = [this, &configuration] {
        m_Events.GatherSeveral((Load<std::uint64_t>(configuration.bytes.data()) & kMultiEvent) != 0);
    };
}

void Firmware::AddUsbRegisters() {
    RegisterSpace& registers = m_Registers;
    const std::uint64_t base = memory::kSbrm;
    registers.AddValue<std::uint32_t>(base + 0x00, Access::ReadOnly, kU3vVersion);
    registers.AddValue<std::uint64_t>(base + 0x04, Access::ReadOnly, 0x3);
    registers.AddValue<std::uint64_t>(base + 0x0C, Access::ReadWrite, 0).check = [](const std::uint8_t* wanted) {
        return Load<std::uint64_t>(wanted) == 0 ? Status::Success : Status::InvalidParameter;
    };
    registers.AddValue<std::uint32_t>(base + 0x14, Access::ReadOnly,
                                      m_Settings.registers.maximumCommand.value_or(kTransferLength));
    registers.AddValue<std::uint32_t>(base + 0x18, Access::ReadOnly,
                                      m_Settings.registers.maximumAcknowledge.value_or(kTransferLength));
    registers.AddValue<std::uint32_t>(base + 0x1C, Access::ReadOnly,
                                      m_Settings.registers.streamCount.value_or(m_Settings.streams));
    registers.AddValue<std::uint64_t>(base + 0x20, Access::ReadOnly, memory::kSirm);
    registers.AddValue<std::uint32_t>(base + 0x28, Access::ReadOnly, sirm::kLength);
    registers.AddValue<std::uint64_t>(base + 0x2C, Access::ReadOnly, memory::kEirm);
    registers.AddValue<std::uint32_t>(base + 0x34, Access::ReadOnly, eirm::kLength);
    registers.AddValue<std::uint32_t>(base + 0x40, Access::ReadOnly, Descriptors::SpeedBit(m_Settings.speed));
}

// --- stream interfaces

Status Firmware::CheckStreamControl(unsigned stream, const std::uint8_t* wanted) {
    const std::uint32_t value = Load<std::uint32_t>(wanted);
    const bool on = (value & 1) != 0;
    if (value > 1) return Status::InvalidParameter;
    if (on == m_Streaming[stream]) return Status::Success;
    if (on && m_Host.IsStreamHalted(stream)) return Status::StreamEndpointHalted;
    return on ? m_Host.CheckStreamEnable(stream) : Status::Success;
}

void Firmware::AddStreamRegisters(unsigned stream) {
    const RegisterFaults& faults = m_Settings.registers;
    const auto add = [this, stream](std::uint64_t address, std::uint32_t value) {
        m_Registers.AddValue(sirm::Of(stream, address), Access::ReadOnly, value);
    };
    add(sirm::kInfo, faults.alignmentExponent << 24);
    Register& control = m_Registers.AddValue<std::uint32_t>(sirm::Of(stream, sirm::kControl), Access::ReadWrite, 0);
    control.check = [this, stream](const std::uint8_t* wanted) { return CheckStreamControl(stream, wanted); };
    control.written = [this, stream, &control] {
        const bool on = Load<std::uint32_t>(control.bytes.data()) == 1;
        if (on != m_Streaming[stream]) SwitchStream(stream, on);
    };
    m_Registers.AddValue<std::uint64_t>(sirm::Of(stream, sirm::kRequiredPayload), Access::ReadOnly, 0);
    add(sirm::kRequiredLeader, faults.zeroLeaderSize ? 0 : 52);
    add(sirm::kRequiredTrailer, faults.zeroTrailerSize ? 0 : 36);
    AddStreamSizes(stream);
}

void Firmware::AddStreamSizes(unsigned stream) {
    const RegisterFaults& faults = m_Settings.registers;
    const auto aligned = [&faults](const std::uint8_t* wanted) {
        const bool fits = Load<std::uint32_t>(wanted) % AlignmentUnit(faults) == 0;
        return fits || faults.lateAlignmentCheck ? Status::Success : Status::SizeNotAligned;
    };
    for (const std::uint64_t address : kStreamSizes) {
        Register& made = m_Registers.AddValue<std::uint32_t>(sirm::Of(stream, address), Access::ReadWrite, 0);
        if (address != sirm::kTransferCount) made.check = aligned;
    }
}

StreamLayout Firmware::Layout(unsigned stream) const {
    const auto value = [this, stream](std::uint64_t address) {
        return m_Registers.Get<std::uint32_t>(sirm::Of(stream, address));
    };
    StreamLayout layout;
    layout.maximumLeader = value(sirm::kMaximumLeader);
    layout.transferSize = value(sirm::kTransferSize);
    layout.transferCount = value(sirm::kTransferCount);
    layout.final1 = value(sirm::kFinal1Size);
    layout.final2 = value(sirm::kFinal2Size);
    layout.maximumTrailer = value(sirm::kMaximumTrailer);
    return layout;
}

bool Firmware::IsLayoutAligned(unsigned stream) const {
    const StreamLayout layout = Layout(stream);
    const std::uint32_t all =
        layout.maximumLeader | layout.transferSize | layout.final1 | layout.final2 | layout.maximumTrailer;
    return all % AlignmentUnit(m_Settings.registers) == 0;
}

// --- event interface

void Firmware::AddEventRegisters(std::size_t packetSize) {
    RegisterSpace& registers = m_Registers;
    Register& control = registers.AddValue<std::uint32_t>(eirm::kControl, Access::ReadWrite, 0);
    control.check = [this](const std::uint8_t* wanted) {
        const std::uint32_t value = Load<std::uint32_t>(wanted);
        if (value > 1) return Status::InvalidParameter;
        return value == 1 && m_Host.IsEventHalted() ? Status::EventEndpointHalted : Status::Success;
    };
    control.written = [this, &control] { m_Events.Enable(Load<std::uint32_t>(control.bytes.data()) == 1); };
    registers.AddValue<std::uint32_t>(eirm::kMaximumTransfer, Access::ReadOnly, static_cast<std::uint32_t>(packetSize));
    Register& test = registers.AddValue<std::uint32_t>(eirm::kTestControl, Access::ReadWrite, 0);
    test.written = [this, &test] {
        if ((Load<std::uint32_t>(test.bytes.data()) & 1) != 0) RaiseEvent(kTestEvent, {});
        test.bytes.assign(test.bytes.size(), 0);
    };
}

void Firmware::RaiseEvent(std::uint16_t id, const Bytes& data) {
    if (m_Events.Raise(id, m_Clock.Nanoseconds(), data)) m_Host.EventQueued();
    if (m_Events.TakeHalt()) m_Host.HaltEvents();
}

void Firmware::DisableStream(unsigned stream) {
    m_Registers.Set<std::uint32_t>(sirm::Of(stream, sirm::kControl), 0);
    if (m_Streaming[stream]) SwitchStream(stream, false);
}

void Firmware::DisableStreams() {
    for (unsigned stream = 0; stream < m_Settings.streams; ++stream)
        DisableStream(stream);
}

void Firmware::SwitchStream(unsigned stream, bool on) {
    m_Streaming[stream] = on;
    m_Host.StreamEnabled(stream, on);
    m_Acquisition->StreamEnabled(stream, on);
}

void Firmware::DisableEvents() {
    m_Registers.Set<std::uint32_t>(eirm::kControl, 0);
    m_Events.Enable(false);
}

void Firmware::ResetInterfaces() {
    DisableStreams();
    DisableEvents();
    m_Events.GatherSeveral(false);
    if (m_Registers.Has(abrm::kConfiguration)) m_Registers.Set<std::uint64_t>(abrm::kConfiguration, 0);
    m_Control->Abort();
    for (unsigned stream = 0; stream < m_Settings.streams; ++stream)
        for (const std::uint64_t address : kStreamSizes)
            m_Registers.Set<std::uint32_t>(sirm::Of(stream, address), 0);
}

// --- description

void Firmware::AddManifest(const Manifest& manifest) {
    m_Registers.Add(memory::kManifest, manifest.table.size(), Access::ReadOnly).bytes = manifest.table;
    m_Registers.Add(memory::kDescription, manifest.files.size(), Access::ReadOnly).bytes = manifest.files;
}

} // namespace virtualcam
