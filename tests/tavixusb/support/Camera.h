#pragma once
// Cameras for the tests: discovery records, infos and a small description.

#include "support/FakeVexlo.h"

#include "tavix/Info.h"

inline constexpr char kCameraPath[] = "1:2:3";

/// A camera with all texts.
vexlo::DeviceDiscoveryInfo MakeCameraRecord(const char* path = kCameraPath, const char* serial = "123");

/// What discovery makes of it.
Tavix::CDeviceInfo MakeCameraInfo(const char* path = kCameraPath, const char* serial = "123");

/// Description of a camera with "Width" at 0x100, "TLParamsLocked" at 0x200 and, if asked for, a subtree "ChunkData".
std::string CameraXml();
std::string CameraXmlWithChunks();
std::string CameraXmlWithoutLock();
/// The same with these nodes of the test's own.
std::string CameraXmlWith(const std::string& nodes);

/// A status and what the stand-in says of it.
inline constexpr vexlo::VxStatus kFailure = 0xE2000777;
inline constexpr char kFailureText[] = "text E2000777";

void SetText(char (&field)[vexlo::DeviceDiscoveryInfo::kTextSize], const char* text);
