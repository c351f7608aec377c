// The functions of data streams and buffers.

#include "gentl/Library.h"
#include "gentl/stream/Stream.h"

#include <algorithm>

using namespace gentl;

GC_ERROR DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize, void* pPrivate, BUFFER_HANDLE* phBuffer) {
    return Call([&] {
        const Held<Stream> stream(hDataStream);
        BUFFER_HANDLE& handle = Needed(phBuffer);
        handle = stream->Announce(pBuffer, iSize, pPrivate)->Handle();
    });
}

GC_ERROR DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate, BUFFER_HANDLE* phBuffer) {
    return Call([&] {
        const Held<Stream> stream(hDataStream);
        BUFFER_HANDLE& handle = Needed(phBuffer);
        handle = stream->Allocate(iSize, pPrivate)->Handle();
    });
}

GC_ERROR DSAnnounceCompositeBuffer(DS_HANDLE hDataStream, size_t, void**, size_t*, void*, BUFFER_HANDLE*) {
    return Call([&] {
        (void)Held<Stream>(hDataStream);
        Fail(GC_ERR_NOT_IMPLEMENTED, "this technology has no composite buffers");
    });
}

GC_ERROR DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** ppBuffer, void** ppPrivate) {
    return Call([&] {
        const Held<Stream> stream(hDataStream);
        stream->Revoke(Held<Buffer>(hBuffer).Share(), ppBuffer, ppPrivate);
    });
}

GC_ERROR DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE* phBuffer) {
    return Call([&] {
        const Held<Stream> stream(hDataStream);
        BUFFER_HANDLE& handle = Needed(phBuffer);
        handle = stream->Engine().BufferAt(iIndex);
    });
}

[[gnu::hot]] GC_ERROR DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
    return Call([&] {
        const Held<Stream> stream(hDataStream);
        stream->Queue(*Held<Buffer>(hBuffer));
    });
}

GC_ERROR DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation) {
    return Call([&] { Held<Stream>(hDataStream)->Engine().Flush(iOperation); });
}

GC_ERROR DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags, uint64_t iNumToAcquire) {
    return Call([&] {
        const Held<Stream> stream(hDataStream);
        if (iStartFlags != ACQ_START_FLAGS_DEFAULT) Fail(GC_ERR_INVALID_PARAMETER, "unknown flags for a start");
        stream->Start(iNumToAcquire);
    });
}

GC_ERROR DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags) {
    return Call([&] {
        const Held<Stream> stream(hDataStream);
        if (iStopFlags != ACQ_STOP_FLAGS_DEFAULT && iStopFlags != ACQ_STOP_FLAGS_KILL)
            Fail(GC_ERR_INVALID_PARAMETER, "unknown flags for a stop");
        stream->Stop();
    });
}

GC_ERROR DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                   size_t* piSize) {
    return Call([&] {
        const Held<Stream> stream(hDataStream);
        Answer answer(piType, pBuffer, piSize);
        stream->Info(iInfoCmd, answer);
    });
}

[[gnu::hot]] GC_ERROR DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                                      INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Call([&] {
        WithBuffer(hDataStream, hBuffer, [&](const Buffer& buffer, const Buffer::Record& record) {
            Answer answer(piType, pBuffer, piSize);
            BufferInfo(buffer, record, iInfoCmd, answer);
        });
    });
}

GC_ERROR DSGetBufferInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, DS_BUFFER_INFO_STACKED* pInfoStacked,
                                size_t iNumInfos) {
    return Call([&] {
        WithBuffer(hDataStream, hBuffer, [&](const Buffer& buffer, const Buffer::Record& record) {
            if (iNumInfos != 0) (void)Needed(pInfoStacked);
            for (size_t i = 0; i < iNumInfos; ++i) {
                // The structures are packed: their members are copied, not pointed at.
                DS_BUFFER_INFO_STACKED& entry = pInfoStacked[i];
                INFO_DATATYPE type = entry.iType;
                size_t size = entry.iSize;
                entry.iResult = Guarded([&] {
                    Answer answer(&type, entry.pBuffer, &size);
                    BufferInfo(buffer, record, entry.iInfoCmd, answer);
                });
                entry.iType = type;
                entry.iSize = size;
            }
        });
    });
}

GC_ERROR DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, SINGLE_CHUNK_DATA* pChunkData,
                              size_t* piNumChunks) {
    return Call([&] {
        Contents contents{};
        WithBuffer(hDataStream, hBuffer,
                   [&](const Buffer& buffer, const Buffer::Record& record) { contents = ContentsOf(buffer, record); });
        size_t& count = Needed(piNumChunks);
        const auto chunks = ChunksOf(contents);
        if (pChunkData && count < chunks.size()) {
            count = chunks.size();
            Fail(GC_ERR_BUFFER_TOO_SMALL, "there are more chunks than room for them");
        }
        if (pChunkData) std::copy(chunks.begin(), chunks.end(), pChunkData);
        count = chunks.size();
    });
}

GC_ERROR DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t* piNumParts) {
    return Call([&] {
        WithBuffer(hDataStream, hBuffer, [&](const Buffer&, const Buffer::Record& record) {
            uint32_t& count = Needed(piNumParts);
            count = CountParts(record);
        });
    });
}

GC_ERROR DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t iPartIndex,
                             BUFFER_PART_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Call([&] {
        WithBuffer(hDataStream, hBuffer, [&](const Buffer& buffer, const Buffer::Record& record) {
            Answer answer(piType, pBuffer, piSize);
            BufferPartInfo(buffer, record, iPartIndex, iInfoCmd, answer);
        });
    });
}

GC_ERROR DSGetBufferPartInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                    DS_BUFFER_PART_INFO_STACKED* pInfoStacked, size_t iNumInfos) {
    return Call([&] {
        WithBuffer(hDataStream, hBuffer, [&](const Buffer& buffer, const Buffer::Record& record) {
            if (iNumInfos != 0) (void)Needed(pInfoStacked);
            for (size_t i = 0; i < iNumInfos; ++i) {
                DS_BUFFER_PART_INFO_STACKED& entry = pInfoStacked[i];
                INFO_DATATYPE type = entry.iType;
                size_t size = entry.iSize;
                entry.iResult = Guarded([&] {
                    Answer answer(&type, entry.pBuffer, &size);
                    BufferPartInfo(buffer, record, entry.iPartIndex, entry.iInfoCmd, answer);
                });
                entry.iType = type;
                entry.iSize = size;
            }
        });
    });
}

GC_ERROR DSGetNumFlows(DS_HANDLE hDataStream, uint32_t*) {
    return Call([&] {
        (void)Held<Stream>(hDataStream);
        Fail(GC_ERR_NOT_IMPLEMENTED, "this technology has no flows");
    });
}

GC_ERROR DSGetFlowInfo(DS_HANDLE hDataStream, uint32_t, FLOW_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
    return Call([&] {
        (void)Held<Stream>(hDataStream);
        Fail(GC_ERR_NOT_IMPLEMENTED, "this technology has no flows");
    });
}

GC_ERROR DSGetNumBufferSegments(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t*) {
    return Call([&] {
        WithBuffer(hDataStream, hBuffer, [](const Buffer&, const Buffer::Record&) {});
        Fail(GC_ERR_NOT_IMPLEMENTED, "this technology has no composite buffers");
    });
}

GC_ERROR DSGetBufferSegmentInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t, SEGMENT_INFO_CMD,
                                INFO_DATATYPE*, void*, size_t*) {
    return Call([&] {
        WithBuffer(hDataStream, hBuffer, [](const Buffer&, const Buffer::Record&) {});
        Fail(GC_ERR_NOT_IMPLEMENTED, "this technology has no composite buffers");
    });
}
