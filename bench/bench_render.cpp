// Renders a 2048 x 2048 record to 32-bit pixels and compares the time with a plain
// table loop over the same doubles, measured in the same run.
#include "RatioReporter.h"

#include "core/TDData.h"
#include "display/ColorBar0.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr int kSide = 2048;

TDData &record()
{
    static TDData *rec = [] {
        auto *r = new TDData(kSide, kSide);
        for (int y = 0; y < kSide; ++y)
            for (int x = 0; x < kSide; ++x) {
                const double v = std::sin(x * 0.013) * std::cos(y * 0.021) * 1000.0 + x * 0.1;
                r->setValue(x, y, v, (x * 31 + y * 17) % 101 != 0);
            }
        return r;
    }();
    return *rec;
}

void BM_MakeImage(benchmark::State &state)
{
    TDData &rec = record();
    ColorBar0 bar;
    bar.setMarkers(0.1, 0.9);
    rec.makeImage(bar);
    for (auto _ : state) {
        rec.makeImage(bar);
        benchmark::DoNotOptimize(rec.image()->constBits());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_MakeImage)->Unit(benchmark::kMillisecond)->Repetitions(5);

// The floor: one multiply-add, a clamp and a table load per pixel, no validity.
void BM_PlainTableLoop(benchmark::State &state)
{
    const TDData &rec = record();
    const auto range = rec.displayRange();
    const double scale = 766.0 / (range.high - range.low);
    const double offset = -range.low * scale;
    const auto &table = ColorBar0::rampPixels();
    const qsizetype n = rec.pixelCount();
    std::vector<quint32> out(static_cast<size_t>(n), 0u);
    const double *v = rec.values();
    for (auto _ : state) {
        for (qsizetype i = 0; i < n; ++i) {
            double t = v[i] * scale + offset;
            t = t > 0.0 ? t : 0.0;
            t = t < 766.0 ? t : 766.0;
            out[size_t(i)] = table[size_t(int(t))];
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_PlainTableLoop)->Unit(benchmark::kMillisecond)->Repetitions(5);

} // namespace

int main(int argc, char **argv)
{
    return runBenchmarksWithRatios(argc, argv, {{"BM_MakeImage", "BM_PlainTableLoop", 1.2}});
}
