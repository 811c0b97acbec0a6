#include "xafs/XafsFileSelect.h"

#include "app/_FileDialog.h"

#include "ui_XafsFileSelect.h"

#include <QFileInfo>

XafsFileSelect::XafsFileSelect(QWidget *parent)
    : QFrame(parent), m_ui(std::make_unique<Ui_XafsFileSelect>())
{
    m_ui->setupUi(this);
    m_dialog = new _FileDialog(tr("Select an XAFS spectrum"), this);
    m_dialog->setAcceptMode(QFileDialog::AcceptOpen);
    m_dialog->setFileMode(QFileDialog::ExistingFile);
    m_dialog->setNameFilters({tr("XAFS Data File (*.dat)"), tr("Any Files (* *.*)")});

    connect(m_ui->Select, &QPushButton::clicked, m_dialog, &QWidget::show);
    connect(m_dialog, &QFileDialog::fileSelected, this, &XafsFileSelect::fileSelected);
    connect(m_ui->Use, &QCheckBox::toggled, this, &XafsFileSelect::changedUse);
    connect(m_ui->Clear, &QPushButton::clicked, this, &XafsFileSelect::clear);
}

XafsFileSelect::~XafsFileSelect() = default;

QString XafsFileSelect::fileName() const
{
    return m_ui->Selected->text();
}

bool XafsFileSelect::isUsed() const
{
    return m_ui->Use->isChecked();
}

void XafsFileSelect::fileSelected(const QString &fname)
{
    m_ui->Selected->setText(fname);
    m_ui->Selected->setToolTip(fname);
    m_ui->Selected->setCursorPosition(0);
    Q_EMIT newFile(fname);
}

bool XafsFileSelect::fileNameValid() const
{
    const QFileInfo info(fileName());
    return !fileName().isEmpty() && info.isFile() && info.isReadable();
}

void XafsFileSelect::showUse(bool f)
{
    m_ui->Use->setVisible(f);
}

void XafsFileSelect::setMaxSelectBW(int w)
{
    m_ui->Select->setMaximumWidth(w);
}

void XafsFileSelect::setMaxClearBW(int w)
{
    m_ui->Clear->setMaximumWidth(w);
}

void XafsFileSelect::clear()
{
    m_ui->Selected->clear();
    m_ui->Selected->setToolTip(QString());
    Q_EMIT cleared();
}
