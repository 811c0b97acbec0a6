#pragma once

#include <QList>
#include <QPoint>
#include <QSet>
#include <QString>

// Camera pixels known to be defective, in sensor coordinates. Image readers replace them by
// the mean of their neighbours.
class BadPixelList
{
public:
    // Configuration key naming a text file of "x y" lines.
    static constexpr const char *kConfigKey = "BadPixelFile";

    BadPixelList() = default;

    // The list every image file uses unless given its own; filled from the configuration on
    // first use.
    static BadPixelList &processWide();

    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled) { m_enabled = enabled; }
    const QList<QPoint> &pixels() const { return m_pixels; }
    bool contains(int x, int y) const { return m_lookup.contains(key(x, y)); }
    void add(int x, int y);
    void clear();

    // Replaces the list by the "x y" lines of a text file ("#" starts a comment); enables it
    // when the file was read. A malformed line is reported and skipped.
    bool loadFile(const QString &path);
    // Loads the file named by the configuration key, if any.
    bool loadFromConfiguration();

private:
    static quint64 key(int x, int y) { return (quint64(quint32(x)) << 32) | quint32(y); }

    bool m_enabled = false;
    QList<QPoint> m_pixels;
    QSet<quint64> m_lookup;
};
