// Steps that ask: ports, information, events, buffers, lists.
#include "CallerCalls.h"

namespace consumer {

void Caller::Ports() {
    void* const port = Handle(static_cast<Booty::Kind>(Draw(Booty::Event)));
    AnswerRoom room(Draw(256));
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
    AnswerRoom room(Draw(4) == 0 ? Draw(32) : 256);
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
    AnswerRoom room(Draw(256));
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

} // namespace consumer
