#include "xafs/LcfA.h"

#include "app/Body.h"
#include "app/ConfigStore.h"
#include "app/FDGroup.h"
#include "app/_FileDialog.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "display/ColorBar0.h"
#include "xafs/LCFReference.h"
#include "xafs/LcfACtrl.h"
#include "xafs/SpectrumPlot.h"
#include "xafs/XafsFileSelect.h"

#include "ui_LcfA.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

#include <algorithm>
#include <numeric>

namespace {

constexpr double kDefaultEnergy = 9000.0;
const char kColourProperty[] = "lcfColour";

} // namespace

LcfA::LcfA(const QString &name, QWidget *parent)
    : QWidget(parent, Qt::Window), m_name(name), m_ui(std::make_unique<Ui_LcfA>()),
      m_imgBase(std::make_unique<ImgBase>())
{
    m_ui->setupUi(this);
    // The form says what the window is; the title tells one window from another, like its
    // launcher.
    setWindowTitle(QStringLiteral("LCFA %1").arg(name));
    m_imgBase->setWindowTitle(tr("LCFA %1 Images").arg(name));
    m_dataCtrls = new DataCtrls(QStringLiteral("DCs of LCFA-%1").arg(name));
    m_dataCtrls->setImgBase(m_imgBase.get());
    // A stack may hold a hundred large images, of which one shows at a time.
    m_dataCtrls->setRenderWhenShown(true);
    m_ui->StackLayout->addWidget(m_dataCtrls);
    m_plot = new SpectrumPlot(m_ui->PlotFrame);
    m_plot->setObjectName(QStringLiteral("SpectrumPlot"));
    m_ui->PlotLayout->addWidget(m_plot);
    m_ui->Splitter->setSizes({220, 260, 320});
    m_dialogs = new FDGroup(this);

    connect(m_ui->ShowImgBase, &QCheckBox::toggled, this, &LcfA::showImgBase);
    connect(m_ui->AddReference, &QPushButton::clicked, this, &LcfA::addReference);
    connect(m_ui->SortByEnergy, &QPushButton::clicked, this, &LcfA::sortByEnergy);
    // Additions, removals and new orders all renew the selection record.
    connect(m_dataCtrls, &DataCtrls::selsChanged, this, &LcfA::energiesChanged);
    energiesChanged();
}

LcfA::~LcfA()
{
    // Entries own displays that may be tabs of the image base: the list goes first.
    delete m_dataCtrls;
    m_dataCtrls = nullptr;
}

QHBoxLayout *LcfA::toolLayout() const
{
    return m_ui->LCFToolsLayout;
}

void LcfA::applyWindowSizes()
{
    ConfigStore &config = ConfigStore::instance();
    const QSize own = Body::parseSize(
        config.value(QStringList{QStringLiteral("LCFASize"), QStringLiteral("-lcfs")},
                     QStringLiteral("800x800")));
    if (own.isValid()) resize(own);
    const QSize base = Body::parseSize(
        config.value(QStringList{QStringLiteral("ImgBaseSize"), QStringLiteral("-ibs")},
                     QStringLiteral("800x800")));
    if (base.isValid()) m_imgBase->resize(base);
}

DataCtrl *LcfA::addImage(const TDDataWL &source)
{
    DataCtrl *entry = m_dataCtrls->addData(source.copy());
    auto *ctrl = new LcfACtrl(entry);
    ctrl->setEnergy(StackEnergy::fromLabel(source.dataId()).value_or(kDefaultEnergy));
    // The energy sits on the image's own line of the list, so all of them read at a glance.
    if (auto *grid = qobject_cast<QGridLayout *>(entry->layout()))
        grid->addWidget(ctrl, 0, grid->columnCount());
    connect(ctrl, &LcfACtrl::energyEdited, this, &LcfA::energiesChanged);
    energiesChanged();
    return entry;
}

QList<LcfA::StackImage> LcfA::stack() const
{
    QList<StackImage> out;
    QList<std::optional<double>> energies;
    for (int i = 0; i < m_dataCtrls->count(); ++i) {
        DataCtrl *entry = m_dataCtrls->at(i);
        // Images added later without an energy (results of an analysis) are not stack.
        auto *ctrl = entry->findChild<LcfACtrl *>(QString(), Qt::FindDirectChildrenOnly);
        if (!ctrl) continue;
        StackImage s;
        s.record = entry->record();
        s.entry = entry;
        s.ctrl = ctrl;
        const std::optional<double> e = ctrl->energy();
        s.energy = e.value_or(0.0);
        energies << e;
        out << s;
    }
    const QList<StackEnergy::Status> status = StackEnergy::check(energies);
    for (qsizetype i = 0; i < out.size(); ++i)
        out[i].status = status.at(i);
    return out;
}

void LcfA::energiesChanged()
{
    const QList<StackImage> images = stack();
    int usable = 0;
    QList<double> good, flagged;
    for (const StackImage &s : images) {
        s.ctrl->showStatus(s.status);
        if (s.usable()) {
            ++usable;
            good << s.energy;
        } else if (s.status == StackEnergy::Status::Duplicate) {
            flagged << s.energy;
        }
    }
    m_ui->StackState->setText(tr("%1 of %2 images usable in a fit").arg(usable).arg(images.size()));
    m_plot->setEnergies(good, flagged);
    Q_EMIT stackChanged();
}

void LcfA::sortByEnergy()
{
    const QList<StackImage> images = stack();
    QList<int> order(m_dataCtrls->count());
    std::iota(order.begin(), order.end(), 0);
    // Stack images by energy (unreadable ones last, in their order), other entries after.
    QHash<int, std::optional<double>> energy;
    for (const StackImage &s : images)
        energy.insert(m_dataCtrls->indexOf(s.entry), s.ctrl->energy());
    auto key = [&](int i) {
        const auto it = energy.constFind(i);
        if (it == energy.constEnd()) return std::pair<int, double>(2, 0.0);
        if (!it.value()) return std::pair<int, double>(1, 0.0);
        return std::pair<int, double>(0, *it.value());
    };
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return key(a) < key(b); });
    m_dataCtrls->reorder(order);
}

LCFReference *LcfA::addReference()
{
    auto *row = new QFrame(m_ui->LCFReferenceBase);
    row->setObjectName(QStringLiteral("LCFReferenceRow"));
    auto *rowLayout = new QHBoxLayout(row);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    rowLayout->setSpacing(2);
    // A strip in the curve's colour ties the row to its spectrum in the plot.
    const int colourIndex = m_nextColour++;
    const QColor colour = ColorBar0::paletteColor(colourIndex);
    auto *strip = new QLabel(row);
    strip->setFixedWidth(6);
    strip->setStyleSheet(QStringLiteral("background-color: %1;").arg(colour.name()));
    auto *reference = new LCFReference(row);
    reference->setProperty(kColourProperty, colourIndex);
    reference->setFrameShape(QFrame::StyledPanel);
    auto *remove = new QPushButton(QStringLiteral("\u00d7"), row);
    remove->setObjectName(QStringLiteral("RemoveReference"));
    remove->setToolTip(tr("Remove this reference"));
    remove->setFixedWidth(24);
    rowLayout->addWidget(strip);
    rowLayout->addWidget(reference, 1);
    rowLayout->addWidget(remove, 0, Qt::AlignTop);
    m_ui->LCFReferenceLayout->addWidget(row);
    m_dialogs->addDialog(reference->fileSelect()->dialog());

    connect(remove, &QPushButton::clicked, this, [this, reference] { removeReference(reference); });
    connect(reference, &LCFReference::newFileSelected, this, &LcfA::referenceChanged);
    connect(reference, &LCFReference::newDeltaE, this, &LcfA::referenceChanged);
    connect(reference->victreenBox(), &QCheckBox::toggled, this, &LcfA::referenceChanged);
    connect(reference->showBox(), &QCheckBox::toggled, this, &LcfA::referenceChanged);
    connect(reference->fileSelect(), &XafsFileSelect::changedUse, this, &LcfA::referenceChanged);
    referenceChanged();
    return reference;
}

void LcfA::removeReference(LCFReference *reference)
{
    if (!references().contains(reference)) return;
    QWidget *row = reference->parentWidget();
    m_ui->LCFReferenceLayout->removeWidget(row);
    row->hide();
    reference->disconnect(this);
    row->deleteLater();
    // Gone from the list now, though the widget is deleted later.
    row->setParent(nullptr);
    referenceChanged();
}

QList<LCFReference *> LcfA::references() const
{
    QList<LCFReference *> out;
    for (int i = 0; i < m_ui->LCFReferenceLayout->count(); ++i)
        if (QWidget *row = m_ui->LCFReferenceLayout->itemAt(i)->widget())
            if (auto *r = row->findChild<LCFReference *>(QString(), Qt::FindDirectChildrenOnly))
                out << r;
    return out;
}

QList<LCFReference *> LcfA::referencesInFit() const
{
    QList<LCFReference *> out;
    for (LCFReference *r : references())
        if (r->isUsed()) out << r;
    return out;
}

void LcfA::referenceChanged()
{
    refreshPlot();
    Q_EMIT referencesChanged();
}

void LcfA::refreshPlot()
{
    QList<SpectrumPlot::Curve> curves;
    for (const LCFReference *r : references()) {
        if (!r->isUsable() || !r->isShown()) continue;
        SpectrumPlot::Curve c;
        const Spectrum &dn = r->spectrum().doubleNormalized();
        c.points.reserve(dn.size());
        for (int i = 0; i < dn.size(); ++i)
            c.points << QPointF(dn.x(i) + r->deltaE(), dn.y(i));
        c.colour = ColorBar0::paletteColor(r->property(kColourProperty).toInt());
        c.e0 = r->spectrum().e0() + r->deltaE();
        c.label =
            r->deltaE() != 0.0
                ? tr("%1 (E0 %2 eV, dE %3)")
                      .arg(r->referenceName())
                      .arg(r->spectrum().e0(), 0, 'f', 1)
                      .arg(r->deltaE())
                : tr("%1 (E0 %2 eV)").arg(r->referenceName()).arg(r->spectrum().e0(), 0, 'f', 1);
        c.faded = !r->isUsed();
        curves << c;
    }
    m_plot->setCurves(curves);
}

void LcfA::showImgBase(bool f)
{
    if (f && isVisible())
        m_imgBase->show();
    else if (!f)
        m_imgBase->hide();
}

void LcfA::bringUp()
{
    if (isMinimized()) showNormal();
    show();
    raise();
    activateWindow();
}

void LcfA::closeEvent(QCloseEvent *e)
{
    // Closing only hides: the launcher brings the window back with its stack and references.
    m_imgBase->hide();
    QWidget::closeEvent(e);
}

void LcfA::showEvent(QShowEvent *e)
{
    QWidget::showEvent(e);
    if (m_ui->ShowImgBase->isChecked()) m_imgBase->show();
}
