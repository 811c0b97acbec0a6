// Repaint cost of a 2048 x 2048 picture on the canvas while panning and zooming, against
// a plain scaled QPainter::drawImage of the whole picture into a canvas-sized image.
#include "display/DispA.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QWheelEvent>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr int kImageSide = 2048;
constexpr int kCanvasSide = 800;

QImage makePicture(QImage::Format format)
{
    QImage img(kImageSide, kImageSide, QImage::Format_RGB32);
    for (int y = 0; y < kImageSide; ++y) {
        auto *row = reinterpret_cast<QRgb *>(img.scanLine(y));
        for (int x = 0; x < kImageSide; ++x)
            row[x] = qRgb(x & 255, y & 255, (x ^ y) & 255);
    }
    return img.convertToFormat(format);
}

QImage::Format formatOf(int64_t arg)
{
    switch (arg) {
    case 13:
        return QImage::Format_RGB888;
    case 24:
        return QImage::Format_Grayscale8;
    default:
        return QImage::Format_RGB32;
    }
}

// Milliseconds per call of f, over enough calls to be measurable.
template <typename F> double msPerCall(F &&f)
{
    QElapsedTimer t;
    t.start();
    int n = 0;
    do {
        f();
        ++n;
    } while (t.nsecsElapsed() < 200'000'000 || n < 5);
    return t.nsecsElapsed() / 1e6 / n;
}

double referenceMs(const QImage &picture)
{
    QImage target(kCanvasSide, kCanvasSide, QImage::Format_RGB32);
    return msPerCall([&] {
        QPainter p(&target);
        p.drawImage(QRectF(0, 0, kCanvasSide, kCanvasSide), picture);
    });
}

struct Canvas
{
    explicit Canvas(const QImage &pic, bool visibleOnly) : picture(pic)
    {
        d.resize(kCanvasSide, kCanvasSide);
        d.show();
        QObject::connect(&d, &DispA::drawImage1, &d, [this, visibleOnly](QPainter *p) {
            const QRectF whole(0, 0, kImageSide, kImageSide);
            if (visibleOnly) {
                d.coord.drawImage(p, picture, whole);
                return;
            }
            // What an owner would do without the helper: map the whole picture.
            const QRectF dst(
                QPointF(d.coord.dataToScreenX(0), d.coord.dataToScreenY(0)),
                QPointF(d.coord.dataToScreenX(kImageSide), d.coord.dataToScreenY(kImageSide)));
            p->drawImage(dst, picture);
        });
        QApplication::processEvents();
    }
    DispA d;
    QImage picture;
};

void report(benchmark::State &state, double ms, const QImage &picture)
{
    const double ref = referenceMs(picture);
    state.counters["ms_per_repaint"] = ms;
    state.counters["ref_ms"] = ref;
    state.counters["ratio"] = ms / ref;
}

// Shift-drag pan, one screen pixel per repaint, zoomed so that 2048 / range(2) picture
// pixels are in view across the canvas.
void BM_PanZoomed(benchmark::State &state)
{
    const QImage pic = makePicture(formatOf(state.range(0)));
    Canvas c(pic, state.range(1) != 0);
    const double side = double(kImageSide) / state.range(2);
    c.d.coord.setDataRange(700.0, 700.0 + side, 700.0 + side, 700.0);
    const QPoint start(kCanvasSide / 2, kCanvasSide / 2);
    QMouseEvent press(QEvent::MouseButtonPress, start, c.d.mapToGlobal(start), Qt::LeftButton,
                      Qt::LeftButton, Qt::ShiftModifier);
    QApplication::sendEvent(&c.d, &press);
    int x = start.x();
    const auto step = [&] {
        x = x == start.x() ? x + 1 : start.x();
        const QPoint to(x, start.y());
        QMouseEvent move(QEvent::MouseMove, to, c.d.mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(&c.d, &move);
        c.d.repaint();
    };
    step();
    if (c.d.coord.dataRange().x0 == 700.0) {
        state.SkipWithError("the view did not pan");
        return;
    }
    for (auto _ : state)
        step();
    report(state, msPerCall(step), pic);
}

// Wheel zoom about the canvas centre, alternating in and out, whole picture in view.
void BM_WheelZoomFull(benchmark::State &state)
{
    const QImage pic = makePicture(formatOf(state.range(0)));
    Canvas c(pic, state.range(1) != 0);
    c.d.coord.setDataRange(0, kImageSide, kImageSide, 0);
    const QPoint centre(kCanvasSide / 2, kCanvasSide / 2);
    QMouseEvent move(QEvent::MouseMove, centre, c.d.mapToGlobal(centre), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QApplication::sendEvent(&c.d, &move);
    int sign = 1;
    const auto step = [&] {
        QWheelEvent e(centre, c.d.mapToGlobal(centre), QPoint(), QPoint(0, 120 * sign),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        sign = -sign;
        QApplication::sendEvent(&c.d, &e);
        c.d.repaint();
    };
    for (auto _ : state)
        step();
    report(state, msPerCall(step), pic);
}

} // namespace

// Args: picture format (4 RGB32, 13 RGB888, 24 grey), 1 = visible part only, 0 = whole,
// and for panning the zoom factor.
BENCHMARK(BM_PanZoomed)->ArgsProduct({{4, 13, 24}, {1, 0}, {4, 16}})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WheelZoomFull)->ArgsProduct({{4, 13, 24}, {1, 0}})->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
