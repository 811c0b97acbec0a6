// render: quick-look pictures of records through the display's colour mapping.
#include "Cli.h"

#include "core/TDDataWL.h"
#include "display/ColorBar0.h"

#include <QImage>

namespace Cli {

namespace {

bool takeNumbers(const QStringList &args, int &i, int count, double *out, QTextStream &err)
{
    const QString option = args[i];
    if (i + count >= args.size()) {
        err << "render: " << option << " needs " << count << " numbers\n";
        return false;
    }
    for (int k = 0; k < count; ++k) {
        bool ok = false;
        out[k] = args[i + 1 + k].toDouble(&ok);
        if (!ok) {
            err << "render: " << option << ": '" << args[i + 1 + k] << "' is not a number\n";
            return false;
        }
    }
    i += count;
    return true;
}

} // namespace

int render(const QStringList &args, QTextStream &out, QTextStream &err)
{
    QString input;
    QString output;
    bool grey = false;
    bool hasRange = false;
    double range[2] = {0.0, 1.0};
    double markers[2] = {0.0, 1.0};
    for (int i = 0; i < args.size(); ++i) {
        const QString &a = args[i];
        if (a == QLatin1String("-o")) {
            if (++i >= args.size()) {
                err << "render: -o needs a file name\n";
                return 2;
            }
            output = args[i];
        } else if (a == QLatin1String("--grey")) {
            grey = true;
        } else if (a == QLatin1String("--range")) {
            if (!takeNumbers(args, i, 2, range, err)) return 2;
            hasRange = true;
        } else if (a == QLatin1String("--markers")) {
            if (!takeNumbers(args, i, 2, markers, err)) return 2;
        } else if (a.startsWith(QLatin1Char('-')) && a.size() > 1) {
            err << "render: unknown option " << a << '\n';
            return 2;
        } else if (input.isEmpty()) {
            input = a;
        } else {
            err << "render: one input file only\n";
            return 2;
        }
    }
    if (input.isEmpty() || output.isEmpty()) {
        err << "Usage: zelmap-cli render FILE -o OUT.png [--grey] [--range LOW HIGH] "
               "[--markers LOWER UPPER]\n";
        return 2;
    }

    QString error;
    std::unique_ptr<TDDataWL> record = loadRecord(input, &error);
    if (!record) {
        err << "render: " << error << '\n';
        return 1;
    }
    ColorBar0 bar;
    bar.setPixelFormat(grey ? ColorBar0::kFormatGrayscale8 : ColorBar0::kFormatRgb32);
    bar.setMarkers(markers[0], markers[1]);

    const int w = record->width();
    const int h = record->height();
    std::unique_ptr<uchar[]> pixels;
    std::unique_ptr<QImage> picture;
    if (hasRange) {
        pixels = ColorBar0::newPixelBuffer(w, h, bar.pixelFormat());
        bar.writeImage(pixels.get(), record->values(), record->validFlags(), w, h, range[0],
                       range[1]);
        picture = ColorBar0::wrapBuffer(pixels.get(), w, h, bar.pixelFormat());
    } else {
        record->makeImage(bar);
        if (record->image()) picture = std::make_unique<QImage>(*record->image());
    }
    if (!picture || picture->isNull()) {
        err << "render: " << input << ": empty image\n";
        return 1;
    }
    if (!picture->save(output)) {
        err << "render: cannot write " << output << '\n';
        return 1;
    }
    out << output << ": " << w << " x " << h << '\n';
    return 0;
}

} // namespace Cli
