// The arithmetic formulas on arbitrary text: parsing, computing on two small images with
// limiting rectangles taken from the input, and rewriting from a selection.
#include "FuzzSupport.h"
#include "core/TDDataWL.h"
#include "proc/CalcFormula.h"
#include "proc/ImageCalc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceQtMessages();
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const qsizetype slash = text.indexOf(QLatin1Char('/'));
    const QString numText = slash < 0 ? text : text.left(slash);
    const QString denText = slash < 0 ? QString() : text.mid(slash + 1);

    static TDDataWL a(5, 4), b(3, 6);
    static const bool filled = [] {
        for (int i = 0; i < 20; ++i)
            a.setValue(i, i - 3.0, i % 7 != 0);
        for (int i = 0; i < 18; ++i)
            b.setValue(i, 0.5 * i, true);
        return true;
    }();
    (void)filled;
    const double l = size > 0 ? double(int8_t(data[0])) / 16.0 : 0.0;
    const QList<CalcSource> sources = {{&a, size % 2 == 1, l, -l, 2.0 * l, 3.0}, {&b}};
    const auto lookup = [](int n) { return n >= 0 && n < 2 ? n : -1; };
    const CalcFormula num = CalcFormula::parse(numText, lookup);
    const CalcFormula den = CalcFormula::parse(denText, lookup);
    const auto r = ImageCalc::compute(sources, num.terms(), den.terms(), {size % 3 == 0, true});
    if (r && (r->width() > 5 || r->height() > 6)) __builtin_trap();
    (void)ImageCalc::dataId(numText, denText, {true, true});
    (void)CalcFormula::rewritten({1, 0, 7}, num.terms());
    return 0;
}
