// filter match: the pattern matching of the filter panel over one file.
#include "Cli.h"
#include "CliOptions.h"

#include "core/TDDataWL.h"
#include "proc/MatchingF.h"

#include <QEventLoop>

namespace Cli {

int filterMatch(const QStringList &args, QTextStream &out, QTextStream &err)
{
    CliOptions o(QStringLiteral("filter match"));
    o.addOption(QStringLiteral("--template"), 4);
    o.addOption(QStringLiteral("--rect"), 4);
    o.addOption(QStringLiteral("--threads"));
    o.addOption(QStringLiteral("-o"));
    o.addSwitch(QStringLiteral("--arccos"));
    o.addSwitch(QStringLiteral("--exec2"));
    if (!o.parse(args, err)) return 2;
    if (o.files().size() != 1 || !o.has(QStringLiteral("-o")) ||
        !o.has(QStringLiteral("--template")))
        return o.usageError(err,
                            QStringLiteral("give --template L T R B, one FILE and -o OUT.zmp"));
    QList<int> t, r;
    int threads = 32;
    if (!o.ints(QStringLiteral("--template"), &t, err) ||
        !o.ints(QStringLiteral("--rect"), &r, err) ||
        !o.integer(QStringLiteral("--threads"), &threads, err))
        return 2;
    const bool exec2 = o.has(QStringLiteral("--exec2"));
    if (exec2 && o.has(QStringLiteral("--threads")))
        return o.usageError(err,
                            QStringLiteral("--exec2 runs without threads; give one of the two"));
    if (threads < 1) return o.usageError(err, QStringLiteral("--threads takes 1 or more"));
    // Inclusive corners, as the region and rectangle of a record.
    const QRect region(QPoint(t[0], t[1]), QPoint(t[2], t[3]));
    if (t[2] < t[0] || t[3] < t[1])
        return o.usageError(err, QStringLiteral("--template needs L <= R and T <= B"));

    QString error;
    const std::unique_ptr<TDDataWL> source = loadRecord(o.files().first(), &error);
    if (!source) {
        err << "zelmap-cli filter match: " << error << '\n';
        return 1;
    }
    source->setRegion(region);
    const QRect rect = r.isEmpty() ? QRect(0, 0, source->width(), source->height())
                                   : QRect(QPoint(r[0], r[1]), QPoint(r[2], r[3]));

    MatchingF filter(o.has(QStringLiteral("--arccos")) ? 2 : 1, exec2 ? 1 : 2, threads);
    std::unique_ptr<TDDataWL> result;
    QObject::connect(&filter, &Filter::newFilteredData, [&](TDDataWL *d) { result.reset(d); });
    QEventLoop loop;
    QObject::connect(&filter, &MatchingF::finished, &loop, &QEventLoop::quit);
    o.startClock();
    if (exec2) {
        filter.execMatching2(source.get(), rect);
    } else {
        // The threaded path writes its rows from queued signals, so it needs the event loop.
        filter.execMatching5(source.get(), rect);
        if (filter.isRunning()) loop.exec();
    }
    o.stopClock();
    o.report(err);
    if (!result) {
        err << "zelmap-cli filter match: every pixel of the template is zero or invalid; nothing "
               "written\n";
        return 1;
    }
    const QString output = o.value(QStringLiteral("-o"));
    if (!result->save(output)) {
        err << "zelmap-cli filter match: cannot write " << output << '\n';
        return 1;
    }
    out << output << ": " << result->dataId() << ", " << result->width() << " x "
        << result->height() << ", " << result->validCount() << " valid pixels\n";
    return 0;
}

} // namespace Cli
