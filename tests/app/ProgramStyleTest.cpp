#include "app/PlainMenuBarStyle.h"
#include "tests/app/AppFixture.h"

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

class PlainMenuBarStyleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setStyle(new PlainMenuBarStyle); }

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

    void nothingMovesWhereTheUserWantsNoAnimations()
    {
        PlainMenuBarStyle style;
        const auto duration = [&] { return style.styleHint(QStyle::SH_Widget_Animation_Duration); };
        const int usual = duration();
        QVERIFY(usual > 0);
        style.setAnimated(false);
        QCOMPARE(duration(), 0);
        style.setAnimated(true);
        QCOMPARE(duration(), usual);
    }

    void otherPicturesOfTheDesktopsStyleAreLeftAlone()
    {
        QVERIFY(!QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning).isNull());
    }
};

QTEST_MAIN(PlainMenuBarStyleTest)
#include "PlainMenuBarStyleTest.moc"
