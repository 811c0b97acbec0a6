#pragma once

#include <QPointer>
#include <QWidget>

#include <memory>

class QTabWidget;
class Ui_ImgBase;

// Gathers the image displays as closable, movable tabs. Closing a tab turns its display
// into a window of its own; the displays belong to their data entries, not to this window.
class ImgBase : public QWidget
{
    Q_OBJECT

public:
    explicit ImgBase(QWidget *parent = nullptr);
    ~ImgBase() override;

    QTabWidget *tabWidget() const;
    // Puts w (a tab page or a torn-out window) in a tab labelled label and makes it current.
    void addDisplay(QWidget *w, const QString &label);
    // The window this one opens beside the first time it is shown.
    void setHomeWindow(QWidget *home) { m_home = home; }

signals:
    void currentChanged(QWidget *w);

private slots:
    void closeTab(int idx);
    void currentChanged0(int idx);

public slots:
    void setCurrentWidget(QWidget *w);

protected:
    void showEvent(QShowEvent *e) override;

private:
    std::unique_ptr<Ui_ImgBase> m_ui;
    QPointer<QWidget> m_home;
    bool m_placed = false;
};
