#pragma once
// The class Stream of the package: an iterator over the images of a camera.

#include <tavix/camera/Camera.h>

#include <pybind11/pybind11.h>

#include <chrono>
#include <memory>
#include <mutex>

namespace tavixpython {

/// A running stream, for any number of threads. Every call is made with the interpreter's lock held.
class Stream {
public:
    /// `silence` is how long an image may take; negative: for ever.
    Stream(Tavix::ImageStream stream, std::chrono::milliseconds silence);
    /// Ends the stream without the interpreter's lock.
    ~Stream();

    /// Empty at the end; Timeout after the silence that is allowed.
    Tavix::Image Next();
    void Cancel();
    /// Returns when the camera was stopped. Closing twice is harmless.
    void Close();
    Tavix::GrabCounts Counts() const;

private:
    std::shared_ptr<Tavix::ImageStream> Running() const;

    const std::chrono::milliseconds m_Silence;
    mutable std::mutex m_Guard;                   // of the pointer, never held for long
    std::shared_ptr<Tavix::ImageStream> m_Stream; // null once closed
    std::mutex m_Turn;                            // of who takes the next image
};

/// Starts the camera, with the options by name.
std::unique_ptr<Stream> Grab(Tavix::Camera& camera, std::uint64_t count, const pybind11::kwargs& options);
/// One image, triggered by software where the camera waits for that; Timeout when none came.
Tavix::Image GrabOne(Tavix::Camera& camera, const pybind11::object& timeout);

void BindStream(pybind11::module_& module);

} // namespace tavixpython
