// The relation histogram of a 2048 x 2048 pair with a kernel half width of 10: the full build
// against binning the pixels and smoothing the count grid with OpenCV's filter2D (constant
// border), in the same run. Before timing, the build is checked against the per-pixel splat.
#include "RatioReporter.h"

#include "core/TDDataWL.h"
#include "relation/RelationHistogram.h"

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int kSide = 2048;
constexpr int kN = RelationHistogram::kBins;
const RelationHistogram::Params kParams{10, 0.01};

// Two related images with scatter, some values past each axis end and some negatives.
struct Inputs
{
    std::unique_ptr<TDDataWL> s1 = std::make_unique<TDDataWL>(kSide, kSide);
    std::unique_ptr<TDDataWL> s2 = std::make_unique<TDDataWL>(kSide, kSide);
    Inputs()
    {
        std::mt19937_64 rng(7);
        std::normal_distribution<double> noise(0.0, 40.0);
        double *a = s1->values();
        double *b = s2->values();
        for (qsizetype i = 0; i < s1->pixelCount(); ++i) {
            const double t = double((i * 2654435761u) % 1000);
            a[i] = t + noise(rng);
            b[i] = 0.5 * t + 100.0 + noise(rng);
        }
        s1->widenStatistics(a, s1->pixelCount());
        s2->widenStatistics(b, s2->pixelCount());
        // The axes end below the largest values, so that some pixels lie past them.
        s1->setStatistics(s1->minWithZeros(), s1->maxWithZeros(), s1->minWithoutZeros(), 900.0);
        s2->setStatistics(s2->minWithZeros(), s2->maxWithZeros(), s2->minWithoutZeros(), 550.0);
    }
};

const Inputs &inputs()
{
    static const Inputs in;
    return in;
}

// The obvious binning: one branch and one increment per pixel into a grid reaching h bins
// past each side of the map.
cv::Mat plainCountGrid(const TDData0 &s1, const TDData0 &s2, int h)
{
    const int g = kN + 2 * h;
    cv::Mat grid = cv::Mat::zeros(g, g, CV_64F);
    const double sc1 = kN / RelationHistogram::axisHigh(s1);
    const double sc2 = kN / RelationHistogram::axisHigh(s2);
    for (int y = 0; y < s1.height(); ++y) {
        for (int x = 0; x < s1.width(); ++x) {
            const double m1 = sc1 * s1.value(x, y);
            const double m2 = sc2 * s2.value(x, y);
            if (!(m1 > -(h + 1.0) && m1 < kN + h && m2 > -(h + 1.0) && m2 < kN + h)) continue;
            grid.at<double>(int(m2) + h, int(m1) + h) += 1.0;
        }
    }
    return grid;
}

std::vector<double> openCvBuild(const TDData0 &s1, const TDData0 &s2)
{
    const int h = kParams.halfWidth;
    const double k = RelationHistogram::kernelFactor(h, kParams.boundary);
    cv::Mat kernel(2 * h + 1, 2 * h + 1, CV_64F);
    for (int dy = -h; dy <= h; ++dy)
        for (int dx = -h; dx <= h; ++dx)
            kernel.at<double>(dy + h, dx + h) = std::exp(k * (dx * dx + dy * dy));
    const cv::Mat grid = plainCountGrid(s1, s2, h);
    cv::Mat smoothed;
    cv::filter2D(grid, smoothed, CV_64F, kernel, cv::Point(-1, -1), 0.0, cv::BORDER_CONSTANT);
    const cv::Mat map = smoothed(cv::Rect(h, h, kN, kN));
    std::vector<double> out(size_t(kN) * kN);
    for (int r = 0; r < kN; ++r)
        for (int c = 0; c < kN; ++c)
            out[size_t(r) * kN + c] = map.at<double>(r, c);
    return out;
}

double worstRelative(const std::vector<double> &a, const std::vector<double> &b)
{
    double peak = 0.0, worst = 0.0;
    for (double v : b)
        peak = std::max(peak, std::fabs(v));
    for (size_t i = 0; i < a.size(); ++i)
        worst = std::max(worst, std::fabs(a[i] - b[i]));
    return peak > 0.0 ? worst / peak : worst;
}

void BM_RelationBuild(benchmark::State &state)
{
    const Inputs &in = inputs();
    for (auto _ : state) {
        std::vector<double> bins = RelationHistogram::compute(*in.s1, *in.s2, kParams);
        benchmark::DoNotOptimize(bins.data());
    }
}
BENCHMARK(BM_RelationBuild)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

void BM_BinThenFilter2D(benchmark::State &state)
{
    const Inputs &in = inputs();
    for (auto _ : state) {
        std::vector<double> bins = openCvBuild(*in.s1, *in.s2);
        benchmark::DoNotOptimize(bins.data());
    }
}
BENCHMARK(BM_BinThenFilter2D)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

} // namespace

int main(int argc, char **argv)
{
    const Inputs &in = inputs();
    const std::vector<double> direct = RelationHistogram::directSplat(*in.s1, *in.s2, kParams);
    std::printf("largest difference to the per-pixel splat, relative to the peak: build %.3g, "
                "filter2D %.3g\n",
                worstRelative(RelationHistogram::compute(*in.s1, *in.s2, kParams), direct),
                worstRelative(openCvBuild(*in.s1, *in.s2), direct));
    return runBenchmarksWithRatios(argc, argv, {{"BM_RelationBuild", "BM_BinThenFilter2D", 1.0}});
}
