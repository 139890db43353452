#include "ui/controls/Slider.h"
#include "tests/PaintCount.h"
#include "tests/TestProgram.h"
#include "tests/ui/Listener.h"
#include "tests/ui/TestColors.h"
#include "ui/drawing/Colors.h"

#include <QAccessible>
#include <QPainter>
#include <QWheelEvent>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// A shown slider from 0 to 100 and the story of its edits: a value for every movement, "release".
struct SliderFixture {
    Slider slider{u"Posición"_s};
    QStringList story;

    SliderFixture()
    {
        QObject::connect(&slider, &Slider::edited, &slider,
            [this](double value) { story << (slider.isHeld() ? QString::number(value) : u"not held"_s); });
        QObject::connect(&slider, &Slider::editingEnded, &slider, [this] { story << u"release"_s; });
        slider.setMaximum(100);
        slider.setSteps(5, 30);
        slider.resize(214, 20); // 14 of which are the thumb: two points a unit
        slider.show();
        if (!QTest::qWaitForWindowExposed(&slider))
            qFatal("the slider is not shown");
    }

    /// Where the middle of the thumb lies at `value`.
    static QPoint at(double value) { return {7 + qRound(value * 2), 10}; }

    void turnWheel(int angle)
    {
        QWheelEvent turn(QPointF(100, 10), slider.mapToGlobal(QPointF(100, 10)), {}, {0, angle}, Qt::NoButton,
            Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&slider, &turn);
    }

    /// Moves the mouse along the slider, or away from it.
    void point(std::optional<QPoint> place)
    {
        const QPointF to = place.value_or(QPoint(-1, -1));
        QHoverEvent hover(place ? QEvent::HoverMove : QEvent::HoverLeave, to, to, QPointF());
        QCoreApplication::sendEvent(&slider, &hover);
    }

    /// How it looks on white.
    [[nodiscard]] QImage look(double scale = 1)
    {
        QImage screen((QSizeF(slider.size()) * scale).toSize(), QImage::Format_RGB32);
        screen.setDevicePixelRatio(scale);
        screen.fill(Qt::white);
        QPainter painter(&screen);
        slider.render(&painter, {}, {}, QWidget::DrawChildren);
        return screen;
    }

    [[nodiscard]] QAccessibleInterface *accessible()
    {
        return QAccessible::queryAccessibleInterface(&slider);
    }
};

/// Of all pixels.
int distance(const QImage &a, const QImage &b)
{
    int most = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x)
            most = std::max(most, distance(a.pixelColor(x, y), b.pixelColor(x, y)));
    }
    return most;
}

/// How near the pixels of an image come to a colour.
int nearest(const QImage &image, const QColor &color)
{
    int least = 255;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            least = std::min(least, distance(image.pixelColor(x, y), color));
    }
    return least;
}

void addScales()
{
    QTest::addColumn<double>("scale");
    for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0})
        QTest::addRow("%g", scale) << scale;
}

} // namespace

bool QAccessible::isActive()
{
    return Listener::isListening;
}

void QAccessible::updateAccessibility(QAccessibleEvent *event)
{
    if (!Listener::isListening)
        return;
    if (event->type() == QAccessible::ValueChanged)
        Listener::told.append(static_cast<QAccessibleValueChangeEvent *>(event)->value().toString());
    else if (event->type() == QAccessible::Alert)
        Listener::told.append(u"alert"_s);
    else if (event->type() == QAccessible::DescriptionChanged)
        Listener::told.last() += u": "_s + event->accessibleInterface()->text(QAccessible::Value);
}

class SliderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void clickOnTheGrooveIsPressOneMovementRelease()
    {
        SliderFixture f;
        QTest::mouseClick(&f.slider, Qt::LeftButton, {}, f.at(60));
        QCOMPARE(f.story, QStringList({u"60"_s, u"release"_s}));
        QCOMPARE(f.slider.value(), 60);
    }

    void clickOnTheThumbMovesNothing()
    {
        SliderFixture f;
        f.slider.setValue(20);
        QTest::mouseClick(&f.slider, Qt::LeftButton, {}, f.at(22));
        QCOMPARE(f.story, QStringList({u"release"_s}));
    }

    void dragTellsEveryMovement()
    {
        SliderFixture f;
        QTest::mousePress(&f.slider, Qt::LeftButton, {}, f.at(0) + QPoint(2, 0));
        QTest::mouseMove(&f.slider, f.at(30) + QPoint(2, 0));
        QTest::mouseMove(&f.slider, f.at(50) + QPoint(2, 0));
        QVERIFY(f.slider.isHeld());
        QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, f.at(50) + QPoint(2, 0));
        QCOMPARE(f.story, QStringList({u"30"_s, u"50"_s, u"release"_s}));
        QVERIFY(!f.slider.isHeld());
    }

    void dragBeyondTheEndsStaysInTheRange()
    {
        SliderFixture f;
        QTest::mousePress(&f.slider, Qt::LeftButton, {}, f.at(50));
        QTest::mouseMove(&f.slider, QPoint(900, 10));
        QTest::mouseMove(&f.slider, QPoint(-900, 10));
        QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, QPoint(-900, 10));
        QCOMPARE(f.story, QStringList({u"50"_s, u"100"_s, u"0"_s, u"release"_s}));
    }

    void otherButtonsDoNothing()
    {
        SliderFixture f;
        QTest::mouseClick(&f.slider, Qt::RightButton, {}, f.at(60));
        QCOMPARE(f.story, QStringList());
    }

    void keysMoveItByOneEditEach_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<QString>("value"); // from 50
        QTest::newRow("right") << Qt::Key_Right << u"55"_s;
        QTest::newRow("up") << Qt::Key_Up << u"55"_s;
        QTest::newRow("left") << Qt::Key_Left << u"45"_s;
        QTest::newRow("down") << Qt::Key_Down << u"45"_s;
        QTest::newRow("page up") << Qt::Key_PageUp << u"80"_s;
        QTest::newRow("page down") << Qt::Key_PageDown << u"20"_s;
        QTest::newRow("home") << Qt::Key_Home << u"0"_s;
        QTest::newRow("end") << Qt::Key_End << u"100"_s;
    }

    void keysMoveItByOneEditEach()
    {
        QFETCH(const Qt::Key, key);
        QFETCH(const QString, value);
        SliderFixture f;
        f.slider.setValue(50);
        QTest::keyClick(&f.slider, key);
        QCOMPARE(f.story, QStringList({value, u"release"_s}));
    }

    void keysStayInTheRange()
    {
        SliderFixture f;
        f.slider.setValue(98);
        QTest::keyClick(&f.slider, Qt::Key_Right);
        QCOMPARE(f.slider.value(), 100);
    }

    void stepsStayOnRoundNumbers()
    {
        SliderFixture f;
        f.slider.setMaximum(1);
        f.slider.setSteps(0.05, 0.2);
        f.slider.setValue(0.5);
        QTest::keyClick(&f.slider, Qt::Key_PageUp);
        QTest::keyClick(&f.slider, Qt::Key_PageDown);
        QVERIFY(f.slider.value() == 0.5);
        for (int i = 0; i < 7; ++i)
            f.turnWheel(120);
        QVERIFY(f.slider.value() == 0.85);
    }

    void spaceAndShortcutsAreLeftToOthers()
    {
        SliderFixture f;
        QTest::keyClick(&f.slider, Qt::Key_Space);
        QTest::keyClick(&f.slider, Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(f.story, QStringList());
    }

    void wheelMovesItByWholeSteps()
    {
        SliderFixture f;
        f.slider.setValue(50);
        f.turnWheel(60);
        QCOMPARE(f.story, QStringList());
        f.turnWheel(60);
        QCOMPARE(f.story, QStringList({u"55"_s, u"release"_s}));
        f.turnWheel(-240);
        QCOMPARE(f.slider.value(), 45);
    }

    void valueSetByAssistiveTechnologyIsOneEdit()
    {
        SliderFixture f;
        QAccessibleValueInterface *value = f.accessible()->valueInterface();
        QVERIFY(value);
        value->setCurrentValue(70.5);
        QCOMPARE(f.story, QStringList({u"70.5"_s, u"release"_s}));
        value->setCurrentValue(1000);
        QCOMPARE(f.slider.value(), 100);
        value->setCurrentValue(u"nada"_s);
        QCOMPARE(f.slider.value(), 100);
    }

    void assistiveTechnologyReadsRoleNameAndRange()
    {
        SliderFixture f;
        f.slider.setValue(20);
        f.slider.setSpokenWords([](double value) { return u"%1 segundos"_s.arg(value); });
        QCOMPARE(f.accessible()->role(), QAccessible::Slider);
        QCOMPARE(f.accessible()->text(QAccessible::Name), u"Posición"_s);
        QCOMPARE(f.accessible()->text(QAccessible::Value), u"20 segundos"_s);
#if QT_VERSION < QT_VERSION_CHECK(6, 8, 0)
        QCOMPARE(f.accessible()->text(QAccessible::Description), u"20 segundos"_s);
#endif
        QAccessibleValueInterface *value = f.accessible()->valueInterface();
        QCOMPARE(value->currentValue().toDouble(), 20);
        QCOMPARE(value->minimumValue().toDouble(), 0);
        QCOMPARE(value->maximumValue().toDouble(), 100);
        QCOMPARE(value->minimumStepSize().toDouble(), 5);
    }

    void disabledOneIsNotMoved()
    {
        SliderFixture f;
        f.slider.setEnabled(false);
        QTest::mouseClick(&f.slider, Qt::LeftButton, {}, f.at(60));
        QTest::keyClick(&f.slider, Qt::Key_Right);
        f.accessible()->valueInterface()->setCurrentValue(70);
        QCOMPARE(f.story, QStringList());
    }

    void whatEndsADragEarlyEndsTheEdit_data()
    {
        QTest::addColumn<int>("ending");
        QTest::newRow("disabled") << 0;
        QTest::newRow("hidden") << 1;
        QTest::newRow("dialog in front") << 2;
    }

    void whatEndsADragEarlyEndsTheEdit()
    {
        QFETCH(const int, ending);
        SliderFixture f;
        QWidget dialog(&f.slider, Qt::Dialog);
        dialog.setWindowModality(Qt::WindowModal);
        QTest::mousePress(&f.slider, Qt::LeftButton, {}, f.at(50));
        if (ending == 0)
            f.slider.setEnabled(false);
        else if (ending == 1)
            f.slider.hide();
        else
            dialog.show();
        QTRY_COMPARE(f.story, QStringList({u"50"_s, u"release"_s}));
        QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, f.at(80));
        QCOMPARE(f.story.size(), 2);
    }

    void keysAreIgnoredWhileHeld()
    {
        SliderFixture f;
        QTest::mousePress(&f.slider, Qt::LeftButton, {}, f.at(50));
        QTest::keyClick(&f.slider, Qt::Key_Right);
        QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, f.at(50));
        QCOMPARE(f.story, QStringList({u"50"_s, u"release"_s}));
    }

    void showingAValueIsNoEdit()
    {
        SliderFixture f;
        f.slider.setValue(30);
        f.slider.setMaximum(10);
        QCOMPARE(f.story, QStringList());
        QCOMPARE(f.slider.value(), 30);
    }

    void nothingIsToldWhereNobodyListens()
    {
        SliderFixture f;
        bool isSpoken = false;
        f.slider.setSpokenWords([&](double) {
            isSpoken = true;
            return QString();
        });
        f.slider.setValue(7);
        f.slider.edit(9);
        QVERIFY(!isSpoken);
    }

    void assistiveTechnologyIsToldWhatSoundsDifferent()
    {
        SliderFixture f;
        f.slider.setSpokenWords(
            [&f](double value) { return u"%1 of %2"_s.arg(std::floor(value)).arg(f.slider.maximum()); });
        f.slider.clearFocus();
        const Listener listener;
        f.slider.setValue(20);
        f.slider.setValue(20.5);
        QCOMPARE(listener.news(), QStringList(u"20: 20 of 100"_s));
        f.slider.setMaximum(50);
        QCOMPARE(listener.news(), QStringList(u"20.5: 20 of 50"_s));
        f.slider.edit(30);
        QCOMPARE(listener.news(), QStringList(u"30: 30 of 50"_s));
    }

    void focusedOneTellsItsEditsAtOnceAndTheRestWhenItLosesTheFocus()
    {
        SliderFixture f;
        f.slider.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.slider));
        f.slider.setFocus();
        const Listener listener;
        f.slider.setValue(20);
        QCOMPARE(listener.news(), QStringList());
        QTest::keyClick(&f.slider, Qt::Key_Right);
        QCOMPARE(listener.news(), QStringList(u"25: "_s));
        f.slider.setValue(70);
        f.slider.clearFocus();
        QCOMPARE(listener.news(), QStringList());
        QTRY_VERIFY(!listener.told.isEmpty());
        QCOMPARE(listener.news(), QStringList(u"70: "_s));
    }

    void everyChangeIsPaintedWithoutBeingAskedFor()
    {
        SliderFixture f;
        f.slider.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.slider));
        f.slider.clearFocus();
        PaintCount paints({&f.slider});
        f.slider.update(); // with what is due
        QTRY_VERIFY(paints.count > 0);
        const auto isPaintedAfter = [&](const auto &change) {
            paints.count = 0;
            change();
            return QTest::qWaitFor([&] { return paints.count > 0; });
        };
        QVERIFY(isPaintedAfter([&] { f.slider.setValue(30); }));
        QVERIFY(isPaintedAfter([&] { f.slider.setMaximum(50); }));
        QVERIFY(isPaintedAfter([&] { f.slider.edit(25); }));
        QVERIFY(isPaintedAfter([&] { f.point(QPoint(107, 10)); }));
        QVERIFY(isPaintedAfter([&] { f.point(std::nullopt); }));
        QVERIFY(isPaintedAfter([&] { QTest::mousePress(&f.slider, Qt::LeftButton, {}, {107, 10}); }));
        QVERIFY(isPaintedAfter([&] { QTest::mouseMove(&f.slider, QPoint(127, 10)); }));
        QVERIFY(isPaintedAfter([&] { QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, {107, 10}); }));
        f.slider.clearFocus();
        QVERIFY(isPaintedAfter([&] { f.slider.setFocus(Qt::TabFocusReason); }));
        QVERIFY(isPaintedAfter([&] { f.slider.clearFocus(); }));
    }

    void nothingIsFilledAtZero_data()
    {
        addScales();
    }

    void nothingIsFilledAtZero()
    {
        QFETCH(const double, scale);
        SliderFixture f;
        const QColor accent = accentColor(f.slider.palette());
        const QImage empty = f.look(scale); // in black and white only
        QCOMPARE(distance(empty, empty.convertToFormat(QImage::Format_Grayscale8)), 0);
        f.slider.setValue(20);
        QCOMPARE(nearest(f.look(scale), accent) < 10, true);
    }

    void emptyRangeShowsItsStart()
    {
        SliderFixture f;
        const QImage start = f.look();
        f.slider.setMaximum(0);
        QCOMPARE(f.look(), start);
    }

    void thumbAnswersToTheMouseAndTheGrooveDoesNot()
    {
        SliderFixture f;
        f.slider.setValue(50);
        const QImage still = f.look();
        f.point(f.at(20));
        QCOMPARE(f.look(), still);
        f.point(f.at(52));
        const QImage pointed = f.look();
        QVERIFY(pointed != still);
        QVERIFY2(distance(pointed, still) < 70, "not quietly");
        f.slider.setValue(80); // and it moves away from the mouse
        f.slider.setValue(50);
        QCOMPARE(f.look(), pointed);
        f.slider.setValue(80);
        QCOMPARE(distance(f.look().copy(120, 0, 60, 20), still.copy(60, 0, 60, 20)), 0);
        f.point(std::nullopt);
        f.slider.setValue(50);
        QCOMPARE(f.look(), still);
    }

    void heldThumbLooksHeld()
    {
        SliderFixture f;
        f.slider.setValue(50);
        const QPoint middle = f.at(50);
        QCOMPARE(f.look().pixelColor(middle), QColor(Qt::white));
        QTest::mousePress(&f.slider, Qt::LeftButton, {}, middle);
        const QImage held = f.look();
        // A dot of the accent in a thumb that stays white.
        QVERIFY(contrastRatio(held.pixelColor(middle), Qt::white) >= 3);
        QCOMPARE(held.pixelColor(middle).hsvHue(), accentColor(f.slider.palette()).hsvHue());
        QCOMPARE(held.pixelColor(middle + QPoint(1, 0)), held.pixelColor(middle));
        QCOMPARE(held.pixelColor(middle + QPoint(3, 0)), QColor(Qt::white));
        QTest::mouseRelease(&f.slider, Qt::LeftButton, {}, middle);
        QCOMPARE(f.look().pixelColor(middle), QColor(Qt::white));
    }

    void focusRingSitsOnTheThumb()
    {
        SliderFixture f;
        f.slider.setValue(50);
        f.slider.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.slider));
        f.slider.clearFocus();
        const QImage still = f.look();
        f.slider.setFocus(Qt::TabFocusReason);
        const QImage focused = f.look();
        const QRect thumb(f.at(50) - QPoint(7, 7), QSize(14, 14));
        for (int y = 0; y < focused.height(); ++y) {
            for (int x = 0; x < focused.width(); ++x) {
                if (!thumb.contains(x, y))
                    QCOMPARE(focused.pixelColor(x, y), still.pixelColor(x, y));
            }
        }
        QCOMPARE(focused.pixelColor(f.at(50) - QPoint(0, 6)), accentMarkColor(f.slider.palette()));
        QCOMPARE(focused.pixelColor(f.at(50)), QColor(Qt::white));
    }

    void grooveIsSharpWhereverItStands_data()
    {
        addScales();
    }

    void grooveIsSharpWhereverItStands()
    {
        QFETCH(const double, scale);
        SliderFixture f;
        for (int top = 0; top < 4; ++top) {
            QImage screen((QSizeF(214, 30) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
            screen.setDevicePixelRatio(scale);
            screen.fill(Qt::white);
            QPainter painter(&screen);
            f.slider.render(&painter, QPoint(0, top), {}, QWidget::DrawChildren);
            painter.end();
            const QColor groove = screen.pixelColor(screen.width() / 2, qRound((top + 10) * scale) - 1);
            QVERIFY(distance(groove, mixed(primaryColor(f.slider.palette()), 0.16, Qt::white)) <= 1);
            int height = 0;
            int bottom = 0;
            for (int y = 0; y < screen.height(); ++y) {
                const QColor color = screen.pixelColor(screen.width() / 2, y);
                height += color == groove ? 1 : 0;
                bottom = color == groove ? y + 1 : bottom;
                QVERIFY2(color == groove || color == Qt::white, qPrintable(color.name()));
            }
            QCOMPARE(height, qRound(4 * scale));
            QVERIFY(std::abs(bottom - height / 2.0 - (top + 10) * scale) <= 0.51);
        }
    }
};

LUMAVERDINE_TEST(SliderTest)
#include "SliderTest.moc"
