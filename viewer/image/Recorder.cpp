#include "viewer/image/Recorder.h"

#include "core/Printable.h"
#include "core/Threads.h"

#include <tavix/imaging/ImageFile.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include <pthread.h>

namespace viewer {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostWaitingBytes = std::size_t(256) << 20;
constexpr std::uint64_t kSpaceToKeep = std::uint64_t(200) << 20;
constexpr std::size_t kLongestName = 64;

std::uint64_t SpaceLeft(const fs::path& folder) {
    std::error_code failed;
    const fs::space_info space = fs::space(folder, failed);
    return failed ? 0 : space.available;
}

/// A folder that was not there before: that name, or with a number behind it.
fs::path MakeFolder(const fs::path& parent, const std::string& name) {
    std::error_code failed;
    fs::create_directories(parent, failed);
    for (int i = 1; i < 1000 && !failed; ++i) {
        const fs::path folder = parent / (i == 1 ? name : name + "-" + std::to_string(i));
        if (fs::create_directory(folder, failed)) return folder;
    }
    throw std::runtime_error("the folder " + (parent / name).string() +
                             " cannot be made: " + (failed ? failed.message() : "there are too many of that name"));
}

} // namespace

bool IsSeriesName(const std::string& name) {
    const auto isGood = [](unsigned char c) { return std::isalnum(c) != 0 || c == '-' || c == '_' || c == '.'; };
    return !name.empty() && name.size() <= kLongestName && name.front() != '.' &&
           std::all_of(name.begin(), name.end(), isGood);
}

Recorder::Recorder(const RecordOptions& options) : m_Options(options) {
    if (!IsSeriesName(options.name))
        throw std::runtime_error("name the series with letters, figures, '-', '_' and '.', without blanks or slashes");
    if (!Tavix::imaging::FileFormatOf("x." + options.format))
        throw std::runtime_error("'" + Tavix::Printable(options.format) + "' is none of png, tif, jpg, pgm, raw");
    m_Folder = MakeFolder(options.folder, options.name);
    m_Thread = Tavix::StartThread([this] { Run(); });
    pthread_setname_np(m_Thread.native_handle(), "view-record");
}

Recorder::~Recorder() {
    {
        const Tavix::MutexLock lock(m_Lock);
        m_Stop = true;
        m_Changed.notify_all();
    }
    m_Thread.join();
}

void Recorder::Put(const Tavix::Image& image) {
    {
        const Tavix::MutexLock lock(m_Lock);
        if (m_HasEnded) return;
        if (m_WaitingBytes + image.Payload().size > kMostWaitingBytes && !m_Waiting.empty()) {
            ++m_LeftOut;
            return;
        }
    }
    Tavix::Image copy = image.Clone();
    const Tavix::MutexLock lock(m_Lock);
    if (m_HasEnded) return;
    m_WaitingBytes += copy.Payload().size;
    m_Waiting.push_back(std::move(copy));
    if (++m_Taken == m_Options.count) m_HasEnded = true;
    m_Changed.notify_all();
}

void Recorder::End() {
    const Tavix::MutexLock lock(m_Lock);
    m_HasEnded = true;
    m_Changed.notify_all();
}

bool Recorder::IsDone() const {
    const Tavix::MutexLock lock(m_Lock);
    return m_IsDone;
}

Json Recorder::State() const {
    const std::uint64_t left = SpaceLeft(m_Folder);
    const Tavix::MutexLock lock(m_Lock);
    return {{"folder", m_Folder.string()}, {"saved", m_Saved}, {"of", m_Options.count},
            {"leftOut", m_LeftOut},        {"bytes", m_Bytes}, {"waiting", m_Waiting.size()},
            {"spaceLeft", left},           {"done", m_IsDone}, {"why", m_Why}};
}

void Recorder::Run() {
    Tavix::MutexLock lock(m_Lock);
    while (!m_Stop) {
        while (!m_Stop && !m_HasEnded && m_Waiting.empty())
            lock.Wait(m_Changed);
        if (m_Stop || m_Waiting.empty()) break;
        const Tavix::Image image = std::move(m_Waiting.front());
        m_Waiting.pop_front();
        m_WaitingBytes -= image.Payload().size;
        const std::uint64_t number = m_Saved + 1;
        lock.Unlock();
        std::string why;
        try {
            Write(image, number);
        } catch (const std::exception& e) {
            why = Tavix::Printable(e.what());
        }
        lock.Lock();
        if (why.empty()) {
            ++m_Saved;
            continue;
        }
        m_Why = why;
        m_HasEnded = true;
        m_Waiting.clear();
    }
    m_IsDone = true;
}

void Recorder::Write(const Tavix::Image& image, std::uint64_t number) {
    if (SpaceLeft(m_Folder) < kSpaceToKeep + image.Payload().size)
        throw std::runtime_error("the disk is nearly full; less than 200 MB would be left");
    char name[32];
    std::snprintf(name, sizeof name, "%06llu.", static_cast<unsigned long long>(number));
    const fs::path path = m_Folder / (name + m_Options.format);
    image.Save(path.string());
    std::error_code failed;
    const std::uintmax_t size = fs::file_size(path, failed);
    const Tavix::MutexLock lock(m_Lock);
    if (!failed) m_Bytes += size;
}

} // namespace viewer
