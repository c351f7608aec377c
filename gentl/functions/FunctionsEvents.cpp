// The functions of events.

#include "gentl/Library.h"

using namespace gentl;

namespace {

/// Whatever can be a source of events.
std::shared_ptr<Module> SourceOf(EVENTSRC_HANDLE handle) {
    const Held<Object> object(handle);
    if (object->GetKind() == Kind::Event || object->GetKind() == Kind::RemotePort)
        Fail(GC_ERR_INVALID_HANDLE, "the handle is no source of events");
    if (object->GetKind() == Kind::Buffer) Fail(GC_ERR_NOT_IMPLEMENTED, "buffers have no events");
    return std::static_pointer_cast<Module>(object.Share());
}

void CheckType(EVENT_TYPE type) {
    if (type < EVENT_ERROR || type > EVENT_MODULE) Fail(GC_ERR_NOT_IMPLEMENTED, "unknown kind of event");
}

} // namespace

GC_ERROR GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE* phEvent) {
    return Call([&] {
        const auto source = SourceOf(hEventSrc);
        CheckType(iEventID);
        source->RegisterEvent(iEventID, &Needed(phEvent));
    });
}

GC_ERROR GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
    return Call([&] {
        const auto source = SourceOf(hEventSrc);
        CheckType(iEventID);
        source->UnregisterEvent(iEventID);
    });
}

[[gnu::hot]] GC_ERROR EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize, uint64_t iTimeout) {
    return Call([&] { Held<EventQueue>(hEvent)->GetData(pBuffer, piSize, iTimeout); });
}

GC_ERROR EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize, EVENT_DATA_INFO_CMD iInfoCmd,
                          INFO_DATATYPE* piType, void* pOutBuffer, size_t* piOutSize) {
    return Call([&] {
        const Held<EventQueue> event(hEvent);
        if (!pInBuffer) Fail(GC_ERR_INVALID_PARAMETER, "the event's data are null");
        Answer answer(piType, pOutBuffer, piOutSize);
        event->DataInfo(pInBuffer, iInSize, iInfoCmd, answer);
    });
}

GC_ERROR EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                      size_t* piSize) {
    return Call([&] {
        const Held<EventQueue> event(hEvent);
        Answer answer(piType, pBuffer, piSize);
        event->GetInfo(iInfoCmd, answer);
    });
}

GC_ERROR EventFlush(EVENT_HANDLE hEvent) {
    return Call([&] { Held<EventQueue>(hEvent)->Flush(); });
}

GC_ERROR EventKill(EVENT_HANDLE hEvent) {
    return Call([&] { Held<EventQueue>(hEvent)->Kill(); });
}
