#include "viewer/image/LiveImage.h"

#include "core/Printable.h"
#include "core/Threads.h"

#include <algorithm>
#include <ctime>
#include <exception>
#include <utility>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace viewer {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kNice = 5;
constexpr std::size_t kInFlight = 2; // one is drawn while the next is on its way
constexpr std::chrono::milliseconds kBetweenDetails{200};

std::chrono::nanoseconds ThreadTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

LiveImage::LiveImage(std::string camera, Outlet& outlet)
    : m_Camera(std::move(camera)), m_Outlet(outlet), m_Thread(Tavix::StartThread([this] { Run(); })) {
    pthread_setname_np(m_Thread.native_handle(), "view-image");
}

LiveImage::~LiveImage() {
    {
        const Tavix::MutexLock lock(m_Lock);
        m_Stop = true;
        m_Changed.notify_all();
    }
    m_Thread.join();
}

void LiveImage::Put(Tavix::Image image) {
    const auto time = image.Time();
    auto picture = std::make_shared<Picture>();
    picture->exposed = time.monotonic;
    picture->image = std::move(image);
    PicturePtr replaced; // goes after the lock
    const Tavix::MutexLock lock(m_Lock);
    picture->number = ++m_LastNumber;
    replaced = std::exchange(m_Newest, std::move(picture));
    if (!m_Views.empty()) m_Changed.notify_all();
}

void LiveImage::SetView(std::uint64_t client, const ViewOptions& options) {
    const Tavix::MutexLock lock(m_Lock);
    View& view = m_Views[client];
    view.options = options;
    view.isNew = true;
    m_Changed.notify_all();
}

void LiveImage::DropView(std::uint64_t client) {
    const Tavix::MutexLock lock(m_Lock);
    m_Views.erase(client);
}

void LiveImage::Shown(std::uint64_t client, std::uint64_t number) {
    const Tavix::MutexLock lock(m_Lock);
    const auto view = m_Views.find(client);
    if (view == m_Views.end()) return;
    const auto sent = view->second.sent.find(number);
    if (sent == view->second.sent.end()) return;
    ++m_Figures.shown;
    ++m_Figures.timed;
    m_Figures.delay += Clock::now() - sent->second;
    view->second.sent.erase(sent);
    m_Changed.notify_all();
}

LiveFigures LiveImage::Figures() const {
    const Tavix::MutexLock lock(m_Lock);
    return m_Figures;
}

bool LiveImage::CanTake(const View& view) const {
    return m_Newest && view.sent.size() < kInFlight && view.sent.count(m_Newest->number) == 0;
}

bool LiveImage::IsWaiting(const View& view) const {
    const bool isOwed = view.owesDetails && Clock::now() >= view.detailed + kBetweenDetails;
    return CanTake(view) && (view.isNew || isOwed || view.last != m_Newest->number);
}

std::map<std::uint64_t, LiveImage::View>::iterator LiveImage::FindWaiting(std::uint64_t last) {
    for (auto view = m_Views.upper_bound(last); view != m_Views.end(); ++view)
        if (IsWaiting(view->second)) return view;
    for (auto view = m_Views.begin(); view != m_Views.end(); ++view)
        if (IsWaiting(view->second)) return view;
    return m_Views.end();
}

ViewOptions LiveImage::Due(View& view) {
    ViewOptions options = view.options;
    const auto now = Clock::now();
    const bool isDue = options.details && (view.isNew || now - view.detailed >= kBetweenDetails);
    // What moves has them with the next image; a single one may be the last for a long time.
    view.owesDetails = options.details && !isDue && options.kind != ImageKind::Jpeg;
    options.details = isDue;
    if (isDue) view.detailed = now;
    view.isNew = false;
    return options;
}

void LiveImage::Wait(Tavix::MutexLock& lock) {
    auto due = Clock::time_point::max();
    for (const auto& [client, view] : m_Views)
        if (view.owesDetails && CanTake(view)) due = std::min(due, view.detailed + kBetweenDetails);
    if (due == Clock::time_point::max())
        lock.Wait(m_Changed);
    else
        lock.WaitUntil(m_Changed, due);
}

void LiveImage::Run() {
    // What browsers see may wait, what the camera sends may not. On Linux that is of the thread alone.
    (void)setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kNice);
    std::uint64_t last = 0;
    Tavix::MutexLock lock(m_Lock);
    while (!m_Stop) {
        const auto waiting = FindWaiting(last);
        if (waiting == m_Views.end()) {
            Wait(lock);
            continue;
        }
        last = waiting->first;
        View& view = waiting->second;
        const PicturePtr picture = m_Newest;
        const ViewOptions options = Due(view);
        view.last = picture->number;
        view.sent[picture->number] = picture->exposed;
        lock.Unlock();
        Serve(last, picture, options);
        lock.Lock();
    }
}

void LiveImage::Serve(std::uint64_t client, const PicturePtr& picture, const ViewOptions& options) {
    try {
        const auto before = ThreadTime();
        std::string message = MakeImage(m_Camera, picture->number, picture->image, options);
        const auto work = ThreadTime() - before;
        {
            const Tavix::MutexLock lock(m_Lock);
            ++m_Figures.made;
            m_Figures.bytes += message.size();
            m_Figures.work += work;
        }
        m_Outlet.Show(client, std::move(message));
    } catch (const std::exception& e) {
        const Tavix::MutexLock lock(m_Lock);
        const auto view = m_Views.find(client);
        if (view != m_Views.end()) view->second.sent.erase(picture->number);
        m_Outlet.Answer(client, {{"event", "unshowable"}, {"camera", m_Camera}, {"why", Tavix::Printable(e.what())}});
    }
}

} // namespace viewer
