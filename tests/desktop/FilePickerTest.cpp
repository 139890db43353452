#include "desktop/FilePicker.h"

#include "desktop/AudioFileDialog.h"
#include "tests/TestProgram.h"
#include "tests/files/FakeSandbox.h"

#include <QApplication>
#include <QCompleter>
#include <QDialogButtonBox>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeView>
#include <atomic>
#include <malloc.h>
#include <memory>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QStringList everythingBelow(const QString &folder)
{
    QStringList paths;
    QDirIterator files(
        folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (files.hasNext())
        paths.append(files.next());
    paths.sort();
    return paths;
}

int trims = 0; // of the heap

/// What a look for a file meets. Never destroyed: one that is not answered waits until the process is gone.
struct Medium {
    QByteArray folder;
    std::atomic<bool> isSilent = false; ///< in this folder
};

Medium &medium()
{
    static auto *const instance = new Medium;
    return *instance;
}

} // namespace

// In place of the system's own.

extern "C" __attribute__((visibility("default"))) int malloc_trim(size_t) noexcept
{
    return ++trims;
}

extern "C" __attribute__((visibility("default"))) int statx(
    int folder, const char *path, int flags, unsigned mask, struct statx *status) noexcept
{
    if (medium().folder == path)
        medium().isSilent.wait(true);
    return int(syscall(SYS_statx, folder, path, flags, mask, status));
}

class FilePickerTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_home;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<FilePicker> m_picker;
    QList<Result<QList<QUrl>>> m_results;
    QStringList m_events;

    [[nodiscard]] QString path(const QString &name) const { return m_home.filePath(u"Music/"_s + name); }
    [[nodiscard]] QUrl url(const QString &name) const { return QUrl::fromLocalFile(path(name)); }

    void addFile(const QString &name) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

    [[nodiscard]] AudioFileDialog *dialog() const { return m_window->findChild<AudioFileDialog *>(); }

    void open()
    {
        m_picker->open();
        QTRY_VERIFY(dialog() && dialog()->isVisible());
    }

    void type(const QString &text)
    {
        auto *nameField = dialog()->findChild<QLineEdit *>(u"fileNameEdit"_s);
        QVERIFY(nameField);
        dialog()->activateWindow();
        QTRY_VERIFY(nameField->hasFocus());
        nameField->clear();
        QTest::keyClicks(nameField, text);
        QTest::keyClick(nameField, Qt::Key_Return);
    }

    void choose(const QString &text)
    {
        open();
        type(text);
        QTRY_VERIFY(m_events.endsWith(u"closed"_s));
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("HOME", m_home.path().toUtf8());
        qunsetenv("XDG_CONFIG_HOME");
        medium().folder = m_home.filePath(u"Music"_s).toUtf8();
        QVERIFY(QDir(m_home.path()).mkpath(u"Music/other"_s));
        for (const auto &name : {u"a.mp3"_s, u"b.mp3"_s, u"picture.jpg"_s, u"other/c.flac"_s})
            addFile(name);
    }

    void init()
    {
        m_window = std::make_unique<QWidget>();
        m_window->show();
        m_picker = std::make_unique<FilePicker>(*m_window);
        m_results.clear();
        m_events.clear();
        connect(m_picker.get(), &FilePicker::completed, this, [this](const Result<QList<QUrl>> &result) {
            m_results.append(result);
            m_events.append(u"completed"_s);
        });
        connect(m_picker.get(), &FilePicker::closed, this, [this] { m_events.append(u"closed"_s); });
    }

    void cleanup()
    {
        m_picker.reset();
        m_window.reset();
    }

    void startsInTheMusicFolderElseAtHome()
    {
        open();
        QCOMPARE(dialog()->directoryUrl(), QUrl::fromLocalFile(m_home.filePath(u"Music"_s)));
        m_picker->close();
        QVERIFY(QDir(m_home.path()).rename(u"Music"_s, u"Elsewhere"_s));
        open();
        const QUrl folder = dialog()->directoryUrl();
        QVERIFY(QDir(m_home.path()).rename(u"Elsewhere"_s, u"Music"_s));
        QCOMPARE(folder, QUrl::fromLocalFile(m_home.path()));
    }

    void startsAtHomeIfTheMusicFolderDoesNotAnswer()
    {
        medium().isSilent = true;
        open();
        const QUrl folder = dialog()->directoryUrl();
        medium().isSilent = false;
        medium().isSilent.notify_all();
        QCOMPARE(folder, QUrl::fromLocalFile(m_home.path()));
        const auto opensInTheMusicFolder = [this] {
            m_picker->close();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            open();
            return dialog()->directoryUrl() == QUrl::fromLocalFile(m_home.filePath(u"Music"_s));
        };
        QTRY_VERIFY(opensInTheMusicFolder());
    }

    void noDialogIsShownInsideASandbox()
    {
        const FakeSandbox sandbox;
        m_picker->open();
        QTRY_COMPARE(m_events, QStringList({u"completed"_s, u"closed"_s}));
        QVERIFY(!dialog());
        QCOMPARE(m_results.first().error().description,
            u"El selector de archivos del escritorio no está disponible."_s);
    }

    void returnsTheMemoryOfTheDialog()
    {
        open();
        trims = 0;
        m_picker->close();
        QTRY_COMPARE(trims, 1);
    }

    void deliversSeveralFilesAtOnceThenCloses()
    {
        choose(u"\"b.mp3\" \"a.mp3\""_s);
        QCOMPARE(m_events, QStringList({u"completed"_s, u"closed"_s}));
        QCOMPARE(m_results.first().value(), QList<QUrl>({url(u"b.mp3"_s), url(u"a.mp3"_s)}));
    }

    void deliversATypedPath()
    {
        choose(path(u"other/c.flac"_s));
        QCOMPARE(m_results.first().value(), QList<QUrl>({url(u"other/c.flac"_s)}));
    }

    void cancelClosesWithoutAResult()
    {
        open();
        QTest::keyClick(dialog(), Qt::Key_Escape);
        QTRY_COMPARE(m_events, QStringList({u"closed"_s}));
    }

    void closeIsACancel()
    {
        open();
        m_picker->close();
        QCOMPARE(m_events, QStringList({u"closed"_s}));
        m_picker->close();
        QCOMPARE(m_events, QStringList({u"closed"_s}));
    }

    void openWhileShowingKeepsTheOneDialog()
    {
        open();
        const AudioFileDialog *first = dialog();
        m_picker->open();
        QCOMPARE(m_window->findChildren<AudioFileDialog *>(), QList<AudioFileDialog *>({dialog()}));
        QCOMPARE(dialog(), first);
        QVERIFY(m_events.isEmpty());
        m_window->activateWindow();
        QTRY_VERIFY(m_window->isActiveWindow());
        QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()"); // which it is asked to do
        m_picker->open();
        QTRY_VERIFY(dialog()->isActiveWindow());
    }

    void doesNotBlockTheWindow()
    {
        open();
        QCOMPARE(dialog()->windowModality(), Qt::NonModal);
        QCOMPARE(dialog()->windowTitle(), u"Añadir música"_s);
        QVERIFY(dialog()->testOption(QFileDialog::HideNameFilterDetails));
        QVERIFY(dialog()->testOption(QFileDialog::ReadOnly));
        QCOMPARE(dialog()->fileMode(), QFileDialog::ExistingFiles);
        QVERIFY(!dialog()->findChild<QLineEdit *>(u"fileNameEdit"_s)->completer());
    }

    void dialogGoesWithItsPicker()
    {
        open();
        m_picker.reset();
        QVERIFY(!dialog());
    }

    void opensAgainInTheFolderOfTheFirstFileOfTheLastChoice()
    {
        choose(u"\"%1\" \"%2\""_s.arg(url(u"other/c.flac"_s).toString(), url(u"a.mp3"_s).toString()));
        open();
        QCOMPARE(QDir(dialog()->directoryUrl().toLocalFile()), QDir(path(u"other"_s)));
        type(u"c.flac"_s);
        QTRY_COMPARE(m_results.size(), 2);
        QCOMPARE(m_results.last().value(), QList<QUrl>({url(u"other/c.flac"_s)}));
    }

    void addressOfAnotherMachineIsAnErrorThatNamesIt()
    {
        choose(u"smb://server/a.mp3"_s);
        QCOMPARE(m_events, QStringList({u"completed"_s, u"closed"_s}));
        QVERIFY(m_results.first().isError());
        QCOMPARE(m_results.first().error().description,
            u"«smb://server/a.mp3» no es un archivo de este equipo."_s);
    }

    void fileAddressOfAnotherMachineIsAnErrorToo()
    {
        choose(u"file://server/m/a.mp3"_s);
        QVERIFY(m_results.first().isError());
    }

    void oneAddressOfAnotherMachineFailsTheWholeChoice()
    {
        choose(u"\"file:///m/a.mp3\" \"sftp://host/b.mp3\""_s);
        QVERIFY(m_results.first().isError());
        QVERIFY(m_results.first().error().description.contains(u"sftp://host/b.mp3"_s));
    }

    void startsAnewAfterAnAddressOfAnotherMachine()
    {
        choose(u"smb://server/a.mp3"_s);
        open();
        QCOMPARE(dialog()->directoryUrl(), QUrl::fromLocalFile(m_home.filePath(u"Music"_s)));
    }

    void textsAreAddressesOrNames_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("addresses");
        const QStringList none;
        QTest::newRow("nothing") << u""_s << none;
        QTest::newRow("name") << u"a.mp3"_s << none;
        QTest::newRow("path") << u"/m/a.mp3"_s << none;
        QTest::newRow("time") << u"12:30"_s << none;
        QTest::newRow("scheme alone") << u"smb://"_s << none;
        QTest::newRow("in capitals") << u"SMB://server/a"_s << QStringList{u"smb://server/a"_s};
        QTest::newRow("odd scheme") << u"svn+ssh.2-x://server/a"_s
                                    << QStringList{u"svn+ssh.2-x://server/a"_s};
        QTest::newRow("blanks around it") << u" file:///a b "_s << QStringList{u"file:///a%20b"_s};
        QTest::newRow("several") << u" \"file:///a\"  \"file:///b\" "_s
                                 << QStringList{u"file:///a"_s, u"file:///b"_s};
        QTest::newRow("quotation mark inside") << u"file:///7\" b"_s << QStringList{u"file:///7%22%20b"_s};
        QTest::newRow("a name among them") << u"\"file:///a\" \"b\""_s << none;
    }

    void textsAreAddressesOrNames()
    {
        QFETCH(const QString, text);
        QStringList addresses;
        for (const QUrl &address : typedAddresses(text))
            addresses.append(address.toString(QUrl::FullyEncoded));
        QTEST(addresses, "addresses");
    }

    void typedFileAddressIsDeliveredAsItIs()
    {
        choose(u"file:///m/%FF%23.mp3"_s);
        QCOMPARE(m_results.first().value(), QList<QUrl>({QUrl(u"file:///m/%FF%23.mp3"_s)}));
        QCOMPARE(m_results.first().value().first().toEncoded(), "file:///m/%FF%23.mp3");
    }

    void nameOfNoFileKeepsTheDialogOpen()
    {
        open();
        bool wasReported = false;
        QTimer whileReporting;
        whileReporting.callOnTimeout([&wasReported] {
            if (auto *report = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                wasReported = report->text().contains(u"missing.mp3"_s);
                report->close();
            }
        });
        whileReporting.start(10);
        type(u"missing.mp3"_s);
        QTRY_VERIFY(wasReported);
        QVERIFY(dialog()->isVisible());
        QVERIFY(m_events.isEmpty());
    }

    void openButtonTakesAnAddress()
    {
        open();
        auto *button =
            dialog()->findChild<QDialogButtonBox *>(u"buttonBox"_s)->button(QDialogButtonBox::Open);
        auto *nameField = dialog()->findChild<QLineEdit *>(u"fileNameEdit"_s);
        QTest::keyClicks(nameField, u"missing.mp3"_s);
        QVERIFY(!button->isEnabled());
        for (const QString &address :
            {u"smb://server/a.mp3"_s, u"\"file:///m/b.mp3\" \"file:///m/a.mp3\""_s, u"file:///m/a.mp3"_s}) {
            nameField->clear();
            QTest::keyClicks(nameField, address);
            QVERIFY2(button->isEnabled(), qPrintable(address));
        }
        button->click();
        QTRY_COMPARE(m_results.size(), 1);
        QCOMPARE(m_results.first().value(), QList<QUrl>({QUrl(u"file:///m/a.mp3"_s)}));
    }

    void theOneFilterHoldsWhatIsPlayedAndNothingElse()
    {
        open();
        QCOMPARE(dialog()->nameFilters().size(), 1);
        const QString filter = dialog()->nameFilters().first();
        QVERIFY(filter.startsWith(u"Archivos de audio (*."_s) && filter.endsWith(u')'));
        const QStringList globs = filter.sliced(filter.indexOf(u'(') + 1).chopped(1).split(u' ');
        const QStringList pictures{u"bmp"_s, u"gif"_s, u"jpg"_s, u"png"_s, u"webp"_s};
        const QDir samples(QStringLiteral(TEST_MEDIA));
        for (const QString &name : samples.entryList({u"*.*"_s}, QDir::Files)) {
            const QString ending = QFileInfo(name).suffix();
            QVERIFY2(globs.contains(u"*."_s + ending) != pictures.contains(ending), qPrintable(name));
        }
        for (const auto &ending : {u"aifc"_s, u"au"_s, u"amr"_s, u"m4b"_s, u"mp2"_s, u"w64"_s})
            QVERIFY2(globs.contains(u"*."_s + ending), qPrintable(ending));
        for (const auto &ending : {u"mp4"_s, u"mkv"_s, u"txt"_s, u"m3u"_s, u"mid"_s})
            QVERIFY2(!globs.contains(u"*."_s + ending), qPrintable(ending));
        QCOMPARE(QSet<QString>(globs.begin(), globs.end()).size(), globs.size());
    }

    void namesHaveTheRoomAndMusicIsAtTheSide()
    {
        open();
        QCOMPARE(dialog()->size(), QSize(860, 560));
        QVERIFY(dialog()->sidebarUrls().contains(QUrl::fromLocalFile(m_home.filePath(u"Music"_s))));
        const auto &list = *dialog()->findChild<QTreeView *>();
        QVERIFY(list.columnWidth(0) > list.viewport()->width() / 3);
        for (const int width : {1000, 900}) {
            const int others = list.header()->length() - list.columnWidth(0);
            dialog()->resize(width, 560);
            QTRY_COMPARE(list.columnWidth(0), list.viewport()->width() - others);
        }
    }

    void thousandsOfFilesAreSelectedByKeysAndOpened()
    {
        QVERIFY(QDir(path({})).mkpath(u"many/below"_s));
        const auto name = [this](int i) {
            return path(u"many/%1 with the long name of a track.MP3"_s.arg(i, 4));
        };
        for (int i = 0; i < 3000; ++i) // a link takes less time than a file
            QCOMPARE(link(qPrintable(path(u"a.mp3"_s)), qPrintable(name(i))), 0);
        choose(name(0)); // so that it opens in this folder
        m_results.clear();
        open();
        auto *list = dialog()->findChild<QTreeView *>();
        QTRY_COMPARE(list->model()->rowCount(list->rootIndex()), 3001);
        QElapsedTimer clock;
        clock.start();
        list->setFocus();
        // The keyboard is on the folder.
        list->setCurrentIndex(
            list->model()
                ->match(list->model()->index(0, 0, list->rootIndex()), Qt::DisplayRole, u"below"_s)
                .value(0));
        QTest::keyClick(list, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(list, Qt::Key_Return);
        QTRY_VERIFY(!m_results.isEmpty());
        QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(m_results.first().value().size(), 3000);
    }

    void aTypedPathOfAFileThatIsListedIsDelivered()
    {
        choose(path(u"b.mp3"_s));
        open();
        type(path(u"a.mp3"_s));
        QTRY_COMPARE(m_results.size(), 2);
        QCOMPARE(m_results.last().value(), QList<QUrl>({url(u"a.mp3"_s)}));
    }

    void listingAFolderReadsNoFile()
    {
        addFile(u"unknown"_s);
        const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        for (const auto &name : {u"a.mp3"_s, u"picture.jpg"_s, u"unknown"_s})
            QVERIFY(inotify_add_watch(watch, path(name).toUtf8().constData(), IN_OPEN) >= 0);
        open();
        const auto *list = dialog()->findChild<QTreeView *>();
        QTRY_VERIFY(list && list->model()->rowCount(list->rootIndex()) >= 3);
        // Looked up each time: rows change their places until the list is sorted.
        const auto firstType = [&] {
            return list->model()->index(0, 2, list->rootIndex()).data().toString();
        };
        QTRY_COMPARE(firstType(), u"Carpeta"_s);
        char events[4096];
        QCOMPARE(read(watch, events, sizeof events), -1);
        close(watch);
        QVERIFY(QFile::remove(path(u"unknown"_s)));
    }

    void typesAndIconsGoByTheName()
    {
        const NameOnlyIconProvider icons;
        QCOMPARE(icons.type(QFileInfo(u"a.mp3"_s)), u"Archivo MP3"_s);
        const auto picture = [](const QIcon &icon) { return icon.pixmap(16).toImage(); };
        QCOMPARE(picture(icons.icon(QFileInfo(u"a.mp3"_s))), picture(icons.icon(QFileIconProvider::File)));
        QVERIFY(
            picture(icons.icon(QFileInfo(u"a.mp3"_s))) != picture(icons.icon(QFileInfo(path(u"other"_s)))));
    }

    void writesNothingToTheHome()
    {
        const QStringList before = everythingBelow(m_home.path());
        QVERIFY(!before.contains(m_home.filePath(u".config"_s))); // by any earlier one either
        choose(u"a.mp3"_s);
        cleanup();
        QCOMPARE(everythingBelow(m_home.path()), before);
    }
};

LUMAVERDINE_TEST(FilePickerTest)
#include "FilePickerTest.moc"
