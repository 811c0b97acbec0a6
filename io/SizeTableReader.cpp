#include "io/SizeTableReader.h"

#include "io/ImgFile.h"
#include "io/TextLineReader.h"

#include <QDebug>
#include <QFile>

namespace {

// "W H", "W x H", "WxH", "W, H" after the key, optionally behind ":" or "=".
bool twoIntegers(QByteArrayView rest, qint64 *a, qint64 *b)
{
    rest = TextLineReader::trimmed(rest);
    if (!rest.isEmpty() && (rest.front() == ':' || rest.front() == '=')) rest = rest.sliced(1);
    QByteArray text(rest.data(), rest.size());
    text.replace(',', ' ');
    text.replace('x', ' ');
    text.replace('X', ' ');
    const QList<QByteArray> items = text.simplified().split(' ');
    if (items.size() != 2) return false;
    bool okA = false;
    bool okB = false;
    *a = items[0].toLongLong(&okA);
    *b = items[1].toLongLong(&okB);
    return okA && okB;
}

} // namespace

bool SizeTableReader::read(const QString &fileName, ImgFile &img)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) return false;
    // Refuse at once without reading a whole unrelated file.
    const QByteArray first = file.readLine(256);
    const QByteArrayView mark = TextLineReader::trimmed(first);
    if (!mark.startsWith('#') || !TextLineReader::trimmed(mark.sliced(1)).startsWith("Size"))
        return false;
    const QByteArray text = first + file.readAll();
    file.close();
    img.setFileName(fileName);

    TextLineReader lines(text);
    const QByteArrayView head =
        TextLineReader::trimmed(TextLineReader::trimmed(lines.next()).sliced(1));
    qint64 w = 0;
    qint64 h = 0;
    if (!twoIntegers(head.sliced(4), &w, &h) || w < 1 || h < 1 || w > INT_MAX || h > INT_MAX) {
        qDebug() << "# Size table: the first line must be \"# Size W H\" with W, H > 0" << fileName;
        return false;
    }
    // Every value takes at least one character and one separator.
    if (!img.allocate(ImgFile::TextD, int(w), int(h), 8 * (qint64(text.size()) / 2 + 1)))
        return false;
    int lineNo = 1;
    int y = 0;
    while (!lines.atEnd()) {
        QByteArrayView line = TextLineReader::trimmed(lines.next());
        ++lineNo;
        if (y == 0 && line.startsWith('#')) {
            const QByteArrayView body = TextLineReader::trimmed(line.sliced(1));
            qint64 ox = 0;
            qint64 oy = 0;
            if (body.startsWith("Origin")) {
                if (!twoIntegers(body.sliced(6), &ox, &oy) || ox < INT_MIN || ox > INT_MAX ||
                    oy < INT_MIN || oy > INT_MAX) {
                    qDebug() << "# Size table: bad \"# Origin X Y\" at line" << lineNo << fileName;
                    return false;
                }
                img.setOrigin(int(ox), int(oy));
                continue;
            }
        }
        const qsizetype hash = line.indexOf('#');
        if (hash >= 0) line = TextLineReader::trimmed(line.first(hash));
        if (line.isEmpty()) continue;
        if (y >= h) {
            qDebug() << "# Size table: more than" << h << "rows, at line" << lineNo << fileName;
            return false;
        }
        double *row = img.row<double>(y);
        qint64 x = 0;
        QByteArrayView item;
        QByteArrayView rest = line;
        while (TextLineReader::split(rest, &item, 1, true) == 1) {
            bool ok = false;
            const double v = item.toDouble(&ok);
            if (!ok || x >= w) {
                qDebug() << "# Size table:" << (ok ? "too many values" : "not a number")
                         << "at line" << lineNo << fileName;
                return false;
            }
            row[x++] = v;
            img.widen(v);
            rest = rest.sliced(item.data() + item.size() - rest.data());
        }
        if (x != w) {
            qDebug() << "# Size table:" << x << "values instead of" << w << "at line" << lineNo
                     << fileName;
            return false;
        }
        ++y;
    }
    if (y != h) {
        qDebug() << "# Size table:" << y << "rows instead of" << h << fileName;
        return false;
    }
    img.setFormatName(QStringLiteral("# Size table"));
    return true;
}
