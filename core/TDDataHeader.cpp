#include "core/TDDataHeader.h"

#include "app/ItemSplitter.h"
#include "core/TDData0.h"

#include <QDebug>
#include <QFile>
#include <QList>

namespace {

const char kDescription[] =
    "Header of Size ( HeaderSize: ), Row Double Data Block of pixels ( WIDTH: * HEIGHT ), "
    "Row Bool Valid Flag Block of pixels ( WIDTH: * HEIGHT ) ";

QString number(double v)
{
    return QString::number(v, 'g', 6);
}

// A data id may not break the line structure of the header.
qint64 declaredHeaderSize(const QByteArray &firstLine)
{
    // Format mark with version, "HeaderSize:", the number.
    QString rest = QString::fromLatin1(firstLine);
    ItemSplitter::take(rest, &rest);
    ItemSplitter::take(rest, &rest);
    return ItemSplitter::take(rest, &rest).toInt();
}

QString oneLine(QString id)
{
    id.replace(QLatin1Char('\n'), QLatin1Char(' '));
    id.replace(QLatin1Char('\r'), QLatin1Char(' '));
    return id;
}

} // namespace

QByteArray TDDataHeader::build(const TDData0 &record)
{
    const DisplayRange range = record.displayRange();
    QString text = QString(64, QLatin1Char(' ')) + QLatin1Char('\n');
    text += QStringLiteral("WIDTH: %1\n").arg(record.width());
    text += QStringLiteral("HEIGHT: %1\n").arg(record.height());
    text += QStringLiteral("DATA_ID: %1\n").arg(oneLine(record.dataId()));
    text += QStringLiteral("DATA_STRUCTURE: %1\n").arg(QLatin1String(kDescription));
    text += QStringLiteral("SIZE_OF_DOUBLE: 8\n");
    text += QStringLiteral("SIZE_OF_BOOL: 1\n");
    text += QStringLiteral("MIN_VAL: %1\n").arg(number(range.low));
    text += QStringLiteral("MAX_VAL: %1\n").arg(number(range.high));
    text += QStringLiteral("END_OF_HEADER:\n");

    const qint64 headerSize = headerSizeFor(text.size());
    const QString first =
        QStringLiteral("%1%2 %3 %4")
            .arg(QStringLiteral("2dData"), QStringLiteral("-V0.0"), QStringLiteral("HeaderSize:"))
            .arg(headerSize);
    text.replace(0, qMin<qsizetype>(first.size(), 64), first.left(64));
    return text.toLatin1();
}

TDDataHeader TDDataHeader::read(const QString &fileName)
{
    TDDataHeader header;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "can't open" << fileName;
        return header;
    }
    const qint64 fileSize = file.size();
    const QByteArray first = file.read(64);
    if (!first.startsWith("2dData")) return header;
    const qint64 declared = declaredHeaderSize(first);
    // Never read more than the file holds, whatever the header claims.
    QByteArray bytes;
    if (declared > 0 && file.seek(0)) bytes = file.read(qMin(declared, fileSize));
    header = parse(first, bytes);
    if (!header.accepted) return header;

    // A header that cannot describe this file is refused before anything is allocated.
    const qint64 pixels = qint64(header.width) * header.height;
    const bool badSize = header.width < 0 || header.height < 0 || pixels > qint64(INT32_MAX) ||
                         header.headerSize + 9 * pixels > 2 * fileSize;
    if (badSize) header.accepted = false;
    return header;
}

TDDataHeader TDDataHeader::parse(const QByteArray &firstLine, const QByteArray &headerBytes)
{
    TDDataHeader header;
    if (!firstLine.startsWith("2dData")) return header;
    header.headerSize = declaredHeaderSize(firstLine);
    header.accepted = true;

    const QList<QByteArray> lines = headerBytes.split('\n');
    for (QByteArray raw : lines) {
        // A header edited on another system may end its lines with CR LF.
        if (raw.endsWith('\r')) raw.chop(1);
        const QString line = QString::fromLatin1(raw);
        QString rest;
        const QString key = ItemSplitter::take(line, &rest);
        const QString value = rest.mid(1);
        bool ok = false;
        if (key == QLatin1String("WIDTH:")) {
            header.width = value.toInt(&ok);
        } else if (key == QLatin1String("HEIGHT:")) {
            header.height = value.toInt(&ok);
        } else if (key == QLatin1String("DATA_ID:")) {
            header.dataId = value;
        } else if (key == QLatin1String("MIN_VAL:")) {
            header.minWithZeros = header.minWithoutZeros = value.toDouble();
        } else if (key == QLatin1String("MAX_VAL:")) {
            header.maxWithZeros = header.maxWithoutZeros = value.toDouble();
        } else if (key == QLatin1String("MIN_VAL_W0:")) {
            header.minWithZeros = value.toDouble();
        } else if (key == QLatin1String("MAX_VAL_W0:")) {
            header.maxWithZeros = value.toDouble();
        } else if (key == QLatin1String("MIN_VAL_WO0:")) {
            header.minWithoutZeros = value.toDouble();
        } else if (key == QLatin1String("MAX_VAL_WO0:")) {
            header.maxWithoutZeros = value.toDouble();
        }
    }
    return header;
}
