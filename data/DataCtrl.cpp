#include "data/DataCtrl.h"

#include "core/RecordStatistics.h"
#include "core/TDDataWL.h"
#include "data/WindowPlacer.h"
#include "display/ChCoord.h"
#include "display/ColorBar.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"
#include "display/PeakMarkers.h"

#include "ui_DataCtrl.h"

#include <QLabel>
#include <QPainter>
#include <QStackedWidget>
#include <QTabWidget>
#include <QVBoxLayout>

#include <cmath>

namespace {

const char kFocusedStyle[] = "background-color: rgb(249, 240, 107);";
const char kUnfocusedStyle[] = "background-color: rgb(190, 190, 160);";

QString number(double v)
{
    return QString::number(v, 'g', 6);
}

} // namespace

DataCtrl::DataCtrl(TDDataWL *record, QWidget *parent, bool renderWhenShown)
    : QFrame(parent), m_ui(std::make_unique<Ui_DataCtrl>()), m_renderWhenShown(renderWhenShown)
{
    m_ui->setupUi(this);
    setStyleSheet(QString());
    m_disp = new ImgDisp(nullptr);
    m_disp->setAttribute(Qt::WA_DeleteOnClose, false);
    if (m_renderWhenShown) m_disp->installEventFilter(this);

    connect(m_disp, &ImgDisp::mMovedWithin, this, &DataCtrl::mMovedWithin);
    connect(m_disp, &ImgDisp::wMoved, this, &DataCtrl::wMoved);
    connect(m_disp, &ImgDisp::newRegion, this, &DataCtrl::newRegion);
    connect(m_disp, &ImgDisp::regionCleared, this, &DataCtrl::regionCleared);
    connect(m_disp, &ImgDisp::scaleReset, this, &DataCtrl::scaleReset);
    connect(m_disp, &ImgDisp::closing, this, &DataCtrl::closingImgDisp);
    connect(m_disp->colorBar(), &ColorBar::cBarUpdated, this, &DataCtrl::cBarUpdated);
    // Dragging a marker re-colours the picture live.
    connect(m_disp->colorBar(), &ColorBar::cBarUpdating, this, &DataCtrl::cBarUpdated);
    connect(m_disp, &ImgDisp::drawImage1, this, &DataCtrl::draw);

    connect(m_ui->Del, &QPushButton::clicked, this, &DataCtrl::deleteMe);
    connect(m_ui->Stat, &QPushButton::clicked, this, &DataCtrl::statBClicked);
    connect(m_ui->Stat, &QPushButton::clicked, this, &DataCtrl::showStatistics);
    connect(m_ui->Show, &QCheckBox::toggled, this, &DataCtrl::showImg);

    setRecord(record);
}

DataCtrl::~DataCtrl()
{
    if (m_disp) m_disp->removeEventFilter(this);
    delete m_disp.data();
    delete m_statWindow.data();
    delete m_record;
}

void DataCtrl::setRecord(TDDataWL *record)
{
    if (m_record && m_record != record) m_record->deleteLater();
    m_record = record;
    if (!m_record) return;
    m_record->setParent(nullptr);

    const QString id = m_record->dataId();
    m_ui->FName->setText(id);
    m_ui->FName->setMinimumWidth(8 * int(id.size()));
    m_ui->FName->setMaximumWidth(8 * int(id.size()));
    m_disp->setWindowTitle(id);

    m_disp->setImageSize(m_record->width(), m_record->height());
    const DisplayRange range = m_record->displayRange();
    ColorBar *bar = m_disp->colorBar();
    bar->setValueRange(range.low, range.high);
    bar->paintCBar();
    render();
}

ImgDisp *DataCtrl::display() const
{
    return m_disp.data();
}

QString DataCtrl::name() const
{
    return m_record ? m_record->dataId() : QString();
}

void DataCtrl::setNumber(int n)
{
    m_ui->No->setText(QString::number(n));
}

bool DataCtrl::isS1() const
{
    return m_ui->SingleSel1->isChecked();
}
bool DataCtrl::isS2() const
{
    return m_ui->SingleSel2->isChecked();
}
bool DataCtrl::isA() const
{
    return m_ui->MultiSelA->isChecked();
}
bool DataCtrl::isB() const
{
    return m_ui->MultiSelB->isChecked();
}
QWidget *DataCtrl::s1Button() const
{
    return m_ui->SingleSel1;
}
QWidget *DataCtrl::s2Button() const
{
    return m_ui->SingleSel2;
}
QWidget *DataCtrl::aBox() const
{
    return m_ui->MultiSelA;
}
QWidget *DataCtrl::bBox() const
{
    return m_ui->MultiSelB;
}
QWidget *DataCtrl::showBox() const
{
    return m_ui->Show;
}

void DataCtrl::render()
{
    if (!m_record || !m_disp) return;
    if (m_renderWhenShown && !m_disp->isVisible()) {
        m_renderPending = true;
        return;
    }
    m_renderPending = false;
    m_record->makeImage(*m_disp->colorBar());
    m_disp->canvas()->update();
}

bool DataCtrl::eventFilter(QObject *watched, QEvent *event)
{
    // The type first: a display in mid-destruction must not be compared through its pointer.
    if (event->type() == QEvent::Show && m_renderPending && watched == m_disp) render();
    return QFrame::eventFilter(watched, event);
}

void DataCtrl::draw(QPainter *p)
{
    if (!m_record || !m_disp) return;
    const ChCoord *coord = m_disp->coord();
    if (const QImage *image = m_record->image())
        coord->drawImage(p, *image, QRectF(0, 0, m_record->width(), m_record->height()));
    PeakMarkers::draw(p, *coord, *m_record);

    // A region set on the record elsewhere (a copy, a filter) shows while none is drawn.
    if (m_record->isRegionSet() && m_disp->regionState() == ImgDisp::NoRegion) {
        const QRect r = m_record->region();
        const QRectF s(
            QPointF(coord->dataToScreenX(r.left()), coord->dataToScreenY(r.top())),
            QPointF(coord->dataToScreenX(r.right() + 1), coord->dataToScreenY(r.bottom() + 1)));
        p->save();
        p->setPen(QPen(Qt::cyan, 1, Qt::DashLine));
        p->setBrush(Qt::NoBrush);
        p->drawRect(s.normalized());
        p->restore();
    }

    // The pixel noticed in any display is marked in every one.
    if (m_noticed.x() >= 0 && m_noticed.y() >= 0 && m_noticed.x() < m_record->width() &&
        m_noticed.y() < m_record->height()) {
        const double cx = coord->dataToScreenX(m_noticed.x() + 0.5);
        const double cy = coord->dataToScreenY(m_noticed.y() + 0.5);
        const double half = std::max(4.0, std::abs(coord->dataLenToScreenX(0.5)));
        p->save();
        p->setRenderHint(QPainter::Antialiasing, false);
        p->setPen(QPen(Qt::black, 3));
        p->drawLine(QPointF(cx - half - 4, cy), QPointF(cx + half + 4, cy));
        p->drawLine(QPointF(cx, cy - half - 4), QPointF(cx, cy + half + 4));
        p->setPen(QPen(Qt::green, 1));
        p->drawLine(QPointF(cx - half - 4, cy), QPointF(cx + half + 4, cy));
        p->drawLine(QPointF(cx, cy - half - 4), QPointF(cx, cy + half + 4));
        p->restore();
    }
}

void DataCtrl::cBarUpdated()
{
    render();
}

void DataCtrl::closingImgDisp()
{
    const QSignalBlocker block(m_ui->Show);
    m_ui->Show->setChecked(false);
}

void DataCtrl::mMovedWithin(double rx, double ry)
{
    const int ix = int(std::trunc(rx));
    const int iy = int(std::trunc(ry));
    // The row is tested against both sides and the column not at all, so a column past
    // the edge reads on into the following row; an index past the data reads nothing.
    if (m_record && iy >= 0 && iy < m_record->width() && iy < m_record->height()) {
        const qsizetype index = qsizetype(m_record->width()) * iy + ix;
        if (index >= 0 && index < m_record->pixelCount())
            m_disp->showPosVal(ix, iy, m_record->value(index), m_record->isValid(index));
    }
    Q_EMIT pointAt(ix, iy);
    setFocused(true);
}

void DataCtrl::wMoved(int)
{
    if (m_disp) m_disp->canvas()->update();
}

void DataCtrl::newRegion(QRect rR)
{
    if (m_record) m_record->setRegion(rR);
}

void DataCtrl::regionCleared()
{
    if (m_record) m_record->regionCleared();
}

void DataCtrl::scaleReset()
{
    if (m_disp) m_disp->canvas()->update();
}

void DataCtrl::showImg(bool f)
{
    if (!m_disp) return;
    {
        const QSignalBlocker block(m_ui->Show);
        m_ui->Show->setChecked(f);
    }
    if (f) {
        Q_EMIT comeMeBackToTab();
        return;
    }
    // Hidden: out of the tabbed base if it is a tab there, else the window closes.
    for (QWidget *w = m_disp->parentWidget(); w; w = w->parentWidget()) {
        if (auto *tabs = qobject_cast<QTabWidget *>(w)) {
            const int idx = tabs->indexOf(m_disp);
            if (idx >= 0) tabs->removeTab(idx);
            break;
        }
    }
    m_disp->hide();
}

void DataCtrl::noticedAt(int ix, int iy)
{
    m_noticed = QPoint(ix, iy);
    if (m_disp) m_disp->canvas()->update();
}

void DataCtrl::setFocused(bool f)
{
    if (f == m_focused) return;
    m_focused = f;
    setStyleSheet(QLatin1String(f ? kFocusedStyle : kUnfocusedStyle));
    if (f) Q_EMIT focused();
}

void DataCtrl::showStatistics()
{
    if (!m_record) return;
    const bool fresh = !m_statWindow;
    if (!m_statWindow) {
        auto *window = new QLabel(this, Qt::Tool);
        window->setTextInteractionFlags(Qt::TextSelectableByMouse);
        window->setMargin(10);
        window->setAttribute(Qt::WA_DeleteOnClose);
        m_statWindow = window;
    }
    const TDDataWL &r = *m_record;
    const RecordStatistics s = RecordStatistics::of(r);
    const DisplayRange range = r.displayRange();
    auto *label = static_cast<QLabel *>(m_statWindow.data());
    label->setWindowTitle(tr("Statistics: %1").arg(r.dataId()));
    label->setText(tr("Size: %1 x %2\n"
                      "Min / max with zeros: %3 / %4\n"
                      "Min / max without zeros: %5 / %6\n"
                      "Display range: %7 to %8\n"
                      "Valid pixels: %9 of %10\n"
                      "Mean of valid pixels: %11\n"
                      "Standard deviation: %12")
                       .arg(r.width())
                       .arg(r.height())
                       .arg(number(r.minWithZeros()), number(r.maxWithZeros()),
                            number(r.minWithoutZeros()), number(r.maxWithoutZeros()),
                            number(range.low), number(range.high))
                       .arg(r.validCount())
                       .arg(r.pixelCount())
                       .arg(number(s.mean), number(s.standardDeviation)));
    if (fresh) {
        label->adjustSize();
        WindowPlacer::placeBeside(label, window());
    }
    label->show();
    label->raise();
}
