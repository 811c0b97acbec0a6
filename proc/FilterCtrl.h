#pragma once

#include <QFrame>
#include <QPointer>
#include <QRect>

#include <memory>

class DataCtrls;
class Filter;
class TDDataWL;
class Ui_FilterCtrl;

// The filter panel: one execute button per filter with its options. It keeps no image; a
// button reads the data list's selections when pressed. Every filter's results leave through
// the panel's own signals, so the main window connects only to the panel.
class FilterCtrl : public QFrame
{
    Q_OBJECT

public:
    explicit FilterCtrl(DataCtrls *dataCtrls, QWidget *parent = nullptr);
    ~FilterCtrl() override;

    void setDataCtrls(DataCtrls *dataCtrls) { m_dataCtrls = dataCtrls; }

    // The panel's parameters as a run reads them; unparsable text gives 0 (0.0 for the radius).
    QPoint atHalfWidths() const;
    QPoint maHalfWidths() const;
    double exclusionRadius() const;
    int peakCount() const;
    bool findPeaksMax() const;
    bool findPeaksOnImg() const;
    bool comparePeaksMax() const;
    bool comparePeaksOnImg() const;
    // 1 CosTh, 2 ArcCosTh, 0 neither.
    int matchingThresholdMode() const;
    // 1 Exec2, 2 Exec5, 0 neither.
    int matchingExecMode() const;
    int matchingThreads() const;

Q_SIGNALS:
    void newFilteredData(TDDataWL *data);
    void filteringLine(int iy);
    void filterProcTime(qint64 time);

public Q_SLOTS:
    void execAdaptiveThresholdF();
    void execMovingAvrF();
    void execMatchingF();
    void execFindPeaksF();
    void execComparePeaksF();

private:
    struct Target
    {
        TDDataWL *image = nullptr;
        QRect rect;
    };
    // The S1 entry's current image and the processing rectangle: item 0 of the S1 display's
    // Regions list, else the whole image. False when there is no S1 or no image.
    bool s1Target(Target *target) const;
    // Passes the filter's results on as the panel's own. Filters are made as children of the
    // panel and deleted later, once their signals have been delivered.
    void relay(Filter *filter);

    std::unique_ptr<Ui_FilterCtrl> m_ui;
    QPointer<DataCtrls> m_dataCtrls;
};
