#include "app/Body.h"

#include "app/AppState.h"
#include "app/ConfigStore.h"
#include "app/_FileDialog.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "io/BadPixelList.h"
#include "io/ImageLoader.h"
#include "proc/CalcCtrl.h"
#include "proc/CompositeCtrl.h"
#include "proc/CopyCtrl.h"
#include "proc/FilterCtrl.h"
#include "proc/PeakTable.h"
#include "relation/RelationDispCtrl.h"
#include "xafs/LcfA.h"

#include "ui_Body.h"

#include <QCloseEvent>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QImageWriter>
#include <QMimeData>
#include <QShortcut>
#include <QStatusBar>
#include <QUrl>

Body::Body(QWidget *parent)
    : QMainWindow(parent), m_dataCtrls(new DataCtrls(QStringLiteral("DCs of Body"))),
      m_ui(std::make_unique<Ui_Body>()), m_imgBase(std::make_unique<ImgBase>())
{
    m_ui->setupUi(this);
    setWindowTitle(QStringLiteral("Zelmap"));
    setAcceptDrops(true);
    m_ui->DataListLayout->addWidget(m_dataCtrls);
    m_dataCtrls->setImgBase(m_imgBase.get());
    m_imgBase->setHomeWindow(this);

    // Panels with a control open and close with their button.
    m_calcCtrl = new CalcCtrl(m_dataCtrls, m_ui->CalcFrame);
    m_ui->CalcLayout->addWidget(m_calcCtrl);
    m_compositeCtrl = new CompositeCtrl(m_dataCtrls, m_ui->CompositeFrame);
    m_ui->CompositeLayout->addWidget(m_compositeCtrl);
    m_ui->CalcFrame->setVisible(m_ui->Calc->isChecked());
    m_ui->CompositeFrame->setVisible(m_ui->Composite->isChecked());
    connect(m_ui->Calc, &QPushButton::toggled, m_ui->CalcFrame, &QWidget::setVisible);
    connect(m_ui->Composite, &QPushButton::toggled, m_ui->CompositeFrame, &QWidget::setVisible);
    connect(m_dataCtrls, &DataCtrls::selsChanged, m_calcCtrl, &CalcCtrl::selsChanged);
    connect(m_dataCtrls, &DataCtrls::selsChanged, m_compositeCtrl, &CompositeCtrl::selsChanged);
    connect(m_calcCtrl, &CalcCtrl::newDataGenerated, this, &Body::calculatedData);
    m_copyCtrl = new CopyCtrl(m_dataCtrls, m_ui->CopyFrame);
    m_ui->CopyLayout->addWidget(m_copyCtrl);
    m_ui->CopyFrame->setVisible(m_ui->Copy->isChecked());
    connect(m_ui->Copy, &QPushButton::toggled, m_ui->CopyFrame, &QWidget::setVisible);
    connect(m_dataCtrls, &DataCtrls::selsChanged, m_copyCtrl, &CopyCtrl::selsChanged);
    connect(m_copyCtrl, &CopyCtrl::newDataGenerated, this, &Body::calculatedData);
    connect(m_copyCtrl, &CopyCtrl::message, this, &Body::report);

    // The relation map opens in a window of its own from a button beside the panels.
    m_relation = new RelationDispCtrl(m_dataCtrls, this);
    m_relation->setWindowFlag(Qt::Window);
    QPushButton *relation = RelationDispCtrl::makeLauncher(this);
    m_ui->PanelButtons->insertWidget(m_ui->PanelButtons->count() - 1, relation);
    connect(relation, &QPushButton::clicked, m_relation, &RelationDispCtrl::showWindow);
    connect(m_dataCtrls, &DataCtrls::selsChanged, m_relation, &RelationDispCtrl::selsChanged);
    connect(m_relation, &RelationDispCtrl::newDataGenerated, this, &Body::calculatedData);

    m_filterCtrl = new FilterCtrl(m_dataCtrls, m_ui->FilterFrame);
    m_ui->FilterLayout->addWidget(m_filterCtrl);
    m_ui->FilterFrame->setVisible(m_ui->Filter->isChecked());
    connect(m_ui->Filter, &QPushButton::toggled, m_ui->FilterFrame, &QWidget::setVisible);
    connect(m_filterCtrl, &FilterCtrl::newFilteredData, this, &Body::calculatedData);
    connect(m_filterCtrl, &FilterCtrl::filteringLine, this, &Body::noticedFilteringLine);
    connect(m_filterCtrl, &FilterCtrl::filterProcTime, this, &Body::noticedFilterProcTime);

    m_openDialog = new _FileDialog(tr("Load image files"), this);
    m_openDialog->setFileMode(QFileDialog::ExistingFiles);
    m_openDialog->setAcceptMode(QFileDialog::AcceptOpen);
    m_saveDialog = new _FileDialog(tr("Save"), this);
    m_saveDialog->setFileMode(QFileDialog::AnyFile);
    m_saveDialog->setAcceptMode(QFileDialog::AcceptSave);
    // The first filter, the one a new user sees, lists everything a reader takes.
    m_openDialog->setNameFilters(
        {tr("Images (*.zmp *.tif *.tiff *.img *.dat *.txt *.png *.jpg *.jpeg)"),
         tr("2D Data File (*.zmp)"), tr("Tiff Files (*.tif *.tiff)"), tr("IMG Files (*.img)"),
         tr("KWNB Files (*.dat)"), tr("Text Matrix Files (*.txt)"),
         tr("Picture Files (*.png *.jpg *.jpeg)"), tr("Any (* *.*)")});
    m_saveDialog->setNameFilters(
        {tr("2D Data File (*.zmp)"), tr("Img File (*.png *.jpg)"), tr("Any (* *.*)")});
    // A bare name gets the extension of the chosen kind; under Any it stays as typed.
    const auto suffixFor = [this](const QString &filter) {
        const QStringList kinds = m_saveDialog->nameFilters();
        m_saveDialog->setDefaultSuffix(filter == kinds.value(0)   ? QStringLiteral("zmp")
                                       : filter == kinds.value(1) ? QStringLiteral("png")
                                                                  : QString());
    };
    suffixFor(m_saveDialog->nameFilters().value(0));
    connect(m_saveDialog, &QFileDialog::filterSelected, this, suffixFor);

    connect(m_openDialog, &QFileDialog::filesSelected, this, &Body::loadFilesSelected);
    connect(this, &Body::loadNextFile, this, &Body::loadAFile, Qt::QueuedConnection);
    connect(m_saveDialog, &QFileDialog::fileSelected, this, &Body::saveFile);

    connect(m_ui->Load, &QPushButton::clicked, m_openDialog, &QWidget::show);
    connect(m_ui->Save, &QPushButton::clicked, m_saveDialog, &QWidget::show);
    connect(m_ui->ShowImgBase, &QPushButton::clicked, m_dataCtrls,
            qOverload<>(&DataCtrls::showImgBase));
    connect(m_ui->InTab, &QCheckBox::toggled, m_dataCtrls, &DataCtrls::inTab);
    connect(m_ui->DefaultColorScaleIsGrey, &QCheckBox::toggled, this, &Body::setDefaultColorScale);

    new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_O), this, m_openDialog, &QWidget::show);
    new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_S), this, m_saveDialog, &QWidget::show);
    // Quitting works from the image windows too; closing this window closes all others.
    new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this, this, &QWidget::close,
                  Qt::ApplicationShortcut);
    connect(m_ui->LCFA, &QPushButton::clicked, this, &Body::execLcfA);
}

Body::~Body()
{
    // Entries own displays that may be tabs of the image base: the list goes first.
    delete m_dataCtrls;
    m_dataCtrls = nullptr;
}

QSize Body::parseSize(const QString &text)
{
    const qsizetype x = text.indexOf(QLatin1Char('x'));
    if (x < 0) return QSize();
    bool okW = false, okH = false;
    const int w = text.left(x).toInt(&okW, 10);
    const int h = text.mid(x + 1).toInt(&okH, 10);
    if (!okW || !okH) return QSize();
    return QSize(w, h);
}

void Body::applyWindowSizes()
{
    ConfigStore &config = ConfigStore::instance();
    const QSize body = parseSize(config.value(
        QStringList{QStringLiteral("BodySize"), QStringLiteral("-bs")}, QStringLiteral("800x800")));
    if (body.isValid()) resize(body);
    const QSize base =
        parseSize(config.value(QStringList{QStringLiteral("ImgBaseSize"), QStringLiteral("-ibs")},
                               QStringLiteral("800x800")));
    if (base.isValid()) m_imgBase->resize(base);
}

void Body::setDefaultColorScale()
{
    // Applies to images loaded from now on; each display keeps its own switch.
}

void Body::loadFilesSelected(QStringList fnames)
{
    for (const QString &name : std::as_const(fnames))
        Q_EMIT loadNextFile(name);
}

void Body::loadAFile(QString fname)
{
    ImageLoader::Result result = ImageLoader::load(fname, &BadPixelList::processWide());
    if (!result.record) {
        report(tr("Cannot load %1: %2").arg(QFileInfo(fname).fileName(), result.error));
        return;
    }
    if (AppState::debug()) qDebug() << "loaded" << fname << "as" << result.format;
    statusBar()->showMessage(tr("Loaded %1").arg(QFileInfo(fname).fileName()), 5000);
    calculatedData(result.record.release());
}

void Body::calculatedData(TDDataWL *data)
{
    if (!data) return;
    // Kept all the same: an empty result is still a result, but it must not go unnoticed.
    if (data->validCount() == 0)
        report(tr("%1 has no valid pixel (check the regions and the formula)").arg(data->dataId()));
    m_dataCtrls->addData(data, m_ui->DefaultColorScaleIsGrey->isChecked());
    m_dataCtrls->showImgBase0();
    // A fresh peak list comes with a table of its points.
    if (PeakTable::hasFreshPeaks(*data)) {
        auto *table = new PeakTable(*data, this);
        connect(table, &PeakTable::message, this, &Body::report);
        table->show();
    }
}

void Body::noticedFilteringLine(int line)
{
    m_ui->FilteringLine->setText(QString::number(line));
}

void Body::noticedFilterProcTime(qint64 ms)
{
    m_ui->FilterElapsedTime->setText(QString::number(double(ms) / 1000.0, 'g', 6));
}

bool Body::saveRecord(TDDataWL *record, const QString &fileName)
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    bool ok = false;
    if (suffix == QLatin1String("png") || suffix == QLatin1String("jpg") ||
        suffix == QLatin1String("jpeg")) {
        // A picture saves the image as it is shown.
        ok = record->image() && QImageWriter(fileName).write(*record->image());
    } else {
        ok = record->save(fileName);
    }
    if (!ok) report(tr("Could not save %1").arg(fileName));
    return ok;
}

void Body::saveFile(QString fileName)
{
    if (fileName.isEmpty()) return;
    if (m_ui->SaveSingle->isChecked()) {
        for (int i = 0; i < m_dataCtrls->count(); ++i) {
            if (m_dataCtrls->at(i)->isS1()) {
                if (saveRecord(m_dataCtrls->record(i), fileName))
                    statusBar()->showMessage(tr("Saved %1").arg(fileName), 5000);
                return;
            }
        }
        report(tr("Nothing saved: no image is chosen as S1"));
        return;
    }
    const QDir dir = QFileInfo(fileName).absoluteDir();
    int saved = 0;
    for (int i = 0; i < m_dataCtrls->count(); ++i) {
        if (!m_dataCtrls->at(i)->isA()) continue;
        TDDataWL *record = m_dataCtrls->record(i);
        const QString name = dir.filePath(record->fileSafeId() + QStringLiteral(".zmp"));
        saved += saveRecord(record, name) ? 1 : 0;
    }
    statusBar()->showMessage(tr("Saved %n file(s)", nullptr, saved), 5000);
}

void Body::execLcfA()
{
    QList<int> selected;
    for (int i = 0; i < m_dataCtrls->count(); ++i)
        if (m_dataCtrls->at(i)->isA()) selected << i;
    if (selected.isEmpty()) {
        report(tr("LCF analysis: tick the images of the energy stack as A first"));
        return;
    }
    const QString name = QString::number(++m_lcfCount);
    auto *window = new LcfA(name, this);
    window->applyWindowSizes();
    for (int i : std::as_const(selected))
        window->addImage(*m_dataCtrls->record(i));
    auto *launcher = new QPushButton(QStringLiteral("LCFA %1").arg(name), this);
    launcher->setObjectName(QStringLiteral("LCFA_%1").arg(name));
    connect(launcher, &QPushButton::clicked, window, &LcfA::bringUp);
    connect(window, &LcfA::newFittedData, this, &Body::calculatedData);
    connect(m_dataCtrls, &DataCtrls::pointedAt, window, &LcfA::pointedAt);
    m_ui->LCFACalls->addWidget(launcher);
    m_lcfAs.append(window);
    window->show();
}

void Body::report(const QString &message)
{
    statusBar()->showMessage(message);
}

void Body::closeEvent(QCloseEvent *event)
{
    Q_EMIT finishing();
    QMainWindow::closeEvent(event);
}

void Body::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void Body::dropEvent(QDropEvent *event)
{
    QStringList files;
    for (const QUrl &url : event->mimeData()->urls())
        if (url.isLocalFile()) files << url.toLocalFile();
    if (!files.isEmpty()) {
        event->acceptProposedAction();
        loadFilesSelected(files);
    }
}
