// filter: the filter panel's filters over files, one sub-command each.
#include "Cli.h"

namespace Cli {

namespace {

struct FilterCommand
{
    const char *name;
    int (*run)(const QStringList &args, QTextStream &out, QTextStream &err);
    const char *usage = nullptr;
};

const FilterCommand kFilters[] = {
    {"ma", &filterMovingAvr, "ma [--hw X Y] [--time] FILE -o OUT.zmp"},
    {"at", &filterAdaptiveThreshold, "at [--hw X Y] [--rect L T R B] [--time] FILE -o OUT.zmp"},
    {"peaks", &filterPeaks,
     "peaks [--num N] [--radius R] [--min] [--on-image] [--rect L T R B] [--time] FILE -o OUT.zmp"},
    {"compare-peaks", &filterComparePeaks, "compare-peaks [--min] [--time] FILE... -o OUT.zmp"},
    {"match", &filterMatch,
     "match --template L T R B [--arccos] [--rect L T R B] [--exec2 | --threads N] [--time] "
     "FILE -o OUT.zmp"},
};

} // namespace

void filterHelp(QTextStream &out)
{
    out << "Filters:\n";
    for (const FilterCommand &f : kFilters)
        out << "  zelmap-cli filter " << (f.usage ? f.usage : f.name) << '\n';
}

int filter(const QStringList &args, QTextStream &out, QTextStream &err)
{
    const QString name = args.value(0);
    for (const FilterCommand &f : kFilters)
        if (f.name && name == QLatin1String(f.name)) return f.run(args.mid(1), out, err);
    err << "zelmap-cli filter: unknown filter '" << name << "' (try zelmap-cli filter --help)\n";
    return 2;
}

} // namespace Cli
