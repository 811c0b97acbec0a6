// Cost of normalising one XAFS spectrum, against a plain least-squares line over
// the same points timed in the same run.
#include "xafs/XafsSpectrum.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>

namespace {

constexpr int kPoints = 2000;

struct Figures
{
    double spectraPerSecond;
    double lineFitsPerSecond;
    double fastestSpectraPerSecond;
    double fastestRatio;
};

// The figures of the last (longest) run of each fit kind, printed at the end.
std::map<uint32_t, Figures> &lastRun()
{
    static std::map<uint32_t, Figures> figures;
    return figures;
}

Spectrum syntheticSpectrum()
{
    Spectrum s;
    for (int i = 0; i < kPoints; ++i) {
        const double e = 8700.0 + 0.5 * i;
        const double noise = 1e-3 * std::sin(12.9898 * i);
        s.append(e, 0.3 - 2e-5 * (e - 8700.0) +
                        1.5 * (0.5 + std::atan((e - 8980.0) / 1.5) / 3.14159265358979) + noise);
    }
    return s;
}

// Reference: slope and intercept by the closed form over every point.
double lineFit(const Spectrum &s)
{
    double se = 0, see = 0, sy = 0, sey = 0;
    const int n = s.size();
    for (int i = 0; i < n; ++i) {
        const double e = s.x(i), y = s.y(i);
        se += e;
        see += e * e;
        sy += y;
        sey += e * y;
    }
    const double slope = (n * sey - se * sy) / (n * see - se * se);
    return slope + (sy - slope * se) / n;
}

void normalizeAgainstLineFit(benchmark::State &state)
{
    const uint32_t kind = uint32_t(state.range(0));
    const Spectrum points = syntheticSpectrum();
    XafsSpectrum spectrum(points, QStringLiteral("bench"), kind, 0.0,
                          XafsSpectrum::EdgeParameters());
    using Clock = std::chrono::steady_clock;
    std::chrono::duration<double> normalizeTime{0}, lineTime{0};
    // Fastest single passes: a shared machine only ever adds time.
    double fastestNormalize = 1e30, fastestLine = 1e30;
    int64_t rounds = 0;
    for (auto _ : state) {
        // A fresh copy each time: joins append to the lines' own points.
        XafsSpectrum work = spectrum;
        const auto t0 = Clock::now();
        work.normalize(kind);
        benchmark::DoNotOptimize(work.e0());
        const auto t1 = Clock::now();
        benchmark::DoNotOptimize(lineFit(work));
        const auto t2 = Clock::now();
        normalizeTime += t1 - t0;
        lineTime += t2 - t1;
        fastestNormalize =
            std::min(fastestNormalize, std::chrono::duration<double>(t1 - t0).count());
        fastestLine = std::min(fastestLine, std::chrono::duration<double>(t2 - t1).count());
        ++rounds;
    }
    const double perNormalize = normalizeTime.count() / double(rounds);
    const double perLine = lineTime.count() / double(rounds);
    state.counters["spectra_per_s"] = 1.0 / perNormalize;
    state.counters["line_fits_per_s"] = 1.0 / perLine;
    state.counters["fastest_normalize_over_line_fit"] = fastestNormalize / fastestLine;
    lastRun()[kind] = {1.0 / perNormalize, 1.0 / perLine, 1.0 / fastestNormalize,
                       fastestNormalize / fastestLine};
}

} // namespace

BENCHMARK(normalizeAgainstLineFit)->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (const auto &[kind, f] : lastRun())
        std::printf("%s fit, %d points: %.0f spectra/s (mean), %.0f spectra/s (fastest pass); "
                    "reference line fit %.0f/s (mean); fastest normalise / fastest line fit = "
                    "%.1f\n",
                    kind == 0 ? "Victreen" : "straight", kPoints, f.spectraPerSecond,
                    f.fastestSpectraPerSecond, f.lineFitsPerSecond, f.fastestRatio);
    return 0;
}
