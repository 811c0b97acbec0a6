// Find Peaks (N = 100, R = 20) on 2048 x 2048 against one plain full-image maximum search.
#include "RatioReporter.h"

#include "core/TDDataWL.h"
#include "proc/FindPeaksF.h"
#include "proc/PeakSearch.h"

#include <QRandomGenerator>

#include <memory>

namespace {

constexpr int kSize = 2048;

const TDDataWL &image()
{
    static const std::unique_ptr<TDDataWL> r = [] {
        auto rec = std::make_unique<TDDataWL>(kSize, kSize);
        QRandomGenerator g(42);
        double *v = rec->values();
        quint8 *f = rec->validFlags();
        for (qsizetype i = 0; i < rec->pixelCount(); ++i) {
            v[i] = g.generateDouble();
            f[i] = 1;
        }
        rec->widenStatistics(v, rec->pixelCount());
        return rec;
    }();
    return *r;
}

void BM_FindPeaks(benchmark::State &state)
{
    const TDDataWL &src = image();
    const FindPeaksF f(20.0, 100, true, false);
    for (auto _ : state) {
        std::unique_ptr<TDDataWL> r(f.compute(&src, QRect(0, 0, kSize, kSize)));
        benchmark::DoNotOptimize(r.get());
    }
}
BENCHMARK(BM_FindPeaks)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(1.0);

void BM_PlainMaxScan(benchmark::State &state)
{
    const TDDataWL &src = image();
    for (auto _ : state) {
        QPoint at;
        benchmark::DoNotOptimize(PeakSearch::extreme(src, QRect(0, 0, kSize, kSize), true, &at));
        benchmark::DoNotOptimize(at);
    }
}
BENCHMARK(BM_PlainMaxScan)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(1.0);

} // namespace

int main(int argc, char **argv)
{
    // The goal: at most 1.5 plain scans per peak searched.
    return runBenchmarksWithRatios(argc, argv, {{"BM_FindPeaks", "BM_PlainMaxScan", 150.0}});
}
