#include "io/HpkImgReader.h"

#include "io/ImgFile.h"

#include <QDebug>
#include <QFile>
#include <QtEndian>

namespace {

constexpr qint64 kHeaderBytes = 64;

} // namespace

QString HpkImgReader::commentValue(const QByteArray &comment, const char *key,
                                   const QString &defaultValue)
{
    const qsizetype at = comment.indexOf(key);
    if (at < 0) return defaultValue;
    const qsizetype start = at + qsizetype(qstrlen(key));
    qsizetype end = start;
    while (end < comment.size() && comment[end] != ',' && comment[end] != '\r' &&
           comment[end] != '\n' && comment[end] != '\0')
        ++end;
    QByteArray v = comment.mid(start, end - start).trimmed();
    if (v.size() >= 2 && v.startsWith('"') && v.endsWith('"')) v = v.mid(1, v.size() - 2);
    return QString::fromLatin1(v);
}

double HpkImgReader::exposureMilliseconds(const QString &text)
{
    const QStringList parts = text.simplified().split(QLatin1Char(' '));
    const double number = parts.value(0).toDouble();
    const QString unit = parts.value(1);
    if (unit == QLatin1String("us")) return number * 0.001;
    if (unit == QLatin1String("s")) return number * 1000.0;
    return number;
}

bool HpkImgReader::read(const QString &fileName, ImgFile &img)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "Can not open" << fileName;
        return false;
    }
    const QByteArray header = file.read(kHeaderBytes);
    if (header.size() < 12) {
        qDebug() << "Can not open" << fileName;
        return false;
    }
    const auto word = [&](int offset) {
        return int(qFromLittleEndian<quint16>(header.constData() + offset));
    };
    const int commentLength = word(2);
    const int width = word(4);
    const int height = word(6);
    img.setFileName(fileName);
    img.setSensorOffset(word(8), word(10));

    QByteArray comment;
    if (file.seek(kHeaderBytes)) comment = file.read(commentLength);
    if (comment.size() < commentLength) {
        qDebug() << "Error on reading (4)" << fileName;
        return false;
    }
    const int bytesPerPixel = commentValue(comment, "BytesPerPixel=", QStringLiteral("2")).toInt();
    img.setExposureTime(
        exposureMilliseconds(commentValue(comment, "ExposureTime=", QStringLiteral("0.1"))));

    const bool wide = bytesPerPixel == 4;
    const qint64 elementBytes = wide ? 4 : 2;
    const qint64 pixelStart = kHeaderBytes + commentLength;
    // A file too short for its pixels is refused before anything is allocated.
    if (pixelStart + qint64(width) * height * elementBytes > file.size()) {
        qDebug() << "invalid file size. expected (h,w) = " << height << width;
        qDebug() << (wide ? "Error on reading (2)" : "Error on reading (3)") << fileName;
        return false;
    }
    if (!img.allocate(wide ? ImgFile::U32 : ImgFile::U16, width, height,
                      file.size() - pixelStart) ||
        !file.seek(pixelStart))
        return false;
    for (int y = 0; y < height; ++y) {
        char *row = reinterpret_cast<char *>(img.row<quint8>(y));
        const qint64 bytes = qint64(width) * elementBytes;
        if (file.read(row, bytes) != bytes) {
            qDebug() << "invalid file size. expected (h,w) = " << height << width;
            qDebug() << (wide ? "Error on reading (2)" : "Error on reading (3)") << fileName;
            img.clear();
            return false;
        }
#if Q_BYTE_ORDER != Q_LITTLE_ENDIAN
        if (wide)
            qFromLittleEndian<quint32>(row, width, row);
        else
            qFromLittleEndian<quint16>(row, width, row);
#endif
        img.widenRows(y, 1);
    }
    img.setFormatName(QStringLiteral("HPK IMG"));
    img.correctBadPixels();
    return true;
}
