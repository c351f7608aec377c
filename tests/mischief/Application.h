#pragma once
// An application that opens one camera again and again and streams from it, and keeps books.

#include "Ledger.h"

#include <tavix/Tavix.h>

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace mischief {

/// Bound to a thread.
class Application {
public:
    Application(Tavix::ITransportLayer& layer, std::string serial, unsigned int seed, Ledger& ledger, Pulse& pulse)
        : m_Layer(layer), m_Serial(std::move(serial)), m_Random(seed), m_Ledger(ledger), m_Pulse(pulse) {}

    /// Rounds until `stop`: find, open, stream for a random while, stop at a random moment, close.
    void RunUntil(const std::atomic<bool>& stop);
    /// The camera is left alone now: a whole stream of good frames must come. Complains otherwise.
    void ProveThatAllIsWell();

private:
    struct Stream;

    std::shared_ptr<Tavix::ITavixDevice> Find();
    void Round();
    void UseOpen(Tavix::ITavixDevice& device);
    void Prepare(Tavix::ITavixDevice& device, Stream& stream);
    void Consume(Stream& stream, unsigned int frames);
    bool TakeResult(Stream& stream, bool requeue);
    void TakeEvents(Tavix::IEventGrabber* events);
    void Finish(Tavix::ITavixDevice& device, Stream& stream);
    void CompareCounters(Stream& stream);
    unsigned int Roll(unsigned int below) {
        return std::uniform_int_distribution<unsigned int>(0, below - 1)(m_Random);
    }
    template<class Call>
    bool Try(const char* doing, Call call);

    Tavix::ITransportLayer& m_Layer;
    const std::string m_Serial;
    std::mt19937 m_Random;
    Ledger& m_Ledger;
    Pulse& m_Pulse;
    bool m_Disturbed = true;
};

} // namespace mischief
