#include "io/RecordRasterReader.h"

#include "core/TDDataHeader.h"
#include "io/ImgFile.h"

#include <QDebug>
#include <QFile>
#include <QtEndian>

bool RecordRasterReader::read(const QString &fileName, ImgFile &img)
{
    // The header reader already refuses sizes the file cannot hold.
    const TDDataHeader header = TDDataHeader::read(fileName);
    if (!header.accepted) {
        qDebug() << fileName << "is not a TDData0 file.";
        return false;
    }
    img.setFileName(fileName);
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "Can not open (4)" << fileName;
        return false;
    }
    if (!img.allocate(ImgFile::Double, header.width, header.height, 2 * file.size() + 4096))
        return false;
    // A short file is not an error: what is missing stays 0.0, as for the record itself.
    if (file.seek(header.headerSize)) {
        char *data = reinterpret_cast<char *>(img.row<double>(0));
        const qint64 got = file.read(data, qint64(header.width) * header.height * 8);
#if Q_BYTE_ORDER != Q_LITTLE_ENDIAN
        if (got > 0) qFromLittleEndian<double>(data, got / 8, data);
#else
        Q_UNUSED(got);
#endif
    }
    img.widenRows(0, header.height);
    img.setFormatName(QStringLiteral("2dData"));
    return true;
}
