#include "ui/ProgramStyle.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/app/AppFixture.h"
#include "ui/controls/Cover.h"
#include "ui/controls/SelectableLabel.h"

#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

/// The files that this process has in its memory, programs and libraries among them.
QByteArray mappedFiles()
{
    QFile maps(u"/proc/self/maps"_s);
    return maps.open(QIODevice::ReadOnly) ? maps.readAll() : QByteArray();
}

} // namespace

class ProgramStyleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isTheSamePlainOneWhateverStyleTheUserHasElsewhere()
    {
        if (!qEnvironmentVariableIsSet("QT_STYLE_OVERRIDE"))
            QSKIP("ctest sets another style for this test");
        QCOMPARE(QProxyStyle().baseStyle()->name(), u"windows"_s);
        QCOMPARE(ProgramStyle().baseStyle()->name(), u"fusion"_s);
    }

    void theEmptyWindowLoadsNoPictureFormats()
    {
        const AppFixture f;
        QVERIFY(QTest::qWaitForWindowExposed(&f.window));
        const QByteArray files = mappedFiles();
        QVERIFY(files.contains("libQt6Gui"));
        QVERIFY(!files.contains("/imageformats/"));
    }

    void allMenusFitIntoTheBarOfTheSmallestWindow()
    {
        const AppFixture f;
        f.window.resize(f.window.minimumSize());
        QVERIFY(QTest::qWaitForWindowExposed(&f.window));
        for (const QToolButton *overflow : f.window.menuBar().findChildren<QToolButton *>())
            QVERIFY(!overflow->isVisible());
        for (QAction *menu : f.window.menuBar().actions())
            QVERIFY(f.window.menuBar().rect().contains(f.window.menuBar().actionGeometry(menu)));
    }

    void nothingMovesIfTheUserWantsNoAnimations()
    {
        ProgramStyle style;
        const auto duration = [&] { return style.styleHint(QStyle::SH_Widget_Animation_Duration); };
        const int usual = duration();
        QVERIFY(usual > 0);
        style.setAnimated(false);
        QCOMPARE(duration(), 0);
        style.setAnimated(true);
        QCOMPARE(duration(), usual);
    }

    void coverFadesOnlyForUsersWhoWantAnimations()
    {
        CoverFiles files;
        AppFixture f;
        const auto &cover = *f.window.findChild<Cover *>();
        const auto showsTrack = [&](const QString &title, const QColor &picture) {
            Track track(QUrl(u"file:///music/a.mp3"_s));
            track.title = title;
            track.artwork = files.artwork(picture);
            f.player.load(track, false);
            const auto &shown = *f.window.findChild<SelectableLabel *>();
            return QTest::qWaitFor([&] { return shown.text() == title; });
        };
        f.app.follow({{}, false});
        QVERIFY(showsTrack(u"still"_s, Qt::red));
        QVERIFY(!cover.isFading());
        f.app.follow({{}, true});
        QVERIFY(showsTrack(u"moving"_s, Qt::blue));
        QTRY_VERIFY(cover.isFading());
    }

    void spaceBarChoosesAMenusEntry()
    {
        QVERIFY(ProgramStyle().styleHint(QStyle::SH_Menu_SpaceActivatesItem));
        QProxyStyle plain(u"Fusion"_s);
        QCOMPARE(ProgramStyle().styleHint(QStyle::SH_Menu_SubMenuPopupDelay),
            plain.styleHint(QStyle::SH_Menu_SubMenuPopupDelay));
    }

    void otherPicturesAreLeftAlone()
    {
        QVERIFY(!ProgramStyle().standardIcon(QStyle::SP_MessageBoxWarning, nullptr, nullptr).isNull());
    }
};

LUMAVERDINE_TEST(ProgramStyleTest)
#include "ProgramStyleTest.moc"
