// -log(I[1]/I[2]) on two 2048 x 2048 records through the formula machinery, against a
// plain loop over two double arrays doing the same division and log, in the same run.
// Both sides allocate a fresh zeroed output of the same size each time (values and one
// validity byte per pixel), as a new record must.
#include "RatioReporter.h"

#include "core/TDDataWL.h"
#include "proc/CalcFormula.h"
#include "proc/ImageCalc.h"

#include <cmath>
#include <memory>
#include <vector>

namespace {

constexpr int kSide = 2048;

std::unique_ptr<TDDataWL> makeRecord(double offset)
{
    auto r = std::make_unique<TDDataWL>(kSide, kSide);
    double *v = r->values();
    quint8 *f = r->validFlags();
    for (qsizetype i = 0; i < r->pixelCount(); ++i) {
        v[i] = offset + double((i * 7919) % 4093);
        f[i] = 1;
    }
    r->widenStatistics(v, r->pixelCount());
    return r;
}

struct Inputs
{
    std::unique_ptr<TDDataWL> i1 = makeRecord(100.0);
    std::unique_ptr<TDDataWL> i2 = makeRecord(200.0);
};

const Inputs &inputs()
{
    static const Inputs in;
    return in;
}

void BM_CalcMinusLogRatio(benchmark::State &state)
{
    const Inputs &in = inputs();
    const QList<CalcSource> sources = {{}, {in.i1.get()}, {in.i2.get()}};
    const auto lookup = [](int n) { return n >= 1 && n <= 2 ? n : -1; };
    for (auto _ : state) {
        const CalcFormula num = CalcFormula::parse(QStringLiteral("I[1]"), lookup);
        const CalcFormula den = CalcFormula::parse(QStringLiteral("I[2]"), lookup);
        std::unique_ptr<TDDataWL> out =
            ImageCalc::compute(sources, num.terms(), den.terms(), {true, true});
        benchmark::DoNotOptimize(out->values());
    }
}
BENCHMARK(BM_CalcMinusLogRatio)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

void BM_PlainLoop(benchmark::State &state)
{
    const Inputs &in = inputs();
    const double *a = in.i1->values();
    const double *b = in.i2->values();
    const size_t n = size_t(in.i1->pixelCount());
    for (auto _ : state) {
        std::vector<double> out(n);
        std::vector<quint8> valid(n);
        for (size_t i = 0; i < n; ++i)
            out[i] = -std::log(a[i] / b[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::DoNotOptimize(valid.data());
    }
}
BENCHMARK(BM_PlainLoop)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

} // namespace

int main(int argc, char **argv)
{
    return runBenchmarksWithRatios(argc, argv, {{"BM_CalcMinusLogRatio", "BM_PlainLoop", 1.5}});
}
