#include "data/WindowPlacer.h"

#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace {

constexpr int kCascadeStep = 24;

} // namespace

void WindowPlacer::placeBeside(QWidget *window, const QWidget *anchor, int cascade)
{
    if (!window || !anchor) return;
    const QWidget *top = anchor->window();
    const QRect a = top->frameGeometry();
    const QScreen *screen = top->screen();
    if (!screen) return;
    const QRect avail = screen->availableGeometry();
    const QSize size = window->frameGeometry().size();
    const QPoint shift(kCascadeStep * cascade, kCascadeStep * cascade);

    const QPoint right = QPoint(a.right() + 1, a.top()) + shift;
    const QPoint below = QPoint(a.left(), a.bottom() + 1) + shift;
    QPoint at;
    if (avail.contains(QRect(right, size)))
        at = right;
    else if (avail.contains(QRect(below, size)))
        at = below;
    else
        at = a.topLeft() + QPoint(kCascadeStep, kCascadeStep) + shift;
    // Whatever does not fit keeps at least its top left corner on the screen.
    at.setX(std::clamp(at.x(), avail.left(), std::max(avail.left(), avail.right() - size.width())));
    at.setY(std::clamp(at.y(), avail.top(), std::max(avail.top(), avail.bottom() - size.height())));
    window->move(at);
}
