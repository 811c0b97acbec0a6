#pragma once

#include <QFrame>
#include <QPoint>
#include <QPointer>
#include <QRect>

#include <memory>

class ImgDisp;
class QPainter;
class QWidget;
class TDDataWL;
class Ui_DataCtrl;

// One line of the data list: owns an image record and the display that shows it, with
// the show switch, the S1/S2/A/B selection controls and the delete and statistics buttons.
class DataCtrl : public QFrame
{
    Q_OBJECT

public:
    // Takes ownership of record. With renderWhenShown the picture is made only once the
    // display shows: a long list of large images then costs no more than their values.
    explicit DataCtrl(TDDataWL *record, QWidget *parent = nullptr, bool renderWhenShown = false);
    ~DataCtrl() override;

    TDDataWL *record() const { return m_record; }
    // Replaces the record; the old one is deleted later.
    void setRecord(TDDataWL *record);
    ImgDisp *display() const;
    QString name() const;
    void setNumber(int n);
    bool isFocused() const { return m_focused; }
    QPoint noticedPosition() const { return m_noticed; }

    bool isS1() const;
    bool isS2() const;
    bool isA() const;
    bool isB() const;
    // The selection controls, for the list's button groups and check-box wiring.
    QWidget *s1Button() const;
    QWidget *s2Button() const;
    QWidget *aBox() const;
    QWidget *bBox() const;
    QWidget *showBox() const;

    // Renders the record again through the display's colour bar and repaints.
    void render();

Q_SIGNALS:
    void focused();
    void pointAt(int ix, int iy);
    void deleteMe();
    void comeMeBackToTab();
    void statBClicked();

private Q_SLOTS:
    void draw(QPainter *p);
    void cBarUpdated();
    void closingImgDisp();
    void mMovedWithin(double rx, double ry);
    void wMoved(int step);
    void newRegion(QRect rR);
    void regionCleared();
    void scaleReset();

public Q_SLOTS:
    void showImg(bool f);
    void noticedAt(int ix, int iy);
    void setFocused(bool f);
    void showStatistics();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::unique_ptr<Ui_DataCtrl> m_ui;
    TDDataWL *m_record = nullptr;
    // The display moves between the tabbed base and a window of its own, so Qt parenthood
    // changes; the entry deletes it at the end if it is still there.
    QPointer<ImgDisp> m_disp;
    QPointer<QWidget> m_statWindow;
    bool m_focused = false;
    bool m_renderWhenShown = false;
    bool m_renderPending = false;
    QPoint m_noticed{-1, -1};
};
