// calc: the arithmetic panel's computation over files; I[n] is the n-th file, from 0.
#include "Cli.h"

#include "core/TDDataWL.h"
#include "proc/CalcFormula.h"
#include "proc/ImageCalc.h"

#include <QSet>

#include <vector>

namespace Cli {

int calc(const QStringList &args, QTextStream &out, QTextStream &err)
{
    QString numText, denText, output;
    ImageCalc::Options options;
    QStringList files;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &a = args.at(i);
        const bool takesValue =
            a == QLatin1String("--num") || a == QLatin1String("--den") || a == QLatin1String("-o");
        if (takesValue && i + 1 >= args.size()) {
            err << "zelmap-cli calc: " << a << " needs a value\n";
            return 2;
        }
        if (a == QLatin1String("--num"))
            numText = args.at(++i);
        else if (a == QLatin1String("--den"))
            denText = args.at(++i);
        else if (a == QLatin1String("-o"))
            output = args.at(++i);
        else if (a == QLatin1String("--log"))
            options.log = true;
        else if (a == QLatin1String("--no-log"))
            options.log = false;
        else if (a == QLatin1String("--neg"))
            options.neg = true;
        else if (a.startsWith(QLatin1Char('-')) && a.size() > 1) {
            err << "zelmap-cli calc: unknown option " << a << '\n';
            return 2;
        } else {
            files << a;
        }
    }
    if (files.isEmpty() || output.isEmpty()) {
        err << "zelmap-cli calc: give --num FORMULA, FILE... and -o OUT.zmp\n";
        return 2;
    }

    // Unlike the panel, a batch run stops on a mistake instead of computing something else.
    QList<int> unknown;
    const auto lookup = [&](int n) {
        if (n >= 0 && n < files.size()) return n;
        unknown << n;
        return -1;
    };
    const CalcFormula num = CalcFormula::parse(numText, lookup);
    const CalcFormula den = CalcFormula::parse(denText, lookup);
    for (const auto &[text, f] : {std::pair{numText, &num}, std::pair{denText, &den}}) {
        if (!text.trimmed().isEmpty() && !f->isValid()) {
            err << "zelmap-cli calc: cannot read the formula '" << text << "'\n";
            return 2;
        }
    }
    if (!unknown.isEmpty()) {
        err << "zelmap-cli calc: I[" << unknown.first() << "] names no file (there are "
            << files.size() << ", from I[0])\n";
        return 2;
    }
    if (num.isEmpty() && den.isEmpty()) {
        err << "zelmap-cli calc: both formulas are empty\n";
        return 2;
    }

    // Only the files the formulas name are read.
    std::vector<std::unique_ptr<TDDataWL>> records(size_t(files.size()));
    QList<CalcSource> sources(files.size());
    for (const CalcFormula *f : {&num, &den}) {
        for (const CalcTerm &t : f->terms()) {
            auto &slot = records[size_t(t.source)];
            if (slot) continue;
            QString error;
            slot = loadRecord(files.at(t.source), &error);
            if (!slot) {
                err << "zelmap-cli calc: " << error << '\n';
                return 1;
            }
            CalcSource &s = sources[t.source];
            s.record = slot.get();
            if (slot->isRegionSet()) {
                const QRect box = slot->region();
                s.limited = true;
                s.left = box.left();
                s.top = box.top();
                s.right = box.right();
                s.bottom = box.bottom();
            }
        }
    }

    const std::unique_ptr<TDDataWL> result =
        ImageCalc::compute(sources, num.terms(), den.terms(), options);
    result->setDataId(ImageCalc::dataId(numText, denText, options));
    if (!result->save(output)) {
        err << "zelmap-cli calc: cannot write " << output << '\n';
        return 1;
    }
    out << output << ": " << result->dataId() << ", " << result->width() << " x "
        << result->height() << ", " << result->validCount() << " valid pixels\n";
    return 0;
}

} // namespace Cli
