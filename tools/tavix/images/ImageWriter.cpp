#include "images/ImageWriter.h"

#include "Error.h"

namespace tool {

ImageWriter::ImageWriter(ImageNames names, ImageFormat format)
    : m_Format(format), m_Names(std::move(names)), m_Thread([this] { Run(); }) {}

ImageWriter::~ImageWriter() {
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Ending = true;
    }
    m_Changed.notify_all();
    m_Thread.join();
}

void ImageWriter::Write(Job job) {
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Jobs.push_back(std::move(job));
    }
    m_Changed.notify_all();
}

void ImageWriter::Finish() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Changed.wait(lock, [this] { return m_Jobs.empty() && !m_Busy; });
    if (!m_FirstError.empty()) throw Error(m_FirstError);
}

void ImageWriter::Save(const Job& job) {
    Tavix::imaging::PictureView picture = job.image.Picture();
    picture.size = job.image.Payload().size; // a raw file holds all that came
    const ImageFacts facts{job.camera, job.image.PixelFormat(), job.image.BlockId(), job.image.CameraTime()};
    const WrittenImage written = WriteImage(m_Names, m_Format, picture, facts);
    ++m_Written;
    if (written.isRaw && m_Format != ImageFormat::Raw) ++m_Unconverted;
}

void ImageWriter::Run() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    for (;;) {
        m_Changed.wait(lock, [this] { return m_Ending || !m_Jobs.empty(); });
        if (m_Jobs.empty()) return;
        Job job = std::move(m_Jobs.front());
        m_Jobs.pop_front();
        m_Busy = true;
        lock.unlock();
        std::string error;
        try {
            if (!m_HasFailed && !m_IsAbandoned) Save(job);
        } catch (...) {
            error = CaughtReason();
            m_HasFailed = true;
        }
        job.image = Tavix::Image();
        lock.lock();
        m_Busy = false;
        if (m_FirstError.empty()) m_FirstError = error;
        m_Changed.notify_all();
    }
}

} // namespace tool
