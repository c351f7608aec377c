#include "support/Camera.h"

#include "TavixTL_USB/TavixUSB/discovery/TavixUsbDeviceInfoImpl.h"

#include <cstring>

namespace {

constexpr char kHead[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Cam" VendorName="Vandrel" ToolTip="Test camera" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0"
    SubMinorVersion="0" ProductGuid="0B4A5C36-3C2E-4A53-9E64-0C6F1D8E2A11"
    VersionGuid="6D2F7B80-5A14-4D7C-8F39-1E0B9C3D4A22"
    xmlns="http://www.genicam.org/GenApi/Version_1_1" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">
  <Category Name="Root"><pFeature>Width</pFeature></Category>
  <Integer Name="Width"><pValue>WidthReg</pValue></Integer>
  <IntReg Name="WidthReg"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
)";

constexpr char kLock[] = R"(
  <Integer Name="TLParamsLocked"><pValue>TLParamsLockedReg</pValue></Integer>
  <IntReg Name="TLParamsLockedReg"><Address>0x200</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
)";

constexpr char kChunks[] = R"(
  <Category Name="ChunkData"><pFeature>ChunkWidth</pFeature></Category>
  <Integer Name="ChunkWidth"><pValue>ChunkWidthReg</pValue></Integer>
  <IntReg Name="ChunkWidthReg"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>ChunkPort</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Port Name="ChunkPort"><ChunkID>0000a001</ChunkID></Port>
)";

constexpr char kTail[] = R"(
  <Port Name="Device"/>
</RegisterDescription>
)";

} // namespace

std::string CameraXml() {
    return std::string(kHead) + kLock + kTail;
}

std::string CameraXmlWithChunks() {
    return std::string(kHead) + kLock + kChunks + kTail;
}

std::string CameraXmlWithoutLock() {
    return CameraXmlWith({});
}

std::string CameraXmlWith(const std::string& nodes) {
    return kHead + nodes + kTail;
}

void SetText(char (&field)[vexlo::DeviceDiscoveryInfo::kTextSize], const char* text) {
    std::strncpy(field, text, sizeof field - 1);
}

vexlo::DeviceDiscoveryInfo MakeCameraRecord(const char* path, const char* serial) {
    vexlo::DeviceDiscoveryInfo record = {};
    record.DeviceIndex = 1;
    record.VendorId = 0x1ab2;
    record.ProductId = 0x12AB;
    SetText(record.FallbackSerialNumber, "fallback serial");
    SetText(record.FallbackModelName, "fallback model");
    SetText(record.FallbackVendorName, "fallback vendor");
    SetText(record.SerialNumber, serial);
    SetText(record.ManufacturerInfo, "made with care");
    SetText(record.DeviceGUID, "1AB2000000AF");
    SetText(record.VendorName, "Vandrel");
    SetText(record.ModelName, "CamModel");
    SetText(record.DevicePath, path);
    record.UsbDriverType = vexlo::UsbDriverType_Libusb;
    record.UsbPortVersionBcd = 0x0300;
    record.SpeedSupportBitmask = 0x0F;
    return record;
}

Tavix::CDeviceInfo MakeCameraInfo(const char* path, const char* serial) {
    Tavix::CTlInfo tlInfo;
    tlInfo.SetDeviceClass("VandrelUsb").SetFullName("USB/VandrelUsb 04.00.00.0062");
    return Tavix::TavixUsbDeviceInfoImpl(tlInfo, MakeCameraRecord(path, serial));
}
