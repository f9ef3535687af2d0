// Judging a self-test of 100,000 records against a frame of six areas; the target is under
// 10 ms per judgement. Run: build/release/bench/selftest_judge_bench
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "selftest.h"

namespace {

void BM_JudgeSelfTest(benchmark::State &state) {
    tavix::DeviceEntry entry;
    entry.modelType = 317;
    entry.hasLEDSensorArray = true;
    for (int i = 1; i <= 6; ++i) {
        entry.areas.push_back({"Area " + std::to_string(i), 250, i});
    }
    const auto count = static_cast<std::size_t>(state.range(0));
    std::vector<tavix::SelfTestRecord> records;
    records.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        // Runs of 250 points over the six areas, with a fault every 97th record and a point
        // beyond its area every 1000th.
        const auto area = static_cast<std::uint8_t>(1 + (i / 250) % 6);
        const auto point = static_cast<std::uint8_t>(i % 1000 == 999 ? 255 : i % 250);
        const auto fault = static_cast<std::uint8_t>(i % 97 == 0 ? 1 : 0);
        records.push_back({area, point, fault, static_cast<std::uint8_t>(i % 194 == 0)});
    }
    for (auto _ : state) {
        tavix::SelfTestJudgement judgement = tavix::judgeSelfTest(records, entry);
        benchmark::DoNotOptimize(judgement);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_JudgeSelfTest)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
