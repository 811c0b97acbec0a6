// info and dump: what a record holds, for scripts.
#include "Cli.h"

#include "core/TDDataWL.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace Cli {

namespace {

QJsonValue jsonNumber(double v)
{
    // JSON has no NaN or infinity.
    return std::isfinite(v) ? QJsonValue(v) : QJsonValue(QJsonValue::Null);
}

// Records from 2dData files have no pixel type or exposure time of their own.
void printFormat(QTextStream &out, const ImageLoader::Result &how)
{
    const bool record = how.pixelType < 0;
    out << "format: " << how.format << '\n'
        << "pixel type: " << (record ? QStringLiteral("none") : QString::number(how.pixelType))
        << '\n'
        << "exposure time: "
        << (record ? QStringLiteral("none") : number(how.exposureTime) + QStringLiteral(" ms"))
        << '\n';
}

QJsonObject describe(const QString &path, const TDDataWL &r, const ImageLoader::Result &how)
{
    const DisplayRange range = r.displayRange();
    QJsonObject o;
    o[QStringLiteral("file")] = path;
    o[QStringLiteral("dataId")] = r.dataId();
    o[QStringLiteral("width")] = r.width();
    o[QStringLiteral("height")] = r.height();
    o[QStringLiteral("minWithZeros")] = jsonNumber(r.minWithZeros());
    o[QStringLiteral("maxWithZeros")] = jsonNumber(r.maxWithZeros());
    o[QStringLiteral("minWithoutZeros")] = jsonNumber(r.minWithoutZeros());
    o[QStringLiteral("maxWithoutZeros")] = jsonNumber(r.maxWithoutZeros());
    o[QStringLiteral("displayLow")] = jsonNumber(range.low);
    o[QStringLiteral("displayHigh")] = jsonNumber(range.high);
    o[QStringLiteral("validPixels")] = double(r.validCount());
    o[QStringLiteral("format")] = how.format;
    const bool record = how.pixelType < 0;
    o[QStringLiteral("pixelType")] = record ? QJsonValue() : QJsonValue(how.pixelType);
    o[QStringLiteral("exposureTimeMs")] = record ? QJsonValue() : jsonNumber(how.exposureTime);
    return o;
}

void printText(QTextStream &out, const QString &path, const TDDataWL &r,
               const ImageLoader::Result &how)
{
    const DisplayRange range = r.displayRange();
    out << "file: " << path << '\n'
        << "data id: " << r.dataId() << '\n'
        << "width: " << r.width() << '\n'
        << "height: " << r.height() << '\n'
        << "min with zeros: " << number(r.minWithZeros()) << '\n'
        << "max with zeros: " << number(r.maxWithZeros()) << '\n'
        << "min without zeros: " << number(r.minWithoutZeros()) << '\n'
        << "max without zeros: " << number(r.maxWithoutZeros()) << '\n'
        << "display range: " << number(range.low) << ' ' << number(range.high) << '\n'
        << "valid pixels: " << r.validCount() << '\n';
    printFormat(out, how);
}

} // namespace

int info(const QStringList &args, QTextStream &out, QTextStream &err)
{
    bool json = false;
    QStringList files;
    for (const QString &a : args) {
        if (a == QLatin1String("--json")) {
            json = true;
        } else if (a.startsWith(QLatin1String("--"))) {
            err << "zelmap-cli info: unknown option " << a << '\n';
            return 2;
        } else {
            files << a;
        }
    }
    if (files.isEmpty()) {
        err << "zelmap-cli info: no file given\n";
        return 2;
    }
    int status = 0;
    QJsonArray array;
    bool first = true;
    for (const QString &path : files) {
        QString error;
        ImageLoader::Result how;
        const auto record = loadRecord(path, &error, &how);
        if (!record) {
            err << "zelmap-cli info: " << error << '\n';
            status = 1;
            continue;
        }
        if (json) {
            array.append(describe(path, *record, how));
        } else {
            if (!first) out << '\n';
            printText(out, path, *record, how);
        }
        first = false;
    }
    if (json) out << QJsonDocument(array).toJson(QJsonDocument::Indented);
    return status;
}

int dump(const QStringList &args, QTextStream &out, QTextStream &err)
{
    if (args.size() != 1 || args.first().startsWith(QLatin1String("--"))) {
        err << "zelmap-cli dump: give exactly one file\n";
        return 2;
    }
    QString error;
    ImageLoader::Result how;
    const auto record = loadRecord(args.first(), &error, &how);
    if (!record) {
        err << "zelmap-cli dump: " << error << '\n';
        return 1;
    }
    // Kept off the pixel lines so that scripts can read them unchanged.
    printFormat(err, how);
    for (int y = 0; y < record->height(); ++y) {
        for (int x = 0; x < record->width(); ++x)
            out << x << ' ' << y << ' ' << number(record->value(x, y)) << ' '
                << (record->isValid(x, y) ? 1 : 0) << '\n';
    }
    return 0;
}

} // namespace Cli
