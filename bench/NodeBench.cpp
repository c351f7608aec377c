// What single accesses of a node map cost: a cached number, a formula, a write that many nodes hear of.

#include "support/MemoryPort.h"

#include "genapi/formula/Formula.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

const char* const kHead =
    R"(<RegisterDescription ModelName="Made" VendorName="Bench" StandardNameSpace="None" SchemaMajorVersion="1")"
    R"( SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0")"
    R"( ProductGuid="00000000-0000-0000-0000-000000000001" VersionGuid="00000000-0000-0000-0000-000000000002")"
    R"( xmlns="http://www.genicam.org/GenApi/Version_1_1"><Port Name="Device"/>)";

/// A node map over memory. Bound to a thread.
struct MadeMap {
    explicit MadeMap(const std::string& nodes) {
        map._LoadXMLFromString((kHead + nodes + "</RegisterDescription>").c_str());
        map._Connect(&port);
    }
    GenApi::CIntegerPtr Integer(const char* name) { return GenApi::CIntegerPtr(map._GetNode(name)); }

    bench::MemoryPort port;
    GenApi::CNodeMapRef map{"Device"};
};

std::string Register(const std::string& name, int address, const std::string& more = {}) {
    return "<IntReg Name=\"" + name + "\"><Address>" + std::to_string(address) +
           "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" + more +
           "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>";
}

const char* const kFiveOperators = "(A + B) * 4 - C / 2 + 7";

std::string FormulaNodes(const std::string& element) {
    return "<Integer Name=\"NodeA\"><Value>3</Value></Integer><Integer Name=\"NodeB\"><Value>5</Value></Integer>"
           "<Integer Name=\"NodeC\"><Value>9</Value></Integer><" +
           element +
           " Name=\"Knife\"><pVariable Name=\"A\">NodeA</pVariable><pVariable Name=\"B\">NodeB</pVariable>"
           "<pVariable Name=\"C\">NodeC</pVariable><Formula>" +
           kFiveOperators + "</Formula></" + element + ">";
}

void CachedIntegerRead(benchmark::State& state) {
    MadeMap made(Register("Raw", 64) + "<Integer Name=\"Width\"><pValue>Raw</pValue></Integer>");
    const GenApi::CIntegerPtr width = made.Integer("Width");
    width->GetValue();
    for (auto _ : state)
        benchmark::DoNotOptimize(width->GetValue());
    state.counters["port_reads"] = static_cast<double>(made.port.reads);
}
BENCHMARK(CachedIntegerRead);

void CachedIntegerReadVerified(benchmark::State& state) {
    MadeMap made(Register("Raw", 64) + "<Integer Name=\"Width\"><pValue>Raw</pValue></Integer>");
    const GenApi::CIntegerPtr width = made.Integer("Width");
    for (auto _ : state)
        benchmark::DoNotOptimize(width->GetValue(/*Verify=*/true));
}
BENCHMARK(CachedIntegerReadVerified);

void IntegerFormulaNode(benchmark::State& state) {
    MadeMap made(FormulaNodes("IntSwissKnife"));
    const GenApi::CIntegerPtr knife = made.Integer("Knife");
    for (auto _ : state)
        benchmark::DoNotOptimize(knife->GetValue(/*Verify=*/false, /*IgnoreCache=*/true));
}
BENCHMARK(IntegerFormulaNode);

void FloatFormulaNode(benchmark::State& state) {
    MadeMap made(FormulaNodes("SwissKnife"));
    const GenApi::CFloatPtr knife(made.map._GetNode("Knife"));
    for (auto _ : state)
        benchmark::DoNotOptimize(knife->GetValue(/*Verify=*/false, /*IgnoreCache=*/true));
}
BENCHMARK(FloatFormulaNode);

/// Variables from an array. Re-entrant.
class Numbers final : public genapi::VariableSource {
public:
    genapi::Value Read(uint32_t slot) override { return genapi::Value::Integer(m_Numbers[slot]); }

    int64_t ReadInteger(uint32_t slot) override { return m_Numbers[slot]; }

private:
    int64_t m_Numbers[3] = {3, 5, 9};
};

void CompiledFormula(benchmark::State& state) {
    genapi::FormulaNames names;
    names.variables = {{"A", 0, true}, {"B", 1, true}, {"C", 2, true}};
    const genapi::Formula formula = genapi::Formula::Compile(kFiveOperators, genapi::FormulaMode::Integer, names);
    Numbers numbers;
    for (auto _ : state) {
        genapi::FormulaResult result = formula.TryEvaluate(numbers);
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(CompiledFormula);

void WriteThatInvalidates(benchmark::State& state) {
    const int64_t readers = state.range(0);
    std::string nodes = Register("Raw", 64) + "<Integer Name=\"Mode\"><pValue>Raw</pValue></Integer>";
    for (int64_t i = 0; i < readers; ++i) {
        nodes += Register("Reader" + std::to_string(i), 128 + 4 * static_cast<int>(i),
                          "<pInvalidator>" + (i == 0 ? "Raw" : "Reader" + std::to_string(i / 2)) + "</pInvalidator>");
    }
    MadeMap made(nodes);
    const GenApi::CIntegerPtr mode = made.Integer("Mode");
    const GenApi::CIntegerPtr last = made.Integer(("Reader" + std::to_string(readers - 1)).c_str());
    last->GetValue();
    for (auto _ : state)
        mode->SetValue(7);
    state.counters["invalid"] = last->IsValueCacheValid() ? 0.0 : 1.0;
}
BENCHMARK(WriteThatInvalidates)->Arg(2)->Arg(2000)->Arg(20000);

} // namespace

BENCHMARK_MAIN();
