#pragma once

#include <QList>
#include <QObject>
#include <QRectF>

class MouseC;
class QImage;
class QPainter;

// Maps data coordinates (doubles) to canvas pixels and back, and drives the canvas's own
// navigation from a mouse recorder: pan by dragging, wheel zoom about the cursor, and
// right-button rectangle zoom. Each area keeps a first and a second value per axis; the
// first need not be the smaller (screen y is normally given bottom first).
class ChCoord : public QObject
{
    Q_OBJECT

public:
    struct Area
    {
        double x0 = 0.0;
        double x1 = 1.0;
        double y0 = 0.0;
        double y1 = 1.0;
    };
    struct Ticks
    {
        double step = 0.0;
        double first = 0.0;
        double last = 0.0;
    };

    explicit ChCoord(QObject *parent = nullptr);

    // Drops the connections to the previous recorder; a null recorder only disconnects.
    void attachMouse(MouseC *mouse);
    MouseC *mouse() const { return m_mouse; }

    bool wheelZoomEnabled() const { return m_wheelZoom != 0; }
    void setWheelZoomEnabled(bool on) { m_wheelZoom = on ? 1 : 0; }
    int panCode() const { return m_panCode; }
    void setPanCode(int code) { m_panCode = code; }
    // Left 0-7, right 8-15, by held keys: none, Shift, Ctrl, Alt, Shift+Ctrl, Shift+Alt,
    // Ctrl+Alt, all three; 16 for other buttons or with Meta.
    static int gestureCode(int button, int modifiers);

    bool xRangeSet() const { return m_xSet; }
    bool yRangeSet() const { return m_ySet; }
    const Area &fullArea() const { return m_full; }
    const Area &plotArea() const { return m_plot; }
    const Area &dataRange() const { return m_data; }
    // Valid only once hasCommittedRange(); panning leaves it behind.
    const Area &committedRange() const { return m_committed; }
    bool hasCommittedRange() const { return m_hasCommitted; }

    void setScreenArea(double x0, double y0, double x1, double y1);
    // Leaves room for axes: 10% left, 5% right, 10% bottom, 5% top (whole pixels).
    void setPlotAreaWithMargins();
    void setPlotArea(double x0, double y0, double x1, double y1);
    void setDataRange(double x0, double y0, double x1, double y1);
    void setXDataRange(double x0, double x1);
    void setYDataRange(double y0, double y1);

    double dataToScreenX(double d) const;
    double dataToScreenY(double d) const;
    double dataToScreenYMirrored(double d) const;
    double dataLenToScreenX(double len) const;
    double dataLenToScreenY(double len) const;
    double screenToDataX(double s) const;
    double screenToDataY(double s) const;
    double screenToDataXClamped(double s) const;
    double screenToDataYClamped(double s) const;
    double screenOffsetToDataX(double s) const;
    double screenOffsetToDataY(double s) const;
    double screenLenToDataX(double len) const;
    double screenLenToDataY(double len) const;

    bool nearEdgeFullX(double v) const;
    bool nearEdgeFullY(double v) const;
    bool nearEdgePlotX(double v) const;
    bool nearEdgePlotY(double v) const;
    double fullEdgeFraction() const { return m_fullEdge; }
    double plotEdgeFraction() const { return m_plotEdge; }

    static Ticks niceTicks(double lo, double hi);

    // Draws image so that its pixel grid covers target (data coordinates; pixel (i, j)
    // of the image covers one cell of width target.width()/image.width()), touching only
    // the part of the image that is visible in the plot area. Nearest-pixel scaling unless
    // the painter asks for smooth transforms.
    void drawImage(QPainter *p, const QImage &image, const QRectF &target) const;
    // The image pixels (fractional) that are visible in the plot area, or an empty rect.
    QRectF visibleSourceRect(const QSize &imageSize, const QRectF &target) const;

    int layoutA() const { return m_layoutA; }
    int layoutB() const { return m_layoutB; }
    double layoutFraction() const { return m_layoutFraction; }
    const QList<double> &vLines() const { return m_vLines; }
    void setVLines(const QList<double> &lines) { m_vLines = lines; }

signals:
    void updated();
    void nowPos(double x, double y);
    void newVLines();
    void clearScale();

public slots:
    void mMoved();
    void mPressed();
    void mReleased();
    void mDClicked();
    void wheelMoved(int step);

private:
    static bool nearEdge(double v, double s0, double s1, double fraction);

    MouseC *m_mouse = nullptr;
    QList<QMetaObject::Connection> m_connections;
    int m_wheelZoom = 1;
    int m_panCode = 1;
    bool m_xSet = false;
    bool m_ySet = false;
    Area m_full;
    Area m_plot;
    Area m_data;
    Area m_committed;
    bool m_hasCommitted = false;
    double m_fullEdge = 0.1;
    double m_plotEdge = 0.1;
    double m_marginLeft = 0.1;
    double m_marginRight = 0.05;
    double m_marginTop = 0.05;
    double m_marginBottom = 0.1;
    int m_layoutA = 20;
    int m_layoutB = 25;
    double m_layoutFraction = 0.85;
    QList<double> m_vLines;
};
