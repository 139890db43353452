#include "tests/TestProgram.h"
#include "tests/ui/TestColors.h"
#include "ui/ProgramStyle.h"

#include "ui/controls/Menu.h"
#include "ui/drawing/Colors.h"
#include "ui/drawing/Shapes.h"

#include <QApplication>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>
#include <QStyleFactory>
#include <QToolTip>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

QPalette scheme(const QColor &window, const QColor &text)
{
    QPalette palette(window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Highlight, QColor(0x3daee9));
    return palette;
}

const QPalette Light = scheme(QColor(0xefefef), Qt::black);
const QPalette Dark = scheme(QColor(0x2a2e32), QColor(0xfcfcfc));

/// The rectangle around what differs from the ground in a part of a picture, which begins with ground.
QRect inked(const QImage &image, const QRect &part, int least = 60)
{
    const QColor ground = image.pixelColor(part.topLeft());
    QRect found;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            if (distance(image.pixelColor(x, y), ground) > least)
                found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

/// The colour in a part of a picture that stands out most from `ground`.
QColor strongest(const QImage &image, const QRect &part, const QColor &ground)
{
    QColor found = ground;
    for (int y = part.top() + 2; y <= part.bottom() - 2; ++y) {
        for (int x = part.left() + 2; x <= part.right() - 2; ++x) {
            if (contrastRatio(image.pixelColor(x, y), ground) > contrastRatio(found, ground))
                found = image.pixelColor(x, y);
        }
    }
    return found;
}

/// A window with a control and with a menu that it has not opened yet.
struct PopupFixture {
    QWidget window;
    QWidget &control = *new QWidget(&window);
    Menu menu{&window};
    QAction *play = menu.addAction(u"Reproducir"_s);
    QAction *separator = menu.addSeparator();
    QAction *mark = menu.addAction(u"Ocultos"_s);
    QAction *off = menu.addAction(u"Apagado"_s);

    explicit PopupFixture(const QPalette &palette)
    {
        QApplication::setPalette(palette);
        off->setEnabled(false);
        window.setGeometry(50, 50, 600, 500);
        control.setGeometry(100, 60, 80, 30);
        control.setToolTip(u"Un control"_s);
        window.show();
        if (!QTest::qWaitForWindowExposed(&window))
            qFatal("the window is not shown");
    }

    /// The tooltip that shows, or null.
    [[nodiscard]] static QLabel *toolTip()
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->inherits("QTipLabel") && widget->isVisible())
                return qobject_cast<QLabel *>(widget);
        }
        return nullptr;
    }

    /// The control's tooltip, as the toolkit shows it to a mouse that rests in its lower half.
    const QLabel &showToolTip() const
    {
        QCursor::setPos(control.mapToGlobal(QPoint(20, 25)));
        QToolTip::showText(QCursor::pos(), control.toolTip(), &control);
        if (!toolTip())
            qFatal("there is no tooltip");
        return *toolTip();
    }

    ~PopupFixture() { delete toolTip(); }

    QImage openMenu()
    {
        menu.openBeside({window.mapToGlobal(QPoint(200, 200)), QSize(20, 20)});
        return menu.grab().toImage();
    }
};

/// Whether the first corner of a popup is round by `radius`, over a window that is `under`.
bool hasCorner(const QImage &popup, const QPalette &palette, double radius, const QColor &under)
{
    QImage expected(popup.size(), popup.format());
    expected.fill(under);
    QPainter painter(&expected);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(smoothCorners(popup.rect(), radius), palette.color(QPalette::Window));
    QColor line = palette.color(QPalette::WindowText);
    line.setAlphaF(0.18F);
    drawHairline(painter, popup.rect(), radius, line);
    painter.end();
    const QRect corner(0, 0, 16, 6); // above all texts
    return popup.copy(corner) == expected.copy(corner);
}

} // namespace

class PopupStyleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setStyle(new ProgramStyle); }

    void menuIsAPanelOfTheWindowsGroundWithAHairline_data()
    {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light") << Light;
        QTest::newRow("dark") << Dark;
    }

    void menuIsAPanelOfTheWindowsGroundWithAHairline()
    {
        QFETCH(const QPalette, palette);
        PopupFixture f(palette);
        const QImage menu = f.openMenu();
        const QColor ground = palette.color(QPalette::Window);
        const QColor line = mixed(palette.color(QPalette::WindowText), 0.18, ground);
        const int right = menu.width() - 1;
        for (const QPoint place :
            {QPoint(0, 30), QPoint(right, 30), QPoint(60, 0), QPoint(60, menu.height() - 1)})
            QVERIFY(distance(menu.pixelColor(place), line) <= 1);
        for (const QPoint place :
            {QPoint(3, 30), QPoint(right - 3, 30), QPoint(60, 3), QPoint(60, menu.height() - 4)})
            QCOMPARE(menu.pixelColor(place), ground);
        QVERIFY(contrastRatio(line, ground) > 1.3);
    }

    void cornersAreRoundOverWhatTheWindowShows()
    {
        PopupFixture f(Light);
        f.window.setPalette(QColor(0x00c000));
        const QImage menu = f.openMenu();
        QCOMPARE(menu.pixelColor(0, 0), QColor(0x00c000));
        QCOMPARE(menu.pixelColor(menu.width() - 1, menu.height() - 1), QColor(0x00c000));
        QVERIFY(hasCorner(menu, Light, 8, 0x00c000));
        for (int x = 0; x < menu.width(); ++x)
            QCOMPARE(menu.pixelColor(x, 0).alpha(), 255);
    }

    void whatLiesUnderAMenuIsTakenInThePixelsOfItsScreen()
    {
        PopupFixture f(Light);
        f.window.setPalette(QColor(0x00c000));
        const QImage menu = f.openMenu();
        const QPoint end(menu.width() - 1, menu.height() - 1);
        for (const QPoint corner : {QPoint(), QPoint(end.x(), 0), QPoint(0, end.y()), end})
            QCOMPARE(menu.pixelColor(corner), QColor(0x00c000));
    }

    void outsideTheWindowCornersHaveItsGround()
    {
        PopupFixture f(Light);
        f.menu.popup(f.window.mapToGlobal(QPoint(590, 490)));
        const QImage menu = f.menu.grab().toImage();
        QCOMPARE(menu.pixelColor(menu.width() - 1, menu.height() - 1), Light.color(QPalette::Window));
    }

    void underACompositorCornersAreTranslucent()
    {
        PopupFixture f(Dark);
        auto &style = static_cast<ProgramStyle &>(*QApplication::style());
        const auto shown = [&](bool isComposited) {
            style.setComposited(isComposited);
            QImage menu = f.openMenu();
            f.menu.close();
            return menu;
        };
        QCOMPARE(shown(false).pixelColor(0, 0).alpha(), 255);
        const QImage menu = shown(true);
        QCOMPARE(menu.pixelColor(0, 0).alpha(), 0);
        QCOMPARE(menu.pixelColor(3, 30).alpha(), 255);
        QCOMPARE(shown(false).pixelColor(0, 0).alpha(), 255);
    }

    void entriesHavePaddingAroundThem()
    {
        PopupFixture f(Light);
        const QImage menu = f.openMenu();
        const QRect play = f.menu.actionGeometry(f.play);
        QCOMPARE(play.topLeft(), QPoint(5, 5));
        QCOMPARE(f.menu.width() - play.right() - 1, 5);
        const QFontMetrics metrics(f.menu.font());
        QCOMPARE(play.height(), metrics.height() + 2 * 5);
        QCOMPARE(inked(menu, play).left(), 5 + 10 + metrics.boundingRect(u'R').left());
        QCOMPARE(f.menu.actionGeometry(f.separator).height(), 9);
        QCOMPARE(f.menu.height() - f.menu.actionGeometry(f.menu.actions().constLast()).bottom() - 1, 5);
    }

    void separatorIsAHairlineBetweenTheTexts()
    {
        PopupFixture f(Light);
        const QImage menu = f.openMenu();
        const QRect line = inked(menu, f.menu.actionGeometry(f.separator), 10);
        QCOMPARE(line.height(), 1);
        QCOMPARE(line.left(), 5 + 10);
        QCOMPARE(menu.width() - line.right() - 1, 5 + 10);
        const QColor ground = Light.color(QPalette::Window);
        QVERIFY(distance(menu.pixelColor(line.center()), mixed(Qt::black, 0.18, ground)) <= 1);
    }

    void chosenEntryStandsOnTheAccentAndReads_data() { menuIsAPanelOfTheWindowsGroundWithAHairline_data(); }

    void chosenEntryStandsOnTheAccentAndReads()
    {
        QFETCH(const QPalette, palette);
        PopupFixture f(palette);
        f.openMenu();
        f.menu.goToFirst();
        const QImage menu = f.menu.grab().toImage();
        const QRect play = f.menu.actionGeometry(f.play);
        QCOMPARE(menu.pixelColor(play.left() + 4, play.center().y()), accentColor(palette));
        QCOMPARE(menu.pixelColor(play.left() + 4, play.bottom() - 1), accentColor(palette));
        QVERIFY(menu.pixelColor(play.topLeft()) != accentColor(palette)); // its corners are round
        QCOMPARE(strongest(menu, play, accentColor(palette)), onAccentColor(palette));
    }

    void textsAreAsStrongAsTheyMean_data() { menuIsAPanelOfTheWindowsGroundWithAHairline_data(); }

    void textsAreAsStrongAsTheyMean()
    {
        QFETCH(const QPalette, palette);
        PopupFixture f(palette);
        const QImage menu = f.openMenu();
        const QColor ground = palette.color(QPalette::Window);
        const QColor text = palette.color(QPalette::WindowText);
        QVERIFY(distance(strongest(menu, f.menu.actionGeometry(f.play), ground), text) < 40);
        const QColor disabled = strongest(menu, f.menu.actionGeometry(f.off), ground);
        QVERIFY(distance(disabled, mixed(text, 0.4, ground)) < 20);
    }

    void checkMarkStandsBeforeItsEntry()
    {
        PopupFixture f(Light);
        const int plain = f.openMenu().width();
        f.menu.close();
        f.mark->setCheckable(true);
        const QImage unchecked = f.openMenu();
        QCOMPARE(unchecked.width(), plain + 20);
        const QRect entry = f.menu.actionGeometry(f.mark);
        const QRect column(entry.left() + 10, entry.top(), 14, entry.height());
        QVERIFY(inked(unchecked, column).isEmpty());
        f.menu.close();
        f.mark->setChecked(true);
        const QRect mark = inked(f.openMenu(), column);
        QVERIFY(mark.width() >= 7 && mark.height() >= 6);
        QVERIFY(std::abs(mark.center().y() - entry.center().y()) <= 1);
    }

    void markAndArrowAreStrokesOfOnePointAndAHalf()
    {
        PopupFixture f(Light);
        f.mark->setCheckable(true);
        f.mark->setChecked(true);
        QMenu other;
        f.play->setMenu(&other);
        const QImage menu = f.openMenu();
        const auto isDrawn = [&](const QRect &area, const QPolygonF &points) {
            QImage expected(menu.size(), menu.format());
            expected.fill(Light.color(QPalette::Window));
            QPainter painter(&expected);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(QPen(Qt::black, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            painter.drawPolyline(points.translated(QRectF(area).center()));
            painter.end();
            return menu.copy(area) == expected.copy(area);
        };
        const QRect mark = f.menu.actionGeometry(f.mark).adjusted(10, 0, 0, 0);
        QVERIFY(isDrawn({mark.topLeft(), QSize(10, mark.height())}, {{-4, 0}, {-1, 3}, {4, -3.5}}));
        const QRect arrow = f.menu.actionGeometry(f.play).adjusted(0, 0, -10, 0);
        QVERIFY(
            isDrawn({arrow.right() - 8, arrow.top(), 8, arrow.height()}, {{-1.5, -3}, {1.5, 0}, {-1.5, 3}}));
    }

    void allElseIsDrawnAsTheDesktopDoes()
    {
        const auto drawn = [](QStyle *style) {
            QWidget window;
            auto *row = new QHBoxLayout(&window);
            for (QWidget *widget : {static_cast<QWidget *>(new QPushButton(u"Aceptar"_s)),
                     static_cast<QWidget *>(new QCheckBox(u"Ocultos"_s)),
                     static_cast<QWidget *>(new QSpinBox), static_cast<QWidget *>(new QLineEdit(u"Alba"_s))})
                row->addWidget(widget);
            for (QWidget *widget : window.findChildren<QWidget *>())
                widget->setStyle(style);
            return window.grab().toImage();
        };
        ProgramStyle ours;
        const std::unique_ptr<QStyle> desktops(QStyleFactory::create(ours.baseStyle()->name()));
        QCOMPARE(drawn(&ours), drawn(desktops.get()));
        const auto hint = QStyle::SH_Widget_Animation_Duration;
        QCOMPARE(ours.styleHint(hint, nullptr, nullptr, nullptr), desktops->styleHint(hint));
    }

    void keysStandAtTheRightWithRoomBetween()
    {
        PopupFixture f(Light);
        const int plain = f.openMenu().width();
        f.menu.close();
        f.play->setShortcut(Qt::Key_F5);
        const QImage menu = f.openMenu();
        const QFontMetrics metrics(f.menu.font());
        QCOMPARE(menu.width(), plain + 28 + metrics.horizontalAdvance(u"F5"_s));
        const QRect entry = f.menu.actionGeometry(f.play);
        const QRect keys = inked(menu, entry.adjusted(entry.width() / 2, 0, 0, 0));
        QVERIFY(entry.right() - keys.right() >= 10 && entry.right() - keys.right() <= 12);
    }

    void entryOfAnotherMenuHasAnArrow()
    {
        PopupFixture f(Light);
        const int plain = f.openMenu().width();
        f.menu.close();
        QMenu other;
        f.play->setMenu(&other);
        const QImage menu = f.openMenu();
        QCOMPARE(menu.width(), plain + 16);
        const QRect entry = f.menu.actionGeometry(f.play);
        QVERIFY(inked(menu, {entry.right() - 18, entry.top(), 18, entry.height()}).height() >= 5);
    }

    void toolTipIsOfTheWindowsColorsAndRound_data() { menuIsAPanelOfTheWindowsGroundWithAHairline_data(); }

    void toolTipIsOfTheWindowsColorsAndRound()
    {
        QFETCH(const QPalette, palette);
        PopupFixture f(palette);
        f.window.setPalette(QColor(0x00c000));
        const QLabel &tip = f.showToolTip();
        const QImage shown = const_cast<QLabel &>(tip).grab().toImage();
        const QColor ground = palette.color(QPalette::Window);
        const QColor text = palette.color(QPalette::WindowText);
        QCOMPARE(shown.pixelColor(3, shown.height() / 2), ground);
        QVERIFY(distance(shown.pixelColor(0, shown.height() / 2), mixed(text, 0.18, ground)) <= 1);
        QVERIFY(distance(strongest(shown, shown.rect(), ground), text) < 40);
        QVERIFY(hasCorner(shown, palette, 6, 0x00c000));
        QCOMPARE(QApplication::style()->styleHint(QStyle::SH_ToolTipLabel_Opacity), 255);
        QCOMPARE(tip.margin(), 6);
    }

    void toolTipStandsUnderWhatItNames()
    {
        PopupFixture f(Light);
        const QLabel &tip = f.showToolTip();
        const QRect control(f.control.mapToGlobal(QPoint()), f.control.size());
        QCOMPARE(tip.y(), control.bottom() + 1 + 6);
        QVERIFY(std::abs(tip.x() + tip.width() / 2 - control.center().x()) <= 1);
    }

    void toolTipStaysInTheWindow()
    {
        PopupFixture f(Light);
        f.control.setGeometry(570, 470, 30, 30);
        const QLabel &tip = f.showToolTip();
        QVERIFY(f.window.geometry().contains({tip.pos(), tip.size()}));
        QCOMPARE(tip.y() + tip.height(), f.control.mapToGlobal(QPoint()).y() - 6);
    }

    void toolTipGoesWithTheMouseToTheNextControl()
    {
        PopupFixture f(Light);
        f.showToolTip();
        f.control.setToolTip({});
        QWidget next(&f.window);
        next.setGeometry(300, 60, 80, 30);
        next.setToolTip(u"Otro control"_s);
        next.show();
        QCursor::setPos(next.mapToGlobal(QPoint(40, 15)));
        QToolTip::showText(QCursor::pos(), next.toolTip(), &next);
        const QLabel &tip = *f.toolTip();
        QCOMPARE(tip.text(), u"Otro control"_s);
        QCOMPARE(tip.y(), next.mapToGlobal(QPoint(0, 30)).y() + 6);
    }

    void toolTipStaysInTheWindowClearOfTheControl_data()
    {
        QTest::addColumn<QRect>("control"); // in a room of 1280 × 800 that begins at 0, 30
        QTest::addColumn<QPoint>("place"); // of a tooltip of 100 × 24
        QTest::newRow("under") << QRect(200, 100, 60, 40) << QPoint(180, 146);
        QTest::newRow("at the left edge") << QRect(0, 100, 60, 40) << QPoint(0, 146);
        QTest::newRow("at the right edge") << QRect(1240, 100, 40, 40) << QPoint(1180, 146);
        QTest::newRow("just above the lower edge") << QRect(200, 760, 60, 40) << QPoint(180, 806);
        QTest::newRow("at the lower edge") << QRect(200, 761, 60, 40) << QPoint(180, 731);
    }

    void toolTipStaysInTheWindowClearOfTheControl()
    {
        QFETCH(const QRect, control);
        QTEST(toolTipPlace(control, {100, 24}, {0, 30, 1280, 800}), "place");
    }
};

LUMAVERDINE_TEST(PopupStyleTest)
#include "PopupStyleTest.moc"
