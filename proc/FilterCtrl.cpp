#include "proc/FilterCtrl.h"

#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "display/ImgDisp.h"
#include "proc/AdaptiveThresholdF.h"
#include "proc/ComparePeaksF.h"
#include "proc/FindPeaksF.h"
#include "proc/MatchingF.h"
#include "proc/MovingAvrF.h"

#include "ui_FilterCtrl.h"

#include <QButtonGroup>

FilterCtrl::FilterCtrl(DataCtrls *dataCtrls, QWidget *parent)
    : QFrame(parent), m_ui(std::make_unique<Ui_FilterCtrl>()), m_dataCtrls(dataCtrls)
{
    m_ui->setupUi(this);

    auto group = [this](QAbstractButton *checked, QAbstractButton *other) {
        auto *g = new QButtonGroup(this);
        g->setExclusive(true);
        g->addButton(checked);
        g->addButton(other);
        checked->setChecked(true);
    };
    group(m_ui->MatchingCosTh, m_ui->MatchingACosTh);
    group(m_ui->PMExec5, m_ui->PMExec2);
    group(m_ui->FindPeaksMax, m_ui->FindPeaksMin);

    connect(m_ui->AdaptiveThresholdExecB, &QPushButton::clicked, this,
            &FilterCtrl::execAdaptiveThresholdF);
    connect(m_ui->MovingAvrExecB, &QPushButton::clicked, this, &FilterCtrl::execMovingAvrF);
    connect(m_ui->MatchingExecB, &QPushButton::clicked, this, &FilterCtrl::execMatchingF);
    connect(m_ui->FindPeaksExecB, &QPushButton::clicked, this, &FilterCtrl::execFindPeaksF);
    connect(m_ui->ComparePeaksExecB, &QPushButton::clicked, this, &FilterCtrl::execComparePeaksF);
}

FilterCtrl::~FilterCtrl() = default;

QPoint FilterCtrl::atHalfWidths() const
{
    return QPoint(m_ui->ATWinS->halfWidthX(), m_ui->ATWinS->halfWidthY());
}

QPoint FilterCtrl::maHalfWidths() const
{
    return QPoint(m_ui->MAWinS->halfWidthX(), m_ui->MAWinS->halfWidthY());
}

double FilterCtrl::exclusionRadius() const
{
    return m_ui->FindPeaksExclusionR->text().toDouble();
}

int FilterCtrl::peakCount() const
{
    return m_ui->FindPeaksNum->text().toInt(nullptr, 10);
}

bool FilterCtrl::findPeaksMax() const
{
    return m_ui->FindPeaksMax->isChecked();
}

bool FilterCtrl::findPeaksOnImg() const
{
    return m_ui->FindPeaksShowOnImg->isChecked();
}

bool FilterCtrl::comparePeaksMax() const
{
    return m_ui->ComparePeaksMax->isChecked();
}

bool FilterCtrl::comparePeaksOnImg() const
{
    return m_ui->ComparePeaksShowOnImg->isChecked();
}

int FilterCtrl::matchingThresholdMode() const
{
    if (m_ui->MatchingCosTh->isChecked()) return 1;
    if (m_ui->MatchingACosTh->isChecked()) return 2;
    return 0;
}

int FilterCtrl::matchingExecMode() const
{
    if (m_ui->PMExec2->isChecked()) return 1;
    if (m_ui->PMExec5->isChecked()) return 2;
    return 0;
}

int FilterCtrl::matchingThreads() const
{
    return m_ui->PMThreads->value();
}

bool FilterCtrl::s1Target(Target *target) const
{
    if (!m_dataCtrls) return false;
    // The last checked entry wins, as in the data list's selection record.
    DataCtrl *s1 = nullptr;
    for (int i = 0; i < m_dataCtrls->count(); ++i)
        if (m_dataCtrls->at(i)->isS1()) s1 = m_dataCtrls->at(i);
    if (!s1 || !s1->record()) return false;
    target->image = s1->record();
    const ImgDisp *disp = s1->display();
    const QList<QRect> regions = disp ? disp->regions() : QList<QRect>();
    target->rect = regions.isEmpty() ? QRect(0, 0, target->image->width(), target->image->height())
                                     : regions.first();
    return true;
}

void FilterCtrl::relay(Filter *filter)
{
    connect(filter, &Filter::newFilteredData, this, &FilterCtrl::newFilteredData);
}

void FilterCtrl::execAdaptiveThresholdF()
{
    Target t;
    if (!s1Target(&t)) return;
    const QPoint hw = atHalfWidths();
    auto *filter = new AdaptiveThresholdF(hw.x(), hw.y(), this);
    relay(filter);
    filter->run(t.image, t.rect);
    // The run is synchronous: its signals have been delivered when it returns.
    filter->deleteLater();
}

void FilterCtrl::execMovingAvrF()
{
    Target t;
    if (!s1Target(&t)) return;
    const QPoint hw = maHalfWidths();
    auto *filter = new MovingAvrF(hw.x(), hw.y(), this);
    relay(filter);
    filter->run(t.image);
    filter->deleteLater();
}

void FilterCtrl::execMatchingF()
{
    Target t;
    if (!s1Target(&t)) return;
    const int mode = matchingExecMode();
    if (mode != 1 && mode != 2) return;
    auto *filter = new MatchingF(matchingThresholdMode(), mode, matchingThreads(), this);
    relay(filter);
    connect(filter, &Filter::filteringLine, this, &FilterCtrl::filteringLine);
    connect(filter, &Filter::filterProcTime, this, &FilterCtrl::filterProcTime);
    // The threaded run outlives this slot; the filter says when its last thread has ended.
    connect(filter, &MatchingF::finished, filter, &QObject::deleteLater);
    if (mode == 1)
        filter->execMatching2(t.image, t.rect);
    else
        filter->execMatching5(t.image, t.rect);
}

void FilterCtrl::execFindPeaksF()
{
    Target t;
    if (!s1Target(&t)) return;
    auto *filter = new FindPeaksF(exclusionRadius(), peakCount(), findPeaksMax(),
                                  findPeaksOnImg(), this);
    relay(filter);
    filter->run(t.image, t.rect);
    filter->deleteLater();
}

void FilterCtrl::execComparePeaksF()
{
    if (!m_dataCtrls) return;
    // The positions come from the count of A boxes, not from which entries carry them.
    QList<bool> selsA;
    const TDDataWL *s1 = nullptr;
    for (int i = 0; i < m_dataCtrls->count(); ++i) {
        selsA << m_dataCtrls->at(i)->isA();
        if (m_dataCtrls->at(i)->isS1()) s1 = m_dataCtrls->record(i);
    }
    QList<TDDataWL *> targets;
    for (int i : ComparePeaksF::targetPositions(selsA))
        targets << m_dataCtrls->record(i);
    auto *filter = new ComparePeaksF(comparePeaksMax(), comparePeaksOnImg(), this);
    relay(filter);
    filter->run(targets, s1);
    filter->deleteLater();
}
