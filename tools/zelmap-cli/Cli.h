#pragma once

#include "io/ImageLoader.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QTextStream>

#include <memory>

class TDDataWL;

// One subcommand of zelmap-cli. args excludes the program and the subcommand name.
struct CliCommand
{
    const char *name;
    const char *usage;
    const char *summary;
    int (*run)(const QStringList &args, QTextStream &out, QTextStream &err);
};

namespace Cli {

const QList<CliCommand> &commands();
// Runs a whole command line (without the program name); returns the exit status.
int run(const QStringList &args, QTextStream &out, QTextStream &err);

// Reads any file the program can open into a record; on failure says why in *error.
std::unique_ptr<TDDataWL> loadRecord(const QString &path, QString *error,
                                     ImageLoader::Result *details = nullptr);
// Full double precision, so results compare exactly between tools.
QString number(double v);

int info(const QStringList &args, QTextStream &out, QTextStream &err);
int dump(const QStringList &args, QTextStream &out, QTextStream &err);
int convert(const QStringList &args, QTextStream &out, QTextStream &err);
int xafs(const QStringList &args, QTextStream &out, QTextStream &err);
int render(const QStringList &args, QTextStream &out, QTextStream &err);
int demo(const QStringList &args, QTextStream &out, QTextStream &err);
int calc(const QStringList &args, QTextStream &out, QTextStream &err);
int filter(const QStringList &args, QTextStream &out, QTextStream &err);
int relation(const QStringList &args, QTextStream &out, QTextStream &err);
int filterPeaks(const QStringList &args, QTextStream &out, QTextStream &err);
int filterComparePeaks(const QStringList &args, QTextStream &out, QTextStream &err);
int copy(const QStringList &args, QTextStream &out, QTextStream &err);
int resize(const QStringList &args, QTextStream &out, QTextStream &err);
int lcf(const QStringList &args, QTextStream &out, QTextStream &err);
// The filters that filter knows, one usage line each.
void filterHelp(QTextStream &out);
int filterMovingAvr(const QStringList &args, QTextStream &out, QTextStream &err);
int filterAdaptiveThreshold(const QStringList &args, QTextStream &out, QTextStream &err);
int filterMatch(const QStringList &args, QTextStream &out, QTextStream &err);

} // namespace Cli
