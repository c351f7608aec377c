#pragma once
// A port over the properties of an object of the USB access library.

#include "Failure.h"

#include <GenApi/PortImpl.h>

#include <atomic>

namespace Tavix {

/// The addresses of its registers are the property identifiers of T; T's GetProperty and SetProperty serve them. The
/// object is borrowed. Takes no lock: T serialises its own properties. Thread-safe.
template<class T>
class CGenericUsbPort : public GenApi::CPortImpl {
public:
    CGenericUsbPort() = default;
    CGenericUsbPort(const CGenericUsbPort&) = delete;
    CGenericUsbPort& operator=(const CGenericUsbPort&) = delete;

    /// Null makes the port unavailable.
    void SetObject(T* pObject) { m_pObject = pObject; }

    GenApi::EAccessMode GetAccessMode() const override { return m_pObject ? GenApi::RW : GenApi::NA; }
    void Read(void* pBuffer, int64_t address, int64_t length) override;
    void Write(const void* pBuffer, int64_t address, int64_t length) override;

private:
    using Property = typename T::EPropertyValue;
    static Property PropertyOf(int64_t address) { return static_cast<Property>(static_cast<std::uint32_t>(address)); }

    std::atomic<T*> m_pObject{nullptr}; // borrowed
};

template<class T>
void CGenericUsbPort<T>::Read(void* pBuffer, int64_t address, int64_t length) {
    T* pObject = m_pObject;
    if (!pObject) {
        Throw<GenICam::RuntimeException>(Here(),
                                         "Failed to read property value %Ix. The property is not writable.", // sic
                                         static_cast<std::size_t>(address));
    }
    const unsigned int status = pObject->GetProperty(PropertyOf(address), pBuffer, static_cast<unsigned long>(length));
    if (status == 0) return;
    Throw<GenICam::RuntimeException>(Here(), "Failed to read property value %Ix. %s", static_cast<std::size_t>(address),
                                     VxStatus2Msg(status).c_str());
}

template<class T>
void CGenericUsbPort<T>::Write(const void* pBuffer, int64_t address, int64_t length) {
    T* pObject = m_pObject;
    if (!pObject) {
        Throw<GenICam::RuntimeException>(Here(), "Failed to write property value %Ix. The property is not writable.",
                                         static_cast<std::size_t>(address));
    }
    const unsigned int status = pObject->SetProperty(PropertyOf(address), pBuffer, static_cast<unsigned long>(length));
    if (status == 0) return;
    Throw<GenICam::RuntimeException>(Here(), "Failed to write property value %Ix. %s",
                                     static_cast<std::size_t>(address), VxStatus2Msg(status).c_str());
}

} // namespace Tavix
