// Pattern matching on 2048 x 2048 doubles with a 64 x 64 template region (and on 1024 x 1024
// with 32 x 32), the threaded path end to end as the panel runs it (32 threads, one per row,
// event loop until the result arrives), against OpenCV's matchTemplate with TM_CCORR_NORMED in
// float on the same values in the same run.
#include "RatioReporter.h"

#include "core/TDDataWL.h"
#include "proc/MatchingF.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <memory>
#include <random>

namespace {

struct Case
{
    std::unique_ptr<TDDataWL> record;
    cv::Mat image, templ;
};

// Smooth structure plus noise, 2 % invalid pixels; the template is cut from the image.
Case makeCase(int side, int region)
{
    Case c;
    c.record = std::make_unique<TDDataWL>(side, side);
    c.image = cv::Mat(side, side, CV_32F);
    std::mt19937 g(17);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    double *v = c.record->values();
    quint8 *f = c.record->validFlags();
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const qsizetype i = qsizetype(y) * side + x;
            v[i] = 100.0 + 50.0 * std::sin(x * 0.05) * std::cos(y * 0.03) + 10.0 * u(g);
            f[i] = u(g) >= 0.02;
            c.image.at<float>(y, x) = f[i] ? float(v[i]) : 0.0f;
        }
    c.record->widenStatistics(v, c.record->pixelCount());
    const int at = side / 3;
    c.record->setRegion(QRect(at, at, region, region));
    c.templ = c.image(cv::Rect(at, at, region, region)).clone();
    return c;
}

const Case &largeCase()
{
    static const Case c = makeCase(2048, 64);
    return c;
}
const Case &smallCase()
{
    static const Case c = makeCase(1024, 32);
    return c;
}

void runThreaded(benchmark::State &state, const Case &c, int execMode = 2)
{
    TDDataWL *source = c.record.get();
    const QRect rect(0, 0, source->width(), source->height());
    for (auto _ : state) {
        MatchingF f(1, execMode, 32);
        std::unique_ptr<TDDataWL> result;
        QEventLoop loop;
        QObject::connect(&f, &Filter::newFilteredData, [&](TDDataWL *d) { result.reset(d); });
        QObject::connect(&f, &MatchingF::finished, &loop, &QEventLoop::quit);
        if (execMode == 1) {
            f.execMatching2(source, rect);
        } else {
            f.execMatching5(source, rect);
            if (f.isRunning()) loop.exec();
        }
        if (!result) state.SkipWithError("no result");
        benchmark::DoNotOptimize(result.get());
    }
}

void runOpenCv(benchmark::State &state, const Case &c)
{
    cv::Mat out;
    for (auto _ : state) {
        cv::matchTemplate(c.image, c.templ, out, cv::TM_CCORR_NORMED);
        benchmark::DoNotOptimize(out.data);
    }
}

void BM_Matching2048(benchmark::State &s)
{
    runThreaded(s, largeCase());
}
void BM_Exec2_2048(benchmark::State &s)
{
    runThreaded(s, largeCase(), 1);
}
void BM_OpenCv2048(benchmark::State &s)
{
    runOpenCv(s, largeCase());
}
void BM_Matching1024(benchmark::State &s)
{
    runThreaded(s, smallCase());
}
void BM_Exec2_1024(benchmark::State &s)
{
    runThreaded(s, smallCase(), 1);
}
void BM_OpenCv1024(benchmark::State &s)
{
    runOpenCv(s, smallCase());
}

BENCHMARK(BM_Matching2048)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);
BENCHMARK(BM_Exec2_2048)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);
BENCHMARK(BM_OpenCv2048)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);
BENCHMARK(BM_Matching1024)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);
BENCHMARK(BM_Exec2_1024)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);
BENCHMARK(BM_OpenCv1024)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    return runBenchmarksWithRatios(
        argc, argv,
        {{"BM_Matching2048", "BM_OpenCv2048", 1.0}, {"BM_Matching1024", "BM_OpenCv1024", 1.0}});
}
