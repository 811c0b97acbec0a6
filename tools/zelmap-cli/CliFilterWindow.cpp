// filter ma and filter at: the window filters of the filter panel over one file.
#include "Cli.h"
#include "CliOptions.h"

#include "core/TDDataWL.h"
#include "proc/AdaptiveThresholdF.h"
#include "proc/MovingAvrF.h"

#include <functional>

namespace Cli {

namespace {

using Compute = std::function<std::unique_ptr<TDDataWL>(const TDDataWL &)>;

// What both filters share: half widths, one input, one output, the clock around the
// computation alone. makeFilter sees the parsed options and the loaded source.
int runWindowFilter(
    CliOptions &options, const QStringList &args, QTextStream &out, QTextStream &err,
    const std::function<bool(const CliOptions &, int, int, Compute *, QTextStream &)> &makeFilter)
{
    options.addOption(QStringLiteral("--hw"), 2);
    options.addOption(QStringLiteral("-o"), 1);
    if (!options.parse(args, err)) return 2;
    QList<int> hw = {12, 12};
    if (!options.ints(QStringLiteral("--hw"), &hw, err)) return 2;
    if (options.files().size() != 1)
        return options.usageError(err, QStringLiteral("give exactly one FILE"));
    const QString output = options.value(QStringLiteral("-o"));
    if (output.isEmpty()) return options.usageError(err, QStringLiteral("give -o OUT.zmp"));
    Compute compute;
    if (!makeFilter(options, hw.at(0), hw.at(1), &compute, err)) return 2;

    QString error;
    const std::unique_ptr<TDDataWL> source = loadRecord(options.files().first(), &error);
    if (!source) {
        err << "zelmap-cli filter: " << error << '\n';
        return 1;
    }
    options.startClock();
    const std::unique_ptr<TDDataWL> result = compute(*source);
    options.stopClock();
    if (!result->save(output)) {
        err << "zelmap-cli filter: cannot write " << output << '\n';
        return 1;
    }
    out << output << ": " << result->dataId() << ", " << result->width() << " x "
        << result->height() << ", " << result->validCount() << " valid pixels\n";
    options.report(err);
    return 0;
}

} // namespace

int filterMovingAvr(const QStringList &args, QTextStream &out, QTextStream &err)
{
    CliOptions options(QStringLiteral("filter ma"));
    return runWindowFilter(options, args, out, err,
                           [](const CliOptions &, int hx, int hy, Compute *compute, QTextStream &) {
                               *compute = [hx, hy](const TDDataWL &source) {
                                   return MovingAvrF(hx, hy).compute(source);
                               };
                               return true;
                           });
}

int filterAdaptiveThreshold(const QStringList &args, QTextStream &out, QTextStream &err)
{
    CliOptions options(QStringLiteral("filter at"));
    options.addOption(QStringLiteral("--rect"), 4);
    return runWindowFilter(
        options, args, out, err,
        [](const CliOptions &o, int hx, int hy, Compute *compute, QTextStream &e) {
            QList<int> corners;
            if (!o.ints(QStringLiteral("--rect"), &corners, e)) return false;
            // Inclusive corners, as the panel's region; no rectangle means the whole image.
            *compute = [hx, hy, corners](const TDDataWL &source) {
                const QRect rect = corners.isEmpty() ? QRect(0, 0, source.width(), source.height())
                                                     : QRect(QPoint(corners[0], corners[1]),
                                                             QPoint(corners[2], corners[3]));
                return AdaptiveThresholdF(hx, hy).compute(source, rect);
            };
            return true;
        });
}

} // namespace Cli
