#pragma once
// Holder of a camera's description file.

#include "vexlo/Export.h"

#include <memory>
#include <string>

namespace vexlo {

/// Filled by CVxDevice::ProvideXmlFile. Bound to a thread.
class TAVIX_VEXLO_API CXmlFile {
public:
    /// The file's text, unpacked and NUL-terminated; null when empty. Owned by this object.
    const char* GetBuffer() const { return m_HasText ? m_Text.c_str() : nullptr; }
    /// The file name that the camera reports, null when it reports none. Owned by this object.
    const char* GetFilename() const { return m_HasName ? m_Name.c_str() : nullptr; }

    void SetText(std::string text) {
        m_Text = std::move(text);
        m_HasText = true;
    }
    void SetFilename(std::string name) {
        m_Name = std::move(name);
        m_HasName = true;
    }
    void Clear() { *this = CXmlFile(); }

private:
    std::string m_Text;
    std::string m_Name;
    bool m_HasText = false;
    bool m_HasName = false;
};

} // namespace vexlo
