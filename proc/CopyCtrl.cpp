#include "proc/CopyCtrl.h"

#include "core/Shape.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "proc/Resampler.h"

#include "ui_CopyCtrl.h"

#include <QButtonGroup>
#include <QDir>
#include <QFileDialog>

#include <cmath>

CopyCtrl::CopyCtrl(DataCtrls *dataCtrls, QWidget *parent)
    : QFrame(parent), m_ui(std::make_unique<Ui_CopyCtrl>()), m_dataCtrls(dataCtrls)
{
    m_ui->setupUi(this);
    auto *mode = new QButtonGroup(this);
    mode->addButton(m_ui->ResizeBySize);
    mode->addButton(m_ui->ResizeByFactor);
    connect(m_ui->CopyRegionB, &QPushButton::clicked, this, &CopyCtrl::copyRegion);
    connect(m_ui->ResizeB, &QPushButton::clicked, this, &CopyCtrl::resizeS1);
    connect(m_ui->AroundPeaksB, &QPushButton::clicked, this, &CopyCtrl::cutAroundPeaks);
    connect(m_ui->SaveCutsB, &QPushButton::clicked, this, &CopyCtrl::chooseFolder);
}

CopyCtrl::~CopyCtrl() = default;

void CopyCtrl::selsChanged(int selS1Idx, int, QList<bool>, QList<bool>)
{
    m_s1 = selS1Idx;
}

TDDataWL *CopyCtrl::s1() const
{
    if (!m_dataCtrls || m_s1 < 0 || m_s1 >= m_dataCtrls->count()) return nullptr;
    return m_dataCtrls->at(m_s1)->record();
}

void CopyCtrl::copyRegion()
{
    const TDDataWL *source = s1();
    if (!source) return;
    if (!source->isRegionSet()) {
        Q_EMIT message(tr("Draw a region on S1 first."));
        return;
    }
    auto copy = RecordCopy::region(*source, source->region());
    if (!copy) {
        Q_EMIT message(tr("The region lies outside S1."));
        return;
    }
    Q_EMIT newDataGenerated(copy.release());
}

void CopyCtrl::resizeS1()
{
    const TDDataWL *source = s1();
    if (!source) return;
    qint64 w = 0, h = 0;
    if (m_ui->ResizeByFactor->isChecked()) {
        const double f = m_ui->ResizeFactor->text().toDouble();
        // Kept in doubles until it is known to fit: a factor of 1e300 is not a size.
        const double limit = double(Resampler::kMaxPixels) + 1;
        const double fw = std::round(source->width() * f), fh = std::round(source->height() * f);
        w = fw > 0 ? qint64(std::min(fw, limit)) : 0;
        h = fh > 0 ? qint64(std::min(fh, limit)) : 0;
    } else {
        w = m_ui->ResizeW->text().toLongLong();
        h = m_ui->ResizeH->text().toLongLong();
    }
    const QString problem = Resampler::sizeProblem(w, h);
    if (!problem.isEmpty()) {
        Q_EMIT message(problem);
        return;
    }
    auto out = Resampler::resize(*source, int(w), int(h),
                                 Resampler::Method(m_ui->ResizeMethod->currentIndex()));
    if (!out) return;
    out->setLevel(source->level() + 1);
    out->setDataId(Resampler::dataId(source->dataId(), int(w), int(h)));
    Q_EMIT newDataGenerated(out.release());
}

std::vector<std::unique_ptr<TDDataWL>> CopyCtrl::cuts(qsizetype limit)
{
    const TDDataWL *source = s1();
    if (!source) return {};
    const ::Shape *list = RecordCopy::lastPeakList(*source);
    if (!list || list->points()->isEmpty()) {
        Q_EMIT message(tr("S1 has no peak list."));
        return {};
    }
    const QList<QPointF> &points = *list->points();
    if (points.size() > limit) {
        Q_EMIT message(tr("S1's peak list has %1 points; at most %2 cuts are made at a time.")
                           .arg(points.size())
                           .arg(limit));
        return {};
    }
    const qint64 w = m_ui->CutW->text().toLongLong(), h = m_ui->CutH->text().toLongLong();
    QString problem = Resampler::sizeProblem(w, h);
    if (problem.isEmpty() && w * h * points.size() > Resampler::kMaxPixels)
        problem = tr("%1 cuts of %2 x %3 exceed the limit of %4 pixels.")
                      .arg(points.size())
                      .arg(w)
                      .arg(h)
                      .arg(Resampler::kMaxPixels);
    if (!problem.isEmpty()) {
        Q_EMIT message(problem);
        return {};
    }
    auto made = RecordCopy::aroundPoints(*source, points, int(w), int(h));
    const QList<int> order =
        RecordCopy::saveOrder(*source, points, RecordCopy::Order(m_ui->SaveOrder->currentIndex()));
    std::vector<std::unique_ptr<TDDataWL>> sorted;
    for (int i : order)
        sorted.push_back(std::move(made[size_t(i)]));
    return sorted;
}

void CopyCtrl::cutAroundPeaks()
{
    for (auto &cut : cuts(kMaxCutEntries))
        Q_EMIT newDataGenerated(cut.release());
}

int CopyCtrl::saveCuts(const QString &folder)
{
    const TDDataWL *source = s1();
    if (!source) return 0;
    const QDir dir(folder);
    if (!dir.exists()) {
        Q_EMIT message(tr("No folder %1").arg(folder));
        return 0;
    }
    const auto made = cuts(Resampler::kMaxPixels);
    int written = 0;
    for (size_t n = 0; n < made.size(); ++n) {
        const QString name = dir.filePath(
            QStringLiteral("%1_%2.zmp").arg(source->fileSafeId()).arg(n, 3, 10, QLatin1Char('0')));
        if (!made[n]->save(name)) {
            Q_EMIT message(tr("Cannot write %1").arg(name));
            return written;
        }
        ++written;
    }
    if (!made.empty()) Q_EMIT message(tr("Saved %n cut(s) in %1", nullptr, written).arg(folder));
    return written;
}

void CopyCtrl::chooseFolder()
{
    if (!s1()) return;
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Save the cuts into"));
    if (!folder.isEmpty()) saveCuts(folder);
}
