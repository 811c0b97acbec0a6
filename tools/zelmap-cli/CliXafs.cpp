// xafs: normalise spectra and report the edge, the jump and the fit residuals.
#include "Cli.h"

#include "xafs/VictLine.h"
#include "xafs/XafsSpectrum.h"

#include <QDir>
#include <QFileInfo>

namespace Cli {

int xafs(const QStringList &args, QTextStream &out, QTextStream &err)
{
    uint32_t kind = VictLine::kStraight;
    QString outDir;
    QStringList files;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &a = args[i];
        if (a == QLatin1String("--straight")) {
            kind = VictLine::kStraight;
        } else if (a == QLatin1String("--victreen")) {
            kind = VictLine::kVictreen;
        } else if (a == QLatin1String("-o")) {
            if (i + 1 >= args.size()) {
                err << "zelmap-cli xafs: -o needs a directory\n";
                return 2;
            }
            outDir = args[++i];
        } else if (a.startsWith(QLatin1Char('-'))) {
            err << "zelmap-cli xafs: unknown option " << a << '\n';
            return 2;
        } else {
            files << a;
        }
    }
    if (files.isEmpty()) {
        err << "zelmap-cli xafs: no file given\n";
        return 2;
    }
    if (!outDir.isEmpty() && !QFileInfo(outDir).isDir()) {
        err << "zelmap-cli xafs: " << outDir << ": not a directory\n";
        return 2;
    }
    int status = 0;
    for (const QString &path : files) {
        const QFileInfo info(path);
        if (!info.isFile() || !info.isReadable()) {
            err << "zelmap-cli xafs: " << path << ": cannot be read\n";
            status = 1;
            continue;
        }
        XafsSpectrum spectrum;
        spectrum.setName(info.completeBaseName());
        if (!spectrum.load(path)) {
            err << "zelmap-cli xafs: " << path << ": no spectrum in the file\n";
            status = 1;
            continue;
        }
        spectrum.normalize(kind);
        out << "file: " << path << '\n'
            << "points: " << spectrum.size() << '\n'
            << "fit: " << (kind == VictLine::kVictreen ? "victreen" : "straight") << '\n'
            << "e0: " << number(spectrum.e0()) << '\n'
            << "jump: " << number(spectrum.jump()) << '\n'
            << "pre rms: " << number(spectrum.preLine().rms()) << '\n'
            << "post rms: " << number(spectrum.postLine().rms()) << '\n';
        if (!outDir.isEmpty()) {
            const QString target =
                QDir(outDir).filePath(info.completeBaseName() + QStringLiteral("_xafs.dat"));
            if (spectrum.save(target, false)) {
                out << "written: " << target << '\n';
            } else {
                err << "zelmap-cli xafs: " << target << ": cannot be written\n";
                status = 1;
            }
        }
    }
    return status;
}

} // namespace Cli
