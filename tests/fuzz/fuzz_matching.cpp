// Pattern matching on small records made from the input: size, region, processing rectangle,
// threshold mode, validity and values (NaN, infinities and huge values included). Runs the
// synchronous path, then checks the FFT path against the direct sum at every position.
#include "FuzzSupport.h"
#include "core/TDDataWL.h"
#include "proc/MatchingF.h"
#include "proc/MatchingRun.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

struct Reader
{
    const uint8_t *p;
    size_t n;
    uint8_t byte()
    {
        if (n == 0) return 0;
        --n;
        return *p++;
    }
    int small(int lo, int hi) { return lo + byte() % (hi - lo + 1); }
};

double pixel(Reader &in)
{
    const uint8_t k = in.byte();
    switch (k % 16) {
    case 0:
        return std::numeric_limits<double>::quiet_NaN();
    case 1:
        return std::numeric_limits<double>::infinity();
    case 2:
        return -1e300;
    case 3:
        return 1e-200;
    case 4:
        return 0.0;
    default:
        return double(int(in.byte()) - 128) * std::ldexp(1.0, (k >> 4) - 8);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceQtMessages();
    Reader in{data, size};
    const int w = in.small(1, 24), h = in.small(1, 24);
    const int mode = in.small(0, 2);
    const QRect region(QPoint(in.small(-3, 26), in.small(-3, 26)),
                       QPoint(in.small(-4, 27), in.small(-4, 27)));
    const QRect rect(QPoint(in.small(-5, 28), in.small(-5, 28)),
                     QPoint(in.small(-5, 28), in.small(-5, 28)));
    TDDataWL s(w, h);
    for (int i = 0; i < w * h; ++i) {
        const uint8_t flags = in.byte();
        s.setValue(i, pixel(in), flags % 5 != 0);
    }
    if (in.byte() % 8 != 0) s.setRegion(region);

    MatchingF f(mode, 1, 1);
    TDDataWL *result = nullptr;
    QObject::connect(&f, &Filter::newFilteredData, [&](TDDataWL *d) { result = d; });
    f.execMatching2(&s, rect);
    if (result && (result->width() != w || result->height() != h)) __builtin_trap();
    delete result;

    if (!s.isRegionSet()) return 0;
    MatchingRun run(s, rect, mode, MatchingRun::Method::Fft);
    if (!run.canRun()) return 0;
    const auto stored = [mode](double c, double *v) {
        *v = mode == 2 ? 1.0 - std::acos(c) / 3.141592653589793 : c;
        return c > -2.0 && *v > -2.0;
    };
    for (int y = run.top(); y < run.bottom(); ++y) {
        const QList<double> vals = run.row(y);
        for (int x = run.left(); x < run.right(); ++x) {
            double fast = 0.0, direct = 0.0;
            const bool a = stored(vals[x - run.left()], &fast);
            const bool b = stored(run.directValue(x, y), &direct);
            if (a != b) __builtin_trap();
            if (a && !(std::fabs(fast - direct) <= 1e-9) && !(std::isinf(fast) && fast == direct))
                __builtin_trap();
        }
    }
    return 0;
}
