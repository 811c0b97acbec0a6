// copy and resize: the copy control's region copy and resizing over files.
#include "Cli.h"

#include "CliOptions.h"
#include "core/TDDataWL.h"
#include "proc/RecordCopy.h"
#include "proc/Resampler.h"

namespace Cli {

namespace {

int finish(const TDDataWL &result, const QString &output, const QString &command, QTextStream &out,
           QTextStream &err)
{
    if (!result.save(output)) {
        err << "zelmap-cli " << command << ": cannot write " << output << '\n';
        return 1;
    }
    out << output << ": " << result.dataId() << ", " << result.width() << " x " << result.height()
        << ", " << result.validCount() << " valid pixels\n";
    return 0;
}

} // namespace

int copy(const QStringList &args, QTextStream &out, QTextStream &err)
{
    CliOptions o(QStringLiteral("copy"));
    o.addOption(QStringLiteral("--rect"), 4);
    o.addOption(QStringLiteral("-o"));
    if (!o.parse(args, err)) return 2;
    QList<int> rect;
    if (!o.ints(QStringLiteral("--rect"), &rect, err)) return 2;
    const QString output = o.value(QStringLiteral("-o"));
    if (rect.size() != 4 || o.files().size() != 1 || output.isEmpty())
        return o.usageError(err, QStringLiteral("give --rect L T R B, one FILE and -o OUT.zmp"));
    QString error;
    const std::unique_ptr<TDDataWL> source = loadRecord(o.files().first(), &error);
    if (!source) {
        err << "zelmap-cli copy: " << error << '\n';
        return 1;
    }
    o.startClock();
    const auto result =
        RecordCopy::region(*source, QRect(QPoint(rect[0], rect[1]), QPoint(rect[2], rect[3])));
    o.stopClock();
    if (!result)
        return o.usageError(err, QStringLiteral("the rectangle holds no pixel of %1 x %2")
                                     .arg(source->width())
                                     .arg(source->height()));
    o.report(err);
    return finish(*result, output, QStringLiteral("copy"), out, err);
}

int resize(const QStringList &args, QTextStream &out, QTextStream &err)
{
    CliOptions o(QStringLiteral("resize"));
    o.addOption(QStringLiteral("--size"), 2);
    o.addOption(QStringLiteral("--method"));
    o.addOption(QStringLiteral("-o"));
    if (!o.parse(args, err)) return 2;
    QList<int> size;
    if (!o.ints(QStringLiteral("--size"), &size, err)) return 2;
    const QString output = o.value(QStringLiteral("-o"));
    if (size.size() != 2 || o.files().size() != 1 || output.isEmpty())
        return o.usageError(err, QStringLiteral("give --size W H, one FILE and -o OUT.zmp"));
    const QString problem = Resampler::sizeProblem(size[0], size[1]);
    if (!problem.isEmpty()) return o.usageError(err, problem);
    const QString name = o.value(QStringLiteral("--method"), QStringLiteral("linear"));
    const QStringList names = {QStringLiteral("nearest"), QStringLiteral("linear"),
                               QStringLiteral("area")};
    if (!names.contains(name))
        return o.usageError(err, QStringLiteral("--method is nearest, linear or area"));
    QString error;
    const std::unique_ptr<TDDataWL> source = loadRecord(o.files().first(), &error);
    if (!source) {
        err << "zelmap-cli resize: " << error << '\n';
        return 1;
    }
    o.startClock();
    const auto result =
        Resampler::resize(*source, size[0], size[1], Resampler::Method(names.indexOf(name)));
    o.stopClock();
    if (!result) return o.usageError(err, QStringLiteral("%1 holds no pixel").arg(o.files()[0]));
    o.report(err);
    result->setLevel(source->level() + 1);
    result->setDataId(Resampler::dataId(source->dataId(), size[0], size[1]));
    return finish(*result, output, QStringLiteral("resize"), out, err);
}

} // namespace Cli
