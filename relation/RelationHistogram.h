#pragma once

#include <QImage>

#include <vector>

class TDData0;

// The 200 x 200 kernel-smoothed histogram of S1 values (columns) against S2 values (rows)
// at the same pixel, and its red-to-yellow picture. Each axis runs from 0 to the high end of
// its record's display range. Every pixel adds the kernel exp(K (dx^2 + dy^2)),
// K = ln(b) / h / h, centred at its bin; bins off the map are dropped, so a pixel past the
// axis end still reaches the map with the kernel's inner part. Validity is not consulted.
//
// The build bins the pixels into a count grid reaching h bins past every side and smooths
// it with the separable kernel, which gives the per-pixel splat's numbers (up to rounding)
// at the cost of one pass over the pixels.
class RelationHistogram
{
public:
    static constexpr int kBins = 200;
    // A kernel this wide already reaches across the whole map from any bin; wider ones are
    // narrowed to it (K follows the narrowed width) so that memory and time stay bounded.
    static constexpr int kMaxHalfWidth = 200;

    struct Params
    {
        int halfWidth = 10;
        double boundary = 0.01;
        bool operator==(const Params &) const = default;
    };

    // Not owned; both must outlive the next build. Marks the histogram dirty.
    void setData(const TDData0 *s1, const TDData0 *s2);
    const TDData0 *s1() const { return m_s1; }
    const TDData0 *s2() const { return m_s2; }
    // Marks dirty only when the numbers change.
    void setParams(const Params &params);
    const Params &params() const { return m_params; }
    bool isDirty() const { return m_dirty; }
    void markDirty() { m_dirty = true; }

    // Rebuilds when dirty and both records are there; returns whether it rebuilt. Records
    // of different sizes are scanned over their common part only.
    bool build();

    // Row-major, row = S2 bin, column = S1 bin.
    const std::vector<double> &bins() const { return m_bins; }
    double bin(int column, int row) const { return m_bins[size_t(row) * kBins + size_t(column)]; }
    // The largest bin (0 when none is positive; NaN bins are passed over).
    double maxValue() const;

    // The value-plane rectangle the map covers: 0 .. high end of each display range.
    double axisHigh1() const { return m_high1; }
    double axisHigh2() const { return m_high2; }

    // Red 255, green c = trunc(V / (MaxV R) 255) (255 when larger), blue 0. A bin whose c is
    // not a number, infinite or negative has no valid colour and stays transparent.
    static QImage paint(const std::vector<double> &bins, double colorRange);
    QImage paint(double colorRange) const { return paint(m_bins, colorRange); }

    // A point for every pixel at its (S1, S2) value on a kMapSide square with the same axes
    // (column = S1, row = S2 from the top), skipping pixels where neither value exceeds the
    // low end of its record's display range; pixels inside S1's region are drawn again in
    // the highlight colour.
    static constexpr int kMapSide = 1000;
    static constexpr QRgb kMapBackground = 0xffffffff;
    static constexpr QRgb kMapPoint = 0xff0000a0;
    static constexpr QRgb kMapHighlight = 0xffff8000;
    static QImage scatterMap(const TDData0 &s1, const TDData0 &s2);

    // The literal per-pixel splat, the reference of the fast build (tests, benchmark).
    static std::vector<double> directSplat(const TDData0 &s1, const TDData0 &s2,
                                           const Params &params);
    // The binning step alone: a (kBins + 2 e) squared grid of pixel counts, row-major, with
    // e = the effective half width (0 for a negative one). Exposed for the benchmark.
    static std::vector<double> countGrid(const TDData0 &s1, const TDData0 &s2, int extension);
    static int effectiveHalfWidth(int halfWidth);
    // Kernel factor K for the given half width and boundary value.
    static double kernelFactor(int halfWidth, double boundary);
    // High end of a record's display range: the axis end.
    static double axisHigh(const TDData0 &record);

    static std::vector<double> compute(const TDData0 &s1, const TDData0 &s2, const Params &params);

private:
    const TDData0 *m_s1 = nullptr;
    const TDData0 *m_s2 = nullptr;
    Params m_params;
    bool m_dirty = true;
    double m_high1 = 1.0;
    double m_high2 = 1.0;
    std::vector<double> m_bins = std::vector<double>(size_t(kBins) * kBins, 0.0);
};
