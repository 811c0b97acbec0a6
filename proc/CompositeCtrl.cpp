#include "proc/CompositeCtrl.h"

#include "app/_FileDialog.h"
#include "core/TDDataWL.h"
#include "data/DataCtrls.h"

#include "ui_CompositeCtrl.h"

#include <QFileInfo>
#include <QPixmap>

namespace {

QString number(double v)
{
    return QString::number(v, 'g', 6);
}

} // namespace

CompositeCtrl::CompositeCtrl(DataCtrls *dataCtrls, QWidget *parent)
    : QFrame(parent), m_ui(std::make_unique<Ui_CompositeCtrl>()), m_dataCtrls(dataCtrls)
{
    m_ui->setupUi(this);
    m_widgets = {ChannelWidgets{m_ui->RedName, m_ui->RedLow, m_ui->RedHigh},
                 ChannelWidgets{m_ui->GreenName, m_ui->GreenLow, m_ui->GreenHigh},
                 ChannelWidgets{m_ui->BlueName, m_ui->BlueLow, m_ui->BlueHigh}};
    for (const ChannelWidgets &w : m_widgets) {
        connect(w.low, &QLineEdit::textEdited, this, &CompositeCtrl::rangeEdited);
        connect(w.high, &QLineEdit::textEdited, this, &CompositeCtrl::rangeEdited);
    }
    connect(m_ui->ResetRanges, &QPushButton::clicked, this, &CompositeCtrl::resetRanges);
    connect(m_ui->SaveComposite, &QPushButton::clicked, this, &CompositeCtrl::openSaveDialog);

    m_saveDialog = new _FileDialog(tr("Save composite picture"), this);
    m_saveDialog->setFileMode(QFileDialog::AnyFile);
    m_saveDialog->setAcceptMode(QFileDialog::AcceptSave);
    m_saveDialog->setNameFilters({tr("PNG Image (*.png)"), tr("JPEG Image (*.jpg *.jpeg)")});
    m_saveDialog->setDefaultSuffix(QStringLiteral("png"));
    connect(m_saveDialog, &QFileDialog::filterSelected, this, [this](const QString &filter) {
        m_saveDialog->setDefaultSuffix(filter.contains(QLatin1String("*.jpg"))
                                           ? QStringLiteral("jpg")
                                           : QStringLiteral("png"));
    });
    connect(m_saveDialog, &QFileDialog::fileSelected, this, &CompositeCtrl::saveComposite);
    showRanges();
}

CompositeCtrl::~CompositeCtrl() = default;

void CompositeCtrl::selsChanged(int, int, QList<bool> selsA, QList<bool>)
{
    std::array<TDDataWL *, 3> chosen{};
    size_t k = 0;
    const int n = m_dataCtrls ? m_dataCtrls->count() : 0;
    for (int i = 0; i < selsA.size() && i < n && k < chosen.size(); ++i)
        if (selsA[i]) chosen[k++] = m_dataCtrls->record(i);

    for (size_t c = 0; c < chosen.size(); ++c) {
        const auto ch = RgbComposite::Channel(c);
        TDDataWL *r = chosen[c];
        // A channel keeps its edited range while it shows the same image.
        if (r == m_records[c] && r == m_composite.record(ch)) continue;
        m_records[c] = r;
        if (r) {
            const DisplayRange range = r->displayRange();
            m_composite.setChannel(ch, r, range.low, range.high);
        } else {
            m_composite.setChannel(ch, nullptr, 0.0, 1.0);
        }
    }
    showRanges();
    updatePreview();
}

void CompositeCtrl::resetRanges()
{
    for (size_t c = 0; c < m_records.size(); ++c) {
        if (!m_records[c]) continue;
        const DisplayRange range = m_records[c]->displayRange();
        m_composite.setRange(RgbComposite::Channel(c), range.low, range.high);
    }
    showRanges();
    updatePreview();
}

void CompositeCtrl::showRanges()
{
    for (size_t c = 0; c < m_widgets.size(); ++c) {
        const auto ch = RgbComposite::Channel(c);
        const ChannelWidgets &w = m_widgets[c];
        const bool present = m_records[c] && m_composite.record(ch);
        w.name->setText(present ? m_records[c]->dataId() : tr("(black)"));
        w.low->setText(present ? number(m_composite.low(ch)) : QString());
        w.high->setText(present ? number(m_composite.high(ch)) : QString());
        w.low->setEnabled(present);
        w.high->setEnabled(present);
    }
    m_ui->SaveComposite->setEnabled(!m_composite.isEmpty());
}

void CompositeCtrl::rangeEdited()
{
    // Bad input reads as 0, like every form field.
    for (size_t c = 0; c < m_widgets.size(); ++c)
        m_composite.setRange(RgbComposite::Channel(c), m_widgets[c].low->text().toDouble(),
                             m_widgets[c].high->text().toDouble());
    updatePreview();
}

void CompositeCtrl::updatePreview()
{
    // A record deleted with its entry must not be read before the next selection record.
    for (size_t c = 0; c < m_records.size(); ++c)
        if (!m_records[c] && m_composite.record(RgbComposite::Channel(c)))
            m_composite.setChannel(RgbComposite::Channel(c), nullptr, 0.0, 1.0);
    const QImage img = m_composite.compose(QSize(kPreviewSide, kPreviewSide));
    m_ui->Preview->setPixmap(img.isNull() ? QPixmap() : QPixmap::fromImage(img));
}

bool CompositeCtrl::saveComposite(QString fileName)
{
    if (fileName.isEmpty() || m_composite.isEmpty()) return false;
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    if (suffix != QLatin1String("png") && suffix != QLatin1String("jpg") &&
        suffix != QLatin1String("jpeg"))
        fileName += QLatin1Char('.') + m_saveDialog->defaultSuffix();
    updatePreview();
    if (!m_composite.save(fileName)) return false;
    Q_EMIT compositeSaved(fileName);
    return true;
}

void CompositeCtrl::openSaveDialog()
{
    if (m_composite.isEmpty()) return;
    m_saveDialog->show();
}
