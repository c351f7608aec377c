#include "Caller.h"

#include <algorithm>
#include <stdexcept>

namespace consumer {
namespace {

constexpr std::uint8_t kUntouched = 0xC7;

bool IsKnown(GC_ERROR code) {
    return code == GC_ERR_SUCCESS || (code <= GC_ERR_ERROR && code >= GC_ERR_AMBIGUOUS) || code <= -10000;
}

} // namespace

void* Booty::Lend(std::size_t size) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_Lent + size > kMost) return nullptr;
    m_Lent += size;
    return m_Memory.emplace_back(size).data();
}

/// Room for an answer, with a border that must not be written to.
struct Caller::Room {
    std::array<std::uint8_t, 512> bytes;
    const std::size_t given;
    std::size_t size;
    explicit Room(std::size_t room) : given(room), size(room) { bytes.fill(kUntouched); }
    void Check(const char* name, GC_ERROR code, bool lent) const {
        if (!lent) return;
        if (code == GC_ERR_SUCCESS && size > given) throw std::runtime_error(std::string(name) + " used too much room");
        if (std::any_of(bytes.begin() + static_cast<std::ptrdiff_t>(given), bytes.end(),
                        [](std::uint8_t byte) { return byte != kUntouched; }))
            throw std::runtime_error(std::string(name) + " wrote behind the room");
    }
};

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

template<class Function, class... Arguments>
GC_ERROR Caller::Call(const char* name, Function function, Arguments... arguments) {
    m_Doing = name;
    const GC_ERROR code = function(arguments...);
    ++m_Calls;
    m_Good += code == GC_ERR_SUCCESS;
    if (!IsKnown(code)) throw std::runtime_error(std::string(name) + " returned " + std::to_string(code));
    return code;
}

template<class Function, class... Arguments>
void Caller::Ask(const char* name, Function function, Arguments... arguments) {
    Room room(Draw(3) == 0 ? Draw(16) : 256);
    INFO_DATATYPE type = 0;
    const bool lent = Draw(4) != 0;
    const Command command = static_cast<Command>(Draw(36)) - 2;
    const GC_ERROR code =
        Call(name, function, arguments..., command, Draw(8) == 0 ? nullptr : &type,
             static_cast<void*>(lent ? room.bytes.data() : nullptr), Draw(50) == 0 ? nullptr : &room.size);
    room.Check(name, code, lent);
}

template<class Function, class... Arguments>
void Caller::Open(const char* name, Booty::Kind kind, Function function, Arguments... arguments) {
    void* handle = nullptr;
    const GC_ERROR code = Call(name, function, arguments..., Draw(50) == 0 ? nullptr : &handle);
    if (code == GC_ERR_SUCCESS && handle) m_Booty.Keep(kind, handle, m_Random());
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

void Caller::Ports() {
    void* const port = Handle(static_cast<Booty::Kind>(Draw(Booty::Event)));
    Room room(Draw(256));
    std::uint32_t values[2] = {Draw(128), Draw(3)};
    PORT_REGISTER_STACK_ENTRY entries[2] = {{Address(), &values[0], 4}, {Address(), &values[1], 4}};
    std::size_t count = Draw(3);
    GC_ERROR code = GC_ERR_SUCCESS;
    switch (Draw(6)) {
    case 0:
        (void)Call("GCReadPortStacked", m_Library.GCReadPortStacked, port, entries, &count);
        break;
    case 1:
        (void)Call("GCWritePortStacked", m_Library.GCWritePortStacked, port, entries, &count);
        break;
    case 2:
        count = 4;
        (void)Call("GCWritePort", m_Library.GCWritePort, port, Address(), &values[0], &count);
        break;
    case 3:
        code =
            Call("GCGetPortURL", m_Library.GCGetPortURL, port, reinterpret_cast<char*>(room.bytes.data()), &room.size);
        break;
    case 4:
        code = Call("GCGetNumPortURLs", m_Library.GCGetNumPortURLs, port, values);
        break;
    default:
        code = Call("GCReadPort", m_Library.GCReadPort, port, Address(), room.bytes.data(), &room.size);
        break;
    }
    room.Check(m_Doing, code, true);
}

void Caller::Infos() {
    void* const any = Handle(static_cast<Booty::Kind>(Draw(Booty::Count)));
    switch (Draw(10)) {
    case 0:
        return Ask("GCGetInfo", m_Library.GCGetInfo);
    case 1:
        return Ask("TLGetInfo", m_Library.TLGetInfo, Handle(Booty::System));
    case 2:
        return Ask("IFGetInfo", m_Library.IFGetInfo, Handle(Booty::Interface));
    case 3:
        return Ask("DevGetInfo", m_Library.DevGetInfo, Handle(Booty::Device));
    case 4:
        return Ask("GCGetPortURLInfo", m_Library.GCGetPortURLInfo, any, Draw(2));
    case 5:
        return Ask("GCGetPortInfo", m_Library.GCGetPortInfo, any);
    case 6:
        return Ask("EventGetInfo", m_Library.EventGetInfo, Handle(Booty::Event));
    case 7:
        return Ask("TLGetInterfaceInfo", m_Library.TLGetInterfaceInfo, Handle(Booty::System),
                   Id(Booty::System).c_str());
    case 8:
        return Ask("IFGetDeviceInfo", m_Library.IFGetDeviceInfo, Handle(Booty::Interface),
                   Id(Booty::Interface).c_str());
    default:
        return Ask("DSGetInfo", m_Library.DSGetInfo, Handle(Booty::Stream));
    }
}

void Caller::BufferInfos() {
    void *const stream = Handle(Booty::Stream), *const buffer = Handle(Booty::Buffer);
    std::uint64_t value = 0;
    std::uint32_t number = 0;
    std::array<SINGLE_CHUNK_DATA, 8> chunks;
    std::size_t count = Draw(chunks.size() + 1);
    DS_BUFFER_INFO_STACKED info{static_cast<Command>(Draw(33)), 0, &value, sizeof value, 0};
    DS_BUFFER_PART_INFO_STACKED part{Draw(2), static_cast<Command>(Draw(15)), 0, 0, &value, sizeof value};
    switch (Draw(9)) {
    case 0:
        (void)Call("DSGetBufferInfoStacked", m_Library.DSGetBufferInfoStacked, stream, buffer, &info, std::size_t{1});
        break;
    case 1:
        (void)Call("DSGetBufferPartInfoStacked", m_Library.DSGetBufferPartInfoStacked, stream, buffer, &part,
                   std::size_t{1});
        break;
    case 2:
        (void)Call("DSGetBufferChunkData", m_Library.DSGetBufferChunkData, stream, buffer, chunks.data(), &count);
        break;
    case 3:
        (void)Call("DSGetNumBufferParts", m_Library.DSGetNumBufferParts, stream, buffer, &number);
        break;
    case 4:
        return Ask("DSGetBufferPartInfo", m_Library.DSGetBufferPartInfo, stream, buffer, Draw(2));
    case 5:
        return Ask("DSGetFlowInfo", m_Library.DSGetFlowInfo, stream, Draw(2));
    case 6:
        return Ask("DSGetBufferSegmentInfo", m_Library.DSGetBufferSegmentInfo, stream, buffer, Draw(2));
    default:
        return Ask("DSGetBufferInfo", m_Library.DSGetBufferInfo, stream, buffer);
    }
}

void Caller::Events() {
    void* const source = Handle(static_cast<Booty::Kind>(Draw(Booty::Event)));
    void* const event = Handle(Booty::Event);
    Room room(Draw(4) == 0 ? Draw(32) : 256);
    EVENT_NEW_BUFFER_DATA data{Handle(Booty::Buffer), nullptr};
    GC_ERROR code = GC_ERR_SUCCESS;
    switch (Draw(8)) {
    case 0:
        return Open("GCRegisterEvent", Booty::Event, m_Library.GCRegisterEvent, source,
                    static_cast<std::int32_t>(Draw(7)));
    case 1:
        if (Draw(4) != 0) return;
        (void)Call("GCUnregisterEvent", m_Library.GCUnregisterEvent, source, static_cast<std::int32_t>(Draw(7)));
        return;
    case 2:
        (void)Call("EventKill", m_Library.EventKill, event);
        return;
    case 3:
        (void)Call("EventFlush", m_Library.EventFlush, event);
        return;
    case 4:
        return Ask("EventGetDataInfo", m_Library.EventGetDataInfo, event, static_cast<const void*>(&data), sizeof data);
    case 5:
        return Open("GCRegisterEvent", Booty::Event, m_Library.GCRegisterEvent, Handle(Booty::Stream),
                    +EVENT_NEW_BUFFER);
    default:
        code =
            Call("EventGetData", m_Library.EventGetData, event, room.bytes.data(), &room.size, std::uint64_t{Draw(4)});
        return room.Check(m_Doing, code, true);
    }
}

void Caller::Buffers() {
    void* const stream = Handle(Booty::Stream);
    const std::size_t size = Draw(6) == 0 ? 1 + Draw(4095) : 4096 + Draw(256);
    void* const memory = m_Booty.Lend(size);
    void *lent = nullptr, *user = nullptr;
    switch (Draw(8)) {
    case 0:
        if (memory) Open("DSAnnounceBuffer", Booty::Buffer, m_Library.DSAnnounceBuffer, stream, memory, size, memory);
        break;
    case 1:
        Open("DSAllocAndAnnounceBuffer", Booty::Buffer, m_Library.DSAllocAndAnnounceBuffer, stream, size, memory);
        break;
    case 2:
        (void)Call("DSRevokeBuffer", m_Library.DSRevokeBuffer, stream, Handle(Booty::Buffer), &lent, &user);
        break;
    case 3:
        Open("DSGetBufferID", Booty::Buffer, m_Library.DSGetBufferID, stream, Draw(10));
        break;
    default:
        (void)Call("DSQueueBuffer", m_Library.DSQueueBuffer, stream, Handle(Booty::Buffer));
        break;
    }
}

void Caller::Lists() {
    std::uint32_t count = 0;
    GC_ERROR code = GC_ERR_SUCCESS;
    Room room(Draw(256));
    switch (Draw(6)) {
    case 0:
        (void)Call("TLGetNumInterfaces", m_Library.TLGetNumInterfaces, Handle(Booty::System), &count);
        break;
    case 1:
        (void)Call("IFGetNumDevices", m_Library.IFGetNumDevices, Handle(Booty::Interface), &count);
        break;
    case 2:
        Open("IFGetParentTL", Booty::System, m_Library.IFGetParentTL, Handle(Booty::Interface));
        break;
    case 3:
        Open("DevGetParentIF", Booty::Interface, m_Library.DevGetParentIF, Handle(Booty::Device));
        break;
    case 4:
        Open("DSGetParentDev", Booty::Device, m_Library.DSGetParentDev, Handle(Booty::Stream));
        break;
    default:
        code = Call("GCGetLastError", m_Library.GCGetLastError, &code, reinterpret_cast<char*>(room.bytes.data()),
                    &room.size);
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
