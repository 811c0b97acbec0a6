#pragma once

#include <QObject>

class QMouseEvent;
class QWheelEvent;

// Records the latest mouse events of a canvas: positions in canvas pixels (y downward),
// buttons and modifier bits as the framework numbers them. Fields are public so that
// owners can read them directly while handling the recorder's signals.
class MouseC : public QObject
{
    Q_OBJECT

public:
    static constexpr int kShift = 0x02000000;
    static constexpr int kCtrl = 0x04000000;
    static constexpr int kAlt = 0x08000000;
    static constexpr int kMeta = 0x10000000;
    // Modifier bits that count as keys held for the gesture codes.
    static constexpr int kHeldMask = kShift | kCtrl | kAlt | kMeta;

    explicit MouseC(QObject *parent = nullptr);

    void press(const QMouseEvent *e);
    void move(const QMouseEvent *e);
    void release(const QMouseEvent *e);
    void doubleClick(const QMouseEvent *e);
    void wheel(const QWheelEvent *e);
    void enter();
    void leave();

    // Steps of a vertical wheel delta in eighths of a degree; one notch (120) is 1.
    static int wheelStep(int angleDeltaY);

    int prevX = 0, prevY = 0;
    int x = 0, y = 0;
    int pressX = 0, pressY = 0;
    int releaseX = 0, releaseY = 0;
    int dClickX = 0, dClickY = 0;
    bool pressed = false;
    bool pressLeft = false;
    bool pressRight = false;
    bool pressShift = false;
    bool pressCtrl = false;
    bool pressAlt = false;
    bool moveShift = false;
    bool moveCtrl = false;
    bool moveAlt = false;
    int lastButton = 0;
    int pressButton = 0;
    int releaseButton = 0;
    int dClickButton = 0;
    int lastModifiers = 0;
    int pressModifiers = 0;
    int releaseModifiers = 0;
    int dClickModifiers = 0;
    int code0 = 16;
    int code1 = 16;
    int code2 = 16;
    bool inside = false;

signals:
    void mMoved();
    void mPressed();
    void mReleased();
    void mDClicked();
    void wMoved(int step);
    void mEntered();
    void mLeaved();
    void mEnterLeave(bool inside);
};
