#include "proc/AdaptiveThresholdF.h"

#include "core/TDDataWL.h"

#include <algorithm>

AdaptiveThresholdF::AdaptiveThresholdF(int hx, int hy, QObject *parent)
    : FilterWArea(kTypeCode, hx, hy, parent)
{
}

std::unique_ptr<TDDataWL> AdaptiveThresholdF::compute(const TDDataWL &source,
                                                      const QRect &rect) const
{
    const int w = source.width();
    const int h = source.height();
    auto result = std::make_unique<TDDataWL>(w, h);
    result->setLevel(source.level() + 1);
    const std::unique_ptr<const TDDataWL> mean(source.smoothedCopy(halfWidthX(), halfWidthY()));

    // Half-open walk, clipped so that a rectangle reaching out of the image reads nothing
    // outside it.
    const int x0 = std::max(rect.left(), 0);
    const int x1 = std::min(rect.right(), w);
    const int y0 = std::max(rect.top(), 0);
    const int y1 = std::min(rect.bottom(), h);
    const double *v = source.values();
    const quint8 *f = source.validFlags();
    const double *m = mean->values();
    double *out = result->values();
    quint8 *of = result->validFlags();
    bool anyOne = false;
    bool anyZero = false;
    for (int y = y0; y < y1; ++y) {
        const qsizetype row = qsizetype(y) * w;
        for (int x = x0; x < x1; ++x) {
            const qsizetype i = row + x;
            if (!f[i]) continue;
            const bool above = m[i] < v[i];
            out[i] = above ? 1.0 : 0.0;
            of[i] = 1;
            anyOne |= above;
            anyZero |= !above;
        }
    }
    // Only 1.0 and 0.0 were written: widening by each once is what writing them all does.
    const double one = 1.0, zero = 0.0;
    if (anyOne) result->widenStatistics(&one, 1);
    if (anyZero) result->widenStatistics(&zero, 1);

    // Deliberately not translated, unlike the moving average's name.
    result->setDataId(QStringLiteral("%1: AT(%2,%3)")
                          .arg(source.dataId(), QString::number(halfWidthX(), 10),
                               QString::number(halfWidthY(), 10)));
    source.copyShapes(result.get());
    return result;
}

void AdaptiveThresholdF::run(const TDDataWL *source, const QRect &rect)
{
    if (!source) return;
    Q_EMIT newFilteredData(compute(*source, rect).release());
}
