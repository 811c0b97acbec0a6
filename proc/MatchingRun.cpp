#include "proc/MatchingRun.h"

#include "core/TDDataWL.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>

namespace {

constexpr double kEps = std::numeric_limits<double>::epsilon() / 2; // unit roundoff
// Pixels beyond this magnitude are summed directly: their squares, and sums of many of them,
// stay far from overflow in the direct sum, and the FFT never sees them.
const double kHuge = std::ldexp(1.0, 480);
// SS * a2 outside this range is left to the direct sum, whose own product may then overflow
// or underflow; inside it the direct sum's result is an ordinary number.
const double kProductLow = std::ldexp(1.0, -900);
const double kProductHigh = std::ldexp(1.0, 900);
// Bound on |fast - direct| accepted for a cosine; the rest of the 1e-9 budget is margin.
constexpr double kTolerance = 2.5e-10;
constexpr double kPi = 3.141592653589793;
// Largest FFT tile side chosen for a small template.
constexpr qint64 kTileSide = 768;

struct FftwFree
{
    void operator()(void *p) const { fftw_free(p); }
};
template <typename T> using FftwBuffer = std::unique_ptr<T[], FftwFree>;
template <typename T> FftwBuffer<T> fftwAlloc(size_t n)
{
    void *p = fftw_malloc(sizeof(T) * std::max<size_t>(n, 1));
    if (!p) throw std::bad_alloc();
    return FftwBuffer<T>(static_cast<T *>(p));
}

// Workers execute plans concurrently and a run may be released on any thread; FFTW's planner
// is only safe for that once told so.
void makeFftwThreadSafe()
{
    static const bool done = (fftw_make_planner_thread_safe(), true);
    (void)done;
}

// Sizes 2^a 3^b in [lo, hi]: FFTW is quickest on these (factors 5 and 7 measured up to half
// again slower per point).
std::vector<int> smoothSizes(qint64 lo, qint64 hi)
{
    std::vector<int> out;
    for (qint64 a = 1; a <= hi; a *= 2)
        for (qint64 b = a; b <= hi; b *= 3)
            if (b >= lo) out.push_back(int(b));
    std::sort(out.begin(), out.end());
    return out;
}

qint64 nextSmooth(qint64 n)
{
    for (qint64 m = std::max<qint64>(n, 1);; ++m) {
        qint64 r = m;
        for (int p : {2, 3})
            while (r % p == 0)
                r /= p;
        if (r == 1) return m;
    }
}

// Box sums of width k along rows: out[y][x] = sum of in[y][x .. x + k - 1], for x < outW.
// Integer counts are exact with plain running sums.
void boxRows(const qint32 *in, int inW, int rows, int k, int outW, qint32 *out)
{
    for (int y = 0; y < rows; ++y) {
        const qint32 *r = in + qsizetype(y) * inW;
        qint32 *o = out + qsizetype(y) * outW;
        qint32 s = 0;
        for (int i = 0; i < k; ++i)
            s += r[i];
        o[0] = s;
        for (int x = 1; x < outW; ++x) {
            s += r[x + k - 1] - r[x - 1];
            o[x] = s;
        }
    }
}

// The same for the count of non-zero values, read from the values themselves.
void boxRowsNonZero(const double *in, int inW, int rows, int k, int outW, qint32 *out)
{
    for (int y = 0; y < rows; ++y) {
        const double *r = in + qsizetype(y) * inW;
        qint32 *o = out + qsizetype(y) * outW;
        qint32 s = 0;
        for (int i = 0; i < k; ++i)
            s += r[i] != 0.0;
        o[0] = s;
        for (int x = 1; x < outW; ++x) {
            s += qint32(r[x + k - 1] != 0.0) - qint32(r[x - 1] != 0.0);
            o[x] = s;
        }
    }
}

void boxColumns(const qint32 *in, int w, int k, int outH, qint32 *out)
{
    std::memset(out, 0, sizeof(qint32) * size_t(w));
    for (int j = 0; j < k; ++j)
        for (int x = 0; x < w; ++x)
            out[x] += in[qsizetype(j) * w + x];
    for (int y = 1; y < outH; ++y) {
        const qint32 *add = in + qsizetype(y + k - 1) * w;
        const qint32 *sub = in + qsizetype(y - 1) * w;
        const qint32 *prev = out + qsizetype(y - 1) * w;
        qint32 *o = out + qsizetype(y) * w;
        for (int x = 0; x < w; ++x)
            o[x] = prev[x] + add[x] - sub[x];
    }
}

// Running sums of non-negative values lose everything to cancellation when the window moves
// from a bright part into a dark one; carrying each addition's exact rounding error (TwoSum)
// keeps every sum within a few units of its last place, plus a term in eps^2 times the largest
// partial sum.
struct Compensated
{
    double s = 0.0;
    double c = 0.0;
    void add(double v)
    {
        const double t = s + v;
        const double bp = t - s;
        c += (s - (t - bp)) + (v - bp);
        s = t;
    }
    double value() const { return s + c; }
};

// Box sums of the squares of the values; two rows at a time, as each row's sum is one long
// chain of dependent additions.
void boxRowsCompensated(const double *in, int inW, int rows, int k, int outW, double *out)
{
    int y = 0;
    for (; y + 1 < rows; y += 2) {
        const double *r0 = in + qsizetype(y) * inW, *r1 = r0 + inW;
        double *o0 = out + qsizetype(y) * outW, *o1 = o0 + outW;
        Compensated s0, s1;
        for (int i = 0; i < k; ++i) {
            s0.add(r0[i] * r0[i]);
            s1.add(r1[i] * r1[i]);
        }
        o0[0] = s0.value();
        o1[0] = s1.value();
        for (int x = 1; x < outW; ++x) {
            s0.add(r0[x + k - 1] * r0[x + k - 1]);
            s1.add(r1[x + k - 1] * r1[x + k - 1]);
            s0.add(-(r0[x - 1] * r0[x - 1]));
            s1.add(-(r1[x - 1] * r1[x - 1]));
            o0[x] = s0.value();
            o1[x] = s1.value();
        }
    }
    for (; y < rows; ++y) {
        const double *r = in + qsizetype(y) * inW;
        double *o = out + qsizetype(y) * outW;
        Compensated s;
        for (int i = 0; i < k; ++i)
            s.add(r[i] * r[i]);
        o[0] = s.value();
        for (int x = 1; x < outW; ++x) {
            s.add(r[x + k - 1] * r[x + k - 1]);
            s.add(-(r[x - 1] * r[x - 1]));
            o[x] = s.value();
        }
    }
}

// Along columns, all columns at once so that the loops run over contiguous memory.
void boxColumnsCompensated(const double *in, int w, int k, int outH, double *out)
{
    std::vector<double> s(size_t(w), 0.0), c(size_t(w), 0.0);
    const auto step = [&](const double *row, double sign) {
        for (int x = 0; x < w; ++x) {
            const double v = sign * row[x];
            const double t = s[size_t(x)] + v;
            const double bp = t - s[size_t(x)];
            c[size_t(x)] += (s[size_t(x)] - (t - bp)) + (v - bp);
            s[size_t(x)] = t;
        }
    };
    const auto writeRow = [&](int y) {
        double *o = out + qsizetype(y) * w;
        for (int x = 0; x < w; ++x)
            o[x] = s[size_t(x)] + c[size_t(x)];
    };
    for (int j = 0; j < k; ++j)
        step(in + qsizetype(j) * w, 1.0);
    writeRow(0);
    for (int y = 1; y < outH; ++y) {
        step(in + qsizetype(y + k - 1) * w, 1.0);
        step(in + qsizetype(y - 1) * w, -1.0);
        writeRow(y);
    }
}

} // namespace

struct MatchingRun::Fft
{
    fftw_plan forward = nullptr;
    fftw_plan backward = nullptr;
    FftwBuffer<fftw_complex> templateSpectrum;
    ~Fft()
    {
        if (forward) fftw_destroy_plan(forward);
        if (backward) fftw_destroy_plan(backward);
    }
};

MatchingRun::MatchingRun(const TDDataWL &source, const QRect &rect, int thresholdMode,
                         Method method)
    : m_width(source.width()), m_height(source.height()), m_thresholdMode(thresholdMode)
{
    if (m_width <= 0 || m_height <= 0) return;
    const qsizetype n = source.pixelCount();
    m_values = PixelBuffer<double>(n);
    const double *v = source.values();
    const quint8 *f = source.validFlags();
    double *mv = m_values.data();
    bool special = false;
    for (qsizetype i = 0; i < n; ++i) {
        const double x = f[i] ? v[i] : 0.0;
        mv[i] = x;
        special |= !(std::fabs(x) <= kHuge);
    }
    m_anySpecial = special;

    buildTemplate(source);
    // Only a template of infinite energy needs to tell invalid pixels from zeros.
    if (!std::isfinite(m_a2)) {
        m_valid = PixelBuffer<quint8>(n);
        std::memcpy(m_valid.data(), f, size_t(n));
    }

    // Positions outside the image have nowhere to go.
    m_x0 = int(std::clamp<qint64>(rect.left(), 0, m_width));
    m_x1 = int(std::clamp<qint64>(rect.right(), m_x0, m_width));
    m_y0 = int(std::clamp<qint64>(rect.top(), 0, m_height));
    m_y1 = int(std::clamp<qint64>(rect.bottom(), m_y0, m_height));
    if (!canRun() || m_x1 <= m_x0 || m_y1 <= m_y0) return;
    planTiles(method);
}

MatchingRun::~MatchingRun() = default;

void MatchingRun::buildTemplate(const TDDataWL &source)
{
    if (!source.isRegionSet()) return;
    const QRect reg = source.region();
    const qint64 left = reg.left(), top = reg.top();
    // The region grown by one column and one row.
    const qint64 tw1 = qint64(reg.right()) + 2 - left;
    const qint64 th1 = qint64(reg.bottom()) + 2 - top;
    if (tw1 <= 0 || th1 <= 0) return;
    // Window offsets from the image's width on always fall outside it.
    m_kw = int(std::min<qint64>(tw1, m_width));
    m_kh = int(std::min<qint64>(th1, m_height));
    m_template = PixelBuffer<double>(qsizetype(m_kw) * m_kh);
    const double *v = source.values();
    const quint8 *f = source.validFlags();
    const auto inside = [&](qint64 x, qint64 y) {
        return x >= 0 && x < m_width && y >= 0 && y < m_height;
    };
    for (int j = 0; j < m_kh; ++j)
        for (int i = 0; i < m_kw; ++i) {
            const qint64 x = left + i, y = top + j;
            if (!inside(x, y)) continue;
            const qsizetype k = qsizetype(y) * m_width + x;
            if (f[k]) m_template[qsizetype(j) * m_kw + i] = v[k];
        }
    // The energy of the whole template, also of columns and rows that no window reaches.
    const qint64 xa = std::max<qint64>(left, 0), xb = std::min<qint64>(left + tw1, m_width);
    const qint64 ya = std::max<qint64>(top, 0), yb = std::min<qint64>(top + th1, m_height);
    double a2 = 0.0;
    for (qint64 y = ya; y < yb; ++y)
        for (qint64 x = xa; x < xb; ++x) {
            const qsizetype k = qsizetype(y) * m_width + x;
            if (f[k]) a2 += v[k] * v[k];
        }
    m_a2 = a2;
}

void MatchingRun::planTiles(Method method)
{
    const qint64 cols = m_x1 - m_x0, rows = m_y1 - m_y0;
    m_cos = PixelBuffer<double>(cols * rows);
    // Only a finite template energy lets the FFT's error be bounded.
    if (!std::isfinite(m_a2)) return;

    // Tiles of a few hundred pixels a side keep a tile's buffers in the caches and give every
    // core tiles of its own; larger ones save little of the overlap once the template is small
    // beside them.
    const qint64 capX = std::max<qint64>(kTileSide, 4 * qint64(m_kw));
    const qint64 capY = std::max<qint64>(kTileSide, 4 * qint64(m_kh));
    const std::vector<int> xs = smoothSizes(m_kw, std::min(capX, nextSmooth(cols + m_kw - 1)));
    const std::vector<int> ys = smoothSizes(m_kh, std::min(capY, nextSmooth(rows + m_kh - 1)));
    double best = std::numeric_limits<double>::infinity();
    for (int nx : xs) {
        if (nx % 2 != 0 && nx > 16) continue; // r2c is quicker on even lengths
        const qint64 tx = (cols + nx - m_kw) / (nx - m_kw + 1);
        for (int ny : ys) {
            const qint64 ty = (rows + ny - m_kh) / (ny - m_kh + 1);
            const double pts = double(nx) * ny;
            const double cost = double(tx * ty) * pts * (5.0 * std::log2(pts) + 40.0);
            if (cost < best) {
                best = cost;
                m_nx = nx;
                m_ny = ny;
            }
        }
    }
    const double direct = 4.0 * double(cols) * double(rows) * m_kw * m_kh;
    if (m_nx == 0 || (method == Method::Auto && best >= direct) ||
        double(m_nx) * m_ny > double(1 << 28))
        return;

    m_outW = m_nx - m_kw + 1;
    m_outH = m_ny - m_kh + 1;
    m_tilesX = int((cols + m_outW - 1) / m_outW);
    m_bandCount = int((rows + m_outH - 1) / m_outH);
    m_bands = std::make_unique<Band[]>(size_t(m_bandCount));

    makeFftwThreadSafe();
    m_fft = std::make_unique<Fft>();
    const size_t real = size_t(m_nx) * m_ny, complex = size_t(m_nx / 2 + 1) * m_ny;
    auto in = fftwAlloc<double>(real);
    auto out = fftwAlloc<fftw_complex>(complex);
    m_fft->forward = fftw_plan_dft_r2c_2d(m_ny, m_nx, in.get(), out.get(), FFTW_ESTIMATE);
    m_fft->backward = fftw_plan_dft_c2r_2d(m_ny, m_nx, out.get(), in.get(), FFTW_ESTIMATE);
    if (!m_fft->forward || !m_fft->backward) {
        m_fft.reset();
        return;
    }

    // The template scaled by a power of two to a largest magnitude near 1, so that no product
    // in the FFT can overflow; the scaling itself is exact.
    double maxAbs = 0.0;
    for (qsizetype k = 0; k < m_template.size(); ++k)
        maxAbs = std::max(maxAbs, std::fabs(m_template[k]));
    const int e = maxAbs > 0.0 ? std::ilogb(maxAbs) : 0;
    m_templateScale = std::ldexp(1.0, e);
    std::fill(in.get(), in.get() + real, 0.0);
    double t1 = 0.0, t2 = 0.0;
    for (int j = 0; j < m_kh; ++j)
        for (int i = 0; i < m_kw; ++i) {
            const double t = std::ldexp(m_template[qsizetype(j) * m_kw + i], -e);
            in[size_t(j) * m_nx + i] = t;
            t1 += std::fabs(t);
            t2 += t * t;
        }
    m_t1 = t1;
    m_t2 = std::sqrt(t2);
    // The template's spectrum in double: its error adds delta ||a||_2 ||t||_2 to a tile's
    // bound (see computeTile), no more than the forward transform of the tile itself.
    m_fft->templateSpectrum = fftwAlloc<fftw_complex>(complex);
    fftw_execute_dft_r2c(m_fft->forward, in.get(), m_fft->templateSpectrum.get());
    m_fast = true;
}

double MatchingRun::directValue(int x, int y) const
{
    const int iw = std::min(m_kw, m_width - x), jh = std::min(m_kh, m_height - y);
    double ss = 0.0, st = 0.0;
    if (std::isfinite(m_a2)) {
        // Invalid pixels hold 0 and every template value is finite, so adding them changes
        // neither sum.
        for (int j = 0; j < jh; ++j) {
            const double *s = m_values.data() + qsizetype(y + j) * m_width + x;
            const double *t = m_template.data() + qsizetype(j) * m_kw;
            for (int i = 0; i < iw; ++i) {
                ss += s[i] * s[i];
                st += s[i] * t[i];
            }
        }
    } else {
        for (int j = 0; j < jh; ++j) {
            const qsizetype row = qsizetype(y + j) * m_width + x;
            const double *t = m_template.data() + qsizetype(j) * m_kw;
            for (int i = 0; i < iw; ++i) {
                if (!m_valid[row + i]) continue;
                const double s = m_values[row + i];
                ss += s * s;
                st += s * t[i];
            }
        }
    }
    if (!(ss > 0.0)) return kNoValue;
    return st / std::sqrt(ss * m_a2);
}

double MatchingRun::directValue(const TDDataWL &data, int x, int y, int rw, int rh, const double *r,
                                double a2)
{
    double ss = 0.0, st = 0.0;
    for (int j = 0; j <= rh; ++j) {
        const qint64 yy = qint64(y) + j;
        if (yy < 0 || yy >= data.height()) continue;
        for (int i = 0; i <= rw; ++i) {
            const qint64 xx = qint64(x) + i;
            if (xx < 0 || xx >= data.width() || !data.isValid(int(xx), int(yy))) continue;
            const double s = data.value(int(xx), int(yy));
            ss += s * s;
            st += s * r[qsizetype(j) * (rw + 1) + i];
        }
    }
    if (!(ss > 0.0)) return kNoValue;
    return st / std::sqrt(ss * a2);
}

QList<double> MatchingRun::row(int y)
{
    const int cols = m_x1 - m_x0;
    QList<double> vals(cols, kNoValue);
    if (y < m_y0 || y >= m_y1 || m_cancelled.load(std::memory_order_relaxed)) return vals;
    if (m_fast) {
        ensureBand((y - m_y0) / m_outH);
        // A core left idle works one tile ahead before this row goes back.
        computeNextTile(false);
        if (m_cancelled.load(std::memory_order_relaxed)) return vals;
        std::memcpy(vals.data(), m_cos.data() + qsizetype(y - m_y0) * cols,
                    sizeof(double) * size_t(cols));
    } else {
        for (int x = m_x0; x < m_x1; ++x)
            vals[x - m_x0] = directValue(x, y);
    }
    return vals;
}

void MatchingRun::computeAll()
{
    if (!m_fast) return;
    while (computeNextTile(true)) {
    }
}

void MatchingRun::ensureBand(int band)
{
    Band &b = m_bands[size_t(band)];
    const int end = (band + 1) * m_tilesX;
    for (;;) {
        if (m_cancelled.load(std::memory_order_relaxed)) return;
        const int d = b.done.load(std::memory_order_acquire);
        if (d >= m_tilesX) return;
        if (m_nextTile.load(std::memory_order_relaxed) < end) {
            computeNextTile(true);
            continue;
        }
        // The band's last tiles are being computed: help further on if a core is free.
        if (computeNextTile(false)) continue;
        b.done.wait(d, std::memory_order_acquire);
    }
}

struct MatchingRun::Scratch
{
    Scratch(size_t real, size_t complex, size_t outs, size_t rowOuts, bool special)
        : a(fftwAlloc<double>(real)), spectrum(fftwAlloc<fftw_complex>(complex)), rowsTmp(rowOuts),
          rowsSS(rowOuts), ss(outs), nzCount(outs)
    {
        if (special) {
            bad.resize(real);
            huge.resize(real);
            badCount.resize(outs);
            hugeCount.resize(outs);
        }
    }
    FftwBuffer<double> a;
    FftwBuffer<fftw_complex> spectrum;
    std::vector<qint32> bad, huge, rowsTmp;
    std::vector<double> rowsSS, ss;
    std::vector<qint32> nzCount, badCount, hugeCount;
};

bool MatchingRun::computeNextTile(bool wait)
{
    const int total = m_bandCount * m_tilesX;
    if (m_cancelled.load(std::memory_order_relaxed) ||
        m_nextTile.load(std::memory_order_relaxed) >= total)
        return false;
    Scratch *s = nullptr;
    {
        std::unique_lock<std::mutex> lock(m_scratchLock);
        const size_t cores = std::max(1u, std::thread::hardware_concurrency());
        for (;;) {
            if (!m_freeScratch.empty()) {
                s = m_freeScratch.back();
                m_freeScratch.pop_back();
                break;
            }
            if (m_scratch.size() < cores) {
                const size_t real = size_t(m_nx) * m_ny;
                m_scratch.push_back(std::make_unique<Scratch>(real, size_t(m_nx / 2 + 1) * m_ny,
                                                              size_t(m_outW) * m_outH,
                                                              size_t(m_outW) * m_ny, m_anySpecial));
                s = m_scratch.back().get();
                break;
            }
            if (!wait) return false;
            m_scratchFreed.wait(lock);
        }
    }
    const int t = m_nextTile.fetch_add(1, std::memory_order_relaxed);
    if (t < total) {
        Band &b = m_bands[size_t(t / m_tilesX)];
        computeTile(t / m_tilesX, t % m_tilesX, *s);
        b.done.fetch_add(1, std::memory_order_release);
        b.done.notify_all();
    }
    {
        const std::lock_guard<std::mutex> lock(m_scratchLock);
        m_freeScratch.push_back(s);
    }
    m_scratchFreed.notify_one();
    return t < total;
}

void MatchingRun::computeTile(int band, int tile, Scratch &s)
{
    if (m_cancelled.load(std::memory_order_relaxed)) return;
    const int ox = m_x0 + tile * m_outW, oy = m_y0 + band * m_outH;
    const int ow = std::min(m_outW, m_x1 - ox), oh = std::min(m_outH, m_y1 - oy);
    const int iw = ow + m_kw - 1, ih = oh + m_kh - 1; // inputs the outputs reach
    const int aw = std::min(iw, m_width - ox), ah = std::min(ih, m_height - oy); // in the image
    const int nx = m_nx, ny = m_ny;
    const size_t real = size_t(nx) * ny, complex = size_t(nx / 2 + 1) * ny;

    // The buffers come from earlier tiles: everything read beyond the image is cleared here.
    // The box sums read the values (their squares, whether they are zero) from a, before it is
    // scaled for the transform.
    double *a = s.a.get();
    for (int y = 0; y < ah; ++y)
        std::fill(a + size_t(y) * nx + aw, a + size_t(y + 1) * nx, 0.0);
    std::fill(a + size_t(ah) * nx, a + real, 0.0);
    if (m_anySpecial) {
        std::fill(s.bad.begin(), s.bad.begin() + qsizetype(iw) * ih, 0);
        std::fill(s.huge.begin(), s.huge.begin() + qsizetype(iw) * ih, 0);
    }
    double maxAbs = 0.0, qSum = 0.0;
    for (int y = 0; y < ah; ++y) {
        const double *src = m_values.data() + qsizetype(oy + y) * m_width + ox;
        double *ar = a + size_t(y) * nx;
        if (!m_anySpecial) {
            std::memcpy(ar, src, sizeof(double) * size_t(aw));
        } else {
            for (int x = 0; x < aw; ++x) {
                const double v = src[x];
                ar[x] = 0.0;
                if (!std::isfinite(v))
                    s.bad[size_t(y) * iw + x] = 1;
                else if (std::fabs(v) > kHuge)
                    s.huge[size_t(y) * iw + x] = 1;
                else
                    ar[x] = v;
            }
        }
        for (int x = 0; x < aw; ++x) {
            const double v = ar[x];
            maxAbs = std::max(maxAbs, std::fabs(v));
            qSum += v * v;
        }
    }

    // Window counts, exact: no pixel of the window non-zero means SS = 0 exactly.
    boxRowsNonZero(a, nx, ih, m_kw, ow, s.rowsTmp.data());
    boxColumns(s.rowsTmp.data(), ow, m_kh, oh, s.nzCount.data());
    const auto counts = [&](const std::vector<qint32> &in, std::vector<qint32> &out) {
        boxRows(in.data(), iw, ih, m_kw, ow, s.rowsTmp.data());
        boxColumns(s.rowsTmp.data(), ow, m_kh, oh, out.data());
    };
    if (m_anySpecial) {
        counts(s.bad, s.badCount);
        counts(s.huge, s.hugeCount);
    }
    boxRowsCompensated(a, nx, ih, m_kw, ow, s.rowsSS.data());
    boxColumnsCompensated(s.rowsSS.data(), ow, m_kh, oh, s.ss.data());

    // ST by FFT on the tile scaled to a largest magnitude near 1 (exact, and no overflow).
    double errST = 0.0, stScale = 0.0;
    if (maxAbs > 0.0) {
        const int e = std::ilogb(maxAbs);
        // Multiplying by a power of two rounds exactly as ldexp does; 2^-e itself must be a
        // normal number for that.
        const bool byFactor = e > std::numeric_limits<double>::min_exponent - 1 &&
                              e < std::numeric_limits<double>::max_exponent - 1;
        const double factor = byFactor ? std::ldexp(1.0, -e) : 0.0;
        double a2 = 0.0;
        for (int y = 0; y < ah; ++y) {
            double *ar = a + size_t(y) * nx;
            for (int x = 0; x < aw; ++x) {
                const double v = byFactor ? ar[x] * factor : std::ldexp(ar[x], -e);
                ar[x] = v;
                a2 += v * v;
            }
        }
        fftw_complex *c = s.spectrum.get();
        fftw_execute_dft_r2c(m_fft->forward, a, c);
        const fftw_complex *t = m_fft->templateSpectrum.get();
        for (size_t k = 0; k < complex; ++k) {
            const double cr = c[k][0], ci = c[k][1], tr = t[k][0], ti = t[k][1];
            c[k][0] = cr * tr + ci * ti;
            c[k][1] = ci * tr - cr * ti;
        }
        fftw_execute_dft_c2r(m_fft->backward, c, a);
        const double pts = double(real);
        stScale = std::ldexp(m_templateScale, e) / pts;
        double out2 = 0.0;
        for (size_t k = 0; k < real; ++k)
            out2 += a[k] * a[k];
        const double corr2 = 1.01 * std::sqrt(out2) / pts;
        // An FFT of length N is off by at most delta ||X||_2 in the 2-norm, delta = log2(N) eta
        // with eta a few units of roundoff (taken as 8 eps). With A, B the spectra of the tile
        // a and the template t (||A||_2 = sqrt(N) ||a||_2, |B_k| <= ||t||_1) and the product
        // P = A B, whose 2-norm is sqrt(N) times that of the correlation c (Parseval), every
        // output of the correlation is off by at most
        //   delta (||a||_2 ||t||_1 + ||c||_2)    forward transform of a, inverse transform
        //   + 4 eps ||c||_2                      the products
        //   + delta ||a||_2 ||t||_2              B: sum |A_k| |dB_k| / N <= ||A||_2 ||dB||_2 / N
        // ||c||_2 is taken from the computed outputs; a and t are scaled as in the transforms.
        const double lg = std::log2(pts);
        const double norm2 = std::sqrt(a2);
        errST = (8.0 * kEps * lg * (norm2 * (m_t1 + m_t2) + corr2) + 4.0 * kEps * corr2) *
                std::ldexp(m_templateScale, e);
    }
    // Compensated sums are within a few ulps of SS, plus eps^2 times the largest partial sum
    // for each step taken.
    const double ssFloor = 4.0 * double(iw + ih) * kEps * kEps * qSum;
    const bool arcCos = m_thresholdMode == 2;

    const qsizetype cols = m_x1 - m_x0;
    for (int y = 0; y < oh; ++y) {
        double *out = m_cos.data() + qsizetype(oy - m_y0 + y) * cols + (ox - m_x0);
        const double *st = a + size_t(y) * nx;
        for (int x = 0; x < ow; ++x) {
            const size_t k = size_t(y) * ow + x;
            if (m_anySpecial && s.badCount[k] > 0) {
                // A NaN makes SS NaN; an infinity makes SS infinite and ST infinite or NaN:
                // either way the direct sum has no value here.
                out[x] = kNoValue;
                continue;
            }
            if (s.nzCount[k] == 0 && (!m_anySpecial || s.hugeCount[k] == 0)) {
                out[x] = kNoValue;
                continue;
            }
            const double ssf = s.ss[k];
            const double product = ssf * m_a2;
            bool fast = !(m_anySpecial && s.hugeCount[k] > 0) && product >= kProductLow &&
                        product <= kProductHigh;
            double c = 0.0;
            if (fast) {
                // One division per position; the rounding of the reciprocal is within the
                // relative slack of the bound.
                const double inv = 1.0 / std::sqrt(product);
                c = st[x] * stScale * inv;
                const double dc = errST * inv +
                                  std::fabs(c) * (16.0 * kEps + ssFloor * m_a2 * inv * inv) +
                                  8.0 * kEps;
                if (!arcCos) {
                    fast = dc <= kTolerance;
                } else {
                    // arccos magnifies an error dc near |c| = 1 by 1 / sqrt(1 - c^2).
                    const double m = std::fabs(c) + dc;
                    fast = m < 1.0 && dc / std::sqrt(1.0 - m * m) <= kTolerance * kPi;
                }
            }
            out[x] = fast ? c : directValue(ox + x, oy + y);
        }
    }
}
