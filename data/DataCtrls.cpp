#include "data/DataCtrls.h"

#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/ImgBase.h"
#include "data/WindowPlacer.h"
#include "display/ImgDisp.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

DataCtrls::DataCtrls(const QString &title, QWidget *parent) : QWidget(parent)
{
    setWindowTitle(title);
    setObjectName(title);
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(1);
    m_layout->addStretch(1);
    m_s1 = new QButtonGroup(this);
    m_s2 = new QButtonGroup(this);
    m_s1->setExclusive(true);
    m_s2->setExclusive(true);
    connect(m_s1, &QButtonGroup::buttonToggled, this, &DataCtrls::singleSels1Changed);
    connect(m_s2, &QButtonGroup::buttonToggled, this, &DataCtrls::singleSels2Changed);
}

DataCtrls::~DataCtrls()
{
    // Entries own their displays, which may sit in the image base: go first.
    const QList<DataCtrl *> entries = m_entries;
    m_entries.clear();
    qDeleteAll(entries);
}

DataCtrl *DataCtrls::addData(TDDataWL *record, bool grey)
{
    auto *entry = new DataCtrl(record, this, m_renderWhenShown);
    if (grey) entry->display()->setCBarGrayScale(true);
    m_layout->insertWidget(m_layout->count() - 1, entry);
    entry->show();
    m_entries.append(entry);
    m_s1->addButton(static_cast<QRadioButton *>(entry->s1Button()));
    m_s2->addButton(static_cast<QRadioButton *>(entry->s2Button()));
    connect(static_cast<QCheckBox *>(entry->aBox()), &QCheckBox::toggled, this,
            &DataCtrls::multiSelsChanged);
    connect(static_cast<QCheckBox *>(entry->bBox()), &QCheckBox::toggled, this,
            &DataCtrls::multiSelsChanged);
    connect(entry, &DataCtrl::focused, this, &DataCtrls::aCtrlFocused);
    connect(entry, &DataCtrl::pointAt, this, &DataCtrls::noticedAt);
    connect(entry, &DataCtrl::deleteMe, this, &DataCtrls::deleteAnDc);
    connect(entry, &DataCtrl::comeMeBackToTab, this, &DataCtrls::comeBackADcToTab);
    renumber();
    placeDisplay(entry);
    // No selection record here: a new entry is chosen nowhere, and a record would make the
    // processing panels rewrite what the user typed.
    return entry;
}

void DataCtrls::setImgBase(ImgBase *base)
{
    if (m_base) disconnect(m_base, nullptr, this, nullptr);
    m_base = base;
    if (m_base) connect(m_base, &ImgBase::currentChanged, this, &DataCtrls::aTabRised);
}

int DataCtrls::indexOf(const DataCtrl *entry) const
{
    return int(m_entries.indexOf(const_cast<DataCtrl *>(entry)));
}

TDDataWL *DataCtrls::record(int i) const
{
    return (i >= 0 && i < m_entries.size()) ? m_entries.at(i)->record() : nullptr;
}

void DataCtrls::removeDataCtrl(DataCtrl *entry, bool deleteLater)
{
    const int idx = indexOf(entry);
    if (idx < 0) return;
    entry->disconnect(this);
    disconnect(entry);
    for (QWidget *w : {entry->aBox(), entry->bBox()})
        w->disconnect(this);
    m_s1->removeButton(static_cast<QRadioButton *>(entry->s1Button()));
    m_s2->removeButton(static_cast<QRadioButton *>(entry->s2Button()));
    if (m_base && entry->display()) {
        QTabWidget *tabs = m_base->tabWidget();
        const int tab = tabs->indexOf(entry->display());
        if (tab >= 0) tabs->removeTab(tab);
    }
    if (entry->display()) {
        entry->display()->hide();
        entry->display()->setParent(nullptr);
    }
    m_entries.removeAt(idx);
    m_layout->removeWidget(entry);
    entry->hide();
    renumber();
    selsChanged_();
    if (deleteLater) entry->deleteLater();
}

void DataCtrls::reorder(const QList<int> &order)
{
    if (order.size() != m_entries.size()) return;
    QList<bool> seen(m_entries.size(), false);
    for (int i : order) {
        if (i < 0 || i >= m_entries.size() || seen[i]) return;
        seen[i] = true;
    }
    QList<DataCtrl *> entries;
    entries.reserve(order.size());
    for (int i : order)
        entries << m_entries.at(i);
    m_entries = entries;
    for (int k = 0; k < m_entries.size(); ++k) {
        m_layout->removeWidget(m_entries.at(k));
        m_layout->insertWidget(k, m_entries.at(k));
    }
    // Tabs follow the list, so that stepping through them walks the same order.
    if (m_base) {
        QTabWidget *tabs = m_base->tabWidget();
        int next = 0;
        for (DataCtrl *e : std::as_const(m_entries)) {
            const int tab = e->display() ? tabs->indexOf(e->display()) : -1;
            if (tab < 0) continue;
            if (tab != next) tabs->tabBar()->moveTab(tab, next);
            ++next;
        }
    }
    renumber();
    selsChanged_();
}

void DataCtrls::renumber()
{
    for (int i = 0; i < m_entries.size(); ++i)
        m_entries.at(i)->setNumber(i);
}

void DataCtrls::placeDisplay(DataCtrl *entry)
{
    ImgDisp *disp = entry->display();
    if (!disp) return;
    if (m_inTab && m_base) {
        m_base->addDisplay(disp, entry->name());
        return;
    }
    if (disp->parentWidget()) {
        if (m_base) {
            QTabWidget *tabs = m_base->tabWidget();
            const int tab = tabs->indexOf(disp);
            if (tab >= 0) tabs->removeTab(tab);
        }
        disp->setParent(nullptr);
    }
    disp->setWindowFlag(Qt::Window, true);
    const QWidget *anchor = m_base && m_base->isVisible() ? static_cast<QWidget *>(m_base) : this;
    WindowPlacer::placeBeside(disp, anchor, indexOf(entry) % 10);
    disp->show();
}

void DataCtrls::selsChanged_()
{
    int s1 = -1, s2 = -1;
    QList<bool> a, b;
    a.reserve(m_entries.size());
    b.reserve(m_entries.size());
    for (int i = 0; i < m_entries.size(); ++i) {
        const DataCtrl *e = m_entries.at(i);
        if (e->isS1()) s1 = i;
        if (e->isS2()) s2 = i;
        a.append(e->isA());
        b.append(e->isB());
    }
    Q_EMIT selsChanged(s1, s2, a, b);
}

void DataCtrls::multiSelsChanged(bool)
{
    selsChanged_();
}

void DataCtrls::singleSels1Changed(QAbstractButton *, bool)
{
    // The button switched off is a change too, so switching S1 gives two equal records.
    selsChanged_();
}

void DataCtrls::singleSels2Changed(QAbstractButton *, bool)
{
    selsChanged_();
}

void DataCtrls::noticedAt(int ix, int iy)
{
    for (DataCtrl *e : std::as_const(m_entries))
        e->noticedAt(ix, iy);
    Q_EMIT pointedAt(ix, iy);
}

void DataCtrls::deleteAnDc()
{
    if (auto *entry = qobject_cast<DataCtrl *>(sender())) removeDataCtrl(entry, true);
}

void DataCtrls::comeBackADcToTab()
{
    auto *entry = qobject_cast<DataCtrl *>(sender());
    if (!entry || indexOf(entry) < 0) return;
    placeDisplay(entry);
    attentionADc();
}

void DataCtrls::attentionADc()
{
    auto *entry = qobject_cast<DataCtrl *>(sender());
    if (!entry || !entry->display()) return;
    ImgDisp *disp = entry->display();
    if (m_base && m_base->tabWidget()->indexOf(disp) >= 0) {
        m_base->setCurrentWidget(disp);
        m_base->raise();
    } else {
        disp->raise();
        disp->activateWindow();
    }
}

void DataCtrls::aCtrlFocused()
{
    const auto *focusedEntry = qobject_cast<DataCtrl *>(sender());
    for (DataCtrl *e : std::as_const(m_entries))
        if (e != focusedEntry) e->setFocused(false);
}

void DataCtrls::aTabRised(QWidget *imgDisp)
{
    for (DataCtrl *e : std::as_const(m_entries))
        if (e->display() == imgDisp) {
            e->setFocused(true);
            return;
        }
}

void DataCtrls::inTab(bool f)
{
    m_inTab = f;
    for (DataCtrl *e : std::as_const(m_entries))
        if (e->display() && static_cast<QCheckBox *>(e->showBox())->isChecked()) placeDisplay(e);
    if (f) showImgBase();
}

void DataCtrls::showImgBase(bool f)
{
    if (m_base) m_base->setVisible(f);
}

void DataCtrls::showImgBase()
{
    if (!m_base) return;
    m_base->show();
    m_base->raise();
    m_base->activateWindow();
}

void DataCtrls::showImgBase0()
{
    if (m_base && !m_base->isVisible()) m_base->show();
}
