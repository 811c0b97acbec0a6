#include "core/TDData0.h"

#include "core/TDDataHeader.h"

#include <QDebug>
#include <QFile>
#include <QRunnable>
#include <QSaveFile>
#include <QThreadPool>
#include <QtEndian>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <semaphore>
#include <utility>
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

TDData0::TDData0(int width, int height, Unset, QObject *parent)
    : QObject(parent), m_width(width), m_height(height)
{
    const qsizetype n = (width > 0 && height > 0) ? qsizetype(width) * height : 0;
    m_values.resizeUninitialized(n);
    m_valid.resizeUninitialized(n);
    if (n > 0) {
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
    auto *fresh = new TDData0(m_width, m_height, Unset{});
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

// Vectors of eight lanes in the compilers' generic vector extensions: each clone of the worker
// function below maps them onto the widest registers its instruction set has.
using V8 = double __attribute__((vector_size(64)));
using M8 = std::uint64_t __attribute__((vector_size(64)));
constexpr int kLanes = 8;

#if defined(__GNUC__)
// The helpers are always inlined, so the argument-passing ABI of wide vectors never applies.
// Not popped: the compiler reports it at the end of the file.
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

// Inlined into each clone, so that they are compiled for its instruction set.
#define ZM_LANES inline __attribute__((always_inline))

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ZM_NO_CLONES
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define ZM_NO_CLONES
#endif

// The clones' resolver runs while the program is being loaded, before ThreadSanitizer's
// runtime is up: under it there is one plain build.
#if defined(__x86_64__) && !defined(ZM_NO_CLONES)
#define ZM_CLONES __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define ZM_CLONES
#endif

ZM_LANES V8 load8(const double *p)
{
    V8 r;
    std::memcpy(&r, p, sizeof r);
    return r;
}

ZM_LANES void store8(double *p, const V8 &x)
{
    std::memcpy(p, &x, sizeof x);
}

// Eight flags (0 or 1) as all-ones or all-zeros lane masks, spread from one 64-bit load by
// shifts: a direct byte-to-lane conversion compiles to scalar code.
ZM_LANES M8 flagMask8(const quint8 *p)
{
    std::uint64_t bits;
    std::memcpy(&bits, p, sizeof bits);
    const M8 lanes = (M8{} + bits) >> M8{0, 8, 16, 24, 32, 40, 48, 56};
    return -(lanes & 1);
}

// The same flags as counts: the bits of 1.0 where valid, of 0.0 elsewhere.
ZM_LANES V8 maskCount8(const M8 &valid)
{
    return V8(valid & M8(V8{} + 1.0));
}

// Keeps x where valid, 0.0 elsewhere, whatever x is (a NaN or the 0 / 0 of an empty window).
ZM_LANES V8 masked8(const V8 &x, const M8 &valid)
{
    return V8(M8(x) & valid);
}

ZM_LANES V8 select8(const M8 &which, const V8 &a, const V8 &b)
{
    return V8((M8(a) & which) | (M8(b) & ~which));
}

ZM_LANES V8 inclusiveScan8(V8 x)
{
    const V8 z{};
    x += __builtin_shufflevector(z, x, 0, 8, 9, 10, 11, 12, 13, 14);
    x += __builtin_shufflevector(z, x, 0, 1, 8, 9, 10, 11, 12, 13);
    x += __builtin_shufflevector(z, x, 0, 1, 2, 3, 8, 9, 10, 11);
    return x;
}

ZM_LANES V8 broadcastLast8(const V8 &x)
{
    return __builtin_shufflevector(x, x, 7, 7, 7, 7, 7, 7, 7, 7);
}

// The scalar form of masked8 for the ends of rows.
ZM_LANES double meanOrZero(double sum, double count, quint8 valid)
{
    const double mean = sum / count;
    std::uint64_t bits;
    std::memcpy(&bits, &mean, sizeof bits);
    bits &= std::uint64_t(0) - std::uint64_t(valid);
    double masked;
    std::memcpy(&masked, &bits, sizeof masked);
    return masked;
}

// Running extremes of a band's output, folded into the record after the threads meet; the
// same comparisons as TDData0::widen, so NaN widens nothing.
struct Extremes
{
    double minW0 = TDData0::kInitialMin, maxW0 = TDData0::kInitialMax;
    double minWO0 = TDData0::kInitialMin, maxWO0 = TDData0::kInitialMax;

    ZM_LANES void fold(double x)
    {
        minW0 = x < minW0 ? x : minW0;
        maxW0 = x > maxW0 ? x : maxW0;
        const bool nonZero = x != 0.0;
        minWO0 = (nonZero && x < minWO0) ? x : minWO0;
        maxWO0 = (nonZero && x > maxWO0) ? x : maxWO0;
    }
};

// Extremes lane by lane, folded together at the end of a band.
struct Extremes8
{
    V8 minW0 = V8{} + TDData0::kInitialMin, maxW0 = V8{} + TDData0::kInitialMax;
    V8 minWO0 = V8{} + TDData0::kInitialMin, maxWO0 = V8{} + TDData0::kInitialMax;

    ZM_LANES void fold(const V8 &x)
    {
        minW0 = x < minW0 ? x : minW0;
        maxW0 = x > maxW0 ? x : maxW0;
        // Zeros become the start values, which no extreme ever gets back past.
        const M8 zero = x == V8{};
        const V8 forMin = select8(zero, V8{} + TDData0::kInitialMin, x);
        const V8 forMax = select8(zero, V8{} + TDData0::kInitialMax, x);
        minWO0 = forMin < minWO0 ? forMin : minWO0;
        maxWO0 = forMax > maxWO0 ? forMax : maxWO0;
    }
    ZM_LANES void into(Extremes &e) const
    {
        for (int k = 0; k < kLanes; ++k) {
            e.minW0 = std::min(e.minW0, minW0[k]);
            e.maxW0 = std::max(e.maxW0, maxW0[k]);
            e.minWO0 = std::min(e.minWO0, minWO0[k]);
            e.maxWO0 = std::max(e.maxWO0, maxWO0[k]);
        }
    }
};

// Scratch of one band: prefix sums of a row behind r + 1 zeros, a ring of row means and the
// running column sums. Only the column sums and the leading zeros need a start value.
struct BandScratch
{
    BandScratch(int w, int r, int ringRows)
        : prefixSums(new double[size_t(w) + 2 * size_t(r) + 1]),
          prefixCounts(new double[size_t(w) + 2 * size_t(r) + 1]),
          ring(new double[size_t(w) * size_t(ringRows)]), colSums(new double[size_t(w)]()),
          colCounts(new double[size_t(w)]())
    {
        std::fill_n(prefixSums.get(), r + 1, 0.0);
        std::fill_n(prefixCounts.get(), r + 1, 0.0);
    }
    std::unique_ptr<double[]> prefixSums, prefixCounts, ring, colSums, colCounts;
};

// The rows pass on one row, into m: the mean of the valid pixels within r columns where the
// pixel is valid, else 0; 0 <= r < w. Prefix sums of values and of counts make each window one
// subtraction, and their scans run across the lanes of a vector where running sums would
// wait on each addition. The prefixes grow only to a row's sum, so they lose no more
// precision than running sums over the row would.
ZM_LANES void rowMeans(const double *v, const quint8 *f, int w, int r, BandScratch &t, double *m)
{
    int x = 0;
    if (r == 0) {
        for (; x + kLanes <= w; x += kLanes)
            store8(m + x, masked8(load8(v + x), flagMask8(f + x)));
        for (; x < w; ++x)
            m[x] = f[x] ? v[x] : 0.0;
        return;
    }
    double *P = t.prefixSums.get() + r + 1;
    double *N = t.prefixCounts.get() + r + 1;
    // Two vectors a step: the carry from step to step is the only serial chain.
    V8 carryS{}, carryN{};
    for (; x + 2 * kLanes <= w; x += 2 * kLanes) {
        const M8 validA = flagMask8(f + x);
        const M8 validB = flagMask8(f + x + kLanes);
        const V8 sa = inclusiveScan8(masked8(load8(v + x), validA));
        const V8 na = inclusiveScan8(maskCount8(validA));
        const V8 sb = inclusiveScan8(masked8(load8(v + x + kLanes), validB)) + broadcastLast8(sa);
        const V8 nb = inclusiveScan8(maskCount8(validB)) + broadcastLast8(na);
        store8(P + x, sa + carryS);
        store8(N + x, na + carryN);
        const V8 endS = sb + carryS;
        const V8 endN = nb + carryN;
        store8(P + x + kLanes, endS);
        store8(N + x + kLanes, endN);
        carryS = broadcastLast8(endS);
        carryN = broadcastLast8(endN);
    }
    double s = carryS[0];
    double n = carryN[0];
    for (; x < w; ++x) {
        s += f[x] ? v[x] : 0.0;
        n += f[x];
        P[x] = s;
        N[x] = n;
    }
    // The window clipped at the right end: the prefix stays at the row's sum.
    std::fill(P + w, P + w + r, s);
    std::fill(N + w, N + w + r, n);
    // Window [x - r, x + r] holds P[x + r] - P[x - r - 1], with P[-r - 1 ... -1] zero.
    const double *P0 = t.prefixSums.get();
    const double *N0 = t.prefixCounts.get();
    const int d = 2 * r + 1;
    for (x = 0; x + kLanes <= w; x += kLanes) {
        const V8 sums = load8(P0 + x + d) - load8(P0 + x);
        const V8 counts = load8(N0 + x + d) - load8(N0 + x);
        store8(m + x, masked8(sums / counts, flagMask8(f + x)));
    }
    for (; x < w; ++x)
        m[x] = meanOrZero(P0[x + d] - P0[x], N0[x + d] - N0[x], f[x]);
}

// One step down the columns: adds a row of row means (flags fa) to the column sums, writes
// the means of output row o (flags fo), then drops a row (flags fd) that left the window.
struct ColumnStep
{
    const double *add = nullptr;
    // The next source row, fetched into the cache while this one is summed.
    const double *ahead = nullptr;
    const quint8 *fa = nullptr;
    double *o = nullptr;
    const quint8 *fo = nullptr;
    const double *drop = nullptr;
    const quint8 *fd = nullptr;
};

template <bool Add, bool Write, bool Drop>
ZM_LANES void columnStep(const ColumnStep &st, int w, double *S, double *C, Extremes8 &e8,
                         Extremes &e)
{
    int x = 0;
    for (; x + kLanes <= w; x += kLanes) {
        V8 s = load8(S + x);
        V8 c = load8(C + x);
        if constexpr (Add) {
            __builtin_prefetch(st.ahead + x);
            s += load8(st.add + x);
            c += maskCount8(flagMask8(st.fa + x));
        }
        if constexpr (Write) {
            const V8 mean = masked8(s / c, flagMask8(st.fo + x));
            store8(st.o + x, mean);
            e8.fold(mean);
        }
        if constexpr (Drop) {
            s -= load8(st.drop + x);
            c -= maskCount8(flagMask8(st.fd + x));
        }
        store8(S + x, s);
        store8(C + x, c);
    }
    for (; x < w; ++x) {
        double s = S[x];
        double c = C[x];
        if constexpr (Add) {
            s += st.add[x];
            c += st.fa[x];
        }
        if constexpr (Write) {
            st.o[x] = meanOrZero(s, c, st.fo[x]);
            e.fold(st.o[x]);
        }
        if constexpr (Drop) {
            s -= st.drop[x];
            c -= st.fd[x];
        }
        S[x] = s;
        C[x] = c;
    }
}

// Output rows handed out from both ends of the image: one worker runs down from the top, the
// other up from the bottom, each carrying its column sums on from chunk to chunk, until they
// meet. No rows are done twice to warm sums up, and whichever worker gets more processor time
// does more rows, where fixed bands would wait for the slowest.
class RowClaims
{
public:
    explicit RowClaims(int h) : m_bottom(h) {}

    // The rows [first, last) now held by the worker, first == last when none are left.
    std::pair<int, int> claim(bool up, int n)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (up) {
            const int first = std::max(m_bottom - n, m_top);
            const std::pair<int, int> rows(first, m_bottom);
            m_bottom = first;
            return rows;
        }
        const int last = std::min(m_top + n, m_bottom);
        const std::pair<int, int> rows(m_top, last);
        m_top = last;
        return rows;
    }

private:
    std::mutex m_mutex;
    int m_top = 0;
    int m_bottom;
};

// Few enough claims to cost nothing, small enough that the last one keeps nobody waiting.
constexpr int kClaimRows = 64;

struct SmoothJob
{
    const double *v;
    const quint8 *f;
    double *out;
    quint8 *outFlags;
    int w, h, rx, ry;
};

// One worker of the smoothing: row means kept in a ring of the window's rows, column sums of
// means and of counts running down (or up) the image. 0 <= rx < w, 0 <= ry < h.
ZM_CLONES Extremes smoothRun(const SmoothJob &job, bool up, RowClaims &claims)
{
    const int w = job.w;
    const int h = job.h;
    const int ry = job.ry;
    // Rows in the worker's own order: upwards the image is walked with a negative stride.
    const qsizetype stride = up ? -qsizetype(w) : qsizetype(w);
    const qsizetype base = up ? qsizetype(h - 1) * w : 0;
    const double *v = job.v + base;
    const quint8 *f = job.f + base;
    double *out = job.out + base;
    const int ringRows = int(std::min<qsizetype>(2 * qsizetype(ry) + 1, h));
    BandScratch t(w, job.rx, ringRows);
    double *S = t.colSums.get();
    double *C = t.colCounts.get();
    Extremes e;
    Extremes8 e8;
    const auto ringRow = [&](qsizetype i) { return t.ring.get() + (i % ringRows) * w; };
    // Output rows [0, held) in the worker's order are its own. Their pages are first touched
    // here, so the clearing of the fresh record's pages is shared out too.
    qsizetype held = 0;
    const auto claimMore = [&] {
        const auto [first, last] = claims.claim(up, kClaimRows);
        std::memcpy(job.outFlags + qsizetype(first) * w, job.f + qsizetype(first) * w,
                    size_t(qsizetype(last - first) * w));
        held += last - first;
        return first < last;
    };
    if (!claimMore()) return e;
    for (qsizetype i = 0;; ++i) {
        const qsizetype j = i - ry;
        if (j >= held && !claimMore()) break;
        const qsizetype k = i - 2 * qsizetype(ry);
        // Past the image's last row nothing enters the window any more.
        const bool add = i < h;
        const bool write = j >= 0;
        const bool drop = k >= 0;
        ColumnStep st;
        if (add) {
            double *m = ringRow(i);
            rowMeans(v + i * stride, f + i * stride, w, job.rx, t, m);
            st.add = m;
            st.fa = f + i * stride;
            st.ahead = i + 1 < h ? v + (i + 1) * stride : v + i * stride;
        }
        if (write) {
            st.o = out + j * stride;
            st.fo = f + j * stride;
        }
        if (drop) {
            st.drop = ringRow(k);
            st.fd = f + k * stride;
        }
        switch (4 * add + 2 * write + drop) {
        case 0:
            columnStep<false, false, false>(st, w, S, C, e8, e);
            break;
        case 1:
            columnStep<false, false, true>(st, w, S, C, e8, e);
            break;
        case 2:
            columnStep<false, true, false>(st, w, S, C, e8, e);
            break;
        case 3:
            columnStep<false, true, true>(st, w, S, C, e8, e);
            break;
        case 4:
            columnStep<true, false, false>(st, w, S, C, e8, e);
            break;
        case 5:
            columnStep<true, false, true>(st, w, S, C, e8, e);
            break;
        case 6:
            columnStep<true, true, false>(st, w, S, C, e8, e);
            break;
        default:
            columnStep<true, true, true>(st, w, S, C, e8, e);
            break;
        }
    }
    e8.into(e);
    return e;
}

#undef ZM_LANES
#undef ZM_CLONES

} // namespace

// Each valid output pixel is the mean over the valid pixels within ry rows of the row means,
// each the mean of the valid pixels within rx columns, all clipped to the image. Half widths
// beyond the image are cut to it: the windows are the same and the work stays linear.
void TDData0::smoothInto(TDData0 *out, int rx, int ry) const
{
    const int w = m_width;
    const int h = m_height;
    if (w <= 0 || h <= 0) return;
    const SmoothJob job{m_values.data(),
                        m_valid.data(),
                        out->m_values.data(),
                        out->m_valid.data(),
                        w,
                        h,
                        std::clamp(rx, 0, w - 1),
                        std::clamp(ry, 0, h - 1)};
    RowClaims claims(h);
    // A second worker from the bottom up for large images, from Qt's pool of idle threads:
    // a sleeping thread is woken at once where a new one may queue behind busy ones. If it has
    // not started by the time the rows are all done, it is taken back instead of waited for.
    // A standard semaphore rather than Qt's: its hand-over is visible to ThreadSanitizer.
    Extremes fromBelow;
    std::binary_semaphore belowDone(0);
    const std::unique_ptr<QRunnable> below(QRunnable::create([&] {
        fromBelow = smoothRun(job, true, claims);
        belowDone.release();
    }));
    below->setAutoDelete(false);
    QThreadPool *const pool = QThreadPool::globalInstance();
    const bool helped = qsizetype(w) * h >= (qsizetype(1) << 18) && pool->maxThreadCount() > 1;
    if (helped) pool->start(below.get());
    const Extremes fromAbove = smoothRun(job, false, claims);
    if (helped && !pool->tryTake(below.get())) belowDone.acquire();
    for (const Extremes &e : {fromAbove, fromBelow})
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
