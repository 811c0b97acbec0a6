#include "io/ImgFile.h"

#include "core/TDDataHeader.h"
#include "core/TDDataWL.h"
#include "io/BadPixelList.h"
#include "io/HpkImgReader.h"
#include "io/KwnbCtReader.h"
#include "io/PictureReader.h"
#include "io/RecordRasterReader.h"
#include "io/SizeTableReader.h"
#include "io/TextMatrixReader.h"
#include "io/TiffReader.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Calls f with a null pointer of the element type of a pixel type.
template <typename F> decltype(auto) visitElement(int type, F &&f)
{
    switch (type) {
    case ImgFile::TiffU16:
    case ImgFile::U16:
        return f(static_cast<const quint16 *>(nullptr));
    case ImgFile::U32:
        return f(static_cast<const quint32 *>(nullptr));
    case ImgFile::Float:
        return f(static_cast<const float *>(nullptr));
    default:
        return f(static_cast<const double *>(nullptr));
    }
}

// Truncation toward zero into an integer element, saturating instead of overflowing.
template <typename T> T truncatedTo(double v)
{
    if (!(v == v)) return 0;
    constexpr double lo = double(std::numeric_limits<T>::min());
    constexpr double hi = double(std::numeric_limits<T>::max());
    return v <= lo ? T(lo) : v >= hi ? std::numeric_limits<T>::max() : T(v);
}

// Smallest, largest and smallest non-zero element; written as plain selects so that the
// loop vectorises (std::min/std::max on references do not).
template <typename T> struct IntExtremes
{
    T lo = std::numeric_limits<T>::max();
    T hi = 0;
    T loNonZero = std::numeric_limits<T>::max();

    void scan(const T *p, qsizetype n)
    {
        T a = lo;
        T b = hi;
        T c = loNonZero;
        for (qsizetype i = 0; i < n; ++i) {
            const T v = p[i];
            a = v < a ? v : a;
            b = v > b ? v : b;
            const T nz = v != 0 ? v : std::numeric_limits<T>::max();
            c = nz < c ? nz : c;
        }
        lo = a;
        hi = b;
        loNonZero = c;
    }
};

// Without SSE4.1 there is no unsigned 16-bit min/max in vector form, and the compiler
// does not vectorise this loop by itself: flipping the top bit maps the order onto signed
// 16-bit, which SSE2 has.
template <> void IntExtremes<quint16>::scan(const quint16 *p, qsizetype n)
{
    qint16 a = qint16(lo ^ 0x8000);
    qint16 b = qint16(hi ^ 0x8000);
    qint16 c = qint16(loNonZero ^ 0x8000);
    qsizetype i = 0;
#if defined(__SSE2__)
    const __m128i flip = _mm_set1_epi16(qint16(-32768));
    const __m128i top = _mm_set1_epi16(32767);
    __m128i va = _mm_set1_epi16(a);
    __m128i vb = _mm_set1_epi16(b);
    __m128i vc = _mm_set1_epi16(c);
    for (; i + 8 <= n; i += 8) {
        const __m128i s =
            _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i)), flip);
        va = _mm_min_epi16(va, s);
        vb = _mm_max_epi16(vb, s);
        const __m128i zero = _mm_cmpeq_epi16(s, flip);
        vc = _mm_min_epi16(vc, _mm_or_si128(_mm_and_si128(zero, top), _mm_andnot_si128(zero, s)));
    }
    alignas(16) qint16 ta[8];
    alignas(16) qint16 tb[8];
    alignas(16) qint16 tc[8];
    _mm_store_si128(reinterpret_cast<__m128i *>(ta), va);
    _mm_store_si128(reinterpret_cast<__m128i *>(tb), vb);
    _mm_store_si128(reinterpret_cast<__m128i *>(tc), vc);
    for (int k = 0; k < 8; ++k) {
        a = ta[k] < a ? ta[k] : a;
        b = tb[k] > b ? tb[k] : b;
        c = tc[k] < c ? tc[k] : c;
    }
#endif
    for (; i < n; ++i) {
        const qint16 s = qint16(p[i] ^ 0x8000);
        a = s < a ? s : a;
        b = s > b ? s : b;
        const qint16 nz = s != qint16(-32768) ? s : qint16(32767);
        c = nz < c ? nz : c;
    }
    lo = quint16(a) ^ 0x8000;
    hi = quint16(b) ^ 0x8000;
    loNonZero = quint16(c) ^ 0x8000;
}

int clampedInt(double v)
{
    if (!(v == v)) return 0;
    return int(std::clamp(v, double(INT_MIN), double(INT_MAX)));
}

} // namespace

ImgFile::ImgFile() : m_badPixels(&BadPixelList::processWide()) {}

ImgFile::~ImgFile() = default;

ImgFile::ImgFile(ImgFile &&other) noexcept
{
    swap(other);
}

ImgFile &ImgFile::operator=(ImgFile &&other) noexcept
{
    swap(other);
    return *this;
}

void ImgFile::swap(ImgFile &o) noexcept
{
    std::swap(m_displayFormat, o.m_displayFormat);
    m_fileName.swap(o.m_fileName);
    std::swap(m_width, o.m_width);
    std::swap(m_height, o.m_height);
    std::swap(m_sensorX, o.m_sensorX);
    std::swap(m_sensorY, o.m_sensorY);
    std::swap(m_badPixels, o.m_badPixels);
    std::swap(m_min, o.m_min);
    std::swap(m_max, o.m_max);
    m_raster.swap(o.m_raster);
    std::swap(m_rowBytes, o.m_rowBytes);
    std::swap(m_rowCount, o.m_rowCount);
    m_previewBuffer.swap(o.m_previewBuffer);
    m_preview.swap(o.m_preview);
    std::swap(m_exposureMs, o.m_exposureMs);
    std::swap(m_originX, o.m_originX);
    std::swap(m_originY, o.m_originY);
    std::swap(m_pixelType, o.m_pixelType);
    m_formatName.swap(o.m_formatName);
}

int ImgFile::elementSize(int pixelType)
{
    switch (pixelType) {
    case TiffU16:
    case U16:
        return 2;
    case U32:
    case Float:
        return 4;
    case Double:
    case PictureD:
    case TextD:
        return 8;
    default:
        return 0;
    }
}

int ImgFile::read(const QString &fileName, BadPixelList *badPixels)
{
    if (badPixels) m_badPixels = badPixels;
    ImgFile fresh;
    fresh.m_badPixels = m_badPixels;
    fresh.m_displayFormat = m_displayFormat;
    if (!fresh.dispatch(fileName)) return 0;
    fresh.m_fileName = fileName;
    swap(fresh);
    return 1;
}

int ImgFile::dispatch(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "Can not open (1)" << fileName;
        return 0;
    }
    const QByteArray head = file.read(15);
    file.close();
    if (head.size() < 15) {
        qDebug() << "Error on reading file (1)" << fileName;
        return 0;
    }
    if (head.startsWith("II") || head.startsWith("MM")) {
        const TiffReader::Result r = TiffReader::read(fileName, *this);
        if (r == TiffReader::Result::Read) return 1;
        // Layouts the TIFF reader does not handle may still suit Qt's own TIFF support.
        return r == TiffReader::Result::Declined && PictureReader::read(fileName, *this);
    }
    if (head.startsWith("IM")) return HpkImgReader::read(fileName, *this);
    if (head.startsWith("#KWNB-CTImg")) return KwnbCtReader::read(fileName, *this);
    if (head.startsWith("2dData") && TDDataHeader::read(fileName).accepted)
        return RecordRasterReader::read(fileName, *this);
    if (PictureReader::read(fileName, *this)) return 1;
    if (TextMatrixReader::read(fileName, *this)) return 1;
    return SizeTableReader::read(fileName, *this);
}

bool ImgFile::allocate(PixelType type, int width, int height, qint64 maxBytes)
{
    const int es = elementSize(type);
    if (width <= 0 || height <= 0 || es == 0) {
        qDebug() << "invalid image size (h,w) =" << height << width << m_fileName;
        return false;
    }
    // Compared by division: the product of two int sizes and an element size can overflow.
    if (qint64(width) * height > maxBytes / es) {
        qDebug() << "image size larger than the file can hold (h,w) =" << height << width
                 << m_fileName;
        return false;
    }
    PixelBuffer<quint8> raster;
    try {
        raster.resize(qint64(width) * height * es);
    } catch (const std::bad_alloc &) {
        qDebug() << "out of memory for image (h,w) =" << height << width << m_fileName;
        return false;
    }
    m_raster.swap(raster);
    m_pixelType = type;
    m_width = quint32(width);
    m_height = height;
    m_rowBytes = qsizetype(width) * es;
    m_rowCount = height;
    return true;
}

void ImgFile::adoptDoubleRows(PixelType type, int width, int height,
                              const std::vector<double> &rows, int rowCount)
{
    PixelBuffer<quint8> raster(qsizetype(rowCount) * qMax(width, 0) * 8);
    if (raster.size() > 0) std::memcpy(raster.data(), rows.data(), size_t(raster.size()));
    m_raster.swap(raster);
    m_pixelType = type;
    // A negative width comes only without rows, so it is kept as the header gave it.
    m_width = rowCount > 0 ? quint32(qMax(width, 0)) : quint32(width);
    m_height = height;
    m_rowBytes = qsizetype(qMax(width, 0)) * 8;
    m_rowCount = rowCount;
}

void ImgFile::widenRows(int firstRow, int count)
{
    const qsizetype n = qsizetype(count) * m_width;
    visitElement(m_pixelType, [&](auto tag) {
        using T = std::remove_const_t<std::remove_pointer_t<decltype(tag)>>;
        const T *p = row<T>(firstRow);
        if (n <= 0) return;
        if constexpr (std::is_integral_v<T>) {
            IntExtremes<T> e;
            e.scan(p, n);
            widen(double(e.lo));
            widen(double(e.hi));
        } else {
            for (qsizetype i = 0; i < n; ++i)
                widen(double(p[i]));
        }
    });
}

double ImgFile::stored(int col, int rowIndex) const
{
    return visitElement(m_pixelType, [&](auto tag) {
        using T = std::remove_const_t<std::remove_pointer_t<decltype(tag)>>;
        return double(row<T>(rowIndex)[col]);
    });
}

double ImgFile::value(int x, int y) const
{
    if (m_pixelType == Nothing) return 0.0;
    const qint64 col = qint64(x) - m_originX;
    const qint64 r = qint64(y) - m_originY;
    if (col < 0 || col >= qint64(m_width) || r < 0 || r >= m_rowCount) return 0.0;
    return stored(int(col), int(r));
}

void ImgFile::setValue(int x, int y, double v)
{
    if (m_pixelType == Nothing) return;
    const qint64 col = qint64(x) - m_originX;
    const qint64 r = qint64(y) - m_originY;
    if (col < 0 || col >= qint64(m_width) || r < 0 || r >= m_rowCount) return;
    switch (m_pixelType) {
    case TiffU16:
    case U16:
        row<quint16>(int(r))[col] = truncatedTo<quint16>(v);
        break;
    case U32:
        row<quint32>(int(r))[col] = truncatedTo<quint32>(v);
        break;
    case Float:
        row<float>(int(r))[col] = narrowed(v);
        break;
    default:
        row<double>(int(r))[col] = v;
        break;
    }
}

double ImgFile::neighbourMean(int x, int y) const
{
    static constexpr int kOffsets[8][2] = {{-1, -1}, {-1, 0}, {-1, 1}, {0, -1},
                                           {0, 1},   {1, -1}, {1, 0},  {1, 1}};
    const bool listEnabled = m_badPixels && m_badPixels->isEnabled();
    double sum = 0.0;
    int count = 0;
    for (const auto &d : kOffsets) {
        const qint64 nx = qint64(x) + d[0];
        const qint64 ny = qint64(y) + d[1];
        // The neighbour below is tested on the row above: kept on purpose, so on the last row
        // it counts as 0.0 and on the first row it never counts.
        const qint64 testY = (d[0] == 0 && d[1] == 1) ? qint64(y) - 1 : ny;
        const qint64 col = nx - m_originX;
        const qint64 r = testY - m_originY;
        if (col < 0 || col >= qint64(m_width) || r < 0 || r >= m_rowCount) continue;
        if (listEnabled && m_badPixels->contains(int(nx + m_sensorX), int(ny + m_sensorY)))
            continue;
        sum += value(int(nx), int(ny));
        ++count;
    }
    return count > 0 ? sum / count : 0.0;
}

void ImgFile::correctBadPixels()
{
    if (!m_badPixels || m_pixelType == Nothing) return;
    for (const QPoint &p : m_badPixels->pixels()) {
        const qint64 x = qint64(p.x()) - m_sensorX;
        const qint64 y = qint64(p.y()) - m_sensorY;
        const qint64 col = x - m_originX;
        const qint64 r = y - m_originY;
        if (col < 0 || col >= qint64(m_width) || r < 0 || r >= m_rowCount) continue;
        setValue(int(x), int(y), neighbourMean(int(x), int(y)));
    }
}

void ImgFile::renderPreview()
{
    m_preview.reset();
    m_previewBuffer.reset();
    const int format = m_displayFormat;
    const int bpp = (format == QImage::Format_RGB32 || format == QImage::Format_ARGB32) ? 4
                    : format == QImage::Format_RGB888                                   ? 3
                                                                                        : 1;
    const qint64 w = m_width;
    const qint64 stride = (bpp * w + 3) / 4 * 4;
    if (bpp * w < 1 || m_rowCount < 1) return;
    m_previewBuffer = std::make_unique<uchar[]>(size_t(stride * m_rowCount));
    const double span = m_max - m_min;
    for (int y = 0; y < m_rowCount; ++y) {
        uchar *out = m_previewBuffer.get() + stride * y;
        for (qint64 x = 0; x < w; ++x) {
            const double t = (stored(int(x), y) - m_min) / span;
            const uchar g = t > 0.0 ? uchar(std::min(t, 1.0) * 255.0 + 0.5) : 0;
            if (bpp == 1) {
                out[x] = g;
            } else if (bpp == 3) {
                out[3 * x] = out[3 * x + 1] = out[3 * x + 2] = g;
            } else {
                const quint32 px = 0xff000000u | (quint32(g) << 16) | (quint32(g) << 8) | g;
                std::memcpy(out + 4 * x, &px, 4);
            }
        }
    }
    const QImage::Format qf = bpp == 4   ? QImage::Format(format)
                              : bpp == 3 ? QImage::Format_RGB888
                                         : QImage::Format_Grayscale8;
    m_preview =
        std::make_unique<QImage>(m_previewBuffer.get(), int(w), m_rowCount, int(stride), qf);
}

void ImgFile::clear()
{
    m_raster = PixelBuffer<quint8>();
    m_rowCount = 0;
    m_preview.reset();
    m_previewBuffer.reset();
}

double ImgFile::sumAround(int x, int y, int halfWidthX, int halfWidthY) const
{
    if (m_pixelType == Nothing || halfWidthX < 0 || halfWidthY < 0) return 0.0;
    const qint64 cx = qint64(x) - m_originX;
    const qint64 cy = qint64(y) - m_originY;
    const qint64 c0 = std::max<qint64>(cx - halfWidthX, 0);
    const qint64 c1 = std::min<qint64>(cx + halfWidthX, qint64(m_width) - 1);
    const qint64 r0 = std::max<qint64>(cy - halfWidthY, 0);
    const qint64 r1 = std::min<qint64>(cy + halfWidthY, qint64(m_rowCount) - 1);
    double sum = 0.0;
    visitElement(m_pixelType, [&](auto tag) {
        using T = std::remove_const_t<std::remove_pointer_t<decltype(tag)>>;
        for (qint64 r = r0; r <= r1; ++r) {
            const T *p = row<T>(int(r));
            for (qint64 c = c0; c <= c1; ++c)
                sum += double(p[c]);
        }
    });
    return sum;
}

double ImgFile::meanOfRect(double x0, double y0, double widthM1, double heightM1) const
{
    const qint64 w = qint64(clampedInt(widthM1)) + 1;
    const qint64 h = qint64(clampedInt(heightM1)) + 1;
    if (w <= 0 || h <= 0) return 0.0;
    const qint64 left = clampedInt(x0);
    const qint64 top = clampedInt(y0);
    // The block's sum equals sumAround of an odd block only when w and h are odd, so sum
    // the clipped rectangle directly.
    const qint64 c0 = std::max<qint64>(left - m_originX, 0);
    const qint64 c1 = std::min<qint64>(left + w - 1 - m_originX, qint64(m_width) - 1);
    const qint64 r0 = std::max<qint64>(top - m_originY, 0);
    const qint64 r1 = std::min<qint64>(top + h - 1 - m_originY, qint64(m_rowCount) - 1);
    double sum = 0.0;
    if (m_pixelType != Nothing) {
        visitElement(m_pixelType, [&](auto tag) {
            using T = std::remove_const_t<std::remove_pointer_t<decltype(tag)>>;
            for (qint64 r = r0; r <= r1; ++r) {
                const T *p = row<T>(int(r));
                for (qint64 c = c0; c <= c1; ++c)
                    sum += double(p[c]);
            }
        });
    }
    return sum / double(w * h);
}

std::unique_ptr<TDDataWL> ImgFile::toRecord() const
{
    const int w = int(m_width);
    const int h = std::min(m_height, m_rowCount);
    if (m_pixelType == Nothing || w <= 0 || h <= 0) return nullptr;
    auto record = std::make_unique<TDDataWL>(w, h);
    record->setDataId(QFileInfo(m_fileName).completeBaseName());
    double *values = record->values();
    visitElement(m_pixelType, [&](auto tag) {
        using T = std::remove_const_t<std::remove_pointer_t<decltype(tag)>>;
        if constexpr (std::is_integral_v<T>) {
            // Widening by the extremes gives the same statistics as widening by every value,
            // and the extremes are found far faster in the narrow integer type.
            IntExtremes<T> e;
            for (int y = 0; y < h; ++y) {
                const T *in = row<T>(y);
                double *out = values + qsizetype(y) * w;
                for (int x = 0; x < w; ++x)
                    out[x] = double(in[x]);
                e.scan(in, w);
            }
            double extremes[3] = {double(e.lo), double(e.hi), double(e.loNonZero)};
            record->widenStatistics(extremes, e.hi != 0 ? 3 : 2);
        } else {
            for (int y = 0; y < h; ++y) {
                const T *in = row<T>(y);
                double *out = values + qsizetype(y) * w;
                for (int x = 0; x < w; ++x)
                    out[x] = double(in[x]);
                // Widening while the row is still in cache.
                record->widenStatistics(out, w);
            }
        }
    });
    std::memset(record->validFlags(), 1, size_t(qsizetype(w) * h));
    return record;
}
