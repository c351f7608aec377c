#pragma once
// Where the camera's feature registers lie. The description file names the same addresses.

#include <cstdint>

#include "virtualcam/device/Protocol.h"

namespace virtualcam::reg {

inline constexpr std::uint64_t kBase = memory::kCamera;

// Device control
inline constexpr std::uint64_t kTemperature = kBase + 0x0000; // float
inline constexpr std::uint64_t kDeviceReset = kBase + 0x0004;
inline constexpr std::uint64_t kThroughputLimitMode = kBase + 0x0008;
inline constexpr std::uint64_t kThroughputLimit = kBase + 0x0010; // 64 bit
inline constexpr std::uint64_t kLinkSpeed = kBase + 0x0018;       // 64 bit
inline constexpr std::uint64_t kTestPendingAck = kBase + 0x0028;
inline constexpr std::uint64_t kFirmwareVersion = kBase + 0x0030; // 64 characters

// Image format
inline constexpr std::uint64_t kSensorWidth = kBase + 0x1000;
inline constexpr std::uint64_t kSensorHeight = kBase + 0x1004;
inline constexpr std::uint64_t kWidthMax = kBase + 0x1008;
inline constexpr std::uint64_t kHeightMax = kBase + 0x100C;
inline constexpr std::uint64_t kWidth = kBase + 0x1010;
inline constexpr std::uint64_t kHeight = kBase + 0x1014;
inline constexpr std::uint64_t kOffsetX = kBase + 0x1018;
inline constexpr std::uint64_t kOffsetY = kBase + 0x101C;
inline constexpr std::uint64_t kBinningX = kBase + 0x1020;
inline constexpr std::uint64_t kBinningY = kBase + 0x1024;
inline constexpr std::uint64_t kReverseX = kBase + 0x1028;
inline constexpr std::uint64_t kReverseY = kBase + 0x102C;
inline constexpr std::uint64_t kPixelFormat = kBase + 0x1030;
inline constexpr std::uint64_t kPixelSize = kBase + 0x1034;
inline constexpr std::uint64_t kPayloadSize = kBase + 0x1038;
inline constexpr std::uint64_t kTestPattern = kBase + 0x103C;

// Acquisition and triggers
inline constexpr std::uint64_t kAcquisitionMode = kBase + 0x2000;
inline constexpr std::uint64_t kAcquisitionStart = kBase + 0x2004;
inline constexpr std::uint64_t kAcquisitionStop = kBase + 0x2008;
inline constexpr std::uint64_t kFrameCount = kBase + 0x200C;
inline constexpr std::uint64_t kBurstFrameCount = kBase + 0x2010;
inline constexpr std::uint64_t kFrameRateEnable = kBase + 0x2014;
inline constexpr std::uint64_t kFrameRate = kBase + 0x2018;          // double
inline constexpr std::uint64_t kResultingFrameRate = kBase + 0x2020; // double
inline constexpr std::uint64_t kStatusSelector = kBase + 0x2028;
inline constexpr std::uint64_t kStatus = kBase + 0x2030; // one for each selector entry
inline constexpr std::uint64_t kExposureTimeRaw = kBase + 0x2040;
inline constexpr std::uint64_t kExposureAuto = kBase + 0x2044;
inline constexpr std::uint64_t kTriggerSelector = kBase + 0x2100;
inline constexpr std::uint64_t kTrigger = kBase + 0x2110; // a block for each selector entry
inline constexpr std::uint64_t kTriggerStride = 0x20;
inline constexpr std::uint64_t kTriggerMode = 0x00;
inline constexpr std::uint64_t kTriggerSource = 0x04;
inline constexpr std::uint64_t kTriggerActivation = 0x08;
inline constexpr std::uint64_t kTriggerDelay = 0x0C; // float
inline constexpr std::uint64_t kTriggerSoftware = 0x10;

// Analog control and look-up table
inline constexpr std::uint64_t kGainSelector = kBase + 0x3000;
inline constexpr std::uint64_t kGainRaw = kBase + 0x3004;
inline constexpr std::uint64_t kGainAuto = kBase + 0x3008;
inline constexpr std::uint64_t kBlackLevelRaw = kBase + 0x300C;
inline constexpr std::uint64_t kBalanceSelector = kBase + 0x3010;
inline constexpr std::uint64_t kBalanceRaw = kBase + 0x3014; // one for each colour
inline constexpr std::uint64_t kGamma = kBase + 0x3024;      // float
inline constexpr std::uint64_t kLutSelector = kBase + 0x4000;
inline constexpr std::uint64_t kLutEnable = kBase + 0x4004;
inline constexpr std::uint64_t kLutIndex = kBase + 0x4008;
inline constexpr std::uint64_t kLut = kBase + 0x5000; // 4096 16-bit values
inline constexpr std::uint32_t kLutEntries = 4096;

// Lines, timers, counters
inline constexpr std::uint64_t kLineSelector = kBase + 0x7000;
inline constexpr std::uint64_t kLineStatusAll = kBase + 0x7004;
inline constexpr std::uint64_t kUserOutputSelector = kBase + 0x7008;
inline constexpr std::uint64_t kUserOutputValue = kBase + 0x700C;
inline constexpr std::uint64_t kLine = kBase + 0x7010; // a block for each line
inline constexpr std::uint64_t kLineStride = 0x20;
inline constexpr std::uint64_t kLineMode = 0x00;
inline constexpr std::uint64_t kLineInverter = 0x04;
inline constexpr std::uint64_t kLineStatus = 0x08;
inline constexpr std::uint64_t kLineSource = 0x0C;
inline constexpr std::uint64_t kLineDebouncer = 0x10; // float
inline constexpr std::uint32_t kLines = 4;
inline constexpr std::uint64_t kTimerSelector = kBase + 0x7800;
inline constexpr std::uint64_t kTimer = kBase + 0x7810; // a block for each timer
inline constexpr std::uint64_t kTimerStride = 0x20;
inline constexpr std::uint64_t kTimerDuration = 0x00;
inline constexpr std::uint64_t kTimerDelay = 0x04;
inline constexpr std::uint64_t kTimerTriggerSource = 0x08;
inline constexpr std::uint64_t kTimerReset = 0x0C;
inline constexpr std::uint64_t kTimerStatus = 0x10;
inline constexpr std::uint32_t kTimers = 2;
inline constexpr std::uint64_t kCounterSelector = kBase + 0x7900;
inline constexpr std::uint64_t kCounter = kBase + 0x7910; // a block for each counter
inline constexpr std::uint64_t kCounterStride = 0x20;
inline constexpr std::uint64_t kCounterEventSource = 0x00;
inline constexpr std::uint64_t kCounterReset = 0x04;
inline constexpr std::uint64_t kCounterValue = 0x08;
inline constexpr std::uint64_t kCounterDuration = 0x0C;
inline constexpr std::uint32_t kCounters = 2;

// Events
inline constexpr std::uint64_t kEventSelector = kBase + 0x8000;
inline constexpr std::uint64_t kTestEventGenerate = kBase + 0x8004;
inline constexpr std::uint64_t kEventNotification = kBase + 0x8010; // one for each selector entry

// Chunks
inline constexpr std::uint64_t kChunkModeActive = kBase + 0x9000;
inline constexpr std::uint64_t kChunkSelector = kBase + 0x9004;
inline constexpr std::uint64_t kChunkEnable = kBase + 0x9010; // one for each selector entry

// For measurements: how well the host serves each stream, as StreamMeter::Figures has it
inline constexpr std::uint64_t kStreamFigures = kBase + 0xB000; // a block for each stream
inline constexpr std::uint64_t kStreamFiguresStride = 0x100;

// User sets
inline constexpr std::uint64_t kUserSetSelector = kBase + 0xA000;
inline constexpr std::uint64_t kUserSetLoad = kBase + 0xA004;
inline constexpr std::uint64_t kUserSetSave = kBase + 0xA008;
inline constexpr std::uint64_t kUserSetDefault = kBase + 0xA00C;

} // namespace virtualcam::reg
