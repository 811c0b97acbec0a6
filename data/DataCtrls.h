#pragma once

#include <QList>
#include <QWidget>

class DataCtrl;
class ImgBase;
class QAbstractButton;
class QButtonGroup;
class QVBoxLayout;
class TDDataWL;

// The list of all loaded and derived images, one entry each in load order. Turns the
// entries' selection controls into one selection record: S1 and S2 (one image each, -1
// for none) and the A and B flags of every entry.
class DataCtrls : public QWidget
{
    Q_OBJECT

public:
    explicit DataCtrls(const QString &title, QWidget *parent = nullptr);
    ~DataCtrls() override;

    // The tabbed window the displays go to; its current tab focuses the matching entry.
    void setImgBase(ImgBase *base);
    ImgBase *imgBase() const { return m_base; }
    // Entries added from now on make their pictures only when their displays first show.
    void setRenderWhenShown(bool on) { m_renderWhenShown = on; }

    // Makes an entry for record (taking ownership), appends it and returns it.
    DataCtrl *addData(TDDataWL *record, bool grey = false);
    // Takes the entry out of the list; deletes it later when asked to.
    void removeDataCtrl(DataCtrl *entry, bool deleteLater = true);
    // Puts the entries in a new order: order[k] is the present index of the k-th entry.
    // Ignored unless order is a permutation of all indices.
    void reorder(const QList<int> &order);

    int count() const { return int(m_entries.size()); }
    DataCtrl *at(int i) const { return m_entries.at(i); }
    int indexOf(const DataCtrl *entry) const;
    TDDataWL *record(int i) const;
    bool isInTab() const { return m_inTab; }

Q_SIGNALS:
    void selsChanged(int selS1Idx, int selS2Idx, QList<bool> selsA, QList<bool> selsB);
    // The pixel the mouse points at in any entry's display, after every entry has marked it.
    void pointedAt(int ix, int iy);

private Q_SLOTS:
    void aCtrlFocused();
    void aTabRised(QWidget *imgDisp);
    void multiSelsChanged(bool);
    void singleSels1Changed(QAbstractButton *, bool);
    void singleSels2Changed(QAbstractButton *, bool);
    void selsChanged_();
    void noticedAt(int ix, int iy);
    void deleteAnDc();
    void comeBackADcToTab();
    void attentionADc();

public Q_SLOTS:
    void inTab(bool f);
    void showImgBase(bool f);
    void showImgBase();
    void showImgBase0();

private:
    void placeDisplay(DataCtrl *entry);
    void renumber();

    QList<DataCtrl *> m_entries;
    QVBoxLayout *m_layout = nullptr;
    QButtonGroup *m_s1 = nullptr;
    QButtonGroup *m_s2 = nullptr;
    ImgBase *m_base = nullptr;
    bool m_inTab = true;
    bool m_renderWhenShown = false;
};
