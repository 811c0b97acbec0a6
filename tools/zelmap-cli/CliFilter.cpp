// filter: the filter panel's filters over files, one sub-command each.
#include "Cli.h"

namespace Cli {

int filterMatch(const QStringList &args, QTextStream &out, QTextStream &err);

namespace {

struct FilterCommand
{
    const char *name;
    int (*run)(const QStringList &args, QTextStream &out, QTextStream &err);
};

// Each filter adds its line here.
const FilterCommand kFilters[] = {
    {"match", &filterMatch},
};

} // namespace

int filter(const QStringList &args, QTextStream &out, QTextStream &err)
{
    const QString name = args.value(0);
    for (const FilterCommand &f : kFilters)
        if (f.name && name == QLatin1String(f.name)) return f.run(args.mid(1), out, err);
    err << "zelmap-cli filter: unknown filter '" << name << "' (try zelmap-cli filter --help)\n";
    return 2;
}

} // namespace Cli
