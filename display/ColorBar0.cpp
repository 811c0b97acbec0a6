#include "display/ColorBar0.h"

#include <QtEndian>

#include <cmath>
#include <cstring>

namespace {

constexpr int kLastRamp = ColorBar0::kRampSize - 1;

// NaN falls to the lower bound: comparisons with NaN are false.
inline double limit01(double u)
{
    u = u > 0.0 ? u : 0.0;
    return u < 1.0 ? u : 1.0;
}

// The same two divisions per pixel as writePixel, so that a rendered image and the
// bar's own colours agree at every entry boundary; limiting u to 0..1 keeps NaN at 0.
template <int Format>
void writeRow(uchar *dst, const double *v, const quint8 *ok, int n, double low, double range,
              double lower, double span)
{
    if constexpr (Format == ColorBar0::kFormatGrayscale8) {
        const auto &grey = ColorBar0::greyTable();
        for (int i = 0; i < n; ++i) {
            const double u = limit01(((v[i] - low) / range - lower) / span);
            dst[i] = grey[size_t(ok[i] ? qMin(int(u * 256.0), 255) : 256)];
        }
    } else {
        const auto &ramp = ColorBar0::rampPixels();
        for (int i = 0; i < n; ++i) {
            const double u = limit01(((v[i] - low) / range - lower) / span);
            const quint32 px = ramp[size_t(ok[i] ? int(u * kLastRamp) : ColorBar0::kRampSize)];
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
    const double range = high - low;
    const double span = m_upperMarker - m_lowerMarker;
    for (int y = 0; y < height; ++y) {
        uchar *dst = buffer + stride * y;
        const qsizetype at = qsizetype(y) * width;
        const double *v = values + at;
        const quint8 *ok = validFlags + at;
        if (!isSupportedFormat(m_pixelFormat)) {
            for (int x = 0; x < width; ++x)
                dst = writePixel(dst, (v[x] - low) / range, ok[x] != 0);
            continue;
        }
        switch (m_pixelFormat) {
        case kFormatRgb32:
        case kFormatArgb32:
            writeRow<kFormatRgb32>(dst, v, ok, width, low, range, m_lowerMarker, span);
            break;
        case kFormatRgb888:
            writeRow<kFormatRgb888>(dst, v, ok, width, low, range, m_lowerMarker, span);
            break;
        default:
            writeRow<kFormatGrayscale8>(dst, v, ok, width, low, range, m_lowerMarker, span);
            break;
        }
    }
}
