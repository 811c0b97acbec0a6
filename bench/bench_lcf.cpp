// Per-pixel LCF of a 1024 x 1024 x 60 stack against three references, non-negative with an
// offset, against an unconstrained projection of the same stack in the same run: the
// pseudo-inverse (A^T A)^-1 A^T applied with a blocked loop. Both run on one thread and
// allocate their outputs fresh each time (the fit: weights, fractions, total, residual and
// offset records; the projection: one array per unknown).
#include "RatioReporter.h"

#include "core/TDDataWL.h"
#include "xafs/LcfEngine.h"
#include "xafs/LcfModel.h"

#include <cmath>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int kSide = 1024;
constexpr int kEnergies = 60;
constexpr int kBlock = 256;

LcfModel::Reference edge(const char *name, double e0, double peak)
{
    return {QString::fromLatin1(name),
            [=](double e) {
                return 0.5 + std::atan((e - e0) / 2.0) / M_PI +
                       peak * std::exp(-0.5 * std::pow((e - e0 - 4.0) / 3.0, 2));
            },
            0.0, e0};
}

struct Inputs
{
    LcfModel model;
    std::vector<std::unique_ptr<TDDataWL>> stack;
    QList<const TDData0 *> images;

    Inputs()
    {
        QList<double> energies;
        for (int k = 0; k < kEnergies; ++k)
            energies << 7080.0 + 2.0 * k;
        QString error;
        model.build(energies, {edge("a", 7110, 0.1), edge("b", 7118, 0.6), edge("c", 7125, 0.3)},
                    LcfModel::FitKind::NonNegative, true, &error);
        // Mixtures whose weights sometimes vanish, with noise: a realistic share of pixels
        // lands just outside the feasible set and needs the active-set search.
        std::mt19937 gen(42);
        std::uniform_real_distribution<double> u(0.0, 1.0);
        std::normal_distribution<double> noise(0.0, 0.01);
        const qsizetype n = qsizetype(kSide) * kSide;
        for (int k = 0; k < kEnergies; ++k) {
            stack.push_back(std::make_unique<TDDataWL>(kSide, kSide));
            std::fill_n(stack.back()->validFlags(), n, quint8(1));
            images << stack.back().get();
        }
        std::vector<double> w(4);
        for (qsizetype p = 0; p < n; ++p) {
            for (double &x : w)
                x = u(gen) < 0.15 ? 0.0 : u(gen);
            for (int k = 0; k < kEnergies; ++k)
                stack[size_t(k)]->values()[p] = w[0] * model.design(k, 0) +
                                                w[1] * model.design(k, 1) +
                                                w[2] * model.design(k, 2) + w[3] + noise(gen);
        }
    }
};

const Inputs &inputs()
{
    static const Inputs in;
    return in;
}

void runFit(benchmark::State &state, int threads)
{
    const Inputs &in = inputs();
    LcfEngine::Options options;
    options.threads = threads;
    qsizetype activeSet = 0;
    for (auto _ : state) {
        QString error;
        LcfEngine::Result r = LcfEngine::run(in.model, in.images, options, &error);
        activeSet = r.activeSetPixels;
        benchmark::DoNotOptimize(r.total->values());
    }
    state.counters["active-set pixels"] = double(activeSet);
}

void projection(benchmark::State &state)
{
    const Inputs &in = inputs();
    const LcfModel &m = in.model;
    const int n = m.unknownCount();
    // P = (A^T A)^-1 A^T through the model's own free solve of unit vectors.
    LcfModel free;
    QString error;
    free.build(m.energies(), m.references(), LcfModel::FitKind::Free, true, &error);
    std::vector<double> pinv(size_t(n) * kEnergies);
    for (int k = 0; k < kEnergies; ++k) {
        std::vector<double> mu(kEnergies, 0.0);
        mu[size_t(k)] = 1.0;
        const LcfModel::PixelFit f = free.fitPixel(mu.data());
        for (int j = 0; j < n - 1; ++j)
            pinv[size_t(j) * kEnergies + size_t(k)] = f.weights[size_t(j)];
        pinv[size_t(n - 1) * kEnergies + size_t(k)] = f.offset;
    }
    const qsizetype pixels = qsizetype(kSide) * kSide;
    for (auto _ : state) {
        std::vector<std::vector<double>> out(static_cast<size_t>(n),
                                             std::vector<double>(static_cast<size_t>(pixels)));
        for (qsizetype s = 0; s < pixels; s += kBlock) {
            for (int k = 0; k < kEnergies; ++k) {
                const double *v = in.images[k]->values() + s;
                for (int j = 0; j < n; ++j) {
                    const double a = pinv[size_t(j) * kEnergies + size_t(k)];
                    double *o = out[size_t(j)].data() + s;
                    for (int p = 0; p < kBlock; ++p)
                        o[p] += a * v[p];
                }
            }
        }
        benchmark::DoNotOptimize(out[0].data());
    }
}

} // namespace

int main(int argc, char **argv)
{
    inputs();
    benchmark::RegisterBenchmark("nnls", [](benchmark::State &s) { runFit(s, 1); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Repetitions(3);
    benchmark::RegisterBenchmark("projection", projection)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Repetitions(3);
    benchmark::RegisterBenchmark("nnls_all_cores", [](benchmark::State &s) { runFit(s, 0); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Repetitions(3);
    return runBenchmarksWithRatios(
        argc, argv, {{"nnls", "projection", 1.5}, {"nnls_all_cores", "projection", 0}});
}
