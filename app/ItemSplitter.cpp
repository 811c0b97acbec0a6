#include "app/ItemSplitter.h"

#include <QDebug>

QString ItemSplitter::take(const QString &text, QString *rest)
{
    const QString line = text; // rest may alias text
    const qsizetype n = line.size();
    qsizetype start = 0;
    while (start < n && line.at(start).isSpace())
        ++start;
    if (start >= n) {
        rest->clear();
        return QString();
    }
    if (line.at(start) == QLatin1Char('"')) {
        const qsizetype close = line.indexOf(QLatin1Char('"'), start + 1);
        if (close < 0) {
            qDebug().noquote()
                << QStringLiteral(
                       "In a line [%1] item is started from quote but not ended by quote")
                       .arg(line);
            rest->clear();
            return line.mid(start + 1);
        }
        *rest = line.mid(close + 1);
        return line.mid(start + 1, close - start - 1);
    }
    qsizetype end = start;
    while (end < n && !line.at(end).isSpace())
        ++end;
    if (end >= n) {
        if (line.endsWith(QLatin1Char('"')))
            qDebug().noquote()
                << QStringLiteral(
                       "In a line [%1] item is started from not quote but ended by quote")
                       .arg(line);
        rest->clear();
        return line.mid(start);
    }
    *rest = line.mid(end);
    return line.mid(start, end - start);
}
