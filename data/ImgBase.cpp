#include "data/ImgBase.h"

#include "data/WindowPlacer.h"

#include "ui_ImgBase.h"

#include <QShowEvent>

ImgBase::ImgBase(QWidget *parent) : QWidget(parent), m_ui(std::make_unique<Ui_ImgBase>())
{
    m_ui->setupUi(this);
    // The form's placeholder pages are for the designer only: the base starts empty.
    while (m_ui->ImgBaseTab->count() > 0)
        m_ui->ImgBaseTab->removeTab(0);
    delete m_ui->tab;
    delete m_ui->tab_2;
    m_ui->tab = nullptr;
    m_ui->tab_2 = nullptr;
    connect(m_ui->ImgBaseTab, &QTabWidget::tabCloseRequested, this, &ImgBase::closeTab);
    connect(m_ui->ImgBaseTab, &QTabWidget::currentChanged, this, &ImgBase::currentChanged0);
}

ImgBase::~ImgBase() = default;

QTabWidget *ImgBase::tabWidget() const
{
    return m_ui->ImgBaseTab;
}

void ImgBase::addDisplay(QWidget *w, const QString &label)
{
    if (!w) return;
    // A torn-out display keeps the stack as its parent; only its window flag goes.
    if (w->isWindow()) w->setWindowFlags(w->windowFlags() & ~Qt::Window);
    const int idx = m_ui->ImgBaseTab->indexOf(w);
    if (idx < 0)
        m_ui->ImgBaseTab->addTab(w, label);
    else
        m_ui->ImgBaseTab->setTabText(idx, label);
    m_ui->ImgBaseTab->setCurrentWidget(w);
}

void ImgBase::setCurrentWidget(QWidget *w)
{
    m_ui->ImgBaseTab->setCurrentWidget(w);
}

void ImgBase::closeTab(int idx)
{
    QWidget *w = m_ui->ImgBaseTab->widget(idx);
    if (!w) return;
    m_ui->ImgBaseTab->removeTab(idx);
    // Still a child of the tab stack, so it goes with the base at the latest.
    w->setWindowFlags(w->windowFlags() | Qt::Window);
    WindowPlacer::placeBeside(w, this);
    w->show();
}

void ImgBase::showEvent(QShowEvent *e)
{
    // Shown before the window is mapped, so the move needs no second trip to the screen.
    if (!m_placed && !e->spontaneous() && m_home) {
        m_placed = true;
        WindowPlacer::placeBeside(this, m_home);
    }
    QWidget::showEvent(e);
}

void ImgBase::currentChanged0(int idx)
{
    if (idx < 0) return;
    if (QWidget *w = m_ui->ImgBaseTab->widget(idx)) w->setVisible(true);
    emit currentChanged(m_ui->ImgBaseTab->currentWidget());
}
