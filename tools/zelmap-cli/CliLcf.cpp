// lcf: per-pixel linear combination fitting of an energy stack of mu images against XAFS
// reference spectra.
#include "Cli.h"
#include "CliOptions.h"

#include "core/TDDataWL.h"
#include "xafs/LcfEngine.h"
#include "xafs/LcfModel.h"
#include "xafs/StackEnergy.h"
#include "xafs/VictLine.h"

#include <QDir>
#include <QFileInfo>

#include <cmath>

namespace Cli {

namespace {

// "FILE@dE"; a trailing "@..." that is not a number belongs to the file name.
void splitReference(const QString &text, QString *path, double *dE)
{
    const qsizetype at = text.lastIndexOf(QLatin1Char('@'));
    bool ok = false;
    const double shift = at > 0 ? text.mid(at + 1).toDouble(&ok) : 0.0;
    if (ok && std::isfinite(shift)) {
        *path = text.left(at);
        *dE = shift;
    } else {
        *path = text;
        *dE = 0.0;
    }
}

} // namespace

int lcf(const QStringList &args, QTextStream &out, QTextStream &err)
{
    CliOptions options(QStringLiteral("lcf"));
    options.addRepeatableOption(QStringLiteral("--ref"));
    options.addSwitch(QStringLiteral("--victreen"));
    options.addOption(QStringLiteral("--energies"));
    options.addOption(QStringLiteral("--fit"));
    options.addSwitch(QStringLiteral("--offset"));
    options.addOption(QStringLiteral("-o"));
    if (!options.parse(args, err)) return 2;
    const QStringList files = options.files();
    const QString dir = options.value(QStringLiteral("-o"));
    if (options.values(QStringLiteral("--ref")).isEmpty() || files.isEmpty() || dir.isEmpty())
        return options.usageError(err,
                                  QStringLiteral("give --ref FILE[@dE]..., STACK... and -o DIR"));

    const QString fitText = options.value(QStringLiteral("--fit"), QStringLiteral("nonneg"));
    LcfModel::FitKind kind;
    if (fitText == QLatin1String("nonneg"))
        kind = LcfModel::FitKind::NonNegative;
    else if (fitText == QLatin1String("free"))
        kind = LcfModel::FitKind::Free;
    else if (fitText == QLatin1String("sum1"))
        kind = LcfModel::FitKind::SumToOne;
    else
        return options.usageError(
            err, QStringLiteral("--fit takes nonneg, free or sum1, not '%1'").arg(fitText));

    QList<double> energies;
    if (options.has(QStringLiteral("--energies"))) {
        const QStringList parts =
            options.value(QStringLiteral("--energies")).split(QLatin1Char(','), Qt::SkipEmptyParts);
        for (const QString &p : parts) {
            bool ok = false;
            const double e = p.trimmed().toDouble(&ok);
            if (!ok || !std::isfinite(e))
                return options.usageError(
                    err, QStringLiteral("--energies takes numbers, not '%1'").arg(p));
            energies << e;
        }
        if (energies.size() != files.size())
            return options.usageError(
                err,
                QStringLiteral("%1 energies for %2 images").arg(energies.size()).arg(files.size()));
    } else {
        for (const QString &f : files) {
            // The folder is left out: "scan_7keV/mu.zmp" would otherwise read as 7000 eV.
            const std::optional<double> e = StackEnergy::fromLabel(QFileInfo(f).fileName());
            if (!e)
                return options.usageError(
                    err, QStringLiteral("no energy such as '7112eV' in the name of %1; "
                                        "give --energies")
                             .arg(f));
            energies << *e;
        }
    }

    const uint32_t fitKind =
        options.has(QStringLiteral("--victreen")) ? VictLine::kVictreen : VictLine::kStraight;
    QList<LcfModel::Reference> references;
    for (const QString &text : options.values(QStringLiteral("--ref"))) {
        QString path, error;
        double dE = 0.0;
        splitReference(text, &path, &dE);
        std::optional<LcfModel::Reference> ref = LcfModel::fromFile(path, fitKind, dE, &error);
        if (!ref) {
            err << "zelmap-cli lcf: " << error << '\n';
            return 1;
        }
        references << *ref;
    }

    LcfModel model;
    QString error;
    if (!model.build(energies, references, kind, options.has(QStringLiteral("--offset")), &error,
                     files))
        return options.usageError(err, error);
    for (const QString &note : model.notes())
        err << "zelmap-cli lcf: " << note << '\n';

    std::vector<std::unique_ptr<TDDataWL>> stack;
    QList<const TDData0 *> images;
    for (const QString &f : files) {
        stack.push_back(loadRecord(f, &error));
        if (!stack.back()) {
            err << "zelmap-cli lcf: " << error << '\n';
            return 1;
        }
        images << stack.back().get();
    }

    options.startClock();
    LcfEngine::Result result = LcfEngine::run(model, images, {}, &error, files);
    options.stopClock();
    if (!result.ok()) {
        err << "zelmap-cli lcf: " << error << '\n';
        return 1;
    }
    options.report(err);
    const qsizetype pixelCount = images.first()->pixelCount();
    images.clear();
    stack.clear();

    const QDir outDir(dir);
    if (!QDir().mkpath(outDir.path())) {
        err << "zelmap-cli lcf: cannot create " << outDir.path() << '\n';
        return 1;
    }
    QList<QPair<QString, const TDDataWL *>> outputs;
    for (size_t j = 0; j < result.weights.size(); ++j) {
        outputs.append({QStringLiteral("weight_%1.zmp").arg(j), result.weights[j].get()});
        outputs.append({QStringLiteral("fraction_%1.zmp").arg(j), result.fractions[j].get()});
    }
    outputs.append({QStringLiteral("total.zmp"), result.total.get()});
    outputs.append({QStringLiteral("residual.zmp"), result.residual.get()});
    if (result.offset) outputs.append({QStringLiteral("offset.zmp"), result.offset.get()});
    for (const auto &[name, record] : outputs) {
        const QString path = outDir.filePath(name);
        if (!record->save(path)) {
            err << "zelmap-cli lcf: cannot write " << path << '\n';
            return 1;
        }
    }

    out << "reference\tE0 [eV]\tdE [eV]\tmean fraction\n";
    for (int j = 0; j < model.referenceCount(); ++j) {
        const LcfModel::Reference &r = model.references().at(j);
        const double mean = result.meanFractions[size_t(j)];
        out << r.name << '\t' << QString::number(r.e0, 'g', 6) << '\t' << r.dE << '\t'
            << (std::isnan(mean) ? QStringLiteral("none") : QString::number(mean, 'f', 4)) << '\n';
    }
    out << "valid pixels: " << result.validPixels << " of " << pixelCount << '\n'
        << "written: " << outDir.path() << '\n';
    return 0;
}

} // namespace Cli
