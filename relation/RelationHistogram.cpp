#include "relation/RelationHistogram.h"

#include "core/TDData0.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

constexpr int kN = RelationHistogram::kBins;

struct Scan
{
    int width = 0;
    int height = 0;
};

// Records of different sizes would make the second index run past its image: only the part
// both cover is scanned.
Scan commonPart(const TDData0 &s1, const TDData0 &s2)
{
    return {std::max(0, std::min(s1.width(), s2.width())),
            std::max(0, std::min(s1.height(), s2.height()))};
}

// The axis maps 0 .. high onto 0 .. 200 as the canvas mapping does: 200 / high * v.
double axisScale(const TDData0 &record)
{
    return double(kN) / RelationHistogram::axisHigh(record);
}

// One pass of the separable kernel along x: out[r][c] = sum_k in[r][c + k] w[k]. Reads rows of
// `in` (inW wide) and writes outH rows of outW columns.
void convolveRows(const double *in, int inW, int outH, int outW, const double *w, int taps,
                  double *out)
{
    for (int r = 0; r < outH; ++r) {
        const double *src = in + size_t(r) * inW;
        double *dst = out + size_t(r) * outW;
        for (int c = 0; c < outW; ++c)
            dst[c] = 0.0;
        for (int k = 0; k < taps; ++k) {
            const double wk = w[k];
            const double *s = src + k;
            for (int c = 0; c < outW; ++c)
                dst[c] += s[c] * wk;
        }
    }
}

// The same along y: out[r][c] = sum_k in[r + k][c] w[k], inW columns throughout.
void convolveColumns(const double *in, int inW, int outH, const double *w, int taps, double *out)
{
    for (int r = 0; r < outH; ++r) {
        double *dst = out + size_t(r) * inW;
        for (int c = 0; c < inW; ++c)
            dst[c] = 0.0;
        for (int k = 0; k < taps; ++k) {
            const double wk = w[k];
            const double *s = in + size_t(r + k) * inW;
            for (int c = 0; c < inW; ++c)
                dst[c] += s[c] * wk;
        }
    }
}

// The count grid smoothed by a separable kernel with the given 1-D weights (taps = 2e + 1);
// the grid is (kN + 2e) squared, the result kN squared.
std::vector<double> smooth(const std::vector<double> &grid, int e, const std::vector<double> &w)
{
    const int g = kN + 2 * e;
    const int taps = 2 * e + 1;
    std::vector<double> rows(size_t(g) * kN);
    convolveRows(grid.data(), g, g, kN, w.data(), taps, rows.data());
    std::vector<double> out(size_t(kN) * kN);
    convolveColumns(rows.data(), kN, kN, w.data(), taps, out.data());
    return out;
}

} // namespace

double RelationHistogram::axisHigh(const TDData0 &record)
{
    return record.displayRange().high;
}

int RelationHistogram::effectiveHalfWidth(int halfWidth)
{
    return std::clamp(halfWidth, -1, kMaxHalfWidth);
}

double RelationHistogram::kernelFactor(int halfWidth, double boundary)
{
    const double h = effectiveHalfWidth(halfWidth);
    return std::log(boundary) / h / h;
}

std::vector<double> RelationHistogram::countGrid(const TDData0 &s1, const TDData0 &s2,
                                                 int extension)
{
    const int e = std::clamp(extension, 0, kMaxHalfWidth);
    const int g = kN + 2 * e;
    const size_t cells = size_t(g) * g;
    const Scan scan = commonPart(s1, s2);
    const double sc1 = axisScale(s1);
    const double sc2 = axisScale(s2);
    // A mapped value in (-(e + 1), kN + e) truncates to a bin that the kernel can still
    // bring onto the map; anything else (NaN, infinities, huge values) is dropped before
    // the conversion to int.
    const double lo = -(e + 1.0);
    const double hi = kN + e;

    // Four interleaved sub-grids take repeated hits on one bin (flat images) without each
    // increment waiting for the previous one; one spare cell takes the dropped pixels so
    // that the index computation stays branch-free and vectorises.
    constexpr int kLanes = 4;
    const size_t stride = cells + 1;
    std::vector<std::uint32_t> counts(stride * kLanes, 0);
    constexpr int kChunk = 1024;
    std::uint32_t index[kChunk];

    const double *v1 = s1.values();
    const double *v2 = s2.values();
    for (int y = 0; y < scan.height; ++y) {
        const double *a = v1 + size_t(y) * size_t(s1.width());
        const double *b = v2 + size_t(y) * size_t(s2.width());
        for (int x0 = 0; x0 < scan.width; x0 += kChunk) {
            const int n = std::min(kChunk, scan.width - x0);
            for (int i = 0; i < n; ++i) {
                const double m1 = sc1 * a[x0 + i];
                const double m2 = sc2 * b[x0 + i];
                const bool in = (m1 > lo) & (m1 < hi) & (m2 > lo) & (m2 < hi);
                const int c = int(in ? m1 : 0.0) + e;
                const int r = int(in ? m2 : 0.0) + e;
                index[i] = in ? std::uint32_t(r) * std::uint32_t(g) + std::uint32_t(c)
                              : std::uint32_t(cells);
            }
            int i = 0;
            for (; i + kLanes <= n; i += kLanes)
                for (int l = 0; l < kLanes; ++l)
                    ++counts[l * stride + index[i + l]];
            for (; i < n; ++i)
                ++counts[index[i]];
        }
    }
    std::vector<double> grid(cells);
    for (size_t k = 0; k < cells; ++k) {
        double sum = 0.0;
        for (int l = 0; l < kLanes; ++l)
            sum += double(counts[l * stride + k]);
        grid[k] = sum;
    }
    return grid;
}

std::vector<double> RelationHistogram::compute(const TDData0 &s1, const TDData0 &s2,
                                               const Params &params)
{
    const int h = effectiveHalfWidth(params.halfWidth);
    if (h < 0) return std::vector<double>(size_t(kN) * kN, 0.0);
    const double k = kernelFactor(h, params.boundary);
    const std::vector<double> grid = countGrid(s1, s2, h);
    const int taps = 2 * h + 1;

    if (std::isfinite(k)) {
        // exp(K (dx^2 + dy^2)) = exp(K dx^2) exp(K dy^2).
        std::vector<double> w(static_cast<size_t>(taps));
        for (int d = -h; d <= h; ++d)
            w[size_t(d + h)] = std::exp(k * double(d) * double(d));
        return smooth(grid, h, w);
    }

    // K is infinite or not a number (b <= 0, b infinite, h = 0): the centre weight and the
    // one shared by every other offset are the only two values, and whichever of them a bin
    // receives at least once decides it, as the per-pixel sum does.
    const double centre = std::exp(k * 0.0);
    const double off = std::exp(k * 1.0);
    const std::vector<double> window = smooth(grid, h, std::vector<double>(size_t(taps), 1.0));
    const int g = kN + 2 * h;
    std::vector<double> out(size_t(kN) * kN, 0.0);
    for (int r = 0; r < kN; ++r) {
        for (int c = 0; c < kN; ++c) {
            const double own = grid[size_t(r + h) * g + size_t(c + h)];
            const double others = window[size_t(r) * kN + c] - own;
            double v = 0.0;
            if (others > 0.0) v += others * off;
            if (own > 0.0) v += own * centre;
            out[size_t(r) * kN + c] = v;
        }
    }
    return out;
}

std::vector<double> RelationHistogram::directSplat(const TDData0 &s1, const TDData0 &s2,
                                                   const Params &params)
{
    std::vector<double> bins(size_t(kN) * kN, 0.0);
    const int h = effectiveHalfWidth(params.halfWidth);
    if (h < 0) return bins;
    const double k = kernelFactor(h, params.boundary);
    const int taps = 2 * h + 1;
    std::vector<double> kernel(size_t(taps) * taps);
    for (int dy = -h; dy <= h; ++dy)
        for (int dx = -h; dx <= h; ++dx)
            kernel[size_t(dy + h) * taps + size_t(dx + h)] = std::exp(k * (dx * dx + dy * dy));
    const Scan scan = commonPart(s1, s2);
    const double sc1 = axisScale(s1);
    const double sc2 = axisScale(s2);
    for (int y = 0; y < scan.height; ++y) {
        for (int x = 0; x < scan.width; ++x) {
            const double m1 = sc1 * s1.value(x, y);
            const double m2 = sc2 * s2.value(x, y);
            // Only bins the kernel can bring onto the map matter; this also keeps the
            // conversion to int defined.
            if (!(m1 > -(h + 1.0) && m1 < kN + h && m2 > -(h + 1.0) && m2 < kN + h)) continue;
            const int col = int(m1);
            const int row = int(m2);
            for (int dy = -h; dy <= h; ++dy) {
                const int r = row + dy;
                if (unsigned(r) >= unsigned(kN)) continue;
                for (int dx = -h; dx <= h; ++dx) {
                    const int c = col + dx;
                    if (unsigned(c) >= unsigned(kN)) continue;
                    bins[size_t(r) * kN + size_t(c)] +=
                        kernel[size_t(dy + h) * taps + size_t(dx + h)];
                }
            }
        }
    }
    return bins;
}

void RelationHistogram::setData(const TDData0 *s1, const TDData0 *s2)
{
    m_s1 = s1;
    m_s2 = s2;
    m_dirty = true;
}

void RelationHistogram::setParams(const Params &params)
{
    if (params == m_params) return;
    m_params = params;
    m_dirty = true;
}

bool RelationHistogram::build()
{
    if (!m_s1 || !m_s2 || !m_dirty) return false;
    m_dirty = false;
    m_high1 = axisHigh(*m_s1);
    m_high2 = axisHigh(*m_s2);
    m_bins = compute(*m_s1, *m_s2, m_params);
    return true;
}

double RelationHistogram::maxValue() const
{
    double m = 0.0;
    for (double v : m_bins)
        if (v > m) m = v;
    return m;
}

QImage RelationHistogram::paint(const std::vector<double> &bins, double colorRange)
{
    QImage image(kN, kN, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    if (bins.size() != size_t(kN) * kN) return image;
    double maxV = 0.0;
    for (double v : bins)
        if (v > maxV) maxV = v;
    const double denom = maxV * colorRange;
    for (int r = 0; r < kN; ++r) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(r));
        for (int c = 0; c < kN; ++c) {
            const double q = bins[size_t(r) * kN + c] / denom * 255.0;
            if (!(q >= 0.0) || std::isinf(q)) continue;
            const int g = q > 255.0 ? 255 : int(q);
            line[c] = qRgba(255, g, 0, 255);
        }
    }
    return image;
}

QImage RelationHistogram::scatterMap(const TDData0 &s1, const TDData0 &s2)
{
    constexpr int n = kMapSide;
    QImage image(n, n, QImage::Format_ARGB32);
    image.fill(kMapBackground);
    const Scan scan = commonPart(s1, s2);
    const double sc1 = double(n) / axisHigh(s1);
    const double sc2 = double(n) / axisHigh(s2);
    const double low1 = s1.displayRange().low;
    const double low2 = s2.displayRange().low;
    const auto plot = [&](int x, int y, QRgb colour) {
        const double v1 = s1.value(x, y);
        const double v2 = s2.value(x, y);
        if (!(v1 > low1 || v2 > low2)) return;
        const double m1 = sc1 * v1;
        const double m2 = sc2 * v2;
        if (!(m1 > -1.0 && m1 < n && m2 > -1.0 && m2 < n)) return;
        reinterpret_cast<QRgb *>(image.scanLine(int(m2)))[int(m1)] = colour;
    };
    for (int y = 0; y < scan.height; ++y)
        for (int x = 0; x < scan.width; ++x)
            plot(x, y, kMapPoint);
    if (s1.isRegionSet()) {
        const QRect box = s1.region().intersected(QRect(0, 0, scan.width, scan.height));
        for (int y = box.top(); y <= box.bottom(); ++y)
            for (int x = box.left(); x <= box.right(); ++x)
                plot(x, y, kMapHighlight);
    }
    return image;
}
