// Spectrum reader and normalisation on arbitrary bytes.
#include "FuzzSupport.h"
#include "xafs/XafsSpectrum.h"

#include <QBuffer>
#include <QByteArray>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceQtMessages();
    QBuffer buffer;
    buffer.setData(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    if (!buffer.open(QIODevice::ReadOnly)) return 0;
    XafsSpectrum spectrum;
    if (!spectrum.read(buffer)) return 0;
    // The last byte picks the options, so both fits and the restricted search run.
    const uint8_t options = size > 0 ? data[size - 1] : 0;
    XafsSpectrum::EdgeParameters edge;
    edge.restrictEdge = options & 1;
    if (spectrum.size() > 0) edge.nominalE0 = spectrum.x(spectrum.size() / 2);
    spectrum.setEdgeParameters(edge);
    if (options & 2) spectrum.setXOffset(true, 1.5);
    if (options & 4) {
        spectrum.preLine().setJoinKind(VictLine::kCubicJoin);
        spectrum.postLine().setJoinKind(VictLine::kCubicJoin);
    }
    spectrum.normalize((options & 8) ? VictLine::kVictreen : VictLine::kStraight);
    spectrum.normalize(VictLine::kStraight); // a second run appends to the joins
    volatile double sink = spectrum.correlation(spectrum, 0.5) + spectrum.levelCrossing(0.3);
    (void)sink;
    return 0;
}
