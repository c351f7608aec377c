#pragma once
// A browser, as those see it who have something to tell.

#include "viewer/server/Protocol.h"

#include <cstdint>
#include <memory>
#include <string>

namespace viewer {

/// Bound to the server's thread.
class Client {
public:
    virtual ~Client() = default;
    virtual std::uint64_t Id() const = 0;
    /// Queued; a browser that lets too much gather is let go.
    virtual void SendText(std::shared_ptr<const std::string> text) = 0;
    virtual void SendImage(std::shared_ptr<const std::string> message) = 0;
};

/// Where rooms put what is to be told, from any thread. Thread-safe.
class Outlet {
public:
    virtual ~Outlet() = default;
    /// To all browsers.
    virtual void Tell(Json message) = 0;
    /// To one.
    virtual void Answer(std::uint64_t client, Json message) = 0;
    virtual void Show(std::uint64_t client, std::string image) = 0;
};

} // namespace viewer
