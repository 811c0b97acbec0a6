#include "io/KwnbCtReader.h"

#include "app/ItemSplitter.h"
#include "io/ImgFile.h"
#include "io/TextLineReader.h"

#include <QDebug>
#include <QFile>

namespace {

constexpr const char *kKeys[4] = {"RANGE_X0", "RANGE_X1", "RANGE_Y0", "RANGE_Y1"};

// Which key a header line carries (-1 for none); *value receives the text after it with
// an optional "=" or ":" removed and any "#" comment cut off.
int keyOf(QByteArrayView line, QByteArrayView *value)
{
    for (int k = 0; k < 4; ++k) {
        const QByteArrayView key(kKeys[k]);
        if (!line.startsWith(key)) continue;
        QByteArrayView rest = line.sliced(key.size());
        if (!rest.isEmpty() && !TextLineReader::isSpace(rest.front()) && rest.front() != '=' &&
            rest.front() != ':')
            continue; // a longer word such as RANGE_X01
        rest = TextLineReader::trimmed(rest);
        if (!rest.isEmpty() && (rest.front() == '=' || rest.front() == ':'))
            rest = TextLineReader::trimmed(rest.sliced(1));
        const qsizetype hash = rest.indexOf('#');
        if (hash >= 0) rest = TextLineReader::trimmed(rest.first(hash));
        *value = rest;
        return k;
    }
    return -1;
}

double thirdItem(QByteArrayView line)
{
    bool plain = true;
    for (const char c : line)
        plain = plain && c != '"' && uchar(c) < 0x80;
    if (plain) {
        QByteArrayView items[3];
        if (TextLineReader::split(line, items, 3, false) < 3) return 0.0;
        return items[2].toDouble();
    }
    QString rest = QString::fromLatin1(line);
    ItemSplitter::take(rest, &rest);
    ItemSplitter::take(rest, &rest);
    return ItemSplitter::take(rest, &rest).toDouble();
}

} // namespace

int KwnbCtReader::readHeader(const QByteArray &text, Range *range)
{
    TextLineReader lines(text);
    if (!lines.next().startsWith("#KWNB-CTImg")) {
        qDebug() << "KWNB CT header: no #KWNB-CTImg mark";
        return -1;
    }
    qint64 values[4] = {0, 0, 0, 0};
    bool seen[4] = {false, false, false, false};
    int count = 1;
    int lineNo = 1;
    while (!lines.atEnd()) {
        QByteArrayView line = TextLineReader::trimmed(lines.next());
        ++lineNo;
        const bool comment = line.startsWith('#');
        if (comment) line = TextLineReader::trimmed(line.sliced(1));
        QByteArrayView value;
        const int k = keyOf(line, &value);
        if (k < 0 && !comment && !line.isEmpty()) break; // the first pixel line
        ++count;
        if (k < 0) continue;
        bool ok = false;
        values[k] = value.toLongLong(&ok);
        if (!ok || values[k] < INT_MIN || values[k] > INT_MAX) {
            qDebug() << "KWNB CT header: bad number for" << kKeys[k] << "at line" << lineNo;
            return -1;
        }
        seen[k] = true;
    }
    for (int k = 0; k < 4; ++k) {
        if (!seen[k]) {
            qDebug() << "KWNB CT header:" << kKeys[k] << "missing";
            return -1;
        }
    }
    if (values[1] < values[0] || values[3] < values[2]) {
        qDebug() << "KWNB CT header: empty range" << values[0] << values[1] << values[2]
                 << values[3];
        return -1;
    }
    *range = Range{values[0], values[1], values[2], values[3]};
    return count;
}

bool KwnbCtReader::read(const QString &fileName, ImgFile &img)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "Can not open (3)" << fileName;
        return false;
    }
    const QByteArray text = file.readAll();
    file.close();
    img.setFileName(fileName);
    Range range;
    const int headerLines = readHeader(text, &range);
    if (headerLines < 0) {
        qDebug() << "Error on reading (6)" << fileName;
        return false;
    }
    const qint64 w = range.x1 - range.x0 + 1;
    const qint64 h = range.y1 - range.y0 + 1;
    if (w > INT_MAX || h > INT_MAX) {
        qDebug() << "invalid image size (h,w) =" << h << w << fileName;
        return false;
    }
    // Every pixel takes a line of at least one byte.
    if (!img.allocate(ImgFile::Float, int(w), int(h), 4 * (qint64(text.size()) + 1))) return false;
    img.setOrigin(int(range.x0), int(range.y0));
    TextLineReader lines(text);
    for (int i = 0; i < headerLines; ++i)
        lines.next();
    for (int y = 0; y < int(h); ++y) {
        float *row = img.row<float>(y);
        for (int x = 0; x < int(w); ++x) {
            const double v = thirdItem(lines.next()) * 500.0;
            row[x] = v < 0.0 ? 0.0f : ImgFile::narrowed(v);
            img.widen(double(row[x]));
        }
    }
    img.setFormatName(QStringLiteral("KWNB CT"));
    return true;
}
