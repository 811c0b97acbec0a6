#pragma once

#include "proc/RecordCopy.h"

#include <QFrame>
#include <QList>
#include <QPointer>

#include <memory>
#include <vector>

class DataCtrls;
class TDDataWL;
class Ui_CopyCtrl;

// Copies of S1: its drawn region, a resized S1, and cuts of a fixed size around the points
// of its last peak list, which can also be written into a folder in a chosen order.
class CopyCtrl : public QFrame
{
    Q_OBJECT

public:
    // More cuts than this would flood the data list; saving them to a folder has no limit
    // beyond the pixel cap.
    static constexpr int kMaxCutEntries = 256;

    explicit CopyCtrl(DataCtrls *dataCtrls, QWidget *parent = nullptr);
    ~CopyCtrl() override;

Q_SIGNALS:
    void newDataGenerated(TDDataWL *data);
    void message(QString text);

public Q_SLOTS:
    void selsChanged(int selS1Idx, int selS2Idx, QList<bool> selsA, QList<bool> selsB);
    void copyRegion();
    void resizeS1();
    void cutAroundPeaks();
    // Writes the cuts as <S1's file-safe id>_<nnn>.zmp in the save order; the count written.
    int saveCuts(const QString &folder);

private:
    TDDataWL *s1() const;
    // The cuts of S1 in save order, or none with a message.
    std::vector<std::unique_ptr<TDDataWL>> cuts(qsizetype limit);
    void chooseFolder();

    std::unique_ptr<Ui_CopyCtrl> m_ui;
    QPointer<DataCtrls> m_dataCtrls;
    int m_s1 = -1;
};
