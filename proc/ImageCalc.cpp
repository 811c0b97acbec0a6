#include "proc/ImageCalc.h"

#include "core/TDDataWL.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

// A term reduced to what the pixel loop needs.
struct Resolved
{
    const double *values;
    const quint8 *valid;
    qsizetype stride;
    double coefficient;
};

// The pixel columns (or rows) [first, last] a term may contribute to.
struct Span
{
    int first;
    int last;
};

Span spanOf(bool limited, double low, double high, int size)
{
    double first = 0.0;
    double last = double(size) - 1.0;
    if (limited) {
        first = std::max(first, std::ceil(low));
        last = std::min(last, std::floor(high));
    }
    if (!(first <= last)) return {0, -1};
    return {int(first), int(last)};
}

// Adds coefficient x value of every term into sum and ands the validity flags into ok,
// over the columns [x0, x0 + n) of row y.
void accumulate(const std::vector<Resolved> &terms, qsizetype y, int x0, int n, double *sum,
                quint8 *ok)
{
    for (const Resolved &t : terms) {
        const double *v = t.values + y * t.stride + x0;
        const quint8 *f = t.valid + y * t.stride + x0;
        const double c = t.coefficient;
        for (int i = 0; i < n; ++i) {
            sum[i] += c * v[i];
            ok[i] &= f[i];
        }
    }
}

} // namespace

std::unique_ptr<TDDataWL> ImageCalc::compute(const QList<CalcSource> &sources,
                                             const QList<CalcTerm> &numerators,
                                             const QList<CalcTerm> &denominators, Options options)
{
    if (numerators.isEmpty() && denominators.isEmpty()) return nullptr;

    int width = 1000000;
    int height = 1000000;
    int level = std::numeric_limits<int>::min();
    for (const QList<CalcTerm> *list : {&numerators, &denominators}) {
        for (const CalcTerm &t : *list) {
            if (t.source < 0 || t.source >= sources.size() || !sources[t.source].record)
                return nullptr;
            const TDDataWL *r = sources[t.source].record;
            width = std::min(width, r->width());
            height = std::min(height, r->height());
            level = std::max(level, r->level());
        }
    }
    auto result = std::make_unique<TDDataWL>(width, height);
    result->setLevel(level + 1);

    // Only the rectangle common to all term areas can hold valid pixels.
    Span cols{0, width - 1};
    Span rows{0, height - 1};
    std::vector<Resolved> num, den;
    for (const QList<CalcTerm> *list : {&numerators, &denominators}) {
        for (const CalcTerm &t : *list) {
            const CalcSource &s = sources[t.source];
            const Span c = spanOf(s.limited, s.left, s.right, s.record->width());
            const Span r = spanOf(s.limited, s.top, s.bottom, s.record->height());
            cols = {std::max(cols.first, c.first), std::min(cols.last, c.last)};
            rows = {std::max(rows.first, r.first), std::min(rows.last, r.last)};
            (list == &numerators ? num : den)
                .push_back(
                    {s.record->values(), s.record->validFlags(), s.record->width(), t.coefficient});
        }
    }
    if (cols.first > cols.last || rows.first > rows.last) return result;

    const int n = cols.last - cols.first + 1;
    const size_t len = static_cast<size_t>(n);
    std::vector<double> nSum(len), dSum(len);
    std::vector<quint8> ok(len);
    double *out = result->values();
    quint8 *outValid = result->validFlags();
    // Widened as setValue would, from the fresh record's starting values.
    double minW0 = result->minWithZeros(), maxW0 = result->maxWithZeros();
    double minWO0 = result->minWithoutZeros(), maxWO0 = result->maxWithoutZeros();
    const double nEmpty = num.empty() ? 1.0 : 0.0;
    const double dEmpty = den.empty() ? 1.0 : 0.0;

    for (int y = rows.first; y <= rows.last; ++y) {
        std::fill(nSum.begin(), nSum.end(), nEmpty);
        std::fill(dSum.begin(), dSum.end(), dEmpty);
        std::fill(ok.begin(), ok.end(), quint8(1));
        accumulate(num, y, cols.first, n, nSum.data(), ok.data());
        accumulate(den, y, cols.first, n, dSum.data(), ok.data());

        double *o = out + qsizetype(y) * width + cols.first;
        quint8 *ov = outValid + qsizetype(y) * width + cols.first;
        for (int i = 0; i < n; ++i) {
            const double d = dSum[i];
            double v = nSum[i] / d;
            bool good = ok[i] && d != 0.0;
            if (options.log) {
                good = good && v > 0.0;
                if (good) v = std::log(v);
            }
            if (options.neg) v = -v;
            v = good ? v : 0.0;
            o[i] = v;
            ov[i] = good;
            if (good) {
                if (v < minW0) minW0 = v;
                if (v > maxW0) maxW0 = v;
                if (v != 0.0) {
                    if (v < minWO0) minWO0 = v;
                    if (v > maxWO0) maxWO0 = v;
                }
            }
        }
    }
    result->setStatistics(minW0, maxW0, minWO0, maxWO0);
    return result;
}

QString ImageCalc::dataId(const QString &numerators, const QString &denominators, Options options)
{
    QString id = QStringLiteral("%1/%2").arg(numerators, denominators);
    if (options.log) id = QStringLiteral("log(%1)").arg(id);
    if (options.neg) id.prepend(QLatin1Char('-'));
    return QCoreApplication::translate("ImageCalc", "Cl[%1]").arg(id);
}
