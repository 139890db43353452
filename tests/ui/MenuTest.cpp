#include "ui/controls/Menu.h"
#include "tests/TestProgram.h"

#include "ui/ProgramStyle.h"
#include "ui/controls/MenuButton.h"
#include "ui/drawing/Colors.h"

#include <QApplication>

using namespace Qt::StringLiterals;

namespace {

QPalette scheme(QRgb window, QRgb text)
{
    QPalette palette(QColor{window}, QColor{window});
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, QColor(text));
    palette.setColor(QPalette::Base, QColor(window));
    return palette;
}

struct MenuFixture {
    QWidget window;
    Menu menu{&window};
    QAction *plain = menu.addAction(u"Reproducir"_s);
    QAction *destructive = menu.addDestructive(u"Eliminar"_s);

    explicit MenuFixture(const QPalette &palette)
    {
        menu.setPalette(palette);
        menu.popup({});
        if (!QTest::qWaitForWindowExposed(&menu))
            qFatal("the menu is not shown");
    }

    /// The colours of an entry: its ground, and the colour in it that stands out most from that.
    [[nodiscard]] std::pair<QColor, QColor> colors(const QAction *action)
    {
        const QImage entry =
            menu.grab(menu.actionGeometry(const_cast<QAction *>(action)).adjusted(3, 3, -3, -3)).toImage();
        const QColor ground = entry.pixelColor(entry.width() - 1, entry.height() / 2);
        QColor text = ground;
        for (int y = 0; y < entry.height(); ++y) {
            for (int x = 0; x < entry.width(); ++x) {
                if (contrastRatio(entry.pixelColor(x, y), ground) > contrastRatio(text, ground))
                    text = entry.pixelColor(x, y);
            }
        }
        return {ground, text};
    }
};

bool isRed(const QColor &color)
{
    return color.red() > color.green() + 60 && color.red() > color.blue() + 60;
}

} // namespace

class MenuTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setStyle(new ProgramStyle); }

    void destructiveEntryIsRedAndReads_data()
    {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light") << scheme(0xefefef, 0x000000);
        QTest::newRow("dark") << scheme(0x2a2e32, 0xfcfcfc);
    }

    void destructiveEntryIsRedAndReads()
    {
        QFETCH(const QPalette, palette);
        MenuFixture f(palette);
        const auto [ground, text] = f.colors(f.destructive);
        QVERIFY2(isRed(text), qPrintable(text.name()));
        QVERIFY(contrastRatio(text, ground) >= 4.5);
        QVERIFY(!isRed(f.colors(f.plain).second));
    }

    void chosenOneStandsOnRedAndReads_data() { destructiveEntryIsRedAndReads_data(); }

    void chosenOneStandsOnRedAndReads()
    {
        QFETCH(const QPalette, palette);
        MenuFixture f(palette);
        f.menu.setActiveAction(f.destructive);
        const auto [ground, text] = f.colors(f.destructive);
        QVERIFY2(isRed(ground), qPrintable(ground.name()));
        QVERIFY(contrastRatio(text, ground) >= 4.5);
    }

    void disabledEntryIsDim_data() { destructiveEntryIsRedAndReads_data(); }

    void disabledEntryIsDim()
    {
        QFETCH(const QPalette, palette);
        MenuFixture f(palette);
        f.destructive->setEnabled(false);
        const auto [ground, text] = f.colors(f.destructive);
        QVERIFY(!isRed(text));
        QVERIFY(contrastRatio(text, ground) < 4.5);
        QVERIFY(contrastRatio(text, ground) > 1.5);
    }

    void standsBesideWhatOpensItWithinTheRoom_data()
    {
        QTest::addColumn<QPoint>("opener"); // of 20 × 10, in a room of 400 × 300 at 100, 50
        QTest::addColumn<QSize>("menu");
        QTest::addColumn<QPoint>("place");
        const QSize menu(150, 80);
        QTest::newRow("under it") << QPoint(200, 100) << menu << QPoint(200, 110);
        QTest::newRow("just inside") << QPoint(350, 260) << menu << QPoint(350, 270);
        QTest::newRow("at the right edge") << QPoint(351, 100) << menu << QPoint(201, 110);
        QTest::newRow("at the lower edge") << QPoint(200, 261) << menu << QPoint(200, 181);
        QTest::newRow("in the corner") << QPoint(480, 340) << menu << QPoint(330, 260);
        QTest::newRow("too wide") << QPoint(200, 100) << QSize(320, 80) << QPoint(200, 110);
        QTest::newRow("too high") << QPoint(200, 100) << QSize(150, 280) << QPoint(200, 110);
        QTest::newRow("as wide as there is room before it")
            << QPoint(420, 100) << QSize(320, 80) << QPoint(100, 110);
        QTest::newRow("as high as there is room above it")
            << QPoint(200, 330) << QSize(150, 280) << QPoint(200, 50);
    }

    void standsBesideWhatOpensItWithinTheRoom()
    {
        QFETCH(const QPoint, opener);
        QFETCH(const QSize, menu);
        QTEST(menuPlace({opener, QSize(20, 10)}, menu, QRect(100, 50, 400, 300)), "place");
    }

    void buttonForgetsTheMouseThatHasLeftItForAnEntry()
    {
        QWidget window;
        window.resize(300, 200);
        QCursor::setPos(700, 700);
        auto *button = new MenuButton(u"ellipsis"_s, u"Más opciones"_s);
        button->setParent(&window);
        button->setFocusPolicy(Qt::NoFocus);
        button->menu().addAction(u"Reproducir"_s);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QImage idle = button->grab().toImage();
        const QPoint middle = button->mapToGlobal(button->rect().center());
        for (const bool isOverIt : {false, true}) {
            button->setAttribute(Qt::WA_UnderMouse);
            QCursor::setPos(middle);
            button->click();
            QVERIFY(button->grab().toImage() != idle);
            QCursor::setPos(isOverIt ? middle : button->menu().geometry().center());
            button->menu().close();
            QCOMPARE(button->grab().toImage() != idle, isOverIt);
        }
    }

    void opensBeneathItsButton()
    {
        MenuButton button(u"ellipsis"_s, u"Más opciones"_s);
        button.menu().addAction(u"Reproducir"_s);
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button));
        button.click();
        QCOMPARE(button.menu().pos(), button.mapToGlobal(QPoint(0, button.height())));
    }

    void goesToItsFirstEntryIfAKeyOpensIt()
    {
        MenuButton button(u"ellipsis"_s, u"Más opciones"_s);
        const QAction *first = button.menu().addAction(u"Reproducir"_s);
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button));
        QTest::mouseClick(&button, Qt::LeftButton);
        QVERIFY(button.menu().isVisible());
        QCOMPARE(button.menu().activeAction(), nullptr);
        button.menu().close();
        QTest::keyClick(&button, Qt::Key_Return);
        QVERIFY(button.menu().isVisible());
        QCOMPARE(button.menu().activeAction(), first);
    }
};

LUMAVERDINE_TEST(MenuTest)
#include "MenuTest.moc"
