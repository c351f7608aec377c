#pragma once
// The camera's node map over a producer's port, as a consumer with a GenApi of its own makes it.

#include "gentl/support/Producer.h"

#include <GenApi/GenApi.h>

#include <memory>

namespace consumer {

/// A module's registers behind the node map's port.
class PortOf final : public GenApi::CPortImpl {
public:
    PortOf(Producer& producer, PORT_HANDLE handle) : m_Producer(producer), m_Handle(handle) {}
    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }

private:
    Producer& m_Producer;
    const PORT_HANDLE m_Handle;
};

/// Bound to a thread.
class Features {
public:
    /// Reads the description by its URL, as the sheet tells, and connects the port.
    Features(Producer& producer, PORT_HANDLE handle);

    GenApi::CNodeMapRef map;
    std::string url;

private:
    PortOf m_Port;
};

} // namespace consumer
