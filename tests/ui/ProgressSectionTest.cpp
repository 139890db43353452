#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/controls/Button.h"
#include "ui/controls/MenuButton.h"
#include "ui/controls/Slider.h"
#include "ui/controls/SymbolView.h"

#include <QAccessible>

using namespace Qt::StringLiterals;

namespace {

Slider &seekBar(const ViewFixture &f)
{
    return *f.find<Slider>(u"Posición"_s);
}

Slider &volumeSlider(const ViewFixture &f)
{
    return *f.find<Slider>(u"Volumen"_s);
}

/// The two time labels: elapsed and total.
QStringList times(const ViewFixture &f)
{
    return f.texts().sliced(4, 2);
}

QString percentage(const ViewFixture &f)
{
    return f.texts().at(6);
}

QString speaker(const ViewFixture &f)
{
    for (const SymbolView *view : f.view.findChildren<SymbolView *>()) {
        if (view->symbol().startsWith(u"speaker"))
            return view->symbol();
    }
    return {};
}

/// Where the slider's groove stands for `fraction` of its range.
QPoint at(const Slider &slider, double fraction)
{
    return {qRound(7 + fraction * (slider.width() - 14)), slider.height() / 2};
}

} // namespace

class ProgressSectionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutATrackTheBarIsDisabledOverAValidRange()
    {
        const ViewFixture f;
        QVERIFY(!seekBar(f).isEnabled());
        QCOMPARE(seekBar(f).maximum(), 0.01);
        QCOMPARE(times(f), QStringList({u"0:00"_s, u"0:00"_s}));
    }

    void barAndLabelsFollowTheTrack()
    {
        ViewFixture f;
        f.platform.nextDuration = 185;
        f.add("a");
        f.player.currentTime = 62.9;
        f.render();
        QVERIFY(seekBar(f).isEnabled());
        QCOMPARE(seekBar(f).maximum(), 185);
        QCOMPARE(seekBar(f).value(), 62.9);
        QCOMPARE(times(f), QStringList({u"1:02"_s, u"3:05"_s}));
    }

    void draggingSeeksOnceOnRelease()
    {
        ViewFixture f;
        f.add("a");
        f.player.play();
        f.render();
        QTest::mousePress(&seekBar(f), Qt::LeftButton, {}, at(seekBar(f), 0.2));
        QTest::mouseMove(&seekBar(f), at(seekBar(f), 0.5));
        f.render();
        QCOMPARE(times(f).first(), u"0:50"_s);
        QCOMPARE(f.player.currentTime(), 0);
        QCOMPARE(f.platform.latest().currentTime, 0);

        QTest::mouseRelease(&seekBar(f), Qt::LeftButton, {}, at(seekBar(f), 0.5));
        QCOMPARE(qRound(f.platform.latest().currentTime), 50);
        QCOMPARE(qRound(f.player.currentTime()), 50);
        QVERIFY(f.player.isPlaying());
        f.render();
        QCOMPARE(times(f).first(), u"0:50"_s);
        QCOMPARE(seekBar(f).value(), f.player.currentTime());
    }

    void progressMovesNeitherThumbNorLabelWhileHeld()
    {
        ViewFixture f;
        f.add("a");
        QTest::mousePress(&seekBar(f), Qt::LeftButton, {}, at(seekBar(f), 0.3));
        const double held = seekBar(f).value();
        f.player.currentTime = 77;
        f.render();
        QCOMPARE(seekBar(f).value(), held);
        QCOMPARE(times(f).first(), PlayerManager::formattedTime(held));
        QTest::mouseRelease(&seekBar(f), Qt::LeftButton, {}, at(seekBar(f), 0.3));
    }

    void holdingTheThumbStillStaysWhereItPlays()
    {
        ViewFixture f;
        f.add("a");
        f.player.currentTime = 50;
        f.render();
        QTest::mouseClick(&seekBar(f), Qt::LeftButton, {}, at(seekBar(f), 0.5));
        QCOMPARE(f.player.currentTime(), 50);
    }

    void everyKeySeeksOnce()
    {
        ViewFixture f;
        f.add("a");
        QTest::keyClick(&seekBar(f), Qt::Key_Right);
        QTest::keyClick(&seekBar(f), Qt::Key_PageUp);
        QCOMPARE(f.platform.latest().currentTime, 35);
        QTest::keyClick(&seekBar(f), Qt::Key_Left);
        QCOMPARE(f.player.currentTime(), 30);
        f.render();
        QCOMPARE(seekBar(f).value(), 30);
    }

    void releaseBeyondAStaleLengthIsClamped()
    {
        ViewFixture f;
        f.add("a");
        f.platform.latest().duration = 40;
        QTest::mouseClick(&seekBar(f), Qt::LeftButton, {}, at(seekBar(f), 0.9));
        QCOMPARE(f.player.currentTime(), 40);
        f.render();
        QCOMPARE(seekBar(f).value(), 40);
    }

    void thumbReturnsWhereSeekingGetsNowhere()
    {
        ViewFixture f;
        f.add("a");
        f.platform.latest().duration = 0;
        QTest::mouseClick(&seekBar(f), Qt::LeftButton, {}, at(seekBar(f), 0.9));
        f.render();
        QCOMPARE(seekBar(f).value(), 0);
    }

    void trackRemovedWhileHeldLeavesTheBarToTheNextOne()
    {
        ViewFixture f;
        f.add("a");
        QTest::mousePress(&seekBar(f), Qt::LeftButton, {}, at(seekBar(f), 0.5));
        f.player.removeTrack(f.track(0));
        f.render();
        QVERIFY(!seekBar(f).isEnabled());
        QTest::mouseRelease(&seekBar(f), Qt::LeftButton, {}, at(seekBar(f), 0.5));

        f.add("b");
        f.player.currentTime = 12;
        f.render();
        QCOMPARE(seekBar(f).value(), 12);
        QCOMPARE(times(f).first(), u"0:12"_s);
    }

    void volumeIsShownCutAndBySymbol_data()
    {
        QTest::addColumn<double>("volume");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("text");
        QTest::newRow("silence") << 0.0 << u"speaker.slash.fill"_s << u"0 %"_s;
        QTest::newRow("least") << 0.001 << u"speaker.wave.1.fill"_s << u"0 %"_s;
        QTest::newRow("cut") << 0.29 << u"speaker.wave.1.fill"_s << u"28 %"_s;
        QTest::newRow("below two waves") << 0.3399 << u"speaker.wave.1.fill"_s << u"33 %"_s;
        QTest::newRow("two waves") << 0.34 << u"speaker.wave.2.fill"_s << u"34 %"_s;
        QTest::newRow("below three waves") << 0.6699 << u"speaker.wave.2.fill"_s << u"66 %"_s;
        QTest::newRow("three waves") << 0.67 << u"speaker.wave.3.fill"_s << u"67 %"_s;
        QTest::newRow("start") << 0.75 << u"speaker.wave.3.fill"_s << u"75 %"_s;
        QTest::newRow("not rounded") << 0.755 << u"speaker.wave.3.fill"_s << u"75 %"_s;
        QTest::newRow("full") << 1.0 << u"speaker.wave.3.fill"_s << u"100 %"_s;
        QTest::newRow("negative") << -0.1 << u"speaker.wave.3.fill"_s << u"-10 %"_s;
    }

    void volumeIsShownCutAndBySymbol()
    {
        QFETCH(const double, volume);
        ViewFixture f;
        f.player.volume = volume;
        f.render();
        QTEST(speaker(f), "symbol");
        QTEST(percentage(f), "text");
        QCOMPARE(volumeSlider(f).value() / 100, volume);
    }

    void volumeSliderWritesAtEveryMovement()
    {
        ViewFixture f;
        f.add("a");
        QTest::mousePress(&volumeSlider(f), Qt::LeftButton, {}, at(volumeSlider(f), 0.25));
        QVERIFY(std::abs(f.player.volume() - 0.25) < 0.01);
        QTest::mouseMove(&volumeSlider(f), at(volumeSlider(f), 1));
        QCOMPARE(f.player.volume(), 1);
        QCOMPARE(f.platform.latest().volume, 1.0F);
        QTest::mouseRelease(&volumeSlider(f), Qt::LeftButton, {}, at(volumeSlider(f), 1));
        QCOMPARE(volumeSlider(f).toolTip(), u"Volumen"_s);
        QCOMPARE(volumeSlider(f).width(), 145);
    }

    void volumeKeysStayInTheRange()
    {
        ViewFixture f;
        QTest::keyClick(&volumeSlider(f), Qt::Key_End);
        QTest::keyClick(&volumeSlider(f), Qt::Key_Right);
        QCOMPARE(f.player.volume(), 1);
        QTest::keyClick(&volumeSlider(f), Qt::Key_Home);
        QTest::keyClick(&volumeSlider(f), Qt::Key_Left);
        QCOMPARE(f.player.volume(), 0);
    }

    void volumeKeysMoveItByTwentiethsAndFifths()
    {
        ViewFixture f;
        QTest::keyClick(&volumeSlider(f), Qt::Key_Right);
        QCOMPARE(f.player.volume(), 0.8);
        QTest::keyClick(&volumeSlider(f), Qt::Key_PageDown);
        QCOMPARE(f.player.volume(), 0.6);
    }

    void volumeIsReadInHundredths()
    {
        ViewFixture f;
        QAccessibleInterface *slider = QAccessible::queryAccessibleInterface(&volumeSlider(f));
        QAccessibleValueInterface &value = *slider->valueInterface();
        QCOMPARE(value.currentValue().toDouble(), 75);
        QCOMPARE(value.maximumValue().toDouble(), 100);
        QCOMPARE(value.minimumStepSize().toDouble(), 5);
        value.setCurrentValue(50);
        QCOMPARE(f.player.volume(), 0.5);
        QCOMPARE(slider->text(QAccessible::Description), QString());
    }

    void optionsMenuClearsThePlaylistAtOnce()
    {
        ViewFixture f;
        auto &options = *f.find<MenuButton>(u"Más opciones"_s);
        QCOMPARE(options.size(), QSize(20, 24));
        QCOMPARE(options.menu().actions().size(), 1);
        QAction &clear = *options.menu().actions().first();
        QCOMPARE(clear.text(), u"Eliminar todas las canciones"_s);
        QVERIFY(!clear.isEnabled());
        f.add("abc");
        QVERIFY(clear.isEnabled());

        QTest::mouseMove(&options); // no menu of Qt 6.8 takes the click of a mouse that has never moved
        QTest::mouseClick(&options, Qt::LeftButton);
        QVERIFY(options.menu().isVisible());
        QTest::mouseClick(
            &options.menu(), Qt::LeftButton, {}, options.menu().actionGeometry(&clear).center());
        QVERIFY(f.player.playlist().isEmpty());
        f.render();
        QVERIFY(!clear.isEnabled());
    }

    void importButtonOnlyAsksForFiles()
    {
        ViewFixture f;
        auto &import = *f.find<Button>(u"Añadir archivos de audio"_s);
        QCOMPARE(import.text(), u"Añadir música"_s);
        QCOMPARE(import.toolTip(), u"Añadir archivos de audio"_s);
        QTest::mouseClick(&import, Qt::LeftButton);
        QVERIFY(f.player.showFileImporter());
        QVERIFY(f.player.playlist().isEmpty());
        f.player.showFileImporter = false;
        f.render();

        f.add("a");
        QTest::mouseClick(&import, Qt::LeftButton);
        QVERIFY(f.player.showFileImporter());
        QCOMPARE(f.titles(), u"a"_s);
    }

    void timesAreSpoken()
    {
        ViewFixture f;
        f.platform.nextDuration = 185;
        f.add("a");
        f.player.currentTime = 80;
        f.render();
        QCOMPARE(seekBar(f).spokenWords(), u"1 minuto 20 segundos de 3 minutos 5 segundos"_s);
        QCOMPARE(volumeSlider(f).spokenWords(), QString());
    }
};

LUMAVERDINE_TEST(ProgressSectionTest)
#include "ProgressSectionTest.moc"
