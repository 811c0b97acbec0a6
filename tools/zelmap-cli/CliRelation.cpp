// relation: the relation map of two images, its picture and the mask of a selection.
#include "Cli.h"
#include "CliOptions.h"

#include "core/TDDataWL.h"
#include "relation/RelationHistogram.h"
#include "relation/RelationSelection.h"

#include <QImageWriter>

#include <cmath>
#include <numbers>

namespace Cli {

int relation(const QStringList &args, QTextStream &out, QTextStream &err)
{
    CliOptions opts(QStringLiteral("relation"));
    opts.addOption(QStringLiteral("--kernel-hw"));
    opts.addOption(QStringLiteral("--boundary"));
    opts.addOption(QStringLiteral("--color-range"));
    opts.addOption(QStringLiteral("-o"));
    opts.addOption(QStringLiteral("--png"));
    opts.addOption(QStringLiteral("--sector"), 2);
    opts.addOption(QStringLiteral("--square"), 4);
    opts.addOption(QStringLiteral("--mask"));
    if (!opts.parse(args, err)) return 2;

    RelationHistogram::Params params;
    double colorRange = 0.002;
    QList<double> sector, square;
    if (!opts.integer(QStringLiteral("--kernel-hw"), &params.halfWidth, err) ||
        !opts.real(QStringLiteral("--boundary"), &params.boundary, err) ||
        !opts.real(QStringLiteral("--color-range"), &colorRange, err) ||
        !opts.doubles(QStringLiteral("--sector"), &sector, err) ||
        !opts.doubles(QStringLiteral("--square"), &square, err))
        return 2;
    if (opts.files().size() != 2 || !opts.has(QStringLiteral("-o")))
        return opts.usageError(err, QStringLiteral("give S1 S2 -o HIST.zmp"));
    if (!sector.isEmpty() && !square.isEmpty())
        return opts.usageError(err, QStringLiteral("give --sector or --square, not both"));
    const bool selecting = !sector.isEmpty() || !square.isEmpty();
    if (opts.has(QStringLiteral("--mask")) && !selecting)
        return opts.usageError(err, QStringLiteral("--mask needs --sector or --square"));
    if (params.halfWidth > RelationHistogram::kMaxHalfWidth)
        err << "zelmap-cli relation: kernel half width " << params.halfWidth << " taken as "
            << RelationHistogram::kMaxHalfWidth << '\n';

    std::unique_ptr<TDDataWL> images[2];
    for (int i = 0; i < 2; ++i) {
        QString error;
        images[i] = loadRecord(opts.files().at(i), &error);
        if (!images[i]) {
            err << "zelmap-cli relation: " << error << '\n';
            return 1;
        }
    }
    const TDDataWL &s1 = *images[0];
    const TDDataWL &s2 = *images[1];
    if (s1.width() != s2.width() || s1.height() != s2.height()) {
        err << "zelmap-cli relation: S1 is " << s1.width() << " x " << s1.height() << " but S2 is "
            << s2.width() << " x " << s2.height() << "; the images must be of one size\n";
        return 2;
    }

    RelationSelection selection;
    if (sector.size() == 2)
        selection = RelationSelection::sector(sector[0] / 180.0 * std::numbers::pi,
                                              sector[1] / 180.0 * std::numbers::pi * 0.5);
    else if (square.size() == 4)
        selection = RelationSelection::square(square[0], square[1], square[2], square[3]);

    opts.startClock();
    const std::vector<double> bins = RelationHistogram::compute(s1, s2, params);
    std::unique_ptr<TDDataWL> mask;
    if (selecting) mask = selection.mask(s1, s2);
    opts.stopClock();

    constexpr int n = RelationHistogram::kBins;
    TDDataWL hist(n, n);
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) {
            const double v = bins[size_t(r) * n + c];
            hist.setValue(c, r, v, std::isfinite(v));
        }
    hist.setDataId(QStringLiteral("Hist[%1 vs %2]").arg(s1.dataId(), s2.dataId()));
    hist.setLevel(std::max(s1.level(), s2.level()) + 1);
    const QString histName = opts.value(QStringLiteral("-o"));
    if (!hist.save(histName)) {
        err << "zelmap-cli relation: cannot write " << histName << '\n';
        return 1;
    }
    out << histName << ": " << hist.dataId() << ", S1 axis 0 .. "
        << number(RelationHistogram::axisHigh(s1)) << ", S2 axis 0 .. "
        << number(RelationHistogram::axisHigh(s2)) << '\n';

    if (opts.has(QStringLiteral("--png"))) {
        const QString png = opts.value(QStringLiteral("--png"));
        if (!QImageWriter(png).write(RelationHistogram::paint(bins, colorRange))) {
            err << "zelmap-cli relation: cannot write " << png << '\n';
            return 1;
        }
    }
    if (mask) {
        long long picked = 0;
        for (qsizetype i = 0; i < mask->pixelCount(); ++i)
            picked += mask->value(i) != 0.0;
        out << "selected pixels: " << picked << '\n';
        if (opts.has(QStringLiteral("--mask"))) {
            const QString name = opts.value(QStringLiteral("--mask"));
            if (!mask->save(name)) {
                err << "zelmap-cli relation: cannot write " << name << '\n';
                return 1;
            }
        }
    }
    opts.report(err);
    return 0;
}

} // namespace Cli
