// Reading a 2048 x 2048 16-bit TIFF into a record, against a plain libtiff scanline decode
// of the same file into an already allocated and touched vector of doubles.
#include "core/TDDataWL.h"
#include "io/BadPixelList.h"
#include "io/ImageLoader.h"

#include <QDir>
#include <QFile>

#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <chrono>
#include <cstdio>
#include <vector>

namespace {

constexpr int kSide = 2048;

const QString &tiffPath()
{
    static const QString path = [] {
        const QString p = QDir::temp().filePath(QStringLiteral("zelmap_bench_tiff_read.tif"));
        TIFF *tif = TIFFOpen(QFile::encodeName(p).constData(), "w");
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(kSide));
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(kSide));
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, uint16_t(16));
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, uint16_t(1));
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, uint16_t(PHOTOMETRIC_MINISBLACK));
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, uint32_t(8));
        std::vector<uint16_t> row(kSide);
        for (int y = 0; y < kSide; ++y) {
            for (int x = 0; x < kSide; ++x)
                row[size_t(x)] = uint16_t((x * 31 + y * 17) & 0xffff);
            TIFFWriteScanline(tif, row.data(), uint32_t(y), 0);
        }
        TIFFClose(tif);
        return p;
    }();
    return path;
}

// The reference: what any program must at least do to get doubles out of the file.
double plainDecode(std::vector<double> &out)
{
    TIFF *tif = TIFFOpen(QFile::encodeName(tiffPath()).constData(), "r");
    uint32_t w = 0;
    uint32_t h = 0;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &w);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &h);
    std::vector<uint16_t> line(size_t(TIFFScanlineSize(tif)) / 2);
    for (uint32_t y = 0; y < h; ++y) {
        TIFFReadScanline(tif, line.data(), y, 0);
        double *o = out.data() + size_t(y) * w;
        for (uint32_t x = 0; x < w; ++x)
            o[x] = line[x];
    }
    TIFFClose(tif);
    return out[out.size() / 2];
}

double seconds(std::chrono::steady_clock::time_point a, std::chrono::steady_clock::time_point b)
{
    return std::chrono::duration<double>(b - a).count();
}

void BM_TiffToRecord(benchmark::State &state)
{
    std::vector<double> reference(size_t(kSide) * kSide, 1.0); // allocated and touched
    BadPixelList noBadPixels;
    plainDecode(reference);
    ImageLoader::load(tiffPath(), &noBadPixels); // warm the file cache
    double refTotal = 0.0;
    double oursTotal = 0.0;
    for (auto _ : state) {
        const auto t0 = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(plainDecode(reference));
        const auto t1 = std::chrono::steady_clock::now();
        const ImageLoader::Result r = ImageLoader::load(tiffPath(), &noBadPixels);
        benchmark::DoNotOptimize(r.record->values());
        const auto t2 = std::chrono::steady_clock::now();
        refTotal += seconds(t0, t1);
        oursTotal += seconds(t1, t2);
        state.SetIterationTime(seconds(t1, t2));
    }
    const double n = double(state.iterations());
    state.counters["reference_ms"] = 1000.0 * refTotal / n;
    state.counters["record_ms"] = 1000.0 * oursTotal / n;
    state.counters["ratio"] = oursTotal / refTotal;
    std::printf("tiff read into a record / plain libtiff decode: %.2f (%.2f ms / %.2f ms)\n",
                oursTotal / refTotal, 1000.0 * oursTotal / n, 1000.0 * refTotal / n);
}
BENCHMARK(BM_TiffToRecord)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace

BENCHMARK_MAIN();
