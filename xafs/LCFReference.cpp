#include "xafs/LCFReference.h"

#include "xafs/VictLine.h"
#include "xafs/XafsFileSelect.h"

#include "ui_LCFReference.h"

#include <QFileInfo>

#include <cmath>

namespace {

// A spectrum file holds some thousand lines; far more is not a spectrum.
constexpr qint64 kMaxSpectrumFileBytes = 64ll * 1024 * 1024;

const char kDMutStyle[] = "background-color: rgb(240, 240, 240);";
const char kUnusableStyle[] = "background-color: rgb(255, 200, 200);";

QString number(double v)
{
    return QString::number(v, 'g', 6);
}

} // namespace

LCFReference::LCFReference(QWidget *parent)
    : QFrame(parent), m_ui(std::make_unique<Ui_LCFReference>())
{
    m_ui->setupUi(this);
    connect(m_ui->XFS, &XafsFileSelect::newFile, this, &LCFReference::newFile);
    connect(m_ui->XFS, &XafsFileSelect::changedUse, this, &LCFReference::changedUse);
    connect(m_ui->XFS, &XafsFileSelect::cleared, this, &LCFReference::cleared);
    connect(m_ui->DeltaE, &QLineEdit::editingFinished, this, &LCFReference::editedDeltaE);
    connect(m_ui->IsVictreen, &QCheckBox::toggled, this, &LCFReference::toggledIsVictreen);
}

LCFReference::~LCFReference() = default;

bool LCFReference::isVictreen() const
{
    return m_ui->IsVictreen->isChecked();
}

uint32_t LCFReference::fitKind() const
{
    return isVictreen() ? VictLine::kVictreen : VictLine::kStraight;
}

QString LCFReference::referenceName() const
{
    return fileName().isEmpty() ? QString() : m_spectrum.name();
}

QString LCFReference::fileName() const
{
    return m_ui->XFS->fileName();
}

bool LCFReference::isUsed() const
{
    return m_usable && m_ui->XFS->isUsed();
}

bool LCFReference::isShown() const
{
    return m_ui->Show->isChecked();
}

XafsFileSelect *LCFReference::fileSelect() const
{
    return m_ui->XFS;
}

QCheckBox *LCFReference::victreenBox() const
{
    return m_ui->IsVictreen;
}

QCheckBox *LCFReference::showBox() const
{
    return m_ui->Show;
}

void LCFReference::newFile(const QString &fname)
{
    const QFileInfo info(fname);
    QString problem;
    // A pipe or a device would block the window or never end; only plain files are read.
    if (!info.exists())
        problem = tr("the file does not exist");
    else if (!info.isFile())
        problem = tr("not a plain file");
    else if (!info.isReadable())
        problem = tr("the file cannot be read");
    else if (info.size() > kMaxSpectrumFileBytes)
        problem = tr("the file is too large for a spectrum");

    // A fresh spectrum, so that nothing of an earlier file survives a failed load.
    m_spectrum = XafsSpectrum();
    m_spectrum.setName(info.completeBaseName());
    m_spectrum.setEnergyShift(m_dE);
    if (problem.isEmpty()) {
        if (m_spectrum.load(fname))
            m_spectrum.normalize(fitKind());
        else
            problem = tr("no spectrum in the file");
    }
    assess(problem, true);
    Q_EMIT newFileSelected();
}

void LCFReference::changedUse(bool use)
{
    for (QWidget *w : {static_cast<QWidget *>(m_ui->MidE), static_cast<QWidget *>(m_ui->DMut),
                       static_cast<QWidget *>(m_ui->R), static_cast<QWidget *>(m_ui->T)})
        w->setEnabled(use);
}

void LCFReference::editedDeltaE()
{
    bool ok = false;
    double dE = m_ui->DeltaE->text().trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(dE)) {
        dE = 0.0;
        // The field shows what is stored, not text that silently counts as nothing.
        m_ui->DeltaE->setText(QStringLiteral("0"));
    }
    m_dE = dE;
    m_spectrum.setEnergyShift(dE);
    Q_EMIT newDeltaE();
}

void LCFReference::toggledIsVictreen(bool)
{
    if (m_spectrum.isEmpty()) return;
    m_spectrum.normalize(fitKind());
    // The shown edge and jump stay those of the file's first normalisation; only a change
    // of usability is shown.
    assess(QString(), false);
}

void LCFReference::setStd(bool isVic)
{
    m_ui->IsVictreen->setChecked(isVic);
}

void LCFReference::cleared()
{
    m_spectrum = XafsSpectrum();
    m_spectrum.setEnergyShift(m_dE);
    m_usable = false;
    m_problem.clear();
    m_ui->MidE->clear();
    m_ui->DMut->clear();
    for (QLineEdit *e : {m_ui->MidE, m_ui->DMut})
        e->setToolTip(QString());
    m_ui->MidE->setStyleSheet(QString());
    m_ui->DMut->setStyleSheet(QLatin1String(kDMutStyle));
    clearResults();
    Q_EMIT newFileSelected();
}

void LCFReference::assess(const QString &loadProblem, bool refreshFields)
{
    QString problem = loadProblem;
    if (problem.isEmpty()) {
        const double e0 = m_spectrum.e0();
        const double jump = m_spectrum.jump();
        if (m_spectrum.size() < 2)
            problem = tr("too few points to normalise");
        else if (!std::isfinite(e0) || !std::isfinite(jump) || jump == 0.0)
            problem = tr("the normalisation finds no edge");
        else
            for (const Spectrum::Point &p : m_spectrum.doubleNormalized().points())
                if (!std::isfinite(p.x) || !std::isfinite(p.y)) {
                    problem = tr("the normalisation gives values that are not numbers");
                    break;
                }
    }
    const bool usable = problem.isEmpty();
    const bool changed = usable != m_usable;
    m_usable = usable;
    m_problem = problem;
    if (refreshFields || changed) showValues();
}

void LCFReference::showValues()
{
    if (m_usable) {
        m_ui->DMut->setText(number(m_spectrum.jump()));
        m_ui->MidE->setText(number(m_spectrum.e0()));
        m_ui->MidE->setStyleSheet(QString());
        m_ui->DMut->setStyleSheet(QLatin1String(kDMutStyle));
        m_ui->MidE->setToolTip(tr("Edge energy E0 of the spectrum"));
        m_ui->DMut->setToolTip(tr("Edge jump of the spectrum"));
    } else {
        const QString text = tr("not usable");
        const QString why = tr("Not usable in a fit: %1").arg(m_problem);
        for (QLineEdit *e : {m_ui->MidE, m_ui->DMut}) {
            e->setText(text);
            e->setCursorPosition(0);
            e->setStyleSheet(QLatin1String(kUnusableStyle));
            e->setToolTip(why);
        }
        clearResults();
    }
}

void LCFReference::setWeight(double w)
{
    m_weight = w;
    m_ui->R->setText(std::isfinite(w) ? QString::asprintf("%5.2f", w * 100.0)
                                      : QStringLiteral("--"));
}

void LCFReference::setT(double value)
{
    m_ui->T->setText(std::isfinite(value) ? number(value) : QStringLiteral("--"));
}

void LCFReference::clearResults()
{
    m_ui->R->clear();
    m_ui->T->clear();
}
