#include "app/AppState.h"
#include "app/FDGroup.h"
#include "app/SelectImgDialog.h"
#include "app/SelectLoadFileDialog.h"
#include "app/_FileDialog.h"

#include <QAbstractItemView>
#include <QDir>
#include <QFile>
#include <QListView>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

// Exposes how many connections hang on the dialog's signals.
class CountingDialog : public _FileDialog
{
public:
    using _FileDialog::_FileDialog;
    int currentChangedReceivers() const { return receivers(SIGNAL(currentChanged(QString))); }
    int directoryEnteredReceivers() const { return receivers(SIGNAL(directoryEntered(QString))); }
};

QString canonical(const QString &dir)
{
    return QDir(dir).canonicalPath();
}

} // namespace

class TstFileDialogs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void dialogsStartInDataRootWithTheirFilters();
    void addingTwiceKeepsOneEntryAndOneConnection();
    void highlightingAFileMovesTheOthers();
    void enteredDirectoryIsFollowedCanonically();
    void destroyedDialogLeavesTheGroup();

private:
    QString makeDir(const QString &name);

    QTemporaryDir m_tmp;
    QString m_oldRoot;
};

QString TstFileDialogs::makeDir(const QString &name)
{
    const QString path = m_tmp.filePath(name);
    if (!QDir().mkpath(path)) return QString();
    return canonical(path);
}

void TstFileDialogs::initTestCase()
{
    QVERIFY(m_tmp.isValid());
    m_oldRoot = AppState::dataRoot();
}

void TstFileDialogs::cleanupTestCase()
{
    AppState::setDataRoot(m_oldRoot);
}

void TstFileDialogs::dialogsStartInDataRootWithTheirFilters()
{
    const QString root = makeDir(QStringLiteral("root"));
    QVERIFY(!root.isEmpty());
    AppState::setDataRoot(root);

    _FileDialog plain(QStringLiteral("Save Data"));
    QVERIFY(plain.testOption(QFileDialog::DontUseNativeDialog));
    QCOMPARE(plain.windowTitle(), QStringLiteral("Save Data"));
    QCOMPARE(canonical(plain.directory().absolutePath()), root);
    QVERIFY(!plain.isModal());

    SelectImgDialog single(true, QStringLiteral("one"));
    QCOMPARE(single.fileMode(), QFileDialog::ExistingFile);
    QCOMPARE(single.acceptMode(), QFileDialog::AcceptOpen);
    QCOMPARE(
        single.nameFilters(),
        QStringList({QStringLiteral("KWNB Files, IMG Files, Tiff Files (*.dat *.img *.tif *.tiff)"),
                     QStringLiteral("Any Files (* *.*)")}));
    // One file only: the file list itself refuses a second selection.
    const auto *singleList = single.findChild<QListView *>(QStringLiteral("listView"));
    QVERIFY(singleList);
    QCOMPARE(singleList->selectionMode(), QAbstractItemView::SingleSelection);

    SelectImgDialog several(false, QStringLiteral("many"));
    QCOMPARE(several.fileMode(), QFileDialog::ExistingFiles);
    const auto *severalList = several.findChild<QListView *>(QStringLiteral("listView"));
    QVERIFY(severalList);
    QCOMPARE(severalList->selectionMode(), QAbstractItemView::ExtendedSelection);

    SelectLoadFileDialog text(QStringLiteral("spectrum"));
    QCOMPARE(text.nameFilters(), QStringList({QStringLiteral("Text Files (*.txt *.dat *)"),
                                              QStringLiteral("Any Files (* *.*)")}));
}

void TstFileDialogs::addingTwiceKeepsOneEntryAndOneConnection()
{
    FDGroup group;
    CountingDialog a(QStringLiteral("a"));
    CountingDialog b(QStringLiteral("b"));
    const int baseCurrent = a.currentChangedReceivers();
    const int baseEntered = a.directoryEnteredReceivers();

    group.addDialog(&a);
    group.addDialog(&a);
    group.addDialog(&b);
    group.addDialog(&a);
    group.addDialog(nullptr);
    QCOMPARE(group.dialogs(), QList<QFileDialog *>({&a, &b}));
    QCOMPARE(a.currentChangedReceivers(), baseCurrent + 1);
    QCOMPARE(a.directoryEnteredReceivers(), baseEntered + 1);
    QCOMPARE(b.currentChangedReceivers(), baseCurrent + 1);
}

void TstFileDialogs::highlightingAFileMovesTheOthers()
{
    const QString here = makeDir(QStringLiteral("here"));
    const QString there = makeDir(QStringLiteral("there"));
    QFile file(here + QStringLiteral("/sample.tif"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    AppState::setDataRoot(there);

    SelectImgDialog a(false, QStringLiteral("a"));
    SelectImgDialog b(false, QStringLiteral("b"));
    SelectLoadFileDialog c(QStringLiteral("c"));
    FDGroup group;
    group.addDialog(&a);
    group.addDialog(&b);
    group.addDialog(&c);
    a.setDirectory(here);

    // A real click on the file in dialog a's list.
    a.show();
    auto *list = a.findChild<QListView *>(QStringLiteral("listView"));
    QVERIFY(list);
    QModelIndex item;
    QTRY_VERIFY([&] {
        const QAbstractItemModel *model = list->model();
        for (int r = 0; r < model->rowCount(list->rootIndex()); ++r) {
            const QModelIndex i = model->index(r, 0, list->rootIndex());
            if (i.data().toString() == QLatin1String("sample.tif")) {
                item = i;
                return true;
            }
        }
        return false;
    }());
    QSignalSpy highlighted(&a, &QFileDialog::currentChanged);
    const QRect rect = list->visualRect(item);
    QVERIFY(rect.isValid());
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    QCOMPARE(highlighted.count(), 1);
    QCOMPARE(canonical(QFileInfo(highlighted.first().first().toString()).path()), here);

    QCOMPARE(canonical(a.directory().absolutePath()), here);
    QCOMPARE(canonical(b.directory().absolutePath()), here);
    QCOMPARE(canonical(c.directory().absolutePath()), here);
}

void TstFileDialogs::enteredDirectoryIsFollowedCanonically()
{
    const QString target = makeDir(QStringLiteral("target"));
    const QString start = makeDir(QStringLiteral("start"));
    AppState::setDataRoot(start);
    const QString link = m_tmp.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(target, link));

    _FileDialog a(QStringLiteral("a"));
    _FileDialog b(QStringLiteral("b"));
    _FileDialog c(QStringLiteral("c"));
    FDGroup group;
    group.addDialog(&a);
    group.addDialog(&b);
    group.addDialog(&c);

    // Through a link and a "..": every dialog lands in the real directory.
    QVERIFY(QDir().mkpath(target + QStringLiteral("/sub")));
    emit b.directoryEntered(link + QStringLiteral("/sub/.."));
    for (const QFileDialog *d : {&a, &b, &c})
        QCOMPARE(d->directory().absolutePath(), target);

    // A highlighted file moves dialogs to the file's directory, not into the file.
    QFile file(target + QStringLiteral("/spectrum.dat"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    emit a.currentChanged(link + QStringLiteral("/spectrum.dat"));
    for (const QFileDialog *d : {&a, &b, &c})
        QCOMPARE(d->directory().absolutePath(), target);

    // Paths that lead nowhere move nothing.
    emit a.currentChanged(QString());
    emit a.directoryEntered(m_tmp.filePath(QStringLiteral("missing")));
    for (const QFileDialog *d : {&a, &b, &c})
        QCOMPARE(d->directory().absolutePath(), target);
}

void TstFileDialogs::destroyedDialogLeavesTheGroup()
{
    const QString start = makeDir(QStringLiteral("s"));
    const QString next = makeDir(QStringLiteral("n"));
    AppState::setDataRoot(start);

    FDGroup group;
    _FileDialog a(QStringLiteral("a"));
    auto b = std::make_unique<_FileDialog>(QStringLiteral("b"));
    _FileDialog c(QStringLiteral("c"));
    group.addDialog(&a);
    group.addDialog(b.get());
    group.addDialog(&c);

    b.reset();
    QCOMPARE(group.dialogs(), QList<QFileDialog *>({&a, &c}));
    emit a.directoryEntered(next);
    QCOMPARE(c.directory().absolutePath(), next);
}

QTEST_MAIN(TstFileDialogs)
#include "tst_filedialogs.moc"
