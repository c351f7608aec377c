#pragma once
// What an application has set of the element.

#include <tavix/camera/ImageStream.h>
#include <tavix/imaging/Convert.h>

#include <gst/gst.h>

#include <string>

namespace tavixgst {

/// As the properties of the same names. Re-entrant.
struct Options {
    std::string camera, features, events;
    GstClockTime timeout = 0;
    bool reconnect = false, convert = false, newestOnly = false, postMessages = false;
    guint buffers = 8, transferSize = 0, threadPriority = 0;
    Tavix::imaging::Demosaicing demosaicing = Tavix::imaging::Demosaicing::Bilinear;
    guint64 keepBudget = guint64(512) << 20, memoryLimit = guint64(2) << 30;

    Tavix::GrabOptions ForGrab() const {
        Tavix::GrabOptions grab;
        grab.buffers = buffers;
        grab.memoryLimit = memoryLimit;
        grab.keepBudget = keepBudget;
        grab.newestOnly = newestOnly;
        grab.timeout = std::chrono::milliseconds(0);
        grab.reconnect = std::chrono::milliseconds(reconnect ? -1 : 0);
        grab.transferSize = transferSize;
        grab.threadPriority = threadPriority;
        return grab;
    }

    /// Why a stream does not start, with the names of the properties, and with what is set of them.
    std::string InTheirWords(std::string text) const;
};

} // namespace tavixgst
