#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/controls/Button.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QStringList ButtonNames{u"Reproducción aleatoria"_s, u"Canción anterior"_s, u"Reproducir"_s,
    u"Canción siguiente"_s, u"Repetir canción"_s};

Button &button(const ViewFixture &f, const QString &name)
{
    Button *found = f.find<Button>(name);
    if (!found)
        qFatal("there is no button %s", qPrintable(name));
    return *found;
}

void click(Button &button)
{
    QTest::mouseClick(&button, Qt::LeftButton);
}

} // namespace

class TransportControlsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void buttonsStandInOrder()
    {
        const ViewFixture f;
        int right = 0;
        for (const QString &name : ButtonNames) {
            const QRect place = f.place(button(f, name));
            QVERIFY2(place.left() >= right, qPrintable(name));
            right = place.right();
        }
        QCOMPARE(f.place(button(f, ButtonNames.first())).left(), 30);
        QCOMPARE(f.place(button(f, ButtonNames.last())).right(), 720 - 30 - 1);
    }

    void onAnEmptyPlaylistTheyIgnoreClicksButKeepTheirTooltips()
    {
        ViewFixture f;
        for (const QString &name : ButtonNames) {
            QVERIFY2(!button(f, name).isEnabled(), qPrintable(name));
            QCOMPARE(button(f, name).toolTip(), name);
            click(button(f, name));
        }
        QVERIFY(!f.player.isShuffling());
        QVERIFY(!f.player.isRepeating());
        QVERIFY(!f.player.isPlaying());
    }

    void firstFileEnablesThem()
    {
        ViewFixture f;
        f.add("a");
        for (const QString &name : ButtonNames)
            QVERIFY2(button(f, name).isEnabled(), qPrintable(name));
        f.player.clearPlaylist();
        f.render();
        for (const QString &name : ButtonNames)
            QVERIFY2(!button(f, name).isEnabled(), qPrintable(name));
    }

    void disabledOneIsDrawnAtTwoFifths()
    {
        ViewFixture f;
        const QPoint circle = f.place(button(f, u"Reproducir"_s)).center() + QPoint(0, -24);
        const QPoint beside = circle - QPoint(0, 8);
        const auto lightness = [&f](
                                   QPoint at) { return f.view.grab().toImage().pixelColor(at).lightnessF(); };
        const double dimmed = lightness(circle);
        f.add("a");
        QVERIFY(std::abs(dimmed - (0.4 * lightness(circle) + 0.6 * lightness(beside))) < 0.02);
    }

    void shuffleAndRepeatFlipIndependently()
    {
        ViewFixture f;
        f.add("ab");
        click(button(f, u"Reproducción aleatoria"_s));
        f.render();
        QVERIFY(f.player.isShuffling());
        QVERIFY(!f.player.isRepeating());
        QVERIFY(button(f, u"Reproducción aleatoria"_s).isChecked());
        QVERIFY(!button(f, u"Repetir canción"_s).isChecked());

        click(button(f, u"Repetir canción"_s));
        click(button(f, u"Reproducción aleatoria"_s));
        f.render();
        QVERIFY(!f.player.isShuffling());
        QVERIFY(f.player.isRepeating());
        QVERIFY(!button(f, u"Reproducción aleatoria"_s).isChecked());
        QVERIFY(button(f, u"Repetir canción"_s).isChecked());
    }

    void activeLookFollowsTheStateWhoeverChangesIt()
    {
        ViewFixture f;
        f.add("a");
        Button &shuffle = button(f, u"Reproducción aleatoria"_s);
        const QImage plain = shuffle.grab().toImage();
        f.player.isShuffling = true;
        f.render();
        QVERIFY(shuffle.isChecked());
        QVERIFY(shuffle.grab().toImage() != plain);
        f.player.isShuffling = false;
        f.render();
        QCOMPARE(shuffle.grab().toImage(), plain);
    }

    void previousAndNextAreNeverActive()
    {
        ViewFixture f;
        f.add("ab");
        for (const QString &name : {u"Canción anterior"_s, u"Canción siguiente"_s}) {
            click(button(f, name));
            f.render();
            QVERIFY(!button(f, name).isCheckable());
        }
    }

    void playButtonTogglesAndSaysWhatItWillDo()
    {
        ViewFixture f;
        f.add("a");
        Button &play = button(f, u"Reproducir"_s);
        click(play);
        f.render();
        QVERIFY(f.player.isPlaying());
        QCOMPARE(play.toolTip(), u"Pausar"_s);
        QCOMPARE(play.accessibleName(), u"Pausar"_s);
        click(play);
        f.render();
        QVERIFY(!f.player.isPlaying());
        QCOMPARE(play.toolTip(), u"Reproducir"_s);
    }

    void heldReturnPressesOnce()
    {
        ViewFixture f;
        f.add("a");
        QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(&button(f, u"Repetir canción"_s), &held);
        QVERIFY(!f.player.isRepeating());
    }

    void previousAndNextChangeTheTrack()
    {
        ViewFixture f;
        f.add("abc");
        click(button(f, u"Canción siguiente"_s));
        QCOMPARE(f.current(), u"b"_s);
        click(button(f, u"Canción anterior"_s));
        QCOMPARE(f.current(), u"a"_s);
    }

    void returnPressesTheFocusedButtonAndSpaceDoesNot()
    {
        ViewFixture f;
        f.add("a");
        Button &repeat = button(f, u"Repetir canción"_s);
        QTest::keyClick(&repeat, Qt::Key_Space);
        QVERIFY(!f.player.isRepeating());
        QTest::keyClick(&repeat, Qt::Key_Return);
        QVERIFY(f.player.isRepeating());
    }
};

LUMAVERDINE_TEST(TransportControlsTest)
#include "TransportControlsTest.moc"
