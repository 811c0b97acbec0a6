#pragma once

// Small files of every format the image readers know, written for the tests.
#include "../support/RecordFixtures.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QtEndian>

#include <tiffio.h>

#include <cstring>
#include <functional>
#include <vector>

namespace ImageTestFiles {

struct TiffLayout
{
    int width = 4;
    int height = 3;
    int bits = 16;
    int format = SAMPLEFORMAT_UINT;
    int samples = 1;
    int compression = COMPRESSION_NONE;
    double exposureSeconds = -1.0; // none when negative
    int pages = 1;
    bool tiled = false;
};

// Host byte order, which is what libtiff expects of the buffers it is handed.
inline void putSample(std::vector<uchar> &buf, size_t at, const TiffLayout &s, double v)
{
    const float f = float(v);
    const qint64 i = qint64(v);
    const uchar i8 = uchar(i);
    const quint16 i16 = quint16(i);
    const quint32 i32 = quint32(i);
    const void *from = s.format == SAMPLEFORMAT_IEEEFP ? (s.bits == 32 ? (const void *)&f : &v)
                       : s.bits == 8                   ? (const void *)&i8
                       : s.bits == 16                  ? (const void *)&i16
                                                       : &i32;
    std::memcpy(buf.data() + at, from, size_t(s.bits / 8));
}

// value(x, y, page) gives every sample (all samples of a pixel alike).
inline bool writeTiff(const QString &path, const TiffLayout &s,
                      const std::function<double(int, int, int)> &value)
{
    TIFF *tif = TIFFOpen(QFile::encodeName(path).constData(), "w");
    if (!tif) return false;
    const int bytes = s.bits / 8;
    for (int page = 0; page < s.pages; ++page) {
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(s.width));
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(s.height));
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, uint16_t(s.bits));
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, uint16_t(s.samples));
        TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT, uint16_t(s.format));
        TIFFSetField(tif, TIFFTAG_COMPRESSION, uint16_t(s.compression));
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC,
                     uint16_t(s.samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK));
        TIFFSetField(tif, TIFFTAG_PLANARCONFIG, uint16_t(PLANARCONFIG_CONTIG));
        if (s.pages > 1) {
            TIFFSetField(tif, TIFFTAG_SUBFILETYPE, uint32_t(FILETYPE_PAGE));
            TIFFSetField(tif, TIFFTAG_PAGENUMBER, uint16_t(page), uint16_t(s.pages));
        }
        if (page == 0 && s.exposureSeconds >= 0) TIFFSetField(tif, TIFFTAG_EXIFIFD, uint64_t(0));
        // The whole page first; strips and tiles are cut from it.
        const size_t px = size_t(s.samples * bytes), line = px * size_t(s.width);
        std::vector<uchar> image(line * size_t(s.height));
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                for (int c = 0; c < s.samples; ++c)
                    putSample(image, line * y + px * x + size_t(c * bytes), s, value(x, y, page));
        if (s.tiled) {
            TIFFSetField(tif, TIFFTAG_TILEWIDTH, uint32_t(16));
            TIFFSetField(tif, TIFFTAG_TILELENGTH, uint32_t(16));
            std::vector<uchar> tile(16 * 16 * px);
            for (int ty = 0; ty < s.height; ty += 16) {
                for (int tx = 0; tx < s.width; tx += 16) {
                    std::fill(tile.begin(), tile.end(), 0);
                    for (int y = ty; y < qMin(ty + 16, s.height); ++y)
                        std::memcpy(tile.data() + (y - ty) * 16 * px,
                                    image.data() + line * y + px * tx,
                                    px * size_t(qMin(16, s.width - tx)));
                    if (TIFFWriteTile(tif, tile.data(), uint32_t(tx), uint32_t(ty), 0, 0) < 0)
                        return TIFFClose(tif), false;
                }
            }
        } else {
            TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, uint32_t(2));
            for (int y = 0; y < s.height; ++y)
                if (TIFFWriteScanline(tif, image.data() + line * y, uint32_t(y), 0) < 0)
                    return TIFFClose(tif), false;
        }
        if (!TIFFWriteDirectory(tif)) return TIFFClose(tif), false;
    }
    if (s.exposureSeconds >= 0) {
        uint64_t offset = 0;
        if (TIFFCreateEXIFDirectory(tif) != 0) return TIFFClose(tif), false;
        TIFFSetField(tif, EXIFTAG_EXPOSURETIME, s.exposureSeconds);
        if (!TIFFWriteCustomDirectory(tif, &offset)) return TIFFClose(tif), false;
        TIFFSetDirectory(tif, 0);
        TIFFSetField(tif, TIFFTAG_EXIFIFD, offset);
        TIFFRewriteDirectory(tif);
    }
    TIFFClose(tif);
    return true;
}

// An HPK IMG file: 64-byte header, comment, little-endian pixels.
inline QByteArray hpkImgBytes(int w, int h, int offsetX, int offsetY, const QByteArray &comment,
                              int bytesPerPixel, const std::function<quint32(int, int)> &value)
{
    QByteArray b = "IM" + QByteArray(62, '\0');
    for (const auto &[at, v] :
         {std::pair{2, int(comment.size())}, {4, w}, {6, h}, {8, offsetX}, {10, offsetY}})
        qToLittleEndian<quint16>(quint16(v), b.data() + at);
    b += comment;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            char px[4];
            qToLittleEndian<quint32>(value(x, y), px); // little-endian: the low half first
            b.append(px, bytesPerPixel == 4 ? 4 : 2);
        }
    return b;
}

} // namespace ImageTestFiles
