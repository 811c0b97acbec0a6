// Running zelmap-cli from tests, in this process or as the built binary, and the small
// files its tests feed it.
#pragma once

#include "Cli.h"

#include <QFile>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>
#include <QTextStream>

struct CliRun
{
    int status = -1;
    QString out;
    QString err;
};

inline CliRun runCli(const QStringList &args)
{
    CliRun r;
    QTextStream o(&r.out), e(&r.err);
    r.status = Cli::run(args, o, e);
    o.flush();
    e.flush();
    return r;
}

// The built program: only a real process shows the exit status the shell sees.
inline CliRun runCliBinary(const QStringList &args)
{
    QProcess p;
    p.start(QStringLiteral(ZELMAP_CLI_BINARY), args);
    CliRun r;
    if (!p.waitForFinished(60000) || p.exitStatus() != QProcess::NormalExit) return r;
    r.status = p.exitCode();
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

// Writes content to dir/name; the path, or an empty string when it cannot be written.
inline QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &content)
{
    const QString path = dir.filePath(name);
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly) || f.write(content) != content.size()) return QString();
    return path;
}

// Replaces placeholder arguments ("F", or "F/sub" for a path below F) by real paths.
inline QStringList substitute(QStringList args, const QHash<QString, QString> &paths)
{
    for (QString &a : args)
        for (auto it = paths.begin(); it != paths.end(); ++it)
            if (a == it.key() || a.startsWith(it.key() + QLatin1Char('/')))
                a.replace(0, it.key().size(), it.value());
    return args;
}

// "key: value" lines of a report, each key with its values in order.
inline QMap<QString, QStringList> reportFields(const QString &text)
{
    QMap<QString, QStringList> map;
    for (const QString &line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const qsizetype colon = line.indexOf(QLatin1String(": "));
        if (colon > 0) map[line.left(colon)] << line.mid(colon + 2);
    }
    return map;
}

// The line --time adds on standard error.
inline bool hasComputeTime(const QString &err)
{
    return QRegularExpression(QStringLiteral("^compute ms: [0-9.]+$"),
                              QRegularExpression::MultilineOption)
        .match(err)
        .hasMatch();
}
