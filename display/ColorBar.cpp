#include "display/ColorBar.h"

#include "display/DrawText.h"

#include <QPainter>
#include <QResizeEvent>
#include <QShowEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kLabelLength = 95.0;
constexpr double kLabelPointSize = 10.0;

QString label(double v)
{
    return QString::number(v, 'g', 6);
}

} // namespace

ColorBar::ColorBar(QWidget *parent) : DispA(parent)
{
    paintCBar();
    connect(&mouse, &MouseC::mMoved, this, &ColorBar::onMouseMoved);
    connect(&mouse, &MouseC::mPressed, this, &ColorBar::onMousePressed);
    connect(&mouse, &MouseC::mReleased, this, &ColorBar::onMouseReleased);
    connect(this, &DispA::drawImage1, this, &ColorBar::draw1);
}

QColor ColorBar::colorOfH(int h) const
{
    double t = double(h) / height();
    if (!(t >= 0.0)) // also a height of 0 at h = 0
        t = 0.0;
    return colorOf(std::min(t, 1.0));
}

void ColorBar::paintCBar()
{
    const int w = m_picture.width();
    const int h = m_picture.height();
    const int ch = height();
    {
        QPainter p(&m_picture);
        for (int r = 0; r < h; ++r)
            p.fillRect(0, h - 1 - r, w, 1, colorOfH(int(qint64(r) * ch / h)));

        // Rows far outside the picture are invisible; bounding keeps the conversion defined.
        const auto markerRow = [h](double m) {
            return int(std::trunc(std::clamp((1.0 - m) * h, -2.0 * h, 3.0 * h)));
        };
        p.setPen(QColor(0, 192, 255));
        p.drawLine(0, markerRow(upperMarker()), w, markerRow(upperMarker()));
        p.drawLine(0, markerRow(lowerMarker()), w, markerRow(lowerMarker()));

        p.setPen(QColor(0, 255, 192));
        const QFont font;
        const QSizeF box(kLabelLength, w);
        const auto boxAt = [&box](double x, double y) {
            return QRectF(QPointF(x - box.width() / 2, y - box.height() / 2), box);
        };
        const double x = w / 2;
        DrawText::draw(&p, 90.0, boxAt(x, 50), font, Qt::AlignLeft | Qt::AlignVCenter,
                       DrawText::kFit, label(valueMax()), kLabelPointSize, true, Qt::white);
        DrawText::draw(&p, 90.0, boxAt(x, h - 50), font, Qt::AlignRight | Qt::AlignVCenter,
                       DrawText::kFit, label(valueMin()), kLabelPointSize, true, Qt::white);
        if (isDragging()) {
            const double m = isDraggingLower() ? lowerMarker() : upperMarker();
            DrawText::draw(&p, 90.0, boxAt(x, h / 2), font, Qt::AlignRight | Qt::AlignVCenter,
                           DrawText::kFit, label(valueMin() + (valueMax() - valueMin()) * m),
                           kLabelPointSize, true, Qt::white);
        }
    }
    emit cBarUpdated();
    update();
}

void ColorBar::fitPictureToWidget()
{
    // A widget made inside a form starts a few pixels high; painted then, the ramp would
    // be sampled at only that many heights and stretched into coarse bands.
    if (width() < 1 || height() < 1 || m_picture.size() == size()) return;
    m_picture = QPixmap(size());
    // The mapping is unchanged, so owners need not render their images again.
    const QSignalBlocker quiet(this);
    paintCBar();
}

void ColorBar::resizeEvent(QResizeEvent *e)
{
    DispA::resizeEvent(e);
    fitPictureToWidget();
}

void ColorBar::showEvent(QShowEvent *e)
{
    DispA::showEvent(e);
    fitPictureToWidget();
}

void ColorBar::draw1(QPainter *p)
{
    p->drawPixmap(QRect(0, 0, width(), height()), m_picture);
}

double ColorBar::fractionAtMouse() const
{
    return double(height() - mouse.y) / height();
}

void ColorBar::onMousePressed()
{
    const double p = fractionAtMouse();
    const double toLower = std::abs(lowerMarker() - p);
    const double toUpper = std::abs(upperMarker() - p);
    // At a tie neither marker is taken and the previous dragging state stays.
    if (toLower > toUpper) {
        setDragging(true);
        setDraggingLower(false);
    } else if (toUpper > toLower) {
        setDragging(true);
        setDraggingLower(true);
    }
    paintCBar();
}

void ColorBar::onMouseMoved()
{
    if (!mouse.pressed) return;
    if (isDragging()) {
        // Deliberately unbounded: a marker may leave 0..1 or pass the other one.
        if (isDraggingLower())
            setLowerMarker(fractionAtMouse());
        else
            setUpperMarker(fractionAtMouse());
        paintCBar();
    }
    update();
    emit cBarUpdating();
}

void ColorBar::onMouseReleased()
{
    emit cBarUpdated();
    setDragging(false);
}
