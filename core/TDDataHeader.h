#pragma once

#include <QByteArray>
#include <QString>

class TDData0;

// The text header of a 2dData file: what a reader learns before touching pixel data.
struct TDDataHeader
{
    bool accepted = false;
    qint64 headerSize = 0;
    qint32 width = 0;
    qint32 height = 0;
    QString dataId;
    double minWithZeros = 1e300;
    double minWithoutZeros = 1e300;
    double maxWithZeros = -1e300;
    double maxWithoutZeros = -1e300;

    static TDDataHeader read(const QString &fileName);
    static TDDataHeader parse(const QByteArray &firstLine, const QByteArray &headerBytes);

    // The header text of a record, without the zero padding.
    static QByteArray build(const TDData0 &record);
    // The header ends strictly before the data: a 256-byte header still gets 512.
    static qint64 headerSizeFor(qint64 textLength) { return textLength / 256 * 256 + 256; }
};
