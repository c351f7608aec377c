#pragma once
// One tour of an application: everything that is done with a camera, once.

#include <tavix/Tavix.h>

#include <atomic>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace integration {

/// What came of a tour.
struct TourReport {
    std::vector<std::string> errors;     ///< what the application was told, each with what it was doing
    std::vector<std::string> complaints; ///< what must not be, whatever the system does
    unsigned int good = 0;               ///< images
    unsigned int failed = 0;
    unsigned int events = 0;

    /// All in one text, for messages.
    std::string Text() const;
};

/// Enumerates, creates, opens, reads and writes features, grabs three images, takes an event, and undoes all of it in
/// the orderly way, whatever fails in between. Bound to a thread.
class CameraTour {
public:
    /// That no image comes in time is a complaint if one must come.
    struct Limits {
        unsigned int imageMs = 5000;
        unsigned int eventMs = 5000;
        bool mustCome = true;
    };
    CameraTour(Tavix::ITransportLayer& layer, const Limits& limits) : m_Layer(layer), m_Limits(limits) {}
    TourReport Run();

    /// What any tour is doing just now. A literal.
    static const char* Doing() { return s_Doing; }

private:
    template<class Call>
    bool Step(const char* doing, Call call);
    void UseDevice(Tavix::ITavixDevice& device);
    void UseFeatures(Tavix::ITavixDevice& device);
    void Grab(Tavix::ITavixDevice& device);
    void Queue(Tavix::IStreamGrabber& stream);
    void TakeImages(Tavix::IStreamGrabber& stream);
    bool TakeImage(Tavix::IStreamGrabber& stream);
    void TakeEvent(Tavix::ITavixDevice& device);
    void EndGrab(Tavix::ITavixDevice& device);
    void Drain(Tavix::IStreamGrabber& stream);
    void Note(const Tavix::GrabResult& result);

    Tavix::ITransportLayer& m_Layer;
    const Limits m_Limits;
    TourReport m_Report;
    std::vector<std::vector<unsigned char>> m_Memory;
    std::vector<Tavix::StreamBufferHandle> m_Handles;
    std::set<const void*> m_Queued;
    std::size_t m_PayloadSize = 0;

    static std::atomic<const char*> s_Doing;
};

} // namespace integration
