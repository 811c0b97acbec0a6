#include "io/PictureReader.h"

#include "io/ImgFile.h"

#include <QDebug>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>

namespace {

// Compressed pictures may decode to far more than their file size, but not unboundedly.
constexpr qint64 kMaxExpansion = 1100;

} // namespace

bool PictureReader::read(const QString &fileName, ImgFile &img)
{
    QImageReader reader(fileName);
    const QByteArray format = reader.format();
    if (format.isEmpty()) return false;
    // Qt would allocate whatever a header declares, up to its own generous limit.
    const qint64 fileSize = QFileInfo(fileName).size();
    const qint64 maxPixels = fileSize * kMaxExpansion + 4096;
    const QSize declared = reader.size();
    if (declared.isValid() && qint64(declared.width()) * declared.height() > maxPixels) {
        qDebug() << "image size larger than the file can hold (h,w) =" << declared.height()
                 << declared.width() << fileName;
        return false;
    }
    reader.setAllocationLimit(int(qBound(qint64(1), (8 * maxPixels) >> 20, qint64(1024))));
    const QImage picture = reader.read();
    if (picture.isNull()) return false;
    const int w = picture.width();
    const int h = picture.height();
    img.setFileName(fileName);
    if (!img.allocate(ImgFile::PictureD, w, h, 8 * maxPixels)) return false;
    if (picture.format() == QImage::Format_Grayscale16) {
        for (int y = 0; y < h; ++y) {
            const quint16 *in = reinterpret_cast<const quint16 *>(picture.constScanLine(y));
            double *out = img.row<double>(y);
            for (int x = 0; x < w; ++x)
                out[x] = in[x];
        }
    } else if (picture.isGrayscale()) {
        const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
        for (int y = 0; y < h; ++y) {
            const uchar *in = grey.constScanLine(y);
            double *out = img.row<double>(y);
            for (int x = 0; x < w; ++x)
                out[x] = in[x];
        }
    } else {
        const QImage rgb = picture.convertToFormat(QImage::Format_RGB32);
        for (int y = 0; y < h; ++y) {
            const QRgb *in = reinterpret_cast<const QRgb *>(rgb.constScanLine(y));
            double *out = img.row<double>(y);
            for (int x = 0; x < w; ++x)
                out[x] = qGray(in[x]);
        }
    }
    img.widenRows(0, h);
    img.setFormatName(QStringLiteral("picture (%1)").arg(QString::fromLatin1(format)));
    return true;
}
