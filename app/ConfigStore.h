#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

// Settings from the command line and the configuration file. Keys are case-insensitive;
// a later entry for a key overrides an earlier one.
class ConfigStore
{
public:
    ConfigStore() = default;

    // The one store of the running program.
    static ConfigStore &instance();

    void parseCommandLine(int argc, const char *const *argv, bool readNow,
                          const QString &defaultFile, const QStringList &fileOptions);
    void parseCommandLine(const QStringList &args, bool readNow, const QString &defaultFile,
                          const QStringList &fileOptions);
    bool readFile(const QString &path);

    QString value(const QString &key, const QString &defaultValue = QString());
    // Each key in turn overrides the result, so a command-line option listed last wins.
    QString value(const QStringList &keys, const QString &defaultValue = QString());
    bool contains(const QString &key) const;
    QString extra(const QString &key) const;
    bool isUsed(const QString &key) const;

    // Stores the entry and appends it to the configuration file read last.
    void setValue(const QString &key, const QString &value, const QString &extra = QString(),
                  const QString &comment = QString());

    const QStringList &arguments() const { return m_arguments; }
    const QStringList &lines() const { return m_lines; }
    const QString &currentFile() const { return m_currentFile; }
    // The configuration file name chosen by the last parseCommandLine.
    const QString &fileName() const { return m_fileName; }

    void clear();

private:
    bool readFileNested(const QString &path);
    void processLine(const QString &line);
    void store(const QString &key, const QString &value, const QString &extra,
               const QString &comment);
    qsizetype indexOf(const QString &key) const;

    QStringList m_arguments;
    QStringList m_keys;
    QStringList m_values;
    QStringList m_extras;
    QStringList m_comments;
    QList<bool> m_used;
    QStringList m_lines;
    QString m_currentFile;
    QString m_fileName;
    QStringList m_reading; // files being read, innermost last: guards INCLUDE cycles
};
