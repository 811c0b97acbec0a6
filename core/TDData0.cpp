#include "core/TDData0.h"

#include "core/TDDataHeader.h"

#include <QDebug>
#include <QFile>
#include <QSaveFile>
#include <QtEndian>

#include <algorithm>
#include <cstdint>
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

// Rows of the rows pass computed together: their running sums are independent chains that
// the processor overlaps, where one row alone would wait on each addition.
constexpr int kRowBlock = 4;

// Running extremes of a band's output, folded into the record after the threads meet; the
// same comparisons as TDData0::widen, so NaN widens nothing.
struct Extremes
{
    double minW0 = TDData0::kInitialMin, maxW0 = TDData0::kInitialMax;
    double minWO0 = TDData0::kInitialMin, maxWO0 = TDData0::kInitialMax;

    // Four lanes keep the comparison chains short and let the loop vectorise.
    void add(const double *v, int n)
    {
        double mn0[4], mx0[4], mn[4], mx[4];
        for (int k = 0; k < 4; ++k) {
            mn0[k] = minW0;
            mx0[k] = maxW0;
            mn[k] = minWO0;
            mx[k] = maxWO0;
        }
        int i = 0;
        for (; i + 4 <= n; i += 4)
            for (int k = 0; k < 4; ++k)
                fold(v[i + k], mn0[k], mx0[k], mn[k], mx[k]);
        for (; i < n; ++i)
            fold(v[i], mn0[0], mx0[0], mn[0], mx[0]);
        for (int k = 0; k < 4; ++k) {
            minW0 = std::min(minW0, mn0[k]);
            maxW0 = std::max(maxW0, mx0[k]);
            minWO0 = std::min(minWO0, mn[k]);
            maxWO0 = std::max(maxWO0, mx[k]);
        }
    }
    static void fold(double x, double &mn0, double &mx0, double &mn, double &mx)
    {
        mn0 = x < mn0 ? x : mn0;
        mx0 = x > mx0 ? x : mx0;
        const bool nonZero = x != 0.0;
        mn = (nonZero && x < mn) ? x : mn;
        mx = (nonZero && x > mx) ? x : mx;
    }
};

// Scratch rows of one band of the smoothing.
struct SmoothScratch
{
    SmoothScratch(int w, int ringRows)
        : a(size_t(w) * kRowBlock), sums(size_t(w) * kRowBlock), counts(size_t(w) * kRowBlock),
          ring(size_t(w) * size_t(ringRows)), colSums(size_t(w)), colCounts(size_t(w))
    {
    }
    std::vector<double> a, sums, counts, ring, colSums, colCounts;
};

// The mean where the pixel is valid (flag 1), else 0 (flag 0). The division is always done
// and the result masked, so that the loops calling this keep no branch on the flags and
// vectorise; a valid pixel counts itself, and the 0 / 0 of an invalid one is masked away.
inline double meanOrZero(double sum, double count, quint8 valid)
{
    const double mean = sum / count;
    std::uint64_t bits;
    std::memcpy(&bits, &mean, sizeof bits);
    bits &= std::uint64_t(0) - std::uint64_t(valid);
    double masked;
    std::memcpy(&masked, &bits, sizeof masked);
    return masked;
}

// N consecutive rows of the rows pass: the mean of the valid pixels within r columns of each
// valid pixel, clipped to the row, 0 elsewhere; 0 <= r < w. Each running sum adds the entering
// pixel, takes the mean, then drops the leaving one, so the cost does not depend on r.
template <int N>
void smoothRows(const double *v, const quint8 *f, int w, int r, SmoothScratch &t,
                double *const *dst)
{
    double *a[N], *sums[N], *counts[N];
    const quint8 *fr[N];
    for (int q = 0; q < N; ++q) {
        a[q] = t.a.data() + size_t(q) * w;
        sums[q] = t.sums.data() + size_t(q) * w;
        counts[q] = t.counts.data() + size_t(q) * w;
        fr[q] = f + size_t(q) * w;
        const double *vr = v + size_t(q) * w;
        // Loaded for every pixel and then selected: no branch on the scattered flags.
        for (int x = 0; x < w; ++x) {
            const double value = vr[x];
            a[q][x] = fr[q][x] ? value : 0.0;
        }
    }
    if (r == 0) {
        for (int q = 0; q < N; ++q)
            std::memcpy(dst[q], a[q], sizeof(double) * size_t(w));
        return;
    }
    double s[N];
    int n[N];
    for (int q = 0; q < N; ++q) {
        s[q] = 0.0;
        n[q] = 0;
        for (int x = 0; x < r; ++x) {
            s[q] += a[q][x];
            n[q] += fr[q][x];
        }
    }
    // Column j gains a pixel on the right while j + r < w and loses one on the left from j = r.
    const int gainEnd = w - r;
    const int loseBegin = r;
    int j = 0;
    for (; j < std::min(gainEnd, loseBegin); ++j)
        for (int q = 0; q < N; ++q) {
            s[q] += a[q][j + r];
            n[q] += fr[q][j + r];
            sums[q][j] = s[q];
            counts[q][j] = n[q];
        }
    for (; j < gainEnd; ++j)
        for (int q = 0; q < N; ++q) {
            s[q] += a[q][j + r];
            n[q] += fr[q][j + r];
            sums[q][j] = s[q];
            counts[q][j] = n[q];
            s[q] -= a[q][j - r];
            n[q] -= fr[q][j - r];
        }
    for (; j < loseBegin; ++j)
        for (int q = 0; q < N; ++q) {
            sums[q][j] = s[q];
            counts[q][j] = n[q];
        }
    for (; j < w; ++j)
        for (int q = 0; q < N; ++q) {
            sums[q][j] = s[q];
            counts[q][j] = n[q];
            s[q] -= a[q][j - r];
            n[q] -= fr[q][j - r];
        }
    for (int q = 0; q < N; ++q) {
        double *d = dst[q];
        for (int x = 0; x < w; ++x)
            d[x] = meanOrZero(sums[q][x], counts[q][x], fr[q][x]);
    }
}

// Output rows [y0, y1) of the smoothing: row means kept in a ring, column sums running down
// the image. 0 <= rx < w, 0 <= ry < h.
Extremes smoothBand(const double *v, const quint8 *f, int w, int h, int rx, int ry, int y0, int y1,
                    double *out)
{
    // The ring holds the window's rows and the block computed ahead.
    const int ringRows = int(std::min<qsizetype>(2 * qsizetype(ry) + kRowBlock, h));
    SmoothScratch t(w, ringRows);
    double *S = t.colSums.data();
    double *C = t.colCounts.data();
    Extremes e;
    const auto ringRow = [&](qsizetype i) { return t.ring.data() + (i % ringRows) * w; };
    const qsizetype start = std::max<qsizetype>(0, qsizetype(y0) - ry);
    const qsizetype last = std::min<qsizetype>(h, qsizetype(y1) + ry);
    qsizetype ready = start;
    for (qsizetype i = start;; ++i) {
        if (i < h) {
            if (i == ready) {
                double *dst[kRowBlock];
                for (int q = 0; q < kRowBlock; ++q)
                    dst[q] = ringRow(i + q);
                if (last - i >= kRowBlock) {
                    smoothRows<kRowBlock>(v + i * w, f + i * w, w, rx, t, dst);
                    ready = i + kRowBlock;
                } else {
                    smoothRows<1>(v + i * w, f + i * w, w, rx, t, dst);
                    ready = i + 1;
                }
            }
            const double *m = ringRow(i);
            const quint8 *fi = f + i * w;
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
                o[x] = meanOrZero(S[x], C[x], fj[x]);
            e.add(o, w);
        }
        const qsizetype k = i - 2 * qsizetype(ry);
        if (k >= start) {
            const double *m = ringRow(k);
            const quint8 *fk = f + k * w;
            for (int x = 0; x < w; ++x) {
                S[x] -= m[x];
                C[x] -= double(fk[x]);
            }
        }
    }
    return e;
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
    std::vector<Extremes> extremes(static_cast<size_t>(bands));
    const auto band = [&](int b) {
        const int y0 = int(qsizetype(h) * b / bands);
        const int y1 = int(qsizetype(h) * (b + 1) / bands);
        extremes[size_t(b)] = smoothBand(v, f, w, h, rx, ry, y0, y1, o);
    };
    std::vector<std::thread> threads;
    threads.reserve(size_t(bands - 1));
    for (int b = 1; b < bands; ++b)
        threads.emplace_back(band, b);
    band(0);
    for (std::thread &th : threads)
        th.join();
    std::memcpy(out->m_valid.data(), f, size_t(pixelCount()));
    for (const Extremes &e : extremes)
        out->setStatistics(std::min(out->m_minW0, e.minW0), std::max(out->m_maxW0, e.maxW0),
                           std::min(out->m_minWO0, e.minWO0), std::max(out->m_maxWO0, e.maxWO0));
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
