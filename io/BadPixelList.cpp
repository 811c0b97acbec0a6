#include "io/BadPixelList.h"

#include "app/ConfigStore.h"

#include <QDebug>
#include <QFile>

BadPixelList &BadPixelList::processWide()
{
    static BadPixelList list = [] {
        BadPixelList fromConfig;
        fromConfig.loadFromConfiguration();
        return fromConfig;
    }();
    return list;
}

void BadPixelList::add(int x, int y)
{
    if (m_lookup.contains(key(x, y))) return;
    m_lookup.insert(key(x, y));
    m_pixels.append(QPoint(x, y));
}

void BadPixelList::clear()
{
    m_pixels.clear();
    m_lookup.clear();
}

bool BadPixelList::loadFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "Can not open bad-pixel list" << path;
        return false;
    }
    BadPixelList fresh;
    int lineNo = 0;
    while (!file.atEnd()) {
        QByteArray line = file.readLine(4096);
        ++lineNo;
        const qsizetype hash = line.indexOf('#');
        if (hash >= 0) line.truncate(hash);
        const QList<QByteArray> items = line.simplified().split(' ');
        if (items.size() == 1 && items.first().isEmpty()) continue;
        bool okX = false;
        bool okY = false;
        const int x = items.size() == 2 ? items[0].toInt(&okX) : 0;
        const int y = items.size() == 2 ? items[1].toInt(&okY) : 0;
        if (!okX || !okY) {
            qDebug() << "bad-pixel list" << path << "line" << lineNo << "is not \"x y\"";
            continue;
        }
        fresh.add(x, y);
    }
    fresh.m_enabled = true;
    *this = std::move(fresh);
    return true;
}

bool BadPixelList::loadFromConfiguration()
{
    const QString path = ConfigStore::instance().value(QString::fromLatin1(kConfigKey));
    if (path.isEmpty()) return false;
    return loadFile(path);
}
