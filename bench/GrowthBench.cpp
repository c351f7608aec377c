// How the cost of a description grows with its length where something in it is large: a long chain of values, a wide
// formula, a property with many entries, a circle. Each is measured at a size and at four times that size; the ratio of
// the costs of an element is 1 where the cost is linear and 4 where it is quadratic.

#include "genapi/lint/Lint.h"

#include <GenApi/GenApi.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <string>

namespace {

using Text = std::function<std::string(int size)>;
using Use = std::function<void(const std::string& xml)>;

std::string Whole(const std::string& nodes) {
    return R"(<RegisterDescription ModelName="Made" VendorName="Bench" StandardNameSpace="None" SchemaMajorVersion="1")"
           R"( SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0">)" +
           nodes + "</RegisterDescription>";
}

std::string Series(int size, const std::function<std::string(const std::string&, const std::string&)>& make) {
    std::string text;
    for (int i = 0; i < size; ++i)
        text += make(std::to_string(i), std::to_string(i + 1));
    return text;
}

std::string Linked(const std::string& name, const std::string& target) {
    return "<Integer Name=\"N" + name + "\"><pValue>N" + target + "</pValue></Integer>";
}

std::string Chain(int size) {
    return Series(size, Linked) + "<Integer Name=\"N" + std::to_string(size) + "\"><Value>1</Value></Integer>";
}

std::string Circle(int size) {
    return Series(size, Linked) + Linked(std::to_string(size), "0");
}

std::string Knife(int size) {
    const auto variable = [](auto& n, auto&) { return "<pVariable Name=\"V" + n + "\">A</pVariable>"; };
    return "<IntSwissKnife Name=\"K\">" + Series(size, variable) + "<Formula>V1+V2</Formula></IntSwissKnife>" +
           "<Integer Name=\"A\"><Value>1</Value></Integer>";
}

std::string Entries(int size) {
    return "<Integer Name=\"K\"><Value>1</Value>" +
           Series(size, [](auto&, auto&) { return "<pInvalidator>K</pInvalidator>"; }) + "</Integer>";
}

void Lint(const std::string& xml) {
    benchmark::DoNotOptimize(genapi::LintDescription(xml));
}

void ReadFirst(const std::string& xml) {
    GenApi::CNodeMapRef map("Device");
    map._LoadXMLFromString(xml.c_str());
    benchmark::DoNotOptimize(GenApi::CIntegerPtr(map._GetNode("K"))->GetValue());
}

void GetEntries(const std::string& xml) {
    GenApi::CNodeMapRef map("Device");
    map._LoadXMLFromString(xml.c_str());
    GenICam::gcstring value;
    GenICam::gcstring attribute;
    benchmark::DoNotOptimize(map._GetNode("K")->GetProperty("pInvalidator", value, attribute));
}

void AskAll(const std::string& xml) {
    GenApi::CNodeMapRef map("Device");
    map._LoadXMLFromString(xml.c_str());
    GenApi::NodeList_t nodes;
    map._GetNodes(nodes);
    for (GenApi::INode* const pNode : nodes) {
        try {
            benchmark::DoNotOptimize(dynamic_cast<GenApi::IValue&>(*pNode).ToString());
        } catch (const GenICam::GenericException&) {
            // The question is what it costs to be told so.
        }
    }
}

double ProcessorMilliseconds(const Use& use, const std::string& xml) {
    const std::clock_t before = std::clock();
    use(xml);
    return static_cast<double>(std::clock() - before) * 1e3 / CLOCKS_PER_SEC;
}

void Growth(benchmark::State& state, int size, const Text& text, const Use& use) {
    const std::string small = Whole(text(size));
    const std::string large = Whole(text(4 * size));
    double bestSmall = 1e30;
    double bestLarge = 1e30;
    for (auto _ : state) {
        bestSmall = std::min(bestSmall, ProcessorMilliseconds(use, small));
        bestLarge = std::min(bestLarge, ProcessorMilliseconds(use, large));
    }
    state.counters["ms"] = bestSmall;
    state.counters["ms_of_four_times"] = bestLarge;
    state.counters["ratio"] = bestLarge / bestSmall / 4;
}

void Register(const char* name, int size, const Text& text, const Use& use) {
    benchmark::RegisterBenchmark(name, Growth, size, text, use)->Unit(benchmark::kMillisecond)->Iterations(5);
}

} // namespace

int main(int argc, char** argv) {
    Register("LintChain/20000", 20'000, Chain, Lint);
    Register("LintCircle/20000", 20'000, Circle, Lint);
    Register("LintKnife/50000", 50'000, Knife, Lint);
    Register("FirstUseOfKnife/50000", 50'000, Knife, ReadFirst);
    Register("GetProperty/100000", 100'000, Entries, GetEntries);
    Register("AskCircle/1200", 1'200, Circle, AskAll);
    Register("AskChain/20000", 20'000, Chain, AskAll);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
