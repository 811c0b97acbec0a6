#pragma once

#include <QFrame>

#include <memory>

class _FileDialog;
class Ui_XafsFileSelect;

// Chooses one XAFS spectrum file: a "Use" switch, the chosen path and the Select and Clear
// buttons. Owns its file dialog (one existing file).
class XafsFileSelect : public QFrame
{
    Q_OBJECT

public:
    explicit XafsFileSelect(QWidget *parent = nullptr);
    ~XafsFileSelect() override;

    QString fileName() const;
    bool isUsed() const;
    _FileDialog *dialog() const { return m_dialog; }

Q_SIGNALS:
    void changedUse(bool use);
    void newFile(const QString &fname);
    void cleared();

public Q_SLOTS:
    // From the dialog: shows the path and passes it on as newFile.
    void fileSelected(const QString &fname);
    // Whether the shown path names a readable file now.
    bool fileNameValid() const;
    void showUse(bool f);
    void setMaxSelectBW(int w);
    void setMaxClearBW(int w);

private:
    void clear();

    std::unique_ptr<Ui_XafsFileSelect> m_ui;
    _FileDialog *m_dialog = nullptr;
};
