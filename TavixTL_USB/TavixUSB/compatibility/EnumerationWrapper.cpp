#include "compatibility/EnumerationWrapper.h"

namespace Tavix {
namespace {

struct EntryName {
    const char* wrapper;
    const char* older;
    const char* current;
};

constexpr EntryName kEntryNames[] = {
    {"AcquisitionStatusSelector", "AcquisitionTriggerWait", "FrameBurstTriggerWait"},
    {"AutoFunctionProfile", "ExposureMinimum", "MinimizeExposureTime"},
    {"AutoFunctionProfile", "GainMinimum", "MinimizeGain"},
    {"ChunkSelector", "GainAll", "Gain"},
    {"EventNotification", "GenICamEvent", "On"},
    {"EventSelector", "AcquisitionStartOvertrigger", "FrameBurstStartOvertrigger"},
    {"EventSelector", "AcquisitionStart", "FrameBurstStart"},
    {"LightSourceSelector", "Daylight", "Daylight5000K"},
    {"LightSourceSelector", "Tungsten", "Tungsten2800K"},
    {"LineSource", "AcquisitionTriggerWait", "FrameBurstTriggerWait"},
    {"PixelFormat", "BGR10Packed", "BGR10"},
    {"PixelFormat", "BGR12Packed", "BGR12"},
    {"PixelFormat", "BGR8Packed", "BGR8"},
    {"PixelFormat", "BGRA8Packed", "BGRa8"},
    {"PixelFormat", "Mono1Packed", "Mono1p"},
    {"PixelFormat", "Mono2Packed", "Mono2p"},
    {"PixelFormat", "Mono4Packed", "Mono4p"},
    {"PixelFormat", "RGB10Packed", "RGB10"},
    {"PixelFormat", "RGB12Packed", "RGB12"},
    {"PixelFormat", "RGB16Packed", "RGB16"},
    {"PixelFormat", "RGB8Packed", "RGB8"},
    {"PixelFormat", "RGBA8Packed", "RGBa8"},
    {"PixelFormat", "YUV411Packed", "YCbCr411_8"},
    {"PixelFormat", "YUV422_YUYV_Packed", "YCbCr422_8"},
    {"PixelFormat", "YUV444Packed", "YCbCr8"},
    {"TriggerSelector", "AcquisitionStart", "FrameBurstStart"},
};

using Names = std::map<GenICam::gcstring, GenICam::gcstring>;

const GenICam::gcstring& Translate(const Names& names, const GenICam::gcstring& name) {
    const auto found = names.find(name);
    return found == names.end() ? name : found->second;
}

} // namespace

CEnumerationWrapper::CEnumerationWrapper(GenApi::IEnumeration* pEnumeration, const GenICam::gcstring& wrapperName)
    : m_pEnumeration(pEnumeration) {
    for (const EntryName& entry : kEntryNames) {
        if (wrapperName != entry.wrapper) continue;
        m_OlderToCurrent[entry.older] = entry.current;
        m_CurrentToOlder[entry.current] = entry.older;
    }
}

GenICam::gcstring CEnumerationWrapper::ToString(bool verify, bool ignoreCache) {
    return Translate(m_CurrentToOlder, m_pEnumeration->ToString(verify, ignoreCache));
}

void CEnumerationWrapper::FromString(const GenICam::gcstring& value, bool verify) {
    m_pEnumeration->FromString(Translate(m_OlderToCurrent, value), verify);
}

GenApi::IEnumEntry* CEnumerationWrapper::GetEntryByName(const GenICam::gcstring& symbolic) {
    return m_pEnumeration->GetEntryByName(Translate(m_OlderToCurrent, symbolic));
}

} // namespace Tavix
