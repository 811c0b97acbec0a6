#include "Cli.h"

#include "core/TDDataWL.h"

#include <QFileInfo>

namespace Cli {

const QList<CliCommand> &commands()
{
    static const QList<CliCommand> list = {
        {"info", "info [--json] FILE...",
         "data id, size, statistics, display range and valid pixels of each file", &info},
        {"dump", "dump FILE", "one line per pixel: x y value valid", &dump},
        {"convert", "convert FILE... -o DIR", "each file as a 2dData record DIR/<id>.zmp",
         &convert},
        {"xafs", "xafs FILE... [--straight|--victreen] [-o DIR]",
         "edge energy, edge jump and fit residuals of each spectrum", &xafs},
        {"render", "render FILE -o OUT.png [--grey] [--range LOW HIGH] [--markers LOWER UPPER]",
         "a picture of the record through the display colour mapping", &render},
        {"demo", "demo DIR", "writes a small synthetic Fe K-edge imaging data set into DIR", &demo},
        {"calc", "calc --num FORMULA [--den FORMULA] [--log|--no-log] [--neg] FILE... -o OUT.zmp",
         "the Calc panel's sum/sum, ln by default; I[n] is the n-th FILE from 0", &calc},
        {"filter", "filter NAME [OPTIONS] [--time] FILE -o OUT.zmp",
         "the filter panel's filters; NAME is one of the list in zelmap-cli filter --help",
         &filter},
        {"relation",
         "relation [--kernel-hw H] [--boundary B] [--color-range R] [--time] S1 S2 -o HIST.zmp "
         "[--png MAP.png] [--sector ANGLE_DEG WIDTH_DEG | --square X0 Y0 X1 Y1] [--mask OUT.zmp]",
         "the relation map of S1 against S2 (200 x 200) and the mask of a selection", &relation},
        {"copy", "copy --rect L T R B [--time] FILE -o OUT.zmp",
         "the inclusive rectangle of FILE as a record of its own", &copy},
        {"resize", "resize --size W H [--method nearest|linear|area] [--time] FILE -o OUT.zmp",
         "FILE resampled to W x H (bilinear by default)", &resize},
        {"lcf",
         "lcf --ref FILE[@dE]... [--victreen] [--energies E1,E2,...] [--fit nonneg|free|sum1] "
         "[--offset] [--time] STACK... -o DIR",
         "per-pixel linear combination fit of mu images (energies from the names, e.g. "
         "mu_7112eV.zmp) against reference spectra",
         &lcf},
    };
    return list;
}

namespace {

void printHelp(QTextStream &out)
{
    out << "Usage: zelmap-cli COMMAND [OPTIONS] FILE...\n"
           "Headless batch work on X-ray images and XAFS spectra.\n\nCommands:\n";
    for (const CliCommand &c : commands())
        out << "  " << QString::fromLatin1(c.usage).leftJustified(40) << "  "
            << QString::fromLatin1(c.summary) << '\n';
    out << "\nzelmap-cli COMMAND --help shows the usage of one command.\n";
}

} // namespace

int run(const QStringList &args, QTextStream &out, QTextStream &err)
{
    if (args.isEmpty()) {
        printHelp(err);
        return 2;
    }
    const QString name = args.first();
    if (name == QLatin1String("--help") || name == QLatin1String("-h") ||
        name == QLatin1String("help")) {
        printHelp(out);
        return 0;
    }
    for (const CliCommand &c : commands()) {
        if (name == QLatin1String(c.name)) {
            const QStringList rest = args.mid(1);
            if (rest.contains(QLatin1String("--help")) || rest.contains(QLatin1String("-h"))) {
                out << "Usage: zelmap-cli " << c.usage << "\n" << c.summary << '\n';
                if (c.run == &filter) filterHelp(out);
                return 0;
            }
            return c.run(rest, out, err);
        }
    }
    err << "zelmap-cli: unknown command '" << name << "' (try --help)\n";
    return 2;
}

std::unique_ptr<TDDataWL> loadRecord(const QString &path, QString *error,
                                     ImageLoader::Result *details)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        *error = QStringLiteral("%1: no such file").arg(path);
        return nullptr;
    }
    if (!info.isFile() || !info.isReadable()) {
        *error = QStringLiteral("%1: cannot be read").arg(path);
        return nullptr;
    }
    ImageLoader::Result loaded = ImageLoader::load(path);
    if (!loaded.record) {
        *error = QStringLiteral("%1: %2").arg(path, loaded.error);
        return nullptr;
    }
    std::unique_ptr<TDDataWL> record = std::move(loaded.record);
    if (details) *details = std::move(loaded);
    return record;
}

QString number(double v)
{
    return QString::number(v, 'g', 17);
}

} // namespace Cli
