#pragma once

#include <QFrame>
#include <QList>
#include <QRect>

#include <memory>

class ChCoord;
class ColorBar;
class DispA;
class MouseC;
class QComboBox;
class QDataStream;
class QLabel;
class QPainter;
class Ui_ImgDisp;

// Shows one image: a canvas with its colour bar, a region drawn by a plain left drag (one
// at a time) and a list of kept regions, wheel zoom about the cursor and a value read-out.
// The owner paints the pixels on drawImage1; the display draws its regions over them.
class ImgDisp : public QFrame
{
    Q_OBJECT

public:
    enum RegionState { NoRegion = 0, Drawing = 1, Drawn = 2 };

    explicit ImgDisp(QWidget *parent = nullptr);
    ~ImgDisp() override;

    DispA *canvas() const { return m_canvas; }
    ColorBar *colorBar() const { return m_bar; }
    ChCoord *coord() const { return m_coord; }
    MouseC *mouse() const { return m_mouse; }

    // Size of the shown image in pixels; resets the view to the whole image.
    void setImageSize(int width, int height);
    QSize imageSize() const { return QSize(m_imageW, m_imageH); }
    QPointF viewOrigin() const { return QPointF(m_viewX, m_viewY); }
    QSizeF viewSize() const { return QSizeF(m_viewW, m_viewH); }

    int regionState() const { return m_regionState; }
    // The region from its two data corners; the empty (0, 0, -1, -1) when there is none.
    QRect regionRect() const;
    QString regionLabel() const;
    QString posValText() const;
    // The rectangles of the list in order; an item without one gives the empty rectangle.
    QList<QRect> regions() const;
    QRect regionAt(int index) const;
    // The list as a count (qint32) and the rectangles as the framework streams a QRect.
    void writeRegions(QDataStream &s) const;
    // Replaces the list with what writeRegions wrote; the first item becomes current.
    void readRegions(QDataStream &s);

    // Outlines of the kept regions and of the drawn one over the owner's picture; an owner
    // that draws its own region rectangle can switch them off.
    void setDrawRegions(bool on);
    bool drawsRegions() const { return m_drawRegions; }

    // "1:1": Scale Reset and resizing keep image pixels square, the image centred.
    bool squarePixels() const;

signals:
    void closing();
    void drawImage1(QPainter *p);
    void drawImage2(QPainter *p);
    void mPressedWithin(double rx, double ry);
    void mReleasedWithin(double rx, double ry);
    void mMovedWithin(double rx, double ry);
    void newRegion(QRect rR);
    void regionCleared();
    void wMoved(int step);
    void scaleReset();

public slots:
    void mMoved();
    void mPressed();
    void mReleased();
    void setCBarGrayScale(bool f);
    void setARegion();
    void delARegion();
    void clearRegions();
    void zoom(int step);
    void showAdditional(bool f);
    void addAdditionalWidget(QWidget *w, int ix, int iy);
    void showPosVal(int ix, int iy, double val, bool valid);
    void resetScale();

protected:
    void closeEvent(QCloseEvent *e) override;
    bool eventFilter(QObject *watched, QEvent *e) override;

private:
    void clearRegion();
    void zoomAbout(double ax, double ay, double factor);
    void zoomAtCentre(double factor);
    // The data range that shows the whole image centred with square pixels on a canvas of
    // the given size; the view follows it.
    void fitSquare(const QSize &canvasSize);
    void drawRegions(QPainter *p);
    void updateRegionLabel();
    void insertRegion(int index, const QRect &r);
    bool plainPress() const;
    double dataX() const;
    double dataY() const;

    std::unique_ptr<Ui_ImgDisp> m_ui;
    DispA *m_canvas = nullptr;
    ColorBar *m_bar = nullptr;
    MouseC *m_mouse = nullptr;
    ChCoord *m_coord = nullptr;
    double m_viewX = 0.0, m_viewY = 0.0;
    double m_viewW = 1.0, m_viewH = 1.0;
    int m_imageW = 1, m_imageH = 1;
    int m_regionState = NoRegion;
    bool m_drawRegions = true;
    double m_startSX = 0.0, m_startSY = 0.0;
    double m_endSX = 0.0, m_endSY = 0.0;
    double m_startDX = 0.0, m_startDY = 0.0;
    double m_endDX = 0.0, m_endDY = 0.0;
    // What a press replaces, so that a click that draws nothing can put it back.
    int m_keptState = NoRegion;
    double m_keptDX[4] = {0.0, 0.0, 0.0, 0.0};
    // The range of the last square fit: while it stands, a resize fits again.
    double m_fitRange[4] = {0.0, 0.0, 0.0, 0.0};
    bool m_fitted = false;
};
