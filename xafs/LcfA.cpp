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
#include "display/DispA.h"
#include "xafs/LCFReference.h"
#include "xafs/LcfACtrl.h"
#include "xafs/LcfEngine.h"
#include "xafs/LcfFitRunner.h"
#include "xafs/SpectrumPlot.h"
#include "xafs/VictLine.h"
#include "xafs/XafsFileSelect.h"

#include "ui_LcfA.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QMetaMethod>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>
#include <numeric>

namespace {

constexpr double kDefaultEnergy = 9000.0;
const char kColourProperty[] = "lcfColour";
// Points of the fitted curve and of each contribution across the plotted energy range.
constexpr int kCurveSamples = 240;

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
    connect(m_dataCtrls, &DataCtrls::pointedAt, this, &LcfA::pointedAt);
    setUpFitTools();
    energiesChanged();
}

LcfA::~LcfA()
{
    // A running fit reads the stack: it stops before the records go.
    delete m_runner;
    m_runner = nullptr;
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

void LcfA::setUpFitTools()
{
    m_fitButton = new QPushButton(tr("Fit"), this);
    m_fitButton->setObjectName(QStringLiteral("Fit"));
    m_fitButton->setToolTip(tr("Fit every pixel of the usable stack images with the references "
                               "in use; the maps join the main window's list"));
    m_fitKind = new QComboBox(this);
    m_fitKind->setObjectName(QStringLiteral("FitKind"));
    m_fitKind->addItem(tr("non-negative"), int(LcfModel::FitKind::NonNegative));
    m_fitKind->addItem(tr("free"), int(LcfModel::FitKind::Free));
    m_fitKind->addItem(tr("sum to one"), int(LcfModel::FitKind::SumToOne));
    m_fitKind->setToolTip(tr("non-negative: weights >= 0; free: any sign; sum to one: weights "
                             ">= 0 adding up to 1, for stacks already normalised"));
    m_fitOffset = new QCheckBox(tr("Offset"), this);
    m_fitOffset->setObjectName(QStringLiteral("FitOffset"));
    m_fitOffset->setToolTip(tr("Fit a constant of any sign with the weights: the absorption of "
                               "everything else in the pixel"));
    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("FitProgress"));
    m_progress->setRange(0, 100);
    m_progress->hide();
    m_cancelButton = new QPushButton(tr("Cancel"), this);
    m_cancelButton->setObjectName(QStringLiteral("CancelFit"));
    m_cancelButton->hide();
    for (QWidget *w : std::initializer_list<QWidget *>{m_fitButton, m_fitKind, m_fitOffset,
                                                       m_progress, m_cancelButton})
        toolLayout()->addWidget(w);
    m_fitState = new QLabel(m_ui->PlotFrame);
    m_fitState->setObjectName(QStringLiteral("FitState"));
    m_fitState->setWordWrap(true);
    m_fitState->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_ui->PlotLayout->insertWidget(0, m_fitState);

    m_runner = new LcfFitRunner(this);
    connect(m_fitButton, &QPushButton::clicked, this, &LcfA::fit);
    connect(m_cancelButton, &QPushButton::clicked, this, &LcfA::cancelFit);
    connect(m_runner, &LcfFitRunner::progress, this, &LcfA::fitProgress);
    connect(m_runner, &LcfFitRunner::finished, this, &LcfA::fitFinished);
    connect(m_fitKind, &QComboBox::currentIndexChanged, this, &LcfA::rebuildReadout);
    connect(m_fitOffset, &QCheckBox::toggled, this, &LcfA::rebuildReadout);
    connect(this, &LcfA::stackChanged, this, &LcfA::rebuildReadout);
    connect(this, &LcfA::referencesChanged, this, &LcfA::rebuildReadout);
}

LcfModel::FitKind LcfA::chosenKind() const
{
    return LcfModel::FitKind(m_fitKind->currentData().toInt());
}

bool LcfA::isFitting() const
{
    return m_runner && m_runner->isRunning();
}

QString LcfA::fitState() const
{
    return m_fitState->text();
}

bool LcfA::prepareFit(FitInput *input, QString *error) const
{
    QList<double> energies;
    for (const StackImage &s : stack()) {
        // Images that share an energy go in so that the model names them when it refuses.
        if (!s.usable() && s.status != StackEnergy::Status::Duplicate) continue;
        input->entries << s.entry;
        input->labels << s.record->dataId();
        energies << s.energy;
    }
    for (qsizetype k = 1; k < input->entries.size(); ++k) {
        const TDDataWL *first = input->entries.first()->record();
        const TDDataWL *r = input->entries.at(k)->record();
        if (r->width() != first->width() || r->height() != first->height()) {
            *error = tr("%1 is %2 x %3, unlike %4 (%5 x %6)")
                         .arg(input->labels.at(k))
                         .arg(r->width())
                         .arg(r->height())
                         .arg(input->labels.first())
                         .arg(first->width())
                         .arg(first->height());
            return false;
        }
    }
    QList<LcfModel::Reference> references;
    for (LCFReference *r : referencesInFit()) {
        LcfModel::Reference m = LcfModel::fromSpectrum(
            r->spectrum(), r->isVictreen() ? VictLine::kVictreen : VictLine::kStraight,
            r->deltaE());
        if (!r->referenceName().isEmpty()) m.name = r->referenceName();
        references << m;
        input->references << r;
    }
    if (references.isEmpty()) {
        *error = tr("no reference is loaded with \"Use\" ticked");
        return false;
    }
    return input->model.build(energies, references, chosenKind(), m_fitOffset->isChecked(), error,
                              input->labels);
}

void LcfA::fit()
{
    if (isFitting()) return;
    FitInput input;
    QString error;
    if (!prepareFit(&input, &error)) {
        m_fitState->setText(tr("Fit refused: %1").arg(error));
        return;
    }
    QList<const TDData0 *> images;
    for (const QPointer<DataCtrl> &e : std::as_const(input.entries))
        images << e->record();
    m_fitNames.clear();
    for (const LcfModel::Reference &r : input.model.references())
        m_fitNames << r.name;
    showFitting(true);
    m_fitState->setText(tr("Fitting %1 x %2 pixels at %3 energies...")
                            .arg(images.first()->width())
                            .arg(images.first()->height())
                            .arg(images.size()));
    m_runner->start(input.model, images, input.labels);
}

void LcfA::cancelFit()
{
    if (isFitting()) m_runner->cancel();
}

void LcfA::fitProgress(int percent)
{
    m_progress->setValue(percent);
}

void LcfA::showFitting(bool on)
{
    // The stack stays as the fit reads it: no removal, reordering or new energy meanwhile.
    m_dataCtrls->setEnabled(!on);
    m_ui->SortByEnergy->setEnabled(!on);
    m_fitButton->setEnabled(!on);
    m_progress->setValue(0);
    m_progress->setVisible(on);
    m_cancelButton->setVisible(on);
}

void LcfA::fitFinished()
{
    showFitting(false);
    LcfEngine::Result result = m_runner->takeResult();
    if (!result.ok()) {
        m_fitState->setText(result.cancelled ? tr("Fit cancelled: nothing added")
                                             : tr("Fit refused: %1").arg(m_runner->error()));
        return;
    }
    QStringList means;
    for (size_t r = 0; r < result.meanFractions.size() && r < size_t(m_fitNames.size()); ++r)
        means
            << tr("%1 %2 %").arg(m_fitNames.at(r)).arg(result.meanFractions[r] * 100.0, 0, 'f', 1);
    const qsizetype valid = result.validPixels;
    // Standalone, the window keeps its results in its own list rather than losing them.
    const bool taken = isSignalConnected(QMetaMethod::fromSignal(&LcfA::newFittedData));
    for (std::unique_ptr<TDDataWL> &record : result.takeRecords()) {
        if (taken)
            Q_EMIT newFittedData(record.release());
        else
            m_dataCtrls->addData(record.release());
    }
    m_fitState->setText(tr("Fit done: %1 pixels valid in every image; mean fractions: %2")
                            .arg(valid)
                            .arg(means.join(QStringLiteral(", "))));
}

void LcfA::rebuildReadout()
{
    m_readout = FitInput();
    QString error;
    if (!prepareFit(&m_readout, &error)) m_readout.model = LcfModel();
    for (LCFReference *r : references())
        r->clearResults();
    m_plot->setLayers({});
}

void LcfA::pointedAt(int ix, int iy)
{
    const LcfModel &model = m_readout.model;
    if (!model.isBuilt()) return;
    const int n = model.energyCount();
    std::vector<double> mu(size_t(n), 0.0);
    bool valid = true;
    for (int k = 0; k < n; ++k) {
        const DataCtrl *entry = m_readout.entries.value(k);
        const TDDataWL *r = entry ? entry->record() : nullptr;
        // Images of another size in the main window point outside the stack.
        if (!r || ix < 0 || iy < 0 || ix >= r->width() || iy >= r->height()) return;
        const qsizetype index = qsizetype(iy) * r->width() + ix;
        mu[size_t(k)] = r->value(index);
        valid = valid && r->isValid(index);
    }
    SpectrumPlot::Layer points;
    points.asPoints = true;
    points.colour = Qt::black;
    points.label = tr("pixel (%1, %2)").arg(ix).arg(iy);
    for (int k = 0; k < n; ++k)
        points.points << QPointF(model.energies().at(k), mu[size_t(k)]);

    const LcfModel::PixelFit f = valid ? model.fitPixel(mu.data()) : LcfModel::PixelFit();
    if (!f.valid) {
        for (LCFReference *r : references())
            r->clearResults();
        m_plot->setLayers({points});
        m_fitState->setText(tr("Pixel (%1, %2): not valid in every image").arg(ix).arg(iy));
        return;
    }
    const int refs = model.referenceCount();
    QList<SpectrumPlot::Layer> layers(refs + 2);
    SpectrumPlot::Layer &fitted = layers[refs];
    fitted.colour = QColor(40, 40, 40);
    fitted.label = tr("fit");
    for (int r = 0; r < refs; ++r) {
        if (LCFReference *ref = m_readout.references.value(r)) {
            ref->setWeight(f.fraction(r));
            ref->setT(f.weights[size_t(r)]);
            layers[r].colour = ColorBar0::paletteColor(ref->property(kColourProperty).toInt());
        }
        layers[r].label =
            tr("%1 x %2").arg(model.references().at(r).name).arg(f.weights[size_t(r)], 0, 'g', 4);
    }
    const ChCoord::Area &view = m_plot->canvas()->coord.dataRange();
    const double e0 = std::min(view.x0, view.x1), e1 = std::max(view.x0, view.x1);
    for (int i = 0; i < kCurveSamples; ++i) {
        const double e = e0 + (e1 - e0) * i / (kCurveSamples - 1);
        double sum = f.offset;
        for (int r = 0; r < refs; ++r) {
            const double c = f.weights[size_t(r)] * model.referenceAt(r, e);
            layers[r].points << QPointF(e, c);
            sum += c;
        }
        fitted.points << QPointF(e, sum);
    }
    layers[refs + 1] = points;
    m_plot->setLayers(layers);
    m_fitState->setText(tr("Pixel (%1, %2): total %3, residual %4")
                            .arg(ix)
                            .arg(iy)
                            .arg(f.total, 0, 'g', 4)
                            .arg(f.residual, 0, 'g', 3));
}
