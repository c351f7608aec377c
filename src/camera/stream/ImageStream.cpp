#include "camera/stream/StreamThread.h"
#include "core/Export.h"

#include <tavix/camera/Error.h>

namespace Tavix {

/// With a thread, the thread takes the images, and the application gets them from it.
struct TAVIX_HIDDEN ImageStream::Impl {
    std::shared_ptr<detail::Acquisition> acquisition;
    std::shared_ptr<detail::StreamThread> thread; // null where the application's thread takes the images itself

    ~Impl() {
        if (!acquisition) return;
        if (thread) thread->End();
        acquisition->Shutdown();
    }

    bool IsComplete() const {
        const std::uint64_t count = acquisition->Options().count;
        return count > 0 && acquisition->Counts().delivered >= count;
    }
    Image Take(std::chrono::milliseconds timeout, detail::Acquisition::Absence absence) {
        if (thread) return thread->Take(detail::DeadlineIn(timeout));
        Image image = IsComplete() ? Image() : acquisition->Take(timeout, absence);
        if (image) acquisition->HandOut(image);
        if (!image && (IsComplete() || acquisition->IsCancelled())) acquisition->Shutdown(); // it will bring no more
        return image;
    }
};

ImageStream::ImageStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
ImageStream::ImageStream(ImageStream&&) noexcept = default;
ImageStream& ImageStream::operator=(ImageStream&&) noexcept = default;
ImageStream::~ImageStream() = default;

ImageStream::Impl& ImageStream::Checked() const {
    if (!m_Impl) throw StateError("the stream was moved away");
    return *m_Impl;
}

ImageStream ImageStream::Begin(std::shared_ptr<detail::CameraCore> core, const GrabOptions& options,
                               std::function<void(Image)> callback) {
    auto impl = std::make_unique<Impl>();
    impl->acquisition = std::make_shared<detail::Acquisition>(std::move(core), options);
    if (callback || options.newestOnly) {
        impl->thread = detail::StreamThread::Start(impl->acquisition, std::move(callback));
    } else {
        impl->acquisition->Start({});
    }
    return ImageStream(std::move(impl));
}

Image ImageStream::Next() {
    const std::chrono::milliseconds timeout = Checked().acquisition->ImageTimeout();
    Image image = m_Impl->Take(timeout, detail::Acquisition::Absence::IsForgiven);
    if (!image && !HasEnded())
        throw Timeout("no image came for " + std::to_string(timeout.count()) + " ms; " + WhySilent());
    return image;
}

Image ImageStream::Wait(std::chrono::milliseconds timeout) {
    return Checked().Take(timeout, detail::Acquisition::Absence::Counts);
}

void ImageStream::Cancel() noexcept {
    if (m_Impl) m_Impl->acquisition->Cancel();
}

bool ImageStream::HasEnded() const {
    const Impl& impl = Checked();
    if (impl.thread && impl.thread->HasEnded()) return true;
    return impl.acquisition->IsCancelled() || impl.IsComplete() || !impl.acquisition->IsRunning();
}

bool ImageStream::Join(std::chrono::milliseconds timeout) {
    if (!Checked().thread) throw StateError("only a stream with a callback can be joined");
    return m_Impl->thread->Join(detail::DeadlineIn(timeout));
}

GrabCounts ImageStream::Counts() const {
    return Checked().acquisition->Counts();
}

std::string ImageStream::WhySilent() const {
    return Checked().acquisition->WhySilent();
}

std::string ImageStream::FirstDefect() const {
    return Checked().acquisition->FirstDefect();
}

ImageStream::Iterator ImageStream::begin() {
    Iterator first;
    first.m_Stream = this;
    first.m_Image = std::make_shared<Image>();
    ++first;
    return first;
}

ImageStream::Iterator& ImageStream::Iterator::operator++() {
    *m_Image = Image(); // its place is free for the next one
    *m_Image = m_Stream->Next();
    if (m_Image->IsEmpty()) m_Stream = nullptr;
    return *this;
}

} // namespace Tavix
