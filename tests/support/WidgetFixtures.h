#pragma once

// Builders and real-event helpers shared by the widget and processing tests.

#include "core/TDDataWL.h"

#include <QAbstractButton>
#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <cmath>
#include <memory>

namespace fx {

template <typename T = QWidget> T *child(const QObject *parent, const QString &name)
{
    T *found = parent->findChild<T *>(name);
    if (!found) qFatal("no widget %s", qPrintable(name));
    return found;
}

inline void click(const QObject *parent, const char *name)
{
    QTest::mouseClick(child<QAbstractButton>(parent, QLatin1String(name)), Qt::LeftButton);
}

// Typed over whatever the edit held.
inline void setText(QLineEdit *edit, const QString &text)
{
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

inline void setText(const QObject *parent, const char *name, const QString &text)
{
    setText(child<QLineEdit>(parent, QLatin1String(name)), text);
}

inline void drag(QWidget *w, QPoint from, QPoint to, Qt::MouseButton b = Qt::LeftButton,
                 Qt::KeyboardModifiers pressMods = {}, Qt::KeyboardModifiers releaseMods = {})
{
    QTest::mousePress(w, b, pressMods, from);
    QTest::mouseMove(w, to);
    QTest::mouseRelease(w, b, releaseMods, to);
}

inline void wheel(QWidget *w, QPoint pos, int deltaY)
{
    QWheelEvent e(pos, w->mapToGlobal(pos), QPoint(), QPoint(0, deltaY), Qt::NoButton,
                  Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(w, &e);
}

// QTest::mouseMove carries no modifiers, so a move with keys held is sent by hand.
inline void move(QWidget *w, QPoint pos, Qt::KeyboardModifiers mods, Qt::MouseButtons buttons = {})
{
    QMouseEvent e(QEvent::MouseMove, pos, w->mapToGlobal(pos), Qt::NoButton, buttons, mods);
    QApplication::sendEvent(w, &e);
}

// The first two arguments of a spy's last signal, a position.
inline QPointF lastPoint(const QSignalSpy &spy)
{
    return {spy.last().at(0).toDouble(), spy.last().at(1).toDouble()};
}

inline QList<QColor> colours(const QImage &img, std::initializer_list<QPoint> at)
{
    QList<QColor> c;
    for (const QPoint &p : at)
        c << img.pixelColor(p);
    return c;
}

// value(x, y) = f(x, y); valid where ok(x, y).
template <typename F, typename V = bool (*)(int, int)>
std::unique_ptr<TDDataWL> record(
    int w, int h, F f, V ok = [](int, int) { return true; }, const QString &id = QString())
{
    auto r = std::make_unique<TDDataWL>(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            r->setValue(x, y, f(x, y), ok(x, y));
    r->setDataId(id);
    return r;
}

} // namespace fx
