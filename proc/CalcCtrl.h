#pragma once

#include "proc/CalcFormula.h"
#include "proc/ImageCalc.h"

#include <QFrame>
#include <QList>
#include <QPointer>

#include <memory>

class DataCtrls;
class TDDataWL;
class Ui_CalcCtrl;

// The image arithmetic panel: numerator and denominator formulas over the entries of the
// data list, rewritten from the A and B selections; "Gen" makes the new image.
class CalcCtrl : public QFrame
{
    Q_OBJECT

public:
    explicit CalcCtrl(DataCtrls *dataCtrls, QWidget *parent = nullptr);
    ~CalcCtrl() override;

    using QFrame::show;

    // The formula read against the data list's entry numbers.
    CalcFormula parse(const QString &text) const;

Q_SIGNALS:
    void newDataGenerated(TDDataWL *data);

public Q_SLOTS:
    void calc();
    void selsChanged(int selS1Idx, int selS2Idx, QList<bool> selsA, QList<bool> selsB);
    void show(bool f);

private:
    // The number in the entry's label, 0 when it does not read as one.
    int entryNumber(int index) const;
    QList<CalcSource> sources() const;
    QString rewritten(const QList<bool> &sels, const QString &current) const;

    std::unique_ptr<Ui_CalcCtrl> m_ui;
    QPointer<DataCtrls> m_dataCtrls;
    QList<bool> m_selsA;
    QList<bool> m_selsB;
};
