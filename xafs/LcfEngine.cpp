#include "xafs/LcfEngine.h"

#include "core/TDDataWL.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <thread>

namespace {

// Blocks handed out at a time: large enough that the shared counter is seldom touched,
// small enough that two threads finish close together and progress moves smoothly.
constexpr int kBlocksPerChunk = 64;
// Below this many pixels a second thread costs more than it saves.
constexpr qsizetype kThreadedPixels = 1 << 16;

struct Outputs
{
    std::vector<double *> weights, fractions;
    std::vector<quint8 *> weightsValid, fractionsValid;
    double *total = nullptr, *residual = nullptr, *offset = nullptr;
    quint8 *totalValid = nullptr, *residualValid = nullptr, *offsetValid = nullptr;
};

struct Job
{
    const LcfModel *model = nullptr;
    std::vector<const double *> values;
    std::vector<const quint8 *> flags;
    qsizetype pixels = 0;
    qsizetype chunks = 0;
    Outputs out;
    const std::atomic<bool> *cancel = nullptr;
    std::atomic<qsizetype> nextChunk{0};
    std::atomic<qsizetype> donePixels{0};
    std::atomic<qsizetype> activeSetPixels{0};

    bool cancelled() const { return cancel && cancel->load(std::memory_order_relaxed); }
};

// Adds each image's block into A^T mu and mu^T mu, streaming every image contiguously.
// N > 0 fixes the number of unknowns at compile time, so one pass over the block updates
// them all; N = 0 reads it from the model. Values are summed whether valid or finite or
// not, so the loops vectorise: a flag clears ok, and a NaN or infinity shows in muMu.
template <int N>
void accumulate(const Job &job, qsizetype start, int len, double *acc, double *muMu, quint8 *ok)
{
    const LcfModel &model = *job.model;
    const int n = N > 0 ? N : model.unknownCount();
    const int k = model.energyCount();
    constexpr int B = LcfEngine::kBlock;
    for (int e = 0; e < k; ++e) {
        const double *v = job.values[size_t(e)] + start;
        const quint8 *f = job.flags[size_t(e)] + start;
        for (int p = 0; p < len; ++p)
            ok[p] &= f[p];
        double a[Nnls::kMaxUnknowns];
        for (int j = 0; j < n; ++j)
            a[j] = model.design(e, j);
        if constexpr (N > 0) {
            for (int p = 0; p < len; ++p) {
                const double x = v[p];
                muMu[p] += x * x;
                for (int j = 0; j < N; ++j)
                    acc[j * B + p] += a[j] * x;
            }
        } else {
            for (int p = 0; p < len; ++p)
                muMu[p] += v[p] * v[p];
            for (int j = 0; j < n; ++j)
                for (int p = 0; p < len; ++p)
                    acc[j * B + p] += a[j] * v[p];
        }
    }
}

void fitBlock(Job &job, qsizetype start, int len, std::vector<double> &acc,
              std::vector<double> &muMu, std::vector<quint8> &ok, qsizetype *activeSet)
{
    const LcfModel &model = *job.model;
    const int n = model.unknownCount();
    const int r = model.referenceCount();
    std::fill_n(acc.begin(), size_t(n) * LcfEngine::kBlock, 0.0);
    std::fill_n(muMu.begin(), len, 0.0);
    std::fill_n(ok.begin(), len, quint8(1));
    switch (n) {
    case 1:
        accumulate<1>(job, start, len, acc.data(), muMu.data(), ok.data());
        break;
    case 2:
        accumulate<2>(job, start, len, acc.data(), muMu.data(), ok.data());
        break;
    case 3:
        accumulate<3>(job, start, len, acc.data(), muMu.data(), ok.data());
        break;
    case 4:
        accumulate<4>(job, start, len, acc.data(), muMu.data(), ok.data());
        break;
    case 5:
        accumulate<5>(job, start, len, acc.data(), muMu.data(), ok.data());
        break;
    case 6:
        accumulate<6>(job, start, len, acc.data(), muMu.data(), ok.data());
        break;
    default:
        accumulate<0>(job, start, len, acc.data(), muMu.data(), ok.data());
        break;
    }

    const Outputs &out = job.out;
    double b[Nnls::kMaxUnknowns];
    double x[Nnls::kMaxUnknowns];
    for (int p = 0; p < len; ++p) {
        const qsizetype i = start + p;
        // A non-finite mu, or one so large that its square overflows, makes muMu so.
        if (!ok[size_t(p)] || !(std::fabs(muMu[size_t(p)]) <= DBL_MAX)) {
            for (int j = 0; j < r; ++j) {
                out.weights[size_t(j)][i] = out.fractions[size_t(j)][i] = 0.0;
                out.weightsValid[size_t(j)][i] = out.fractionsValid[size_t(j)][i] = 0;
            }
            out.total[i] = out.residual[i] = 0.0;
            out.totalValid[i] = out.residualValid[i] = 0;
            if (out.offset) out.offset[i] = 0.0, out.offsetValid[i] = 0;
            continue;
        }
        for (int j = 0; j < n; ++j)
            b[j] = acc[size_t(j) * LcfEngine::kBlock + size_t(p)];
        const double mm = muMu[size_t(p)];
        int steps = 0;
        const double res = model.solve(b, mm, x, &steps);
        if (steps > 0) ++*activeSet;
        double total = 0.0;
        for (int j = 0; j < r; ++j)
            total += x[j];
        const bool fractionValid = total > 0.0;
        for (int j = 0; j < r; ++j) {
            out.weights[size_t(j)][i] = x[j];
            out.weightsValid[size_t(j)][i] = 1;
            out.fractions[size_t(j)][i] = fractionValid ? x[j] / total : 0.0;
            out.fractionsValid[size_t(j)][i] = fractionValid;
        }
        out.total[i] = total;
        out.totalValid[i] = 1;
        const bool residualValid = mm > 0.0;
        out.residual[i] = residualValid ? res / mm : 0.0;
        out.residualValid[i] = residualValid;
        if (out.offset) out.offset[i] = x[r], out.offsetValid[i] = 1;
    }
}

void work(Job &job, const std::function<void(qsizetype, qsizetype)> *progress)
{
    const int n = job.model->unknownCount();
    std::vector<double> acc(size_t(n) * LcfEngine::kBlock);
    std::vector<double> muMu(LcfEngine::kBlock);
    std::vector<quint8> ok(LcfEngine::kBlock);
    qsizetype activeSet = 0;
    const qsizetype chunkPixels = qsizetype(kBlocksPerChunk) * LcfEngine::kBlock;
    for (;;) {
        if (job.cancelled()) break;
        const qsizetype c = job.nextChunk.fetch_add(1, std::memory_order_relaxed);
        if (c >= job.chunks) break;
        const qsizetype begin = c * chunkPixels;
        const qsizetype end = std::min(job.pixels, begin + chunkPixels);
        for (qsizetype s = begin; s < end; s += LcfEngine::kBlock)
            fitBlock(job, s, int(std::min<qsizetype>(LcfEngine::kBlock, end - s)), acc, muMu, ok,
                     &activeSet);
        const qsizetype done = job.donePixels.fetch_add(end - begin) + (end - begin);
        if (progress && *progress) (*progress)(done, job.pixels);
    }
    job.activeSetPixels.fetch_add(activeSet);
}

std::unique_ptr<TDDataWL> makeRecord(int width, int height, int level, const QString &id)
{
    auto r = std::make_unique<TDDataWL>(width, height);
    r->setLevel(level);
    r->setDataId(id);
    return r;
}

// Statistics over the valid pixels only, as the other derived images keep them; returns
// the mean of the valid values.
double finish(TDDataWL &r, qsizetype *validCount = nullptr)
{
    double minW0 = r.minWithZeros(), maxW0 = r.maxWithZeros();
    double minWO0 = r.minWithoutZeros(), maxWO0 = r.maxWithoutZeros();
    const double *v = r.values();
    const quint8 *f = r.validFlags();
    double sum = 0.0;
    qsizetype count = 0;
    for (qsizetype i = 0; i < r.pixelCount(); ++i) {
        if (!f[i]) continue;
        const double x = v[i];
        sum += x;
        ++count;
        minW0 = std::min(minW0, x);
        maxW0 = std::max(maxW0, x);
        if (x != 0.0) {
            minWO0 = std::min(minWO0, x);
            maxWO0 = std::max(maxWO0, x);
        }
    }
    r.setStatistics(minW0, maxW0, minWO0, maxWO0);
    if (validCount) *validCount = count;
    return count ? sum / double(count) : std::nan("");
}

} // namespace

std::vector<std::unique_ptr<TDDataWL>> LcfEngine::Result::takeRecords()
{
    std::vector<std::unique_ptr<TDDataWL>> all;
    for (auto &w : weights)
        all.push_back(std::move(w));
    for (auto &f : fractions)
        all.push_back(std::move(f));
    for (auto *p : {&total, &residual, &offset})
        if (*p) all.push_back(std::move(*p));
    weights.clear();
    fractions.clear();
    return all;
}

LcfEngine::Result LcfEngine::run(const LcfModel &model, const QList<const TDData0 *> &images,
                                 const Options &options, QString *error, const QStringList &labels)
{
    Result result;
    const auto label = [&](qsizetype k) {
        return k < labels.size() ? labels.at(k) : QStringLiteral("image %1").arg(k);
    };
    if (!model.isBuilt()) {
        *error = QStringLiteral("the fit has no references and energies yet");
        return result;
    }
    if (images.size() != model.energyCount()) {
        *error =
            QStringLiteral("%1 images for %2 energies").arg(images.size()).arg(model.energyCount());
        return result;
    }
    for (qsizetype k = 0; k < images.size(); ++k)
        if (!images.at(k)) {
            *error = QStringLiteral("%1 is missing").arg(label(k));
            return result;
        }
    const int width = images.first()->width();
    const int height = images.first()->height();
    for (qsizetype k = 1; k < images.size(); ++k)
        if (images.at(k)->width() != width || images.at(k)->height() != height) {
            *error = QStringLiteral("%1 is %2 x %3, unlike %4 (%5 x %6)")
                         .arg(label(k))
                         .arg(images.at(k)->width())
                         .arg(images.at(k)->height())
                         .arg(label(0))
                         .arg(width)
                         .arg(height);
            return result;
        }

    int level = 0;
    for (const TDData0 *image : images)
        if (const auto *wl = qobject_cast<const TDDataWL *>(image))
            level = std::max(level, wl->level());
    ++level;

    Job job;
    job.model = &model;
    job.cancel = options.cancel;
    job.pixels = images.first()->pixelCount();
    const qsizetype chunkPixels = qsizetype(kBlocksPerChunk) * kBlock;
    job.chunks = (job.pixels + chunkPixels - 1) / chunkPixels;
    for (const TDData0 *image : images) {
        job.values.push_back(image->values());
        job.flags.push_back(image->validFlags());
    }
    const int refs = model.referenceCount();
    for (int j = 0; j < refs; ++j) {
        const QString &name = model.references().at(j).name;
        result.weights.push_back(
            makeRecord(width, height, level, QStringLiteral("LCF[%1] w").arg(name)));
        result.fractions.push_back(
            makeRecord(width, height, level, QStringLiteral("LCF[%1] f").arg(name)));
        job.out.weights.push_back(result.weights.back()->values());
        job.out.weightsValid.push_back(result.weights.back()->validFlags());
        job.out.fractions.push_back(result.fractions.back()->values());
        job.out.fractionsValid.push_back(result.fractions.back()->validFlags());
    }
    result.total = makeRecord(width, height, level, QStringLiteral("LCF total"));
    result.residual = makeRecord(width, height, level, QStringLiteral("LCF residual"));
    job.out.total = result.total->values();
    job.out.totalValid = result.total->validFlags();
    job.out.residual = result.residual->values();
    job.out.residualValid = result.residual->validFlags();
    if (model.hasOffset()) {
        result.offset = makeRecord(width, height, level, QStringLiteral("LCF offset"));
        job.out.offset = result.offset->values();
        job.out.offsetValid = result.offset->validFlags();
    }

    int threads = options.threads;
    if (threads <= 0)
        threads = job.pixels >= kThreadedPixels ? int(std::thread::hardware_concurrency()) : 1;
    threads = int(std::clamp<qsizetype>(threads, 1, std::max<qsizetype>(1, job.chunks)));
    threads = std::min(threads, 64);
    {
        std::vector<std::jthread> helpers;
        for (int t = 1; t < threads; ++t)
            helpers.emplace_back([&job] { work(job, nullptr); });
        work(job, &options.progress);
    }
    // The last chunk may have been another thread's.
    if (options.progress && !job.cancelled()) options.progress(job.pixels, job.pixels);
    if (job.cancelled()) {
        *error = QStringLiteral("cancelled");
        Result stopped;
        stopped.cancelled = true;
        return stopped;
    }

    finish(*result.total, &result.validPixels);
    finish(*result.residual);
    if (result.offset) finish(*result.offset);
    for (int j = 0; j < refs; ++j) {
        finish(*result.weights[size_t(j)]);
        result.meanFractions.push_back(finish(*result.fractions[size_t(j)]));
    }
    result.activeSetPixels = job.activeSetPixels.load();
    return result;
}
