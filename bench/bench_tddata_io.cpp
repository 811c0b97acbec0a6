// Saves and loads a 4096 x 4096 record as 2dData and compares the time with a plain
// fwrite/fread of the same number of bytes, in the same run.
#include "RatioReporter.h"

#include "core/TDDataWL.h"

#include <QDir>
#include <QTemporaryDir>

#include <cstdio>
#include <vector>

namespace {

constexpr int kSide = 4096;

void quiet(QtMsgType, const QMessageLogContext &, const QString &) {}

const QTemporaryDir &scratch()
{
    static const QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/zelmap-bench-XXXXXX"));
    return dir;
}

const TDDataWL &record()
{
    static const TDDataWL *rec = [] {
        auto *r = new TDDataWL(kSide, kSide);
        double *v = r->values();
        quint8 *f = r->validFlags();
        for (qsizetype i = 0; i < r->pixelCount(); ++i) {
            v[i] = double(i % 65536) * 0.5;
            f[i] = i % 97 != 0;
        }
        r->widenStatistics(v, r->pixelCount());
        r->setDataId(QStringLiteral("bench"));
        // One untimed round so that neither side pays for a cold page cache.
        r->save(scratch().filePath(QStringLiteral("warm.zmp")));
        return r;
    }();
    return *rec;
}

void BM_SaveLoad2dData(benchmark::State &state)
{
    const TDDataWL &rec = record();
    const QString path = scratch().filePath(QStringLiteral("rec.zmp"));
    for (auto _ : state) {
        rec.save(path);
        TDDataWL back(0, 0);
        back.load(path);
        benchmark::DoNotOptimize(back.values());
    }
    state.SetBytesProcessed(state.iterations() * rec.pixelCount() * 9 * 2);
}
BENCHMARK(BM_SaveLoad2dData)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

// The floor: the same bytes through stdio, read into memory that is already there.
void BM_PlainFwriteFread(benchmark::State &state)
{
    const TDDataWL &rec = record();
    const std::string path = scratch().filePath(QStringLiteral("plain.bin")).toStdString();
    const size_t n = size_t(rec.pixelCount());
    std::vector<char> header(512, ' ');
    std::vector<double> values(n, 1.0);
    std::vector<unsigned char> flags(n, 1);
    for (auto _ : state) {
        FILE *out = std::fopen(path.c_str(), "wb");
        std::fwrite(header.data(), 1, header.size(), out);
        std::fwrite(rec.values(), sizeof(double), n, out);
        std::fwrite(rec.validFlags(), 1, n, out);
        std::fclose(out);
        FILE *in = std::fopen(path.c_str(), "rb");
        size_t got = std::fread(header.data(), 1, header.size(), in);
        got += std::fread(values.data(), sizeof(double), n, in);
        got += std::fread(flags.data(), 1, n, in);
        std::fclose(in);
        benchmark::DoNotOptimize(got);
        benchmark::DoNotOptimize(values.data());
    }
    state.SetBytesProcessed(state.iterations() * rec.pixelCount() * 9 * 2);
}
BENCHMARK(BM_PlainFwriteFread)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

} // namespace

int main(int argc, char **argv)
{
    qInstallMessageHandler(quiet);
    return runBenchmarksWithRatios(argc, argv, {{"BM_SaveLoad2dData", "BM_PlainFwriteFread", 1.5}});
}
