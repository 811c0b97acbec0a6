#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTextStream>

// The command line of one processing subcommand: switches, options that take a fixed
// number of values, and the files in between. "--time" is known to every subcommand.
class CliOptions
{
public:
    // command is the name used in messages, such as "filter ma".
    explicit CliOptions(const QString &command);

    void addSwitch(const QString &name);
    void addOption(const QString &name, int valueCount = 1);
    // An option of one value that may be given again; values() lists every one in order.
    void addRepeatableOption(const QString &name);

    // False with a message on err for an unknown option or a missing value.
    bool parse(const QStringList &args, QTextStream &err);

    bool has(const QString &name) const { return m_given.contains(name); }
    QStringList values(const QString &name) const { return m_given.value(name); }
    QString value(const QString &name, const QString &fallback = QString()) const;
    const QStringList &files() const { return m_files; }

    // The values of an option as integers or doubles; false with a message on err when one
    // does not read as a number. An option not given leaves *out as it is.
    bool ints(const QString &name, QList<int> *out, QTextStream &err) const;
    bool doubles(const QString &name, QList<double> *out, QTextStream &err) const;
    bool integer(const QString &name, int *out, QTextStream &err) const;
    bool real(const QString &name, double *out, QTextStream &err) const;

    // Prints "<command>: <message>" and returns the usage status 2.
    int usageError(QTextStream &err, const QString &message) const;

    // Measures the computation alone; report() prints "compute ms: <ms>" when --time was given.
    void startClock() { m_clock.start(); }
    void stopClock() { m_elapsedNs = m_clock.nsecsElapsed(); }
    void report(QTextStream &err) const;

private:
    QString m_command;
    QSet<QString> m_switches;
    QHash<QString, int> m_valueCounts;
    QSet<QString> m_repeatable;
    QHash<QString, QStringList> m_given;
    QStringList m_files;
    QElapsedTimer m_clock;
    qint64 m_elapsedNs = 0;
};
