#include "core/TDData0.h"

#include "core/TDDataHeader.h"

#include <QDebug>
#include <QFile>
#include <QSaveFile>
#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <thread>
#include <vector>

TDData0::TDData0(int width, int height, QObject *parent)
    : QObject(parent), m_width(width), m_height(height)
{
    const qsizetype n = (width > 0 && height > 0) ? qsizetype(width) * height : 0;
    m_values.resize(n);
    m_valid.resize(n);
    if (n > 0) {
        // Every pixel was stored as 0.0, so the with-zeros pair has seen zero.
        m_minW0 = 0.0;
        m_maxW0 = 0.0;
    }
}

TDData0::~TDData0() = default;

void TDData0::widenStatistics(const double *v, qsizetype n)
{
    // Four independent lanes keep the comparison chains short; the result is the
    // same as widening one value at a time.
    double mn0[4] = {m_minW0, m_minW0, m_minW0, m_minW0};
    double mx0[4] = {m_maxW0, m_maxW0, m_maxW0, m_maxW0};
    double mn[4] = {m_minWO0, m_minWO0, m_minWO0, m_minWO0};
    double mx[4] = {m_maxWO0, m_maxWO0, m_maxWO0, m_maxWO0};
    qsizetype i = 0;
    for (; i + 4 <= n; i += 4) {
        for (int k = 0; k < 4; ++k) {
            const double x = v[i + k];
            mn0[k] = x < mn0[k] ? x : mn0[k];
            mx0[k] = x > mx0[k] ? x : mx0[k];
            const bool nonZero = x != 0.0;
            mn[k] = (nonZero && x < mn[k]) ? x : mn[k];
            mx[k] = (nonZero && x > mx[k]) ? x : mx[k];
        }
    }
    for (int k = 0; k < 4; ++k) {
        m_minW0 = std::min(m_minW0, mn0[k]);
        m_maxW0 = std::max(m_maxW0, mx0[k]);
        m_minWO0 = std::min(m_minWO0, mn[k]);
        m_maxWO0 = std::max(m_maxWO0, mx[k]);
    }
    for (; i < n; ++i)
        widen(v[i]);
}

void TDData0::setStatistics(double minW0, double maxW0, double minWO0, double maxWO0)
{
    m_minW0 = minW0;
    m_maxW0 = maxW0;
    m_minWO0 = minWO0;
    m_maxWO0 = maxWO0;
}

DisplayRange TDData0::displayRange() const
{
    if (m_minWO0 == m_maxWO0) return {m_minW0, m_maxW0};
    return {m_minWO0, m_maxWO0};
}

qsizetype TDData0::validCount() const
{
    qsizetype count = 0;
    const quint8 *f = m_valid.data();
    for (qsizetype i = 0, n = m_valid.size(); i < n; ++i)
        count += f[i] != 0;
    return count;
}

void TDData0::setRegion(QRect region)
{
    m_region = region;
    m_regionSet = true;
}

void TDData0::regionCleared()
{
    m_regionSet = false;
}

void TDData0::copyRect(TDData0 *dest, int x0, int y0, int x1, int y1, bool relative) const
{
    if (x1 >= x0) {
        const qsizetype rowLength = qsizetype(x1) - x0 + 1;
        for (int y = y0; y <= y1; ++y) {
            const qsizetype from = qsizetype(y) * m_width + x0;
            const qsizetype to =
                relative ? qsizetype(y - y0) * dest->m_width : qsizetype(y) * dest->m_width + x0;
            std::memmove(dest->m_values.data() + to, m_values.data() + from,
                         sizeof(double) * size_t(rowLength));
            std::memmove(dest->m_valid.data() + to, m_valid.data() + from, size_t(rowLength));
            dest->widenStatistics(dest->m_values.data() + to, rowLength);
        }
    }
    dest->m_dataId = m_dataId;
    dest->m_region = m_regionSet ? m_region : QRect(0, 0, m_width, m_height);
    dest->m_regionSet = true;
}

void TDData0::copyShapes(TDData0 *dest) const
{
    for (const auto &s : m_shapes)
        dest->m_shapes.push_back(std::make_unique<Shape>(*s));
}

void TDData0::fillCopy(TDData0 *fresh) const
{
    copyRect(fresh, 0, 0, m_width - 1, m_height - 1, false);
    copyShapes(fresh);
}

TDData0 *TDData0::copy() const
{
    auto *fresh = new TDData0(m_width, m_height);
    fillCopy(fresh);
    return fresh;
}

TDData0 *TDData0::smoothedCopy(int halfWidthX, int halfWidthY) const
{
    return smoothedInto<TDData0>(halfWidthX, halfWidthY);
}

void TDData0::addShape(Shape *shape)
{
    m_shapes.emplace_back(shape);
}

namespace {

// Scratch rows of one band of the smoothing.
struct SmoothScratch
{
    explicit SmoothScratch(int w, int ringRows)
        : a(size_t(w)), fc(size_t(w)), sums(size_t(w)), counts(size_t(w)),
          ring(size_t(w) * size_t(ringRows)), colSums(size_t(w)), colCounts(size_t(w))
    {
    }
    std::vector<double> a, fc, sums, counts, ring, colSums, colCounts;
};

// One row of the rows pass: the mean of the valid pixels within r columns of each valid
// pixel, clipped to the row, 0 elsewhere. 0 <= r < w. The running sum adds the entering
// pixel, takes the mean, then drops the leaving one, so its cost does not depend on r.
void smoothRow(const double *v, const quint8 *f, int w, int r, SmoothScratch &t, double *dst)
{
    double *a = t.a.data();
    double *fc = t.fc.data();
    for (int x = 0; x < w; ++x) {
        a[x] = f[x] ? v[x] : 0.0;
        fc[x] = double(f[x]);
    }
    if (r == 0) {
        std::memcpy(dst, a, sizeof(double) * size_t(w));
        return;
    }
    double *sums = t.sums.data();
    double *counts = t.counts.data();
    double s = 0.0, n = 0.0;
    for (int x = 0; x < r; ++x) {
        s += a[x];
        n += fc[x];
    }
    // Columns whose window gains a pixel on the right: j + r < w; loses one on the left: j >= r.
    const int gainEnd = w - r;
    const int loseBegin = r;
    int j = 0;
    for (; j < std::min(gainEnd, loseBegin); ++j) {
        s += a[j + r];
        n += fc[j + r];
        sums[j] = s;
        counts[j] = n;
    }
    for (; j < gainEnd; ++j) {
        s += a[j + r];
        n += fc[j + r];
        sums[j] = s;
        counts[j] = n;
        s -= a[j - r];
        n -= fc[j - r];
    }
    for (; j < loseBegin; ++j) {
        sums[j] = s;
        counts[j] = n;
    }
    for (; j < w; ++j) {
        sums[j] = s;
        counts[j] = n;
        s -= a[j - r];
        n -= fc[j - r];
    }
    for (int x = 0; x < w; ++x)
        dst[x] = f[x] ? sums[x] / std::max(counts[x], 1.0) : 0.0;
}

// Output rows [y0, y1) of the smoothing: row means kept in a ring of 2 ry + 1 rows, column
// sums running down the image. 0 <= rx < w, 0 <= ry < h.
void smoothBand(const double *v, const quint8 *f, int w, int h, int rx, int ry, int y0, int y1,
                double *out)
{
    const int ringRows = int(std::min<qsizetype>(2 * qsizetype(ry) + 1, h));
    SmoothScratch t(w, ringRows);
    double *S = t.colSums.data();
    double *C = t.colCounts.data();
    const qsizetype start = std::max<qsizetype>(0, qsizetype(y0) - ry);
    for (qsizetype i = start;; ++i) {
        if (i < h) {
            double *m = t.ring.data() + (i % ringRows) * w;
            const quint8 *fi = f + i * w;
            smoothRow(v + i * w, fi, w, rx, t, m);
            for (int x = 0; x < w; ++x) {
                S[x] += m[x];
                C[x] += double(fi[x]);
            }
        }
        const qsizetype j = i - ry;
        if (j >= y1) break;
        if (j >= y0) {
            const quint8 *fj = f + j * w;
            double *o = out + j * w;
            for (int x = 0; x < w; ++x)
                o[x] = fj[x] ? S[x] / std::max(C[x], 1.0) : 0.0;
        }
        const qsizetype k = i - 2 * qsizetype(ry);
        if (k >= start) {
            const double *m = t.ring.data() + (k % ringRows) * w;
            const quint8 *fk = f + k * w;
            for (int x = 0; x < w; ++x) {
                S[x] -= m[x];
                C[x] -= double(fk[x]);
            }
        }
    }
}

} // namespace

// Each valid output pixel is the mean over the valid pixels within ry rows of the row means,
// each the mean of the valid pixels within rx columns, all clipped to the image. Half widths
// beyond the image are cut to it: the windows are the same and the work stays linear.
void TDData0::smoothInto(TDData0 *out, int rx, int ry) const
{
    const int w = m_width;
    const int h = m_height;
    if (w <= 0 || h <= 0) return;
    rx = std::clamp(rx, 0, w - 1);
    ry = std::clamp(ry, 0, h - 1);
    const double *v = m_values.data();
    const quint8 *f = m_valid.data();
    double *o = out->m_values.data();

    // Bands of rows on separate threads for large images; each band warms its column sums
    // up over the ry rows above it, which is cheap only while the window is small.
    const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    int bands = 1;
    if (qsizetype(w) * h >= (qsizetype(1) << 18) && 4 * (2 * qsizetype(ry) + 1) <= h)
        bands = int(std::min<unsigned>(cores, 8u));
    if (bands <= 1) {
        smoothBand(v, f, w, h, rx, ry, 0, h, o);
    } else {
        std::vector<std::thread> threads;
        threads.reserve(size_t(bands - 1));
        for (int b = 1; b < bands; ++b) {
            const int y0 = int(qsizetype(h) * b / bands);
            const int y1 = int(qsizetype(h) * (b + 1) / bands);
            threads.emplace_back(smoothBand, v, f, w, h, rx, ry, y0, y1, o);
        }
        smoothBand(v, f, w, h, rx, ry, 0, int(h / bands), o);
        for (std::thread &th : threads)
            th.join();
    }
    std::memcpy(out->m_valid.data(), f, size_t(pixelCount()));
    out->widenStatistics(o, out->pixelCount());
}

QString TDData0::fileSafeId() const
{
    QString id = m_dataId;
    id.replace(QLatin1String("/"), QLatin1String("div"));
    QString previous;
    do {
        previous = id;
        id.replace(QLatin1String("__"), QLatin1String("_"));
    } while (id != previous);
    return id;
}

bool TDData0::save(const QString &fileName) const
{
    const QByteArray header = TDDataHeader::build(*this);
    qDebug() << "2dData save:" << header.constData() << header.size();

    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        qDebug() << "can't open" << fileName << "to save 2dData";
        return false;
    }
    const qsizetype n = pixelCount();
    QByteArray padded = header;
    padded.append(QByteArray(TDDataHeader::headerSizeFor(header.size()) - header.size(), '\0'));
    bool ok = file.write(padded) == padded.size();
    if (ok && n > 0) {
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
        const qint64 bytes = qint64(sizeof(double)) * n;
        ok = file.write(reinterpret_cast<const char *>(m_values.data()), bytes) == bytes;
#else
        std::vector<double> le(static_cast<size_t>(n));
        qToLittleEndian<double>(m_values.data(), n, le.data());
        const qint64 bytes = qint64(sizeof(double)) * n;
        ok = file.write(reinterpret_cast<const char *>(le.data()), bytes) == bytes;
#endif
    }
    if (ok && n > 0) {
        // Flags are kept as 0 or 1, the bytes the format wants.
        ok = file.write(reinterpret_cast<const char *>(m_valid.data()), n) == n;
    }
    if (!ok || !file.commit()) {
        qDebug() << "can't write" << fileName << "to save 2dData:" << file.errorString();
        file.cancelWriting();
        return false;
    }
    return true;
}

bool TDData0::load(const QString &fileName)
{
    const TDDataHeader header = TDDataHeader::read(fileName);
    if (!header.accepted) {
        qDebug() << fileName << "is not a TDData0 file.";
        return false;
    }
    m_width = header.width;
    m_height = header.height;
    m_minW0 = header.minWithZeros;
    m_maxW0 = header.maxWithZeros;
    m_minWO0 = header.minWithoutZeros;
    m_maxWO0 = header.maxWithoutZeros;
    m_dataId = header.dataId;
    const qsizetype n = qsizetype(m_width) * m_height;
    m_values.resize(n);
    m_valid.resize(n);

    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(header.headerSize)) return true;
    if (n > 0) {
        const qint64 bytes = qint64(sizeof(double)) * n;
        const qint64 got = file.read(reinterpret_cast<char *>(m_values.data()), bytes);
#if Q_BYTE_ORDER != Q_LITTLE_ENDIAN
        if (got > 0)
            qFromLittleEndian<double>(m_values.data(), got / qint64(sizeof(double)),
                                      m_values.data());
#endif
        if (got == bytes) {
            const qint64 gotFlags = file.read(reinterpret_cast<char *>(m_valid.data()), n);
            for (qsizetype i = 0; i < qMax<qint64>(gotFlags, 0); ++i)
                m_valid[i] = m_valid[i] ? 1 : 0;
        }
    }
    return true;
}
