// filter peaks and filter compare-peaks: the peak finder and the peak comparison over files.
#include "Cli.h"

#include "CliOptions.h"
#include "core/Shape.h"
#include "core/TDDataWL.h"
#include "proc/ComparePeaksF.h"
#include "proc/FindPeaksF.h"

#include <vector>

namespace Cli {

namespace {

bool save(const TDDataWL &result, const QString &output, const CliOptions &o, QTextStream &err)
{
    if (result.save(output)) return true;
    o.usageError(err, QStringLiteral("cannot write %1").arg(output));
    return false;
}

} // namespace

int filterPeaks(const QStringList &args, QTextStream &out, QTextStream &err)
{
    CliOptions o(QStringLiteral("filter peaks"));
    o.addOption(QStringLiteral("--num"));
    o.addOption(QStringLiteral("--radius"));
    o.addOption(QStringLiteral("--rect"), 4);
    o.addOption(QStringLiteral("-o"));
    o.addSwitch(QStringLiteral("--min"));
    o.addSwitch(QStringLiteral("--on-image"));
    if (!o.parse(args, err)) return 2;
    int num = 10;
    double radius = 100;
    QList<int> rect;
    if (!o.integer(QStringLiteral("--num"), &num, err) ||
        !o.real(QStringLiteral("--radius"), &radius, err) ||
        !o.ints(QStringLiteral("--rect"), &rect, err))
        return 2;
    const QString output = o.value(QStringLiteral("-o"));
    if (o.files().size() != 1 || output.isEmpty())
        return o.usageError(err, QStringLiteral("give one FILE and -o OUT.zmp"));

    QString error;
    const std::unique_ptr<TDDataWL> source = loadRecord(o.files().first(), &error);
    if (!source) {
        err << "zelmap-cli filter peaks: " << error << '\n';
        return 1;
    }
    const QRect area = rect.isEmpty() ? QRect(0, 0, source->width(), source->height())
                                      : QRect(QPoint(rect[0], rect[1]), QPoint(rect[2], rect[3]));
    const FindPeaksF f(radius, num, !o.has(QStringLiteral("--min")),
                       o.has(QStringLiteral("--on-image")));
    o.startClock();
    const std::unique_ptr<TDDataWL> result(f.compute(source.get(), area));
    o.stopClock();
    o.report(err);
    const Shape *list = result->shape(result->shapeCount() - 1);
    for (const QPointF &p : *list->points()) {
        const int x = int(p.x()), y = int(p.y());
        out << x << ' ' << y << ' '
            << (x < source->width() && y < source->height() ? number(source->value(x, y))
                                                            : QStringLiteral("nan"))
            << '\n';
    }
    return save(*result, output, o, err) ? 0 : 1;
}

int filterComparePeaks(const QStringList &args, QTextStream &out, QTextStream &err)
{
    CliOptions o(QStringLiteral("filter compare-peaks"));
    o.addOption(QStringLiteral("-o"));
    o.addSwitch(QStringLiteral("--min"));
    if (!o.parse(args, err)) return 2;
    const QString output = o.value(QStringLiteral("-o"));
    if (o.files().isEmpty() || output.isEmpty())
        return o.usageError(err, QStringLiteral("give FILE... and -o OUT.zmp"));
    std::vector<std::unique_ptr<TDDataWL>> records;
    QList<TDDataWL *> targets;
    for (const QString &file : o.files()) {
        QString error;
        records.push_back(loadRecord(file, &error));
        if (!records.back()) {
            err << "zelmap-cli filter compare-peaks: " << error << '\n';
            return 1;
        }
        // Each file is searched whole, whatever region it was saved with.
        records.back()->regionCleared();
        targets << records.back().get();
    }
    const ComparePeaksF f(!o.has(QStringLiteral("--min")), false);
    o.startClock();
    const std::unique_ptr<TDDataWL> result(f.compute(targets, nullptr));
    o.stopClock();
    o.report(err);
    const Shape *list = result->shape(result->shapeCount() - 1);
    for (qsizetype k = 0; k < list->points()->size(); ++k) {
        const QPointF p = list->points()->at(k);
        out << int(p.x()) << ' ' << int(p.y()) << ' '
            << number(targets.at(k)->value(int(p.x()), int(p.y()))) << '\n';
    }
    return save(*result, output, o, err) ? 0 : 1;
}

} // namespace Cli
