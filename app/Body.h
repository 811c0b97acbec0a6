#pragma once

#include <QMainWindow>
#include <QStringList>

#include <memory>

class CalcCtrl;
class CompositeCtrl;
class CopyCtrl;
class DataCtrls;
class FilterCtrl;
class ImgBase;
class RelationDispCtrl;
class LcfA;
class TDDataWL;
class Ui_Body;
class _FileDialog;

// The main window: owns the data list and the tabbed image window, loads files one per
// turn of the event loop and saves records.
class Body : public QMainWindow
{
    Q_OBJECT

public:
    explicit Body(QWidget *parent = nullptr);
    ~Body() override;

    DataCtrls *dataCtrls() const { return m_dataCtrls; }
    ImgBase *imgBase() const { return m_imgBase.get(); }
    _FileDialog *openDialog() const { return m_openDialog; }
    _FileDialog *saveDialog() const { return m_saveDialog; }
    CalcCtrl *calcCtrl() const { return m_calcCtrl; }
    CompositeCtrl *compositeCtrl() const { return m_compositeCtrl; }
    RelationDispCtrl *relationDispCtrl() const { return m_relation; }
    CopyCtrl *copyCtrl() const { return m_copyCtrl; }
    // The LCF analysis windows in the order they were opened.
    const QList<LcfA *> &lcfWindows() const { return m_lcfAs; }
    FilterCtrl *filterCtrl() const { return m_filterCtrl; }

    // "BodySize"/"-bs" for this window, "ImgBaseSize"/"-ibs" for the image window.
    void applyWindowSizes();
    // "800x600" -> 800 by 600; an empty or malformed text gives an invalid size.
    static QSize parseSize(const QString &text);

Q_SIGNALS:
    void finishing();
    void loadNextFile(QString fname);

public Q_SLOTS:
    void setDefaultColorScale();
    void loadAFile(QString fname);
    void loadFilesSelected(QStringList fnames);
    void calculatedData(TDDataWL *data);
    void noticedFilteringLine(int line);
    void noticedFilterProcTime(qint64 ms);
    void saveFile(QString fileName);
    void execLcfA();

protected:
    void closeEvent(QCloseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void report(const QString &message);
    bool saveRecord(TDDataWL *record, const QString &fileName);

    DataCtrls *m_dataCtrls = nullptr;
    std::unique_ptr<Ui_Body> m_ui;
    std::unique_ptr<ImgBase> m_imgBase;
    _FileDialog *m_openDialog = nullptr;
    _FileDialog *m_saveDialog = nullptr;
    CalcCtrl *m_calcCtrl = nullptr;
    CompositeCtrl *m_compositeCtrl = nullptr;
    RelationDispCtrl *m_relation = nullptr;
    CopyCtrl *m_copyCtrl = nullptr;
    QList<LcfA *> m_lcfAs;
    int m_lcfCount = 0;
    FilterCtrl *m_filterCtrl = nullptr;
};
