// The library's functions and those of ports.

#include "gentl/Library.h"

using namespace gentl;

GC_ERROR GCInitLib() {
    return Guarded(InitLibrary);
}

GC_ERROR GCCloseLib() {
    return Guarded(CloseLibrary);
}

GC_ERROR GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Guarded([&] {
        Answer answer(piType, pBuffer, piSize);
        System::Info(iInfoCmd, answer);
    });
}

GC_ERROR GCGetLastError(GC_ERROR* piErrorCode, char* sErrText, size_t* piSize) {
    // A failure of this function is none to ask about: the one before stays.
    if (!piErrorCode || !piSize) return GC_ERR_INVALID_PARAMETER;
    const std::string& text = LastText();
    const size_t size = text.size() + 1;
    *piErrorCode = LastError();
    const bool isTooSmall = sErrText && *piSize < size;
    *piSize = size;
    if (isTooSmall) return GC_ERR_BUFFER_TOO_SMALL;
    if (sErrText) std::memcpy(sErrText, text.c_str(), size);
    return GC_ERR_SUCCESS;
}

namespace {

/// The registers behind a handle; the module lives as long as this does.
struct UsedPort {
    explicit UsedPort(PORT_HANDLE handle) {
        const Held<Object> object(handle);
        if (object->GetKind() == Kind::Event) Fail(GC_ERR_INVALID_HANDLE, "an event has no port");
        if (object->GetKind() == Kind::Buffer) Fail(GC_ERR_NOT_IMPLEMENTED, "buffers have no port");
        module = std::static_pointer_cast<Module>(object.Share());
        port = module->GetPort();
    }
    std::shared_ptr<Module> module;
    Port* port = nullptr;
};

void CheckEntries(const PORT_REGISTER_STACK_ENTRY* entries, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (!entries[i].pBuffer) Fail(GC_ERR_INVALID_PARAMETER, "an entry has no buffer");
    }
}

GC_ERROR Stacked(PORT_HANDLE handle, PORT_REGISTER_STACK_ENTRY* entries, size_t* count,
                 void (Port::*access)(PORT_REGISTER_STACK_ENTRY*, size_t, size_t&)) {
    return Call([&] {
        const UsedPort used(handle);
        const size_t wanted = Needed(count);
        (void)Needed(entries);
        *count = 0; // whatever goes wrong, nothing has been done yet
        CheckEntries(entries, wanted);
        (used.port->*access)(entries, wanted, *count);
    });
}

} // namespace

GC_ERROR GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer, size_t* piSize) {
    return Call([&] {
        const UsedPort used(hPort);
        if (!pBuffer) Fail(GC_ERR_INVALID_PARAMETER, "the buffer is null");
        used.port->Read(iAddress, pBuffer, Needed(piSize));
    });
}

GC_ERROR GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer, size_t* piSize) {
    return Call([&] {
        const UsedPort used(hPort);
        if (!pBuffer) Fail(GC_ERR_INVALID_PARAMETER, "the buffer is null");
        used.port->Write(iAddress, pBuffer, Needed(piSize));
    });
}

GC_ERROR GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries, size_t* piNumEntries) {
    return Stacked(hPort, pEntries, piNumEntries, &Port::ReadStacked);
}

GC_ERROR GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries, size_t* piNumEntries) {
    return Stacked(hPort, pEntries, piNumEntries, &Port::WriteStacked);
}

GC_ERROR GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                       size_t* piSize) {
    return Call([&] {
        const UsedPort used(hPort);
        Answer answer(piType, pBuffer, piSize);
        const Port::Identity identity = used.port->Identify();
        switch (iInfoCmd) {
        case PORT_INFO_ID:
            return answer.String(identity.id);
        case PORT_INFO_VENDOR:
            return answer.String(identity.vendor);
        case PORT_INFO_MODEL:
            return answer.String(identity.model);
        case PORT_INFO_TLTYPE:
            return answer.String(kTechnology);
        case PORT_INFO_MODULE:
        case PORT_INFO_PORTNAME:
            return answer.String(identity.module);
        case PORT_INFO_LITTLE_ENDIAN:
            return answer.Bool(true);
        case PORT_INFO_BIG_ENDIAN:
            return answer.Bool(false);
        case PORT_INFO_ACCESS_READ:
            return answer.Bool(identity.isReadable);
        case PORT_INFO_ACCESS_WRITE:
            return answer.Bool(identity.isWritable);
        case PORT_INFO_ACCESS_NA:
            return answer.Bool(!identity.isAvailable);
        case PORT_INFO_ACCESS_NI:
            return answer.Bool(false);
        case PORT_INFO_VERSION:
            return answer.String(used.port->Version());
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a port");
        }
    });
}

GC_ERROR GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
    return GCGetPortURLInfo(hPort, 0, URL_INFO_URL, nullptr, sURL, piSize);
}

GC_ERROR GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
    return Call([&] {
        const UsedPort used(hPort);
        uint32_t& count = Needed(piNumURLs);
        count = static_cast<uint32_t>(used.port->Urls().size());
    });
}

GC_ERROR GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                          void* pBuffer, size_t* piSize) {
    return Call([&] {
        const UsedPort used(hPort);
        Answer answer(piType, pBuffer, piSize);
        const std::vector<Port::Url> urls = used.port->Urls();
        if (urls.empty()) Fail(GC_ERR_NOT_AVAILABLE, "the camera tells of no description");
        if (iURLIndex >= urls.size()) Fail(GC_ERR_INVALID_INDEX, "there is no description of that number");
        const Port::Url& url = urls[iURLIndex];
        switch (iInfoCmd) {
        case URL_INFO_URL:
            return answer.String(url.text);
        case URL_INFO_SCHEMA_VER_MAJOR:
            return answer.Int32(url.schemaMajor);
        case URL_INFO_SCHEMA_VER_MINOR:
            return answer.Int32(url.schemaMinor);
        case URL_INFO_FILE_VER_MAJOR:
            return answer.Int32(url.fileMajor);
        case URL_INFO_FILE_VER_MINOR:
            return answer.Int32(url.fileMinor);
        case URL_INFO_FILE_VER_SUBMINOR:
            return answer.Int32(url.fileSubMinor);
        case URL_INFO_FILE_SHA1_HASH:
            if (url.sha1.empty()) Fail(GC_ERR_NOT_AVAILABLE, "the description has no hash");
            return answer.Bytes(INFO_DATATYPE_BUFFER, url.sha1.data(), url.sha1.size());
        case URL_INFO_FILE_REGISTER_ADDRESS:
            return answer.Uint64(url.address);
        case URL_INFO_FILE_SIZE:
            return answer.Uint64(url.size);
        case URL_INFO_SCHEME:
            return answer.Int32(URL_SCHEME_LOCAL);
        case URL_INFO_FILENAME:
            return answer.String(url.fileName);
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about a description");
        }
    });
}
