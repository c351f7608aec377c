// Whatever can befall a camera.
#include "Mischief.h"

#include "virtualcam/device/Protocol.h"

#include <chrono>
#include <mutex>
#include <thread>
#include <utility>

namespace mischief {
namespace {

using virtualcam::ControlFault;
using virtualcam::StreamFault;

constexpr ControlFault kControlFaults[] = {
    ControlFault::NoAnswer,       ControlFault::Late,           ControlFault::StaleId,
    ControlFault::Duplicate,      ControlFault::WrongPrefix,    ControlFault::Truncated,
    ControlFault::WrongRequestId, ControlFault::WrongCommandId, ControlFault::Pending,
    ControlFault::Busy,           ControlFault::Status,         ControlFault::MissingScd,
    ControlFault::StallIn,        ControlFault::StallOut,       ControlFault::ZeroLength,
    ControlFault::Oversize,       ControlFault::Deaf,           ControlFault::PendingThenNothing};

constexpr StreamFault kStreamFaults[] = {
    StreamFault::LostLeader,   StreamFault::LostTrailer,   StreamFault::Swapped,      StreamFault::LeaderMagic,
    StreamFault::TrailerMagic, StreamFault::Truncated,     StreamFault::IdGap,        StreamFault::IdMismatch,
    StreamFault::Discarded,    StreamFault::Overrun,       StreamFault::Overflow,     StreamFault::Stall,
    StreamFault::LineError,    StreamFault::ZeroValidSize, StreamFault::ShortHeight,  StreamFault::Padding,
    StreamFault::LessLines,    StreamFault::EmptyLeader,   StreamFault::EmptyTrailer, StreamFault::LongLeader,
    StreamFault::PayloadType,  StreamFault::LeftOver};

constexpr std::uint32_t kErrorStatus = 0x8006;

template<class T, std::size_t N>
constexpr unsigned int CountOf(const T (&)[N]) {
    return N;
}

} // namespace

void Mischief::RunUntil(const std::atomic<bool>& stop) {
    while (!stop) {
        Disturb();
        ++m_Ledger.mischief;
        Pause(60);
    }
    m_Camera.SetFaults({});
    m_Camera.Plug();
}

void Mischief::Pause(unsigned int mostMs) {
    std::this_thread::sleep_for(std::chrono::milliseconds(Roll(mostMs)));
}

void Mischief::Disturb() {
    switch (Roll(12)) {
    case 0:
        m_Camera.Unplug();
        Pause(80);
        m_Camera.Plug();
        m_MayDie = true;
        return;
    case 1:
        m_Camera.SetHalt(virtualcam::kStreamIn);
        return;
    case 2:
        m_Camera.SetHalt(virtualcam::kEventIn);
        return;
    case 3:
        m_Camera.SetHalt(Roll(2) == 0 ? virtualcam::kControlIn : virtualcam::kControlOut);
        return;
    case 4:
        for (unsigned int i = Roll(200); i != 0; --i)
            m_Camera.FireEvent(static_cast<std::uint16_t>(0x9000 + i % 4), virtualcam::Bytes(i % 64));
        return;
    case 5:
        m_Camera.FireRawEvent(virtualcam::Bytes(Roll(1024), 0x55));
        return;
    default:
        m_Camera.SetFaults(RandomFaults());
    }
}

virtualcam::FaultScript Mischief::RandomFaults() {
    virtualcam::FaultScript script;
    for (unsigned int i = Roll(4); i != 0; --i) {
        virtualcam::StreamFaultRule rule;
        rule.fault = kStreamFaults[Roll(CountOf(kStreamFaults))];
        rule.frame = Roll(6);
        rule.count = 1 + Roll(2);
        rule.value = rule.fault == StreamFault::LongLeader ? Roll(200) : Roll(100000);
        script.stream.push_back(rule);
    }
    if (Roll(3) == 0) {
        virtualcam::ControlFaultRule rule;
        rule.fault = kControlFaults[Roll(CountOf(kControlFaults))];
        rule.skip = Roll(10);
        rule.value = rule.fault == ControlFault::Status ? kErrorStatus : 1 + Roll(20);
        if (rule.fault == ControlFault::Deaf) rule.value = std::exchange(m_MayDie, false) ? 1 : 0;
        script.control.push_back(rule);
    }
    script.refuseStreamEnable = Roll(10) == 0 ? 1 : 0;
    script.refuseClaims = Roll(10) == 0 ? 1 : 0;
    script.haltOnStreamDisable = Roll(5) == 0;
    return script;
}

} // namespace mischief
