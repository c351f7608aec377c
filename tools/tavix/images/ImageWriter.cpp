#include "images/ImageWriter.h"

#include "Error.h"

#include "core/Threads.h"

namespace tool {

ImageWriter::ImageWriter(ImageNames names, ImageFormat format)
    : m_Format(format), m_Names(std::move(names)), m_Thread(Tavix::NewThread([this] { Run(); })) {}

ImageWriter::~ImageWriter() {
    {
        const Tavix::MutexLock lock(m_Mutex);
        m_Ending = true;
    }
    m_Changed.notify_all();
    m_Thread.join();
}

void ImageWriter::Write(Job job) {
    {
        const Tavix::MutexLock lock(m_Mutex);
        m_Jobs.push_back(std::move(job));
    }
    m_Changed.notify_all();
}

void ImageWriter::Finish() {
    Tavix::MutexLock lock(m_Mutex);
    while (!m_Jobs.empty() || m_Busy)
        lock.Wait(m_Changed);
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
    Tavix::MutexLock lock(m_Mutex);
    for (;;) {
        while (!m_Ending && m_Jobs.empty())
            lock.Wait(m_Changed);
        if (m_Jobs.empty()) return;
        Job job = std::move(m_Jobs.front());
        m_Jobs.pop_front();
        m_Busy = true;
        lock.Unlock();
        std::string error;
        try {
            if (!m_HasFailed && !m_IsAbandoned) Save(job);
        } catch (...) {
            error = CaughtReason();
            m_HasFailed = true;
        }
        job.image = Tavix::Image();
        lock.Lock();
        m_Busy = false;
        if (m_FirstError.empty()) m_FirstError = error;
        m_Changed.notify_all();
    }
}

} // namespace tool
