#pragma once

#include "relation/RelationHistogram.h"
#include "relation/RelationSelection.h"

#include <QFrame>
#include <QImage>
#include <QList>
#include <QMetaObject>
#include <QPointF>
#include <QPointer>

#include <memory>
#include <vector>

class DataCtrls;
class DispA;
class ImgDisp;
class QPainter;
class QPushButton;
class RelationDispCtrlOptions;
class TDDataWL;
class Ui_RelationDispCtrl;

// The relation map of S1 (horizontal) against S2 (vertical): the smoothed histogram or the
// scatter map on a canvas with value axes, wheel zoom, Shift-drag pan and right-drag zoom.
// A plain left drag selects a sector of directions seen from the origin or a rectangle of
// the value plane; the picked pixels are marked in the S1 and S2 displays and "Composite"
// turns them into a mask image.
class RelationDispCtrl : public QFrame
{
    Q_OBJECT

public:
    // dataCtrls (may be null) supplies the displays to mark and the pointed pixel.
    explicit RelationDispCtrl(DataCtrls *dataCtrls = nullptr, QWidget *parent = nullptr);
    ~RelationDispCtrl() override;

    // The main window's launcher, texts translated here.
    static QPushButton *makeLauncher(QWidget *parent);

    RelationDispCtrlOptions *options() const { return m_options; }
    DispA *canvas() const { return m_canvas; }
    const RelationHistogram &histogram() const { return m_hist; }
    const QImage &picture() const { return m_picture; }
    const RelationSelection &selection() const { return m_selection; }
    // Marks of the picked pixels over the part S1 and S2 share (row-major, 1 = picked).
    const std::vector<unsigned char> &marks() const { return m_marks; }
    long long markedCount() const { return m_markedCount; }
    bool isSectorMode() const { return m_sectorMode; }
    bool isRegionMode() const { return m_regionMode; }
    double sectorHalfAngle() const { return m_sectHw; }
    bool showsScatterMap() const;
    QPoint pointedPixel() const { return m_pointed; }

Q_SIGNALS:
    void newDataGenerated(TDDataWL *data);

public Q_SLOTS:
    void composite();
    void setSectHw();
    void setIsSectorMode(bool f);
    void setIsRegionMode(bool f);
    void dispScaleReset();
    void mMovedWithin(double rx, double ry);
    void mPressedWithin(double rx, double ry);
    void mReleasedWithin(double rx, double ry);
    void setNewData(TDDataWL *s1, TDDataWL *s2);
    void makeHistMap();
    void reMakeHistMap();
    void draw(QPainter *p);
    void makeMap();

    void selsChanged(int selS1Idx, int selS2Idx, QList<bool> selsA, QList<bool> selsB);
    void noticedAt(int ix, int iy);
    void showWindow();

private:
    void drawAxes(QPainter *p);
    void drawSelection(QPainter *p);
    void drawMarks(ImgDisp *disp, QPainter *p);
    void setSelection(const RelationSelection &s);
    void updateMarks();
    void watchDisplays(ImgDisp *d1, ImgDisp *d2);
    void refreshPicture();
    void keepRangeSane();
    double viewHigh1() const;
    double viewHigh2() const;
    bool plainLeftPress() const;

    std::unique_ptr<Ui_RelationDispCtrl> m_ui;
    RelationDispCtrlOptions *m_options = nullptr;
    DispA *m_canvas = nullptr;
    QPointer<DataCtrls> m_dataCtrls;
    QPointer<TDDataWL> m_s1;
    QPointer<TDDataWL> m_s2;
    RelationHistogram m_hist;
    QImage m_picture;
    bool m_pictureIsMap = false;
    bool m_sectorMode = true;
    bool m_regionMode = false;
    double m_sectHw = 20.0 / 180.0 * 3.14159265358979323846 * 0.5;
    // Mouse on the map in value coordinates, and the angles seen from the origin.
    QPointF m_pressed{0.0, 0.0};
    QPointF m_moved{0.0, 0.0};
    QPointF m_released{0.0, 0.0};
    double m_pressedAngle = 0.0;
    double m_movedAngle = 0.0;
    bool m_dragging = false;
    RelationSelection m_selection;
    std::vector<unsigned char> m_marks;
    long long m_markedCount = 0;
    int m_markW = 0;
    int m_markH = 0;
    QImage m_markOverlay;
    QPointer<ImgDisp> m_disp1;
    QPointer<ImgDisp> m_disp2;
    QList<QMetaObject::Connection> m_dispConnections;
    QPoint m_pointed{-1, -1};
    double m_goodRange[4] = {0.0, 0.0, 1.0, 1.0};
};
