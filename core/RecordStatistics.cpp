#include "core/RecordStatistics.h"

#include "core/TDData0.h"

#include <cmath>

RecordStatistics RecordStatistics::of(const TDData0 &record)
{
    RecordStatistics s;
    const double *v = record.values();
    const quint8 *f = record.validFlags();
    const qsizetype n = record.pixelCount();
    // Welford's update keeps the spread accurate for large offsets such as raw counts.
    double mean = 0.0, m2 = 0.0;
    qsizetype count = 0;
    double lo = 0.0, hi = 0.0;
    for (qsizetype i = 0; i < n; ++i) {
        if (!f[i] || !std::isfinite(v[i])) continue;
        ++count;
        const double d = v[i] - mean;
        mean += d / double(count);
        m2 += d * (v[i] - mean);
        if (count == 1 || v[i] < lo) lo = v[i];
        if (count == 1 || v[i] > hi) hi = v[i];
    }
    s.validCount = count;
    if (count > 0) {
        s.mean = mean;
        s.validMin = lo;
        s.validMax = hi;
        s.standardDeviation = count > 1 ? std::sqrt(m2 / double(count)) : 0.0;
    }
    return s;
}
