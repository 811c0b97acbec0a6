// convert: any readable file into a 2dData record, as the main window would save it.
#include "Cli.h"

#include "core/TDDataWL.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace Cli {

int convert(const QStringList &args, QTextStream &out, QTextStream &err)
{
    QString dir;
    QStringList files;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &a = args.at(i);
        if (a == QLatin1String("-o")) {
            if (i + 1 >= args.size()) {
                err << "zelmap-cli convert: -o needs a directory\n";
                return 2;
            }
            dir = args.at(++i);
        } else if (a.startsWith(QLatin1Char('-'))) {
            err << "zelmap-cli convert: unknown option " << a << '\n';
            return 2;
        } else {
            files << a;
        }
    }
    if (files.isEmpty() || dir.isEmpty()) {
        err << "zelmap-cli convert: give FILE... and -o DIR\n";
        return 2;
    }
    if (!QDir().mkpath(dir)) {
        err << "zelmap-cli convert: cannot make directory " << dir << '\n';
        return 1;
    }
    int status = 0;
    QSet<QString> written;
    for (const QString &path : files) {
        QString error;
        const auto record = loadRecord(path, &error);
        if (!record) {
            err << "zelmap-cli convert: " << error << '\n';
            status = 1;
            continue;
        }
        const QString target = QDir(dir).filePath(record->fileSafeId() + QStringLiteral(".zmp"));
        // Two inputs with the same name must not silently overwrite each other.
        if (written.contains(QFileInfo(target).absoluteFilePath())) {
            err << "zelmap-cli convert: " << path << ": " << target
                << " was already written from another file\n";
            status = 1;
            continue;
        }
        if (!record->save(target)) {
            err << "zelmap-cli convert: " << path << ": cannot write " << target << '\n';
            status = 1;
            continue;
        }
        written.insert(QFileInfo(target).absoluteFilePath());
        out << path << " -> " << target << '\n';
    }
    return status;
}

} // namespace Cli
