#include "proc/Resampler.h"

#include "core/PixelBuffer.h"
#include "core/TDDataWL.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// For each output position, the source positions with positive weight and their weights.
struct Taps
{
    std::vector<int> start; // one more entry than outputs
    std::vector<int> index;
    std::vector<double> weight;

    void add(int i, double w)
    {
        if (w > 0) {
            index.push_back(i);
            weight.push_back(w);
        }
    }
    void close() { start.push_back(int(index.size())); }
};

Taps makeTaps(int in, int out, Resampler::Method method)
{
    Taps t;
    t.start.reserve(size_t(out) + 1);
    t.start.push_back(0);
    const double scale = double(in) / out;
    for (int o = 0; o < out; ++o) {
        switch (method) {
        case Resampler::Nearest:
            t.add(std::min(in - 1, int(std::floor((o + 0.5) * scale))), 1.0);
            break;
        case Resampler::Linear: {
            const double s = std::clamp((o + 0.5) * scale - 0.5, 0.0, double(in - 1));
            const int i0 = int(std::floor(s));
            const double f = s - i0;
            t.add(i0, 1.0 - f);
            if (i0 + 1 < in) t.add(i0 + 1, f);
            break;
        }
        case Resampler::Area: {
            const double a = o * scale, b = std::min(double(in), (o + 1) * scale);
            for (int i = int(std::floor(a)); i < in && i < b; ++i)
                t.add(i, std::min(b, i + 1.0) - std::max(a, double(i)));
            break;
        }
        }
        t.close();
    }
    return t;
}

} // namespace

QString Resampler::sizeProblem(qint64 width, qint64 height)
{
    if (width < 1 || height < 1)
        return QCoreApplication::translate("Resampler", "The size %1 x %2 holds no pixel.")
            .arg(width)
            .arg(height);
    if (width > kMaxPixels || height > kMaxPixels || width * height > kMaxPixels)
        return QCoreApplication::translate("Resampler",
                                           "The size %1 x %2 exceeds the limit of %3 pixels.")
            .arg(width)
            .arg(height)
            .arg(kMaxPixels);
    return QString();
}

QString Resampler::dataId(const QString &sourceId, int width, int height)
{
    return QCoreApplication::translate("Resampler", "%1: Rs(%2,%3)")
        .arg(sourceId)
        .arg(width)
        .arg(height);
}

std::unique_ptr<TDDataWL> Resampler::resize(const TDDataWL &source, int width, int height,
                                            Method method)
{
    if (!sizeProblem(width, height).isEmpty() || source.width() < 1 || source.height() < 1)
        return nullptr;
    const int sw = source.width();
    const Taps tx = makeTaps(sw, width, method);
    const Taps ty = makeTaps(source.height(), height, method);
    const bool area = method == Area;

    auto out = std::make_unique<TDDataWL>(width, height);
    // One source row filtered along x, kept while consecutive output rows reuse it.
    PixelBuffer<double> rowSum(width), rowWeight(width), accSum(width), accWeight(width);
    PixelBuffer<quint8> rowBad(width), accBad(width);
    int cachedRow = -1;
    const double *values = source.values();
    const quint8 *valid = source.validFlags();
    double *dst = out->values();
    quint8 *dstValid = out->validFlags();
    for (int oy = 0; oy < height; ++oy) {
        std::fill(accSum.data(), accSum.data() + width, 0.0);
        std::fill(accWeight.data(), accWeight.data() + width, 0.0);
        std::fill(accBad.data(), accBad.data() + width, quint8(0));
        for (int k = ty.start[size_t(oy)]; k < ty.start[size_t(oy) + 1]; ++k) {
            const int sy = ty.index[size_t(k)];
            const double wy = ty.weight[size_t(k)];
            if (sy != cachedRow) {
                const double *v = values + qsizetype(sy) * sw;
                const quint8 *f = valid + qsizetype(sy) * sw;
                for (int ox = 0; ox < width; ++ox) {
                    double s = 0, w = 0;
                    quint8 bad = 0;
                    for (int j = tx.start[size_t(ox)]; j < tx.start[size_t(ox) + 1]; ++j) {
                        const int sx = tx.index[size_t(j)];
                        const double wx = tx.weight[size_t(j)];
                        if (f[sx]) {
                            s += wx * v[sx];
                            w += wx;
                        } else {
                            bad = 1;
                        }
                    }
                    rowSum[ox] = s;
                    rowWeight[ox] = w;
                    rowBad[ox] = bad;
                }
                cachedRow = sy;
            }
            for (int ox = 0; ox < width; ++ox) {
                accSum[ox] += wy * rowSum[ox];
                accWeight[ox] += wy * rowWeight[ox];
                accBad[ox] |= rowBad[ox];
            }
        }
        double *d = dst + qsizetype(oy) * width;
        quint8 *dv = dstValid + qsizetype(oy) * width;
        for (int ox = 0; ox < width; ++ox) {
            const bool ok = area ? accWeight[ox] > 0 : !accBad[ox];
            // Area renormalises over what is valid; the others have weights summing to 1.
            d[ox] = ok ? (area ? accSum[ox] / accWeight[ox] : accSum[ox]) : 0.0;
            dv[ox] = ok ? 1 : 0;
        }
        out->widenStatistics(d, width);
    }
    return out;
}
