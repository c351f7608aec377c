#pragma once
// All functions of the interface, F(name, parameters) each.

#include "Declarations.h"

// What every query ends with: command, type, room, size.
#define CONSUMER_QUERY Command, INFO_DATATYPE*, void*, std::size_t*

#define CONSUMER_LIBRARY_FUNCTIONS(F)                                                                                  \
    F(GCInitLib, ())                                                                                                   \
    F(GCCloseLib, ())                                                                                                  \
    F(GCGetInfo, (CONSUMER_QUERY))                                                                                     \
    F(GCGetLastError, (GC_ERROR*, char*, std::size_t*))                                                                \
    F(GCReadPort, (PORT_HANDLE, std::uint64_t, void*, std::size_t*))                                                   \
    F(GCWritePort, (PORT_HANDLE, std::uint64_t, const void*, std::size_t*))                                            \
    F(GCReadPortStacked, (PORT_HANDLE, PORT_REGISTER_STACK_ENTRY*, std::size_t*))                                      \
    F(GCWritePortStacked, (PORT_HANDLE, PORT_REGISTER_STACK_ENTRY*, std::size_t*))                                     \
    F(GCGetPortInfo, (PORT_HANDLE, CONSUMER_QUERY))                                                                    \
    F(GCGetNumPortURLs, (PORT_HANDLE, std::uint32_t*))                                                                 \
    F(GCGetPortURLInfo, (PORT_HANDLE, std::uint32_t, CONSUMER_QUERY))                                                  \
    F(GCGetPortURL, (PORT_HANDLE, char*, std::size_t*))                                                                \
    F(GCRegisterEvent, (EVENTSRC_HANDLE, std::int32_t, EVENT_HANDLE*))                                                 \
    F(GCUnregisterEvent, (EVENTSRC_HANDLE, std::int32_t))                                                              \
    F(EventGetData, (EVENT_HANDLE, void*, std::size_t*, std::uint64_t))                                                \
    F(EventGetDataInfo, (EVENT_HANDLE, const void*, std::size_t, CONSUMER_QUERY))                                      \
    F(EventGetInfo, (EVENT_HANDLE, CONSUMER_QUERY))                                                                    \
    F(EventFlush, (EVENT_HANDLE))                                                                                      \
    F(EventKill, (EVENT_HANDLE))

#define CONSUMER_MODULE_FUNCTIONS(F)                                                                                   \
    F(TLOpen, (TL_HANDLE*))                                                                                            \
    F(TLClose, (TL_HANDLE))                                                                                            \
    F(TLGetInfo, (TL_HANDLE, CONSUMER_QUERY))                                                                          \
    F(TLUpdateInterfaceList, (TL_HANDLE, bool8_t*, std::uint64_t))                                                     \
    F(TLGetNumInterfaces, (TL_HANDLE, std::uint32_t*))                                                                 \
    F(TLGetInterfaceID, (TL_HANDLE, std::uint32_t, char*, std::size_t*))                                               \
    F(TLGetInterfaceInfo, (TL_HANDLE, const char*, CONSUMER_QUERY))                                                    \
    F(TLOpenInterface, (TL_HANDLE, const char*, IF_HANDLE*))                                                           \
    F(IFClose, (IF_HANDLE))                                                                                            \
    F(IFGetInfo, (IF_HANDLE, CONSUMER_QUERY))                                                                          \
    F(IFUpdateDeviceList, (IF_HANDLE, bool8_t*, std::uint64_t))                                                        \
    F(IFGetNumDevices, (IF_HANDLE, std::uint32_t*))                                                                    \
    F(IFGetDeviceID, (IF_HANDLE, std::uint32_t, char*, std::size_t*))                                                  \
    F(IFGetDeviceInfo, (IF_HANDLE, const char*, CONSUMER_QUERY))                                                       \
    F(IFOpenDevice, (IF_HANDLE, const char*, std::int32_t, DEV_HANDLE*))                                               \
    F(IFGetParentTL, (IF_HANDLE, TL_HANDLE*))                                                                          \
    F(DevClose, (DEV_HANDLE))                                                                                          \
    F(DevGetInfo, (DEV_HANDLE, CONSUMER_QUERY))                                                                        \
    F(DevGetPort, (DEV_HANDLE, PORT_HANDLE*))                                                                          \
    F(DevGetNumDataStreams, (DEV_HANDLE, std::uint32_t*))                                                              \
    F(DevGetDataStreamID, (DEV_HANDLE, std::uint32_t, char*, std::size_t*))                                            \
    F(DevOpenDataStream, (DEV_HANDLE, const char*, DS_HANDLE*))                                                        \
    F(DevGetParentIF, (DEV_HANDLE, IF_HANDLE*))

#define CONSUMER_STREAM_FUNCTIONS(F)                                                                                   \
    F(DSAnnounceBuffer, (DS_HANDLE, void*, std::size_t, void*, BUFFER_HANDLE*))                                        \
    F(DSAllocAndAnnounceBuffer, (DS_HANDLE, std::size_t, void*, BUFFER_HANDLE*))                                       \
    F(DSAnnounceCompositeBuffer, (DS_HANDLE, std::size_t, void**, std::size_t*, void*, BUFFER_HANDLE*))                \
    F(DSRevokeBuffer, (DS_HANDLE, BUFFER_HANDLE, void**, void**))                                                      \
    F(DSGetBufferID, (DS_HANDLE, std::uint32_t, BUFFER_HANDLE*))                                                       \
    F(DSQueueBuffer, (DS_HANDLE, BUFFER_HANDLE))                                                                       \
    F(DSFlushQueue, (DS_HANDLE, std::int32_t))                                                                         \
    F(DSStartAcquisition, (DS_HANDLE, std::int32_t, std::uint64_t))                                                    \
    F(DSStopAcquisition, (DS_HANDLE, std::int32_t))                                                                    \
    F(DSGetInfo, (DS_HANDLE, CONSUMER_QUERY))                                                                          \
    F(DSGetBufferInfo, (DS_HANDLE, BUFFER_HANDLE, CONSUMER_QUERY))                                                     \
    F(DSGetBufferInfoStacked, (DS_HANDLE, BUFFER_HANDLE, DS_BUFFER_INFO_STACKED*, std::size_t))                        \
    F(DSGetBufferChunkData, (DS_HANDLE, BUFFER_HANDLE, SINGLE_CHUNK_DATA*, std::size_t*))                              \
    F(DSGetNumBufferParts, (DS_HANDLE, BUFFER_HANDLE, std::uint32_t*))                                                 \
    F(DSGetBufferPartInfo, (DS_HANDLE, BUFFER_HANDLE, std::uint32_t, CONSUMER_QUERY))                                  \
    F(DSGetBufferPartInfoStacked, (DS_HANDLE, BUFFER_HANDLE, DS_BUFFER_PART_INFO_STACKED*, std::size_t))               \
    F(DSGetNumFlows, (DS_HANDLE, std::uint32_t*))                                                                      \
    F(DSGetFlowInfo, (DS_HANDLE, std::uint32_t, CONSUMER_QUERY))                                                       \
    F(DSGetNumBufferSegments, (DS_HANDLE, BUFFER_HANDLE, std::uint32_t*))                                              \
    F(DSGetBufferSegmentInfo, (DS_HANDLE, BUFFER_HANDLE, std::uint32_t, CONSUMER_QUERY))                               \
    F(DSGetParentDev, (DS_HANDLE, DEV_HANDLE*))                                                                        \
    F(DSClose, (DS_HANDLE))

#define CONSUMER_FUNCTIONS(F) CONSUMER_LIBRARY_FUNCTIONS(F) CONSUMER_MODULE_FUNCTIONS(F) CONSUMER_STREAM_FUNCTIONS(F)
