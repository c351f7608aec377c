#pragma once
// What libusb has noticed until somebody tells of it.

#include "usb/Backend.h"

#include <array>
#include <cstddef>
#include <string>

namespace usb {

/// A queue that finds its memory when it is made: what is noticed is not lost when there is none. Bound to a thread.
class HotplugNotices {
public:
    struct Notice {
        HotplugEvent event = HotplugEvent::Arrived;
        std::string id;
    };

    HotplugNotices() {
        for (Notice& notice : m_Notices)
            notice.id.reserve(kLongestId);
    }

    bool IsEmpty() const { return m_Count == 0; }
    /// The place of the next one; null when there is none left.
    Notice* Append() { return m_Count == kMost ? nullptr : &m_Notices[(m_First + m_Count++) % kMost]; }
    const Notice& Front() const { return m_Notices[m_First]; }
    void RemoveFront() {
        m_First = (m_First + 1) % kMost;
        --m_Count;
    }

private:
    static constexpr std::size_t kMost = 512;     ///< a bus has 127 devices, which may leave and arrive at once
    static constexpr std::size_t kLongestId = 72; ///< a bus and 16 ports

    std::array<Notice, kMost> m_Notices;
    std::size_t m_First = 0;
    std::size_t m_Count = 0;
};

} // namespace usb
