#include "app/ConfigStore.h"

#include "app/ItemSplitter.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

namespace {

// Drops a "#" comment that is not inside quotes; either quote mark toggles the state.
QString withoutComment(const QString &line)
{
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (c == QLatin1Char('"') || c == QLatin1Char('\''))
            quoted = !quoted;
        else if (c == QLatin1Char('#') && !quoted)
            return line.left(i);
    }
    return line;
}

bool takesNoValue(const QString &next)
{
    if (!next.startsWith(QLatin1Char('-'))) return false;
    if (next.size() < 2) return true;
    const QChar second = next.at(1);
    return !(second.isNumber() || second == QLatin1Char('.'));
}

} // namespace

ConfigStore &ConfigStore::instance()
{
    static ConfigStore store;
    return store;
}

void ConfigStore::clear()
{
    *this = ConfigStore();
}

void ConfigStore::parseCommandLine(int argc, const char *const *argv, bool readNow,
                                   const QString &defaultFile, const QStringList &fileOptions)
{
    QStringList args;
    for (int i = 0; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    parseCommandLine(args, readNow, defaultFile, fileOptions);
}

void ConfigStore::parseCommandLine(const QStringList &args, bool readNow,
                                   const QString &defaultFile, const QStringList &fileOptions)
{
    m_currentFile.clear();
    m_arguments = args;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &arg = args.at(i);
        if (!arg.startsWith(QLatin1Char('-'))) continue;
        QString value;
        if (i + 1 < args.size() && !takesNoValue(args.at(i + 1))) value = args.at(i + 1);
        store(arg, value, QString(), QString());
    }
    m_fileName = defaultFile;
    for (const QString &option : fileOptions) {
        if (contains(option)) m_fileName = value(option);
    }
    if (readNow && !m_fileName.isEmpty()) readFile(m_fileName);
}

bool ConfigStore::readFile(const QString &path)
{
    m_reading.clear();
    return readFileNested(path);
}

bool ConfigStore::readFileNested(const QString &path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    if (!canonical.isEmpty() && m_reading.contains(canonical)) {
        qDebug() << "Config file" << path << "includes itself; not read again";
        return false;
    }
    m_currentFile = path;
    QFile file(path);
    // Only regular files: a device or a pipe could block or never end.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        qDebug().noquote() << "Can't open config file : " + path;
        return false;
    }
    m_reading.append(canonical);
    QTextStream in(&file);
    QString line;
    while (in.readLineInto(&line))
        processLine(line);
    m_reading.removeLast();
    return true;
}

void ConfigStore::processLine(const QString &line)
{
    QString rest = withoutComment(line);
    if (rest.simplified().isEmpty()) return;
    m_lines.append(line);
    const QString key = ItemSplitter::take(rest, &rest);
    const QString value = ItemSplitter::take(rest, &rest);
    const QString extra = ItemSplitter::take(rest, &rest);
    if (key.toUpper() == QLatin1String("INCLUDE")) {
        // A relative include is found beside the file that names it.
        QString path = value;
        if (QFileInfo(path).isRelative() && !m_currentFile.isEmpty()) {
            const QString beside = QFileInfo(m_currentFile).dir().filePath(path);
            if (QFileInfo::exists(beside)) path = beside;
        }
        readFileNested(path);
        return;
    }
    store(key, value, extra, QString());
}

qsizetype ConfigStore::indexOf(const QString &key) const
{
    return m_keys.indexOf(key.toUpper());
}

void ConfigStore::store(const QString &key, const QString &value, const QString &extra,
                        const QString &comment)
{
    const qsizetype i = indexOf(key);
    if (i >= 0) {
        m_values[i] = value;
        m_extras[i] = extra;
        m_comments[i] = comment;
        return;
    }
    m_keys.append(key.toUpper());
    m_values.append(value);
    m_extras.append(extra);
    m_comments.append(comment);
    m_used.append(false);
}

QString ConfigStore::value(const QString &key, const QString &defaultValue)
{
    const qsizetype i = indexOf(key);
    if (i < 0) return defaultValue;
    m_used[i] = true;
    return m_values.at(i);
}

QString ConfigStore::value(const QStringList &keys, const QString &defaultValue)
{
    QString result = defaultValue;
    for (const QString &key : keys)
        result = value(key, result);
    return result;
}

bool ConfigStore::contains(const QString &key) const
{
    return indexOf(key) >= 0;
}

QString ConfigStore::extra(const QString &key) const
{
    const qsizetype i = indexOf(key);
    return i < 0 ? QString() : m_extras.at(i);
}

bool ConfigStore::isUsed(const QString &key) const
{
    const qsizetype i = indexOf(key);
    return i >= 0 && m_used.at(i);
}

void ConfigStore::setValue(const QString &key, const QString &value, const QString &extra,
                           const QString &comment)
{
    store(key, value, extra, comment);
    if (m_currentFile.isEmpty()) return;
    QFile file(m_currentFile);
    if (!file.open(QIODevice::Append | QIODevice::Text)) return;
    QTextStream out(&file);
    out << QStringLiteral("%1\t%2 %3\t # %4\n").arg(key, value, extra, comment);
}
