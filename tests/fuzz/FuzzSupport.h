#pragma once

// What every fuzz target needs: no debug chatter, and a scratch file for readers that
// only take a file name.
#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>

namespace FuzzSupport {

inline void silenceQtMessages()
{
    static const bool installed =
        (qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {}),
         true);
    (void)installed;
}

// A directory in memory, made once; empty when it cannot be made.
inline QString scratchDir()
{
    static QTemporaryDir dir(QStringLiteral("/dev/shm/zelmap_fuzz_XXXXXX"));
    return dir.isValid() ? dir.path() : QString();
}

// Writes the input to name inside the scratch directory; returns the path, or empty.
inline QString writeScratch(const char *name, const uint8_t *data, size_t size)
{
    const QString dir = scratchDir();
    if (dir.isEmpty()) return QString();
    const QString path = dir + QLatin1Char('/') + QLatin1String(name);
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate)) return QString();
    f.write(reinterpret_cast<const char *>(data), qint64(size));
    return path;
}

} // namespace FuzzSupport
