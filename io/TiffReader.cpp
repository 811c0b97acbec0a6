#include "io/TiffReader.h"

#include "io/ImgFile.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <tiffio.h>

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

// libtiff's complaints go to the debug log, per file, instead of its global stderr handler.
int toDebugLog(TIFF *, void *, const char *module, const char *fmt, va_list ap)
{
    char text[512];
    std::vsnprintf(text, sizeof text, fmt, ap);
    qDebug().noquote() << "libtiff:" << (module ? module : "") << text;
    return 1;
}

struct TiffClose
{
    void operator()(TIFF *tif) const { TIFFClose(tif); }
};
struct OptionsFree
{
    void operator()(TIFFOpenOptions *o) const { TIFFOpenOptionsFree(o); }
};
struct TiffFree
{
    void operator()(void *p) const { _TIFFfree(p); }
};

// Deflate cannot expand data more than about 1032 times.
constexpr qint64 kMaxExpansion = 1100;

// Element type of the raster for a sample layout; Nothing when not handled.
ImgFile::PixelType typeFor(uint16_t bits, uint16_t format)
{
    if (bits == 16) return ImgFile::TiffU16; // the sample format is not consulted for 16-bit files
    const bool uintFmt = format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID;
    if (bits == 8)
        return uintFmt                      ? ImgFile::U16
               : format == SAMPLEFORMAT_INT ? ImgFile::Float
                                            : ImgFile::Nothing;
    if (bits == 32)
        return uintFmt                         ? ImgFile::U32
               : format == SAMPLEFORMAT_INT    ? ImgFile::Double
               : format == SAMPLEFORMAT_IEEEFP ? ImgFile::Float
                                               : ImgFile::Nothing;
    if (bits == 64 && format == SAMPLEFORMAT_IEEEFP) return ImgFile::Double;
    return ImgFile::Nothing;
}

template <typename From, typename To> void convertRow(const void *in, To *out, int n)
{
    const From *p = static_cast<const From *>(in);
    for (int i = 0; i < n; ++i)
        out[i] = To(p[i]);
}

void convertScanline(const void *in, ImgFile &img, int y, uint16_t bits, uint16_t format)
{
    const int w = img.width();
    switch (img.pixelType()) {
    case ImgFile::U16:
        convertRow<uint8_t>(in, img.row<quint16>(y), w);
        break;
    case ImgFile::Float:
        if (bits == 8)
            convertRow<int8_t>(in, img.row<float>(y), w);
        else
            convertRow<float>(in, img.row<float>(y), w);
        break;
    case ImgFile::Double:
        if (format == SAMPLEFORMAT_INT)
            convertRow<int32_t>(in, img.row<double>(y), w);
        else
            convertRow<double>(in, img.row<double>(y), w);
        break;
    case ImgFile::U32:
        convertRow<uint32_t>(in, img.row<quint32>(y), w);
        break;
    default:
        convertRow<uint16_t>(in, img.row<quint16>(y), w);
        break;
    }
}

// The double a float was meant as: 0.025f becomes 0.025, not 0.0250000004.
double shortestDouble(float f)
{
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, f).ptr;
    double d = double(f);
    std::from_chars(text, end, d);
    return d;
}

} // namespace

TiffReader::Result TiffReader::read(const QString &fileName, ImgFile &img)
{
    const qint64 fileSize = QFileInfo(fileName).size();
    std::unique_ptr<TIFFOpenOptions, OptionsFree> options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &toDebugLog, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &toDebugLog, nullptr);
    // No single allocation inside libtiff may exceed what the file could decode to.
    TIFFOpenOptionsSetMaxSingleMemAlloc(
        options.get(),
        tmsize_t(qMin<qint64>(fileSize * kMaxExpansion + (1 << 20), qint64(1) << 31)));
    std::unique_ptr<TIFF, TiffClose> tif(
        TIFFOpenExt(QFile::encodeName(fileName).constData(), "r", options.get()));
    if (!tif) {
        qDebug() << "Can not open (2)" << fileName;
        return Result::Failed;
    }
    img.setFileName(fileName);
    uint32_t w = 0;
    uint32_t h = 0;
    if (!TIFFGetField(tif.get(), TIFFTAG_IMAGEWIDTH, &w) ||
        !TIFFGetField(tif.get(), TIFFTAG_IMAGELENGTH, &h) || w == 0 || h == 0 ||
        w > uint32_t(INT_MAX) || h > uint32_t(INT_MAX)) {
        qDebug() << "invalid image size (h,w) =" << h << w << fileName;
        return Result::Failed;
    }
    uint16_t bits = 1;
    uint16_t samples = 1;
    uint16_t format = SAMPLEFORMAT_UINT;
    uint16_t compression = COMPRESSION_NONE;
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_COMPRESSION, &compression);
    TIFFGetField(tif.get(), TIFFTAG_PHOTOMETRIC, &photometric);
    const ImgFile::PixelType type = typeFor(bits, format);
    if (type == ImgFile::Nothing || samples != 1 || TIFFIsTiled(tif.get()) ||
        photometric == PHOTOMETRIC_PALETTE) {
        qDebug() << "TIFF layout not read here: bits" << bits << "samples" << samples << "format"
                 << format << "tiled" << TIFFIsTiled(tif.get()) << fileName;
        return Result::Declined;
    }
    const qint64 scanline = TIFFScanlineSize64(tif.get());
    const qint64 needed = qint64(w) * bits / 8;
    if (scanline < needed) {
        qDebug() << "Error on reading (5)" << fileName << "scanline" << scanline;
        return Result::Failed;
    }
    // The raster may be wider per pixel than the file's samples (8-bit into 16-bit).
    const qint64 widening = qMax<qint64>(1, ImgFile::elementSize(type) * 8 / bits);
    const qint64 fileBytes = compression == COMPRESSION_NONE ? fileSize : fileSize * kMaxExpansion;
    if (!img.allocate(type, int(w), int(h), fileBytes * widening + 4096)) return Result::Failed;

    toff_t exifOffset = 0;
    const bool hasExif = TIFFGetField(tif.get(), TIFFTAG_EXIFIFD, &exifOffset) != 0;

    const qint64 rowBytes = qint64(w) * ImgFile::elementSize(type);
    const bool direct = scanline == rowBytes && ImgFile::elementSize(type) * 8 == bits &&
                        format != SAMPLEFORMAT_INT;
    std::unique_ptr<void, TiffFree> buffer;
    if (!direct) {
        buffer.reset(_TIFFmalloc(tmsize_t(scanline)));
        if (!buffer) {
            qDebug() << "Error on reading (5)" << fileName << "no memory for a scanline";
            return Result::Failed;
        }
    }
    for (int y = 0; y < int(h); ++y) {
        void *target = direct ? static_cast<void *>(img.row<quint8>(y)) : buffer.get();
        if (TIFFReadScanline(tif.get(), target, uint32_t(y), 0) < 0) {
            qDebug() << "Error on reading (5)" << fileName << "row" << y;
            return Result::Failed;
        }
        if (!direct) convertScanline(buffer.get(), img, y, bits, format);
        img.widenRows(y, 1);
    }

    if (hasExif && TIFFReadEXIFDirectory(tif.get(), exifOffset)) {
        // Depending on the libtiff version the rational comes back as float or double.
        const TIFFField *field = TIFFFieldWithTag(tif.get(), EXIFTAG_EXPOSURETIME);
        if (field && TIFFFieldSetGetSize(field) == 4) {
            float seconds = 0.0f;
            if (TIFFGetField(tif.get(), EXIFTAG_EXPOSURETIME, &seconds))
                img.setExposureTime(shortestDouble(seconds) * 1000.0);
        } else if (field && TIFFFieldSetGetSize(field) == 8) {
            double seconds = 0.0;
            if (TIFFGetField(tif.get(), EXIFTAG_EXPOSURETIME, &seconds))
                img.setExposureTime(seconds * 1000.0);
        }
    }
    tif.reset();
    img.setFormatName(QStringLiteral("TIFF"));
    img.correctBadPixels();
    return Result::Read;
}
