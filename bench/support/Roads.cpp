#include "Roads.h"

#include "ThreadTimes.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace bench {
namespace {

/// One road, round by round.
struct Record {
    const Road* road;
    std::vector<FrameCost> rounds;
};

bool IsWanted(const Road& road, const std::vector<std::string>& words) {
    const auto isIn = [&](const std::string& word) { return road.name.find(word) != std::string::npos; };
    return words.empty() || std::any_of(words.begin(), words.end(), isIn);
}

/// Half of the values are below `part` = 0.5, a quarter below 0.25; between two values it lies on their line.
double Quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (values[above] - values[below]) * (place - static_cast<double>(below));
}

std::vector<double> Each(const Record& record, double FrameCost::*figure) {
    std::vector<double> values;
    for (const FrameCost& cost : record.rounds)
        values.push_back(cost.*figure);
    return values;
}

/// To the first road, round by round.
std::vector<double> Ratios(const Record& record, const Record& first, double FrameCost::*figure) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < record.rounds.size(); ++i)
        ratios.push_back(record.rounds[i].*figure / first.rounds[i].*figure);
    return ratios;
}

void PrintTimes(const Record& record, const Record& first, double FrameCost::*figure) {
    const std::vector<double> times = Each(record, figure), ratios = Ratios(record, first, figure);
    std::printf(" %8.1f %6.1f..%-6.1f %6.2f %5.2f..%-5.2f", Quantile(times, 0.5), Quantile(times, 0.25),
                Quantile(times, 0.75), Quantile(ratios, 0.5), Quantile(ratios, 0.25), Quantile(ratios, 0.75));
}

void Print(const Record& record, const Record& first) {
    unsigned int lost = 0;
    for (const FrameCost& cost : record.rounds)
        lost += cost.lost;
    std::printf("%-40s %8.1f", record.road->name.c_str(), Quantile(Each(record, &FrameCost::rate), 0.5));
    PrintTimes(record, first, &FrameCost::microseconds);
    PrintTimes(record, first, &FrameCost::above);
    std::printf(" %8.2f %6.2f %5u\n", Quantile(Each(record, &FrameCost::switches), 0.5),
                Quantile(Each(record, &FrameCost::transfers), 0.5), lost);
}

void MeasureEach(std::vector<Record>& records, bool isReversed) {
    const auto measure = [](Record& record) { record.rounds.push_back(record.road->measure()); };
    if (isReversed)
        std::for_each(records.rbegin(), records.rend(), measure);
    else
        std::for_each(records.begin(), records.end(), measure);
}

} // namespace

FrameCost MeasureFrames(unsigned int frames, const std::function<void()>& take) {
    const Cost before = MeasureThreads();
    const auto start = std::chrono::steady_clock::now();
    take();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const Cost cost = MeasureThreads() - before;
    const auto count = static_cast<double>(frames);
    FrameCost frame;
    frame.rate = count / seconds;
    frame.microseconds = cost.hostSeconds / count * 1e6;
    frame.above = (cost.hostSeconds - cost.ioctlSeconds) / count * 1e6;
    frame.switches = static_cast<double>(cost.hostSwitches) / count;
    frame.transfers = static_cast<double>(cost.hostTransfers) / count;
    return frame;
}

unsigned int RoundsOf(int argc, char** argv) {
    if (argc < 2) return 9;
    char* end = nullptr;
    const unsigned long rounds = std::strtoul(argv[1], &end, 10);
    if (rounds == 0 || rounds > 1000000 || *end != '\0')
        throw std::invalid_argument(std::string("'") + argv[1] + "' is no number of rounds, which comes first");
    return static_cast<unsigned int>(rounds);
}

void MeasureInTurn(const std::vector<Road>& roads, unsigned int rounds, const std::vector<std::string>& words) {
    std::vector<Record> records;
    for (const Road& road : roads)
        if (IsWanted(road, words)) records.push_back({&road, {}});
    if (records.empty()) throw std::invalid_argument("no road's name holds such a word");
    for (unsigned int round = 0; round < rounds; ++round)
        MeasureEach(records, round % 2 != 0);
    std::printf("%u rounds in turn: host's processor time of a frame, of that what is spent above the bus, and what "
                "part each is of the first road's in the same round; median, lower..upper quartile\n",
                rounds);
    std::printf("%-40s %8s %8s %14s %6s %12s %8s %14s %6s %12s %8s %6s %5s\n", "", "frames/s", "us", "quartiles",
                "ratio", "quartiles", "above us", "quartiles", "ratio", "quartiles", "switches", "r/w", "lost");
    for (const Record& record : records)
        Print(record, records.front());
}

} // namespace bench
