// The moving average (MovingAvrF, 12 x 12 half widths) on a 2048 x 2048 record with invalid
// pixels, against OpenCV's masked mean in double precision in the same run: box sums of
// value x mask and of the mask over the clipped window, then a division. The filter makes a
// fresh record each time, as it must; OpenCV reuses its buffers, the strongest reference.
#include "RatioReporter.h"

#include "core/TDDataWL.h"
#include "proc/MovingAvrF.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <memory>

namespace {

constexpr int kSide = 2048;
constexpr int kHalf = 12;

struct Inputs
{
    Inputs()
    {
        record = std::make_unique<TDDataWL>(kSide, kSide);
        record->setDataId(QStringLiteral("bench"));
        double *v = record->values();
        quint8 *f = record->validFlags();
        value = cv::Mat(kSide, kSide, CV_64F);
        mask = cv::Mat(kSide, kSide, CV_64F);
        for (qsizetype i = 0; i < record->pixelCount(); ++i) {
            v[i] = double((i * 7919) % 4093);
            // About one pixel in eleven is invalid, scattered.
            f[i] = ((i * 2654435761u) >> 7) % 11 != 0;
            value.at<double>(int(i / kSide), int(i % kSide)) = v[i];
            mask.at<double>(int(i / kSide), int(i % kSide)) = f[i];
        }
        record->widenStatistics(v, record->pixelCount());
    }
    std::unique_ptr<TDDataWL> record;
    cv::Mat value;
    cv::Mat mask;
};

const Inputs &inputs()
{
    static const Inputs in;
    return in;
}

void BM_MovingAvrF(benchmark::State &state)
{
    const Inputs &in = inputs();
    const MovingAvrF filter(kHalf, kHalf);
    for (auto _ : state) {
        std::unique_ptr<TDDataWL> out = filter.compute(*in.record);
        benchmark::DoNotOptimize(out->values());
    }
}
BENCHMARK(BM_MovingAvrF)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

struct MaskedMean
{
    cv::Mat weighted, sums, counts, mean;

    void operator()(const Inputs &in)
    {
        const cv::Size window(2 * kHalf + 1, 2 * kHalf + 1);
        cv::multiply(in.value, in.mask, weighted);
        cv::boxFilter(weighted, sums, CV_64F, window, cv::Point(-1, -1), false,
                      cv::BORDER_CONSTANT);
        cv::boxFilter(in.mask, counts, CV_64F, window, cv::Point(-1, -1), false,
                      cv::BORDER_CONSTANT);
        cv::divide(sums, counts, mean);
    }
};

void maskedMean(benchmark::State &state)
{
    const Inputs &in = inputs();
    // One untimed run first: the buffers are then reused and never fault again.
    MaskedMean run;
    run(in);
    for (auto _ : state) {
        run(in);
        benchmark::DoNotOptimize(run.mean.data);
    }
}

void BM_OpenCvMaskedMean(benchmark::State &state)
{
    maskedMean(state);
}
BENCHMARK(BM_OpenCvMaskedMean)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

// OpenCV's worker pool spins while it waits: on a loaded machine its own threads slow it down
// many times, which would flatter the ratio. One thread is the steadier reference.
void BM_OpenCvMaskedMeanOneThread(benchmark::State &state)
{
    const int threads = cv::getNumThreads();
    cv::setNumThreads(1);
    maskedMean(state);
    cv::setNumThreads(threads);
}
BENCHMARK(BM_OpenCvMaskedMeanOneThread)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

} // namespace

int main(int argc, char **argv)
{
    return runBenchmarksWithRatios(argc, argv,
                                   {{"BM_MovingAvrF", "BM_OpenCvMaskedMeanOneThread", 0.4},
                                    {"BM_MovingAvrF", "BM_OpenCvMaskedMean", 0.4}});
}
