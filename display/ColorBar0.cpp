#include "display/ColorBar0.h"

#include <QtEndian>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

constexpr int kLastRamp = ColorBar0::kRampSize - 1;

// NaN falls to the lower bound: comparisons with NaN are false.
inline double limit01(double u)
{
    u = u > 0.0 ? u : 0.0;
    return u < 1.0 ? u : 1.0;
}

// Entries are defined by two divisions, ((v - low) / range - lower) / span, limited to 0..1,
// scaled and truncated. Every step is monotonic, so each entry starts at a threshold value;
// one multiply-add lands within one entry of the truth and the thresholds settle it. The
// image and the bar's own colours therefore agree at every boundary.
struct Mapping
{
    double low, range, lower, span;
    double entries; // 766 for the ramp, 256 for grey
    int last;       // the highest entry
    double scale, offset;
    double tol;                // far above the rounding of the estimate, far below one entry
    std::vector<double> start; // start[k]: the smallest value of entry k; -inf, ..., +inf

    int exactEntry(double v) const
    {
        const double u = limit01(((v - low) / range - lower) / span);
        return qMin(int(u * entries), last);
    }

    // False when the shortcut cannot be trusted: a flat or inverted range or markers, or
    // magnitudes whose rounding could move the estimate by a whole entry.
    bool prepare()
    {
        if (!(range > 0.0) || !(span > 0.0) || !std::isfinite(range) || !std::isfinite(span))
            return false;
        scale = entries / (range * span);
        offset = -(low / range + lower) / span * entries;
        tol = 1e-9 * (entries + 2.0 * std::abs(offset) + 1.0);
        if (!std::isfinite(scale) || !std::isfinite(offset) || tol > 0.25) return false;
        start.assign(size_t(last) + 2, 0.0);
        start.front() = -std::numeric_limits<double>::infinity();
        start.back() = std::numeric_limits<double>::infinity();
        for (int k = 1; k <= last; ++k)
            start[size_t(k)] = firstValueOf(k);
        return true;
    }

    // Bisection over the ordered bit patterns of finite doubles.
    double firstValueOf(int k) const
    {
        auto key = [](double d) {
            qint64 b;
            std::memcpy(&b, &d, 8);
            return b < 0 ? std::numeric_limits<qint64>::min() - b : b;
        };
        auto value = [](qint64 b) {
            if (b < 0) b = std::numeric_limits<qint64>::min() - b;
            double d;
            std::memcpy(&d, &b, 8);
            return d;
        };
        qint64 lo = key(-std::numeric_limits<double>::max());
        qint64 hi = key(std::numeric_limits<double>::max());
        if (exactEntry(value(hi)) < k) return std::numeric_limits<double>::infinity();
        // The multiply-add puts the threshold within rounding of its estimate: start from a
        // narrow bracket around it, and from the whole range only if that does not hold.
        const double guess = (double(k) - offset) / scale;
        const double reach = 4.0 * tol / scale;
        if (std::isfinite(guess) && exactEntry(guess - reach) < k &&
            exactEntry(guess + reach) >= k) {
            lo = key(guess - reach);
            hi = key(guess + reach);
        }
        // invariant: entry(lo) < k <= entry(hi); the keys span more than a signed 64-bit range
        while (quint64(hi) - quint64(lo) > 1) {
            const qint64 mid = qint64(quint64(lo) + (quint64(hi) - quint64(lo)) / 2);
            if (exactEntry(value(mid)) >= k)
                hi = mid;
            else
                lo = mid;
        }
        return value(hi);
    }
};

// Settles an estimate that lies within rounding of an entry boundary.
[[gnu::noinline]] int settledEntry(double v, int e, const Mapping &m)
{
    e = qMin(e, m.last);
    return e - int(v < m.start[size_t(e)]) + int(v >= m.start[size_t(e) + 1]);
}

// Writes the pixel of entry e at position i of a row; the tables are passed in, so that
// the loops do not look up the function-local statics on every pixel.
template <int Format>
inline void putEntry(uchar *dst, int i, int e, const quint32 *ramp, const uchar *grey)
{
    if constexpr (Format == ColorBar0::kFormatGrayscale8) {
        dst[i] = grey[e];
    } else {
        const quint32 px = ramp[e];
        if constexpr (Format == ColorBar0::kFormatRgb888) {
            dst[3 * i] = uchar(px >> 16);
            dst[3 * i + 1] = uchar(px >> 8);
            dst[3 * i + 2] = uchar(px);
        } else {
            // Little-endian 0xffRRGGBB is the byte sequence blue, green, red, 255.
            const quint32 le = qToLittleEndian(px);
            std::memcpy(dst + 4 * i, &le, 4);
        }
    }
}

template <int Format, bool Exact>
void writeRow(uchar *dst, const double *v, const quint8 *ok, int n, const Mapping &m)
{
    constexpr bool kGrey = Format == ColorBar0::kFormatGrayscale8;
    constexpr int kInvalid = kGrey ? 256 : ColorBar0::kRampSize;
    const quint32 *ramp = ColorBar0::rampPixels().data();
    const uchar *grey = ColorBar0::greyTable().data();
    if constexpr (Exact) {
        for (int i = 0; i < n; ++i)
            putEntry<Format>(dst, i, ok[i] ? m.exactEntry(v[i]) : kInvalid, ramp, grey);
    } else {
        // Locals: stores through dst could alias the mapping and force reloads in the loop.
        // The position is kept in 32.32 fixed point: the whole part is the entry, the
        // fraction tells whether rounding could have moved it across a boundary. Clamping
        // half an entry beyond both ends keeps the ends (and NaN, at the low end) away
        // from any boundary without changing their entry.
        const double scale = m.scale * 0x1p32, offset = m.offset * 0x1p32;
        const double lowest = 0.5 * 0x1p32, highest = (m.entries + 0.5) * 0x1p32;
        const quint32 tol = quint32(m.tol * 0x1p32) + 1;
        for (int i = 0; i < n; ++i) {
            double t = v[i] * scale + offset;
            t = t > lowest ? t : lowest;
            t = t < highest ? t : highest;
            const qint64 fixed = qint64(t);
            int e = int(fixed >> 32);
            if constexpr (kGrey) e = e < 255 ? e : 255;
            if (quint32(quint32(fixed) + tol) < 2 * tol) [[unlikely]]
                e = settledEntry(v[i], e, m);
            putEntry<Format>(dst, i, ok[i] ? e : kInvalid, ramp, grey);
        }
    }
}

template <int Format>
void writeRow(uchar *dst, const double *v, const quint8 *ok, int n, const Mapping &m, bool fast)
{
    if (fast)
        writeRow<Format, false>(dst, v, ok, n, m);
    else
        writeRow<Format, true>(dst, v, ok, n, m);
}

} // namespace

const std::array<uchar, ColorBar0::kGreySize> &ColorBar0::greyTable()
{
    static const std::array<uchar, kGreySize> table = [] {
        std::array<uchar, kGreySize> t{};
        for (int i = 0; i < 256; ++i)
            t[size_t(i)] = uchar(i);
        t[256] = kInvalidGrey;
        return t;
    }();
    return table;
}

const std::array<uchar, 3 * ColorBar0::kRampSize> &ColorBar0::rampTable()
{
    static const std::array<uchar, 3 *kRampSize> table = [] {
        std::array<uchar, 3 * kRampSize> t{};
        auto set = [&t](int i, int r, int g, int b) {
            t[size_t(3 * i)] = uchar(r);
            t[size_t(3 * i + 1)] = uchar(g);
            t[size_t(3 * i + 2)] = uchar(b);
        };
        for (int i = 0; i < 256; ++i)
            set(i, i, 0, 0);
        for (int i = 256; i <= 510; ++i)
            set(i, 255, i - 255, 0);
        for (int i = 511; i <= 765; ++i)
            set(i, 255, 255, i - 510);
        set(766, 255, 255, 255);
        return t;
    }();
    return table;
}

const std::array<quint32, ColorBar0::kRampSize + 1> &ColorBar0::rampPixels()
{
    static const std::array<quint32, kRampSize + 1> table = [] {
        std::array<quint32, kRampSize + 1> t{};
        const auto &rgb = rampTable();
        for (int i = 0; i < kRampSize; ++i)
            t[size_t(i)] = qRgb(rgb[size_t(3 * i)], rgb[size_t(3 * i + 1)], rgb[size_t(3 * i + 2)]);
        t[kRampSize] = qRgb(210, 220, 210);
        return t;
    }();
    return table;
}

const QList<QColor> &ColorBar0::markerPalette()
{
    static const QList<QColor> palette{
        QColor(255, 0, 0),   QColor(0, 255, 0),   QColor(0, 0, 255),
        QColor(255, 200, 0), QColor(255, 0, 200), QColor(200, 255, 0),
        QColor(200, 0, 255), QColor(0, 255, 200), QColor(0, 200, 255),
    };
    return palette;
}

QColor ColorBar0::paletteColor(int n)
{
    const auto &palette = markerPalette();
    if (palette.isEmpty()) return QColor(0, 0, 0);
    const int size = int(palette.size());
    return palette[((n % size) + size) % size];
}

bool ColorBar0::isSupportedFormat(int format)
{
    return format == kFormatRgb32 || format == kFormatArgb32 || format == kFormatRgb888 ||
           format == kFormatGrayscale8;
}

int ColorBar0::bytesPerPixel(int format)
{
    switch (format) {
    case kFormatRgb32:
    case kFormatArgb32:
        return 4;
    case kFormatRgb888:
        return 3;
    default:
        return 1;
    }
}

int ColorBar0::rowLength(int width, int format)
{
    return int(std::ceil(double(bytesPerPixel(format)) * width * 0.25) * 4);
}

std::unique_ptr<uchar[]> ColorBar0::newPixelBuffer(int width, int height, int format)
{
    const qint64 bytes = qint64(rowLength(width, format)) * height;
    if (bytes < 1) return nullptr;
    return std::make_unique<uchar[]>(size_t(bytes));
}

std::unique_ptr<QImage> ColorBar0::wrapBuffer(uchar *buffer, int width, int height, int format)
{
    if (!buffer || !isSupportedFormat(format)) return nullptr;
    return std::make_unique<QImage>(buffer, width, height, rowLength(width, format),
                                    QImage::Format(format));
}

int ColorBar0::entryOfFraction(double t, bool valid) const
{
    t = limit01(t);
    if (isGrayScale()) return valid ? qMin(int(t * 256.0), 255) : 256;
    return valid ? int(t * kLastRamp) : kRampSize;
}

int ColorBar0::entryOfIndex(int i, bool valid) const
{
    if (isGrayScale()) return valid ? qBound(0, i, 255) : 256;
    return valid ? qBound(0, i, kLastRamp) : kRampSize;
}

QColor ColorBar0::colorOfEntry(int entry) const
{
    if (isGrayScale()) {
        const int g = greyTable()[size_t(qBound(0, entry, 256))];
        return QColor(g, g, g);
    }
    if (!isSupportedFormat(m_pixelFormat)) return QColor(0, 0, 0);
    return QColor::fromRgb(rampPixels()[size_t(qBound(0, entry, int(kRampSize)))]);
}

double ColorBar0::stretched(double f) const
{
    return limit01((f - m_lowerMarker) / (m_upperMarker - m_lowerMarker));
}

uchar *ColorBar0::writePixel(uchar *dst, double f, bool valid) const
{
    const int e = entryOfFraction(stretched(f), valid);
    switch (m_pixelFormat) {
    case kFormatRgb32:
    case kFormatArgb32: {
        const quint32 px = qToLittleEndian(rampPixels()[size_t(e)]);
        std::memcpy(dst, &px, 4);
        return dst + 4;
    }
    case kFormatRgb888: {
        const QRgb px = rampPixels()[size_t(e)];
        dst[0] = uchar(qRed(px));
        dst[1] = uchar(qGreen(px));
        dst[2] = uchar(qBlue(px));
        return dst + 3;
    }
    case kFormatGrayscale8:
        *dst = greyTable()[size_t(e)];
        return dst + 1;
    default:
        // An unknown format has one byte a pixel and no colour of its own.
        *dst = 0;
        return dst + 1;
    }
}

QColor ColorBar0::colorOf(double f, bool valid) const
{
    return colorOfEntry(entryOfFraction(stretched(f), valid));
}

QColor ColorBar0::colorOfValue(double v, bool valid) const
{
    return colorOf((v - m_valueMin) / (m_valueMax - m_valueMin), valid);
}

void ColorBar0::writeImage(uchar *buffer, const double *values, const quint8 *validFlags, int width,
                           int height, double low, double high) const
{
    if (!buffer || width < 1 || height < 1) return;
    const qsizetype stride = rowLength(width, m_pixelFormat);
    Mapping m{low,
              high - low,
              m_lowerMarker,
              m_upperMarker - m_lowerMarker,
              isGrayScale() ? 256.0 : double(kLastRamp),
              isGrayScale() ? 255 : kLastRamp,
              0.0,
              0.0,
              0.0,
              {}};
    const bool fast = m.prepare();
    for (int y = 0; y < height; ++y) {
        uchar *dst = buffer + stride * y;
        const qsizetype at = qsizetype(y) * width;
        const double *v = values + at;
        const quint8 *ok = validFlags + at;
        if (!isSupportedFormat(m_pixelFormat)) {
            for (int x = 0; x < width; ++x)
                dst = writePixel(dst, (v[x] - low) / m.range, ok[x] != 0);
            continue;
        }
        switch (m_pixelFormat) {
        case kFormatRgb32:
        case kFormatArgb32:
            writeRow<kFormatRgb32>(dst, v, ok, width, m, fast);
            break;
        case kFormatRgb888:
            writeRow<kFormatRgb888>(dst, v, ok, width, m, fast);
            break;
        default:
            writeRow<kFormatGrayscale8>(dst, v, ok, width, m, fast);
            break;
        }
    }
}
