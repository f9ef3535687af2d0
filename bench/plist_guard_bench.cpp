// How fast hostile property lists are refused: the guard alone on the bytes, and the whole read
// of a file (open, type and size check, read, guard). Run:
//   build/release/bench/plist_guard_bench
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "plist_guard.h"
#include "settings_store.h"

namespace {

std::string repeat(const std::string &piece, std::size_t times) {
    std::string out;
    out.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        out += piece;
    }
    return out;
}

std::string plist(const std::string &value) {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>k</key>" + value +
           "</dict></plist>";
}

// The inputs, by benchmark argument: 0 the comment hiding 150,000 closing tags before as many
// nested arrays (3.5 MB), 1 a 1,000,000-deep nest, 2 a 100 MB file (sparse on disk).
std::string hostile(int which) {
    switch (which) {
        case 0:
            return plist("<!--" + repeat("</array>", 150'000) + "-->" + repeat("<array>", 150'000) +
                         repeat("</array>", 150'000));
        case 1:
            return plist(repeat("<array>", 1'000'000) + repeat("</array>", 1'000'000));
        default:
            return {};
    }
}

const char *kLabels[] = {"comment-hidden-150k", "1M-deep", "100MB"};

void BM_GuardOnBytes(benchmark::State &state) {
    const std::string bytes = hostile(static_cast<int>(state.range(0)));
    state.SetLabel(kLabels[state.range(0)]);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tavix::checkPlistBytes(bytes));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void BM_ReadHostileFile(benchmark::State &state) {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("tavix-bench-" + std::to_string(::getpid())))
            .string();
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        << hostile(static_cast<int>(state.range(0)));
    if (state.range(0) == 2) {
        std::filesystem::resize_file(path, 100 * 1024 * 1024);
    }
    state.SetLabel(kLabels[state.range(0)]);
    for (auto _ : state) {
        if (tavix::readPlistFile(path).has_value()) {
            state.SkipWithError("a hostile file was accepted");
            break;
        }
    }
    std::remove(path.c_str());
}

BENCHMARK(BM_GuardOnBytes)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadHostileFile)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
