#include "Caller.h"

#include "CallerCalls.h"

namespace consumer {

// --- what calls are given

void* Caller::Handle(Booty::Kind kind) {
    switch (Draw(24)) {
    case 0:
        return nullptr;
    case 1:
        return reinterpret_cast<void*>(static_cast<std::uintptr_t>(m_Random()));
    case 2:
        return m_Booty.Any(static_cast<Booty::Kind>(Draw(Booty::Count)), m_Random());
    default:
        // Buffers and events are many; of what they belong to the newest is most likely open.
        const bool many = kind == Booty::Buffer || kind == Booty::Event;
        return many || Draw(8) == 0 ? m_Booty.Any(kind, m_Random()) : m_Booty.Latest(kind);
    }
}

std::uint64_t Caller::Address() {
    constexpr std::uint64_t known[] = {0x101010, 0x101014, 0x101038, 0x102004, 0x102008, 0x108004,  0x108010,
                                       0x109000, 0x109010, 0x10B000, 0x000000, 0x0001CC, 0x10000000};
    const std::uint32_t draw = Draw(20);
    if (draw == 0) return (std::uint64_t{m_Random()} << 32) | m_Random();
    if (draw == 1) return ~std::uint64_t{0} - Draw(16);
    if (draw < 6) return Draw(0x400);
    return known[draw % std::size(known)] + (Draw(8) == 0 ? Draw(64) : 0);
}

/// The identifier of something below a handle of this kind.
std::string Caller::Id(Booty::Kind kind) {
    char id[256] = "";
    std::size_t size = sizeof id;
    const std::uint32_t index = Draw(3);
    void* parent = Handle(kind);
    if (kind == Booty::System) (void)Call("TLGetInterfaceID", m_Library.TLGetInterfaceID, parent, index, id, &size);
    if (kind == Booty::Interface) (void)Call("IFGetDeviceID", m_Library.IFGetDeviceID, parent, index, id, &size);
    if (kind == Booty::Device) (void)Call("DevGetDataStreamID", m_Library.DevGetDataStreamID, parent, index, id, &size);
    return Draw(30) == 0 ? "nobody" : id;
}

// --- kinds of steps

void Caller::Step() {
    constexpr void (Caller::*steps[])() = {&Caller::Climb,       &Caller::Climb,  &Caller::Stream, &Caller::Stream,
                                           &Caller::Ports,       &Caller::Infos,  &Caller::Infos,  &Caller::BufferInfos,
                                           &Caller::BufferInfos, &Caller::Events, &Caller::Events, &Caller::Buffers,
                                           &Caller::Buffers,     &Caller::Lists};
    if (Draw(500) == 0) return Close();
    (this->*steps[Draw(std::size(steps))])();
}

void Caller::Climb() {
    bool8_t changed = 0;
    switch (Draw(8)) {
    case 0:
        (void)Call("GCInitLib", m_Library.GCInitLib);
        break;
    case 1:
        Open("TLOpen", Booty::System, m_Library.TLOpen);
        break;
    case 2:
        (void)Call("TLUpdateInterfaceList", m_Library.TLUpdateInterfaceList, Handle(Booty::System), &changed, Draw(5));
        break;
    case 3:
        Open("TLOpenInterface", Booty::Interface, m_Library.TLOpenInterface, Handle(Booty::System),
             Id(Booty::System).c_str());
        break;
    case 4:
        (void)Call("IFUpdateDeviceList", m_Library.IFUpdateDeviceList, Handle(Booty::Interface), &changed, Draw(5));
        break;
    case 5:
        Open("IFOpenDevice", Booty::Device, m_Library.IFOpenDevice, Handle(Booty::Interface),
             Id(Booty::Interface).c_str(), static_cast<std::int32_t>(Draw(6)));
        break;
    case 6:
        Open("DevGetPort", Booty::Remote, m_Library.DevGetPort, Handle(Booty::Device));
        break;
    default:
        Open("DevOpenDataStream", Booty::Stream, m_Library.DevOpenDataStream, Handle(Booty::Device),
             Id(Booty::Device).c_str());
        break;
    }
}

void Caller::Stream() {
    void* const stream = Handle(Booty::Stream);
    std::uint32_t on = 1;
    std::size_t size = sizeof on;
    switch (Draw(6)) {
    case 0:
        (void)Call("DSStartAcquisition", m_Library.DSStartAcquisition, stream, static_cast<std::int32_t>(Draw(2)),
                   Draw(2) == 0 ? GENTL_INFINITE : std::uint64_t{Draw(5)});
        break;
    case 1:
        (void)Call("DSStopAcquisition", m_Library.DSStopAcquisition, stream, static_cast<std::int32_t>(Draw(3)));
        break;
    case 2:
        (void)Call("DSFlushQueue", m_Library.DSFlushQueue, stream, static_cast<std::int32_t>(Draw(6)));
        break;
    default:
        (void)Call("GCWritePort", m_Library.GCWritePort, Handle(Booty::Remote),
                   std::uint64_t{Draw(4) == 0 ? 0x102008u : 0x102004u}, &on, &size);
        break;
    }
}

void Caller::Close() {
    switch (Draw(24)) {
    case 0:
        (void)Call("GCCloseLib", m_Library.GCCloseLib);
        break;
    case 1:
        (void)Call("TLClose", m_Library.TLClose, Handle(Booty::System));
        break;
    case 2:
        (void)Call("IFClose", m_Library.IFClose, Handle(Booty::Interface));
        break;
    case 3:
    case 4:
    case 5:
        (void)Call("DevClose", m_Library.DevClose, Handle(Booty::Device));
        break;
    default:
        (void)Call("DSClose", m_Library.DSClose, Handle(Booty::Stream));
        break;
    }
}

} // namespace consumer
