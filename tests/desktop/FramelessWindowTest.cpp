#include "desktop/FramelessWindow.h"
#include "desktop/Foreground.h"
#include "tests/PaintCount.h"
#include "tests/TestProgram.h"

#include <QAccessible>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QSlider>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// A window whose content holds a button right below the strip, on a window system that notes what it is asked.
struct WindowFixture {
    int moves = 0;
    QList<Qt::Edges> resizes;
    FramelessWindow window{WindowSystem{
        .startMove = [this](QWindow &) { return ++moves > 0; },
        .startResize =
            [this](QWindow &, Qt::Edges edges) {
                resizes.append(edges);
                return true;
            },
    }};
    QWidget &content = *new QWidget;
    QPushButton &control = *new QPushButton(&content);

    WindowFixture()
    {
        control.setGeometry(30, 28, 100, 40);
        content.setAutoFillBackground(true);
        content.setMinimumSize(720, 620);
        window.setContent(&content);
        window.menuBar().addMenu(u"Archivo"_s)->addAction(u"Salir"_s);
        window.show();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("the window is not shown");
    }

    [[nodiscard]] WindowButton *button(const QString &name) const
    {
        for (WindowButton *button : window.findChildren<WindowButton *>()) {
            if (button->accessibleName() == name)
                return button;
        }
        return nullptr;
    }

    /// Presses at a point of the window, as the window system reports it, and drags to the right.
    void drag(QPoint from, int way = 60, Qt::MouseButton button = Qt::LeftButton)
    {
        QWindow *handle = window.windowHandle();
        QTest::mousePress(handle, button, {}, from);
        QTest::mouseMove(handle, from + QPoint(way / 2, 0));
        QTest::mouseMove(handle, from + QPoint(way, 0));
        QTest::mouseRelease(handle, button, {}, from + QPoint(way, 0));
    }

    /// The menu that is asked for at a point of the window, or null.
    QMenu *openMenu(QPoint at, QContextMenuEvent::Reason reason = QContextMenuEvent::Mouse)
    {
        if (QWidget *former = QApplication::activePopupWidget())
            former->close();
        // As the window system reports it, and to whatever lies there.
        QWidget *piece = window.childAt(at);
        QContextMenuEvent event(reason, piece->mapFrom(&window, at), window.mapToGlobal(at));
        QApplication::sendEvent(piece, &event);
        return qobject_cast<QMenu *>(QApplication::activePopupWidget());
    }

    QStringList stripMenu()
    {
        QStringList entries;
        for (const QAction *entry : openMenu({400, 14})->actions())
            entries.append(entry->text());
        return entries;
    }

    void chooseInStrip(int number)
    {
        QMenu &menu = *openMenu({400, 14});
        QTest::mouseClick(&menu, Qt::LeftButton, {}, menu.actionGeometry(menu.actions().at(number)).center());
    }

    void doubleClick(QPoint at, Qt::MouseButton button = Qt::LeftButton)
    {
        QTest::mouseDClick(window.windowHandle(), button, {}, at);
        QCoreApplication::processEvents();
    }
};

constexpr QPoint InStrip(400, 14);
constexpr QPoint InContent(400, 300);
constexpr QPoint InControl(80, 40);

} // namespace

class FramelessWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hasNoBorderOfTheWindowSystem()
    {
        const WindowFixture f;
        QVERIFY(f.window.windowFlags().testFlag(Qt::FramelessWindowHint));
    }

    void contentFillsTheWindowAtEverySize()
    {
        WindowFixture f;
        QCOMPARE(f.window.size(), QSize(720, 620));
        for (const QSize size : {QSize(720, 620), QSize(1280, 800), QSize(720, 620)}) {
            f.window.resize(size);
            QTRY_COMPARE(f.content.geometry(), QRect(QPoint(), size));
        }
    }

    void opensNoLargerThanTheScreen()
    {
        struct Large : QWidget {
            [[nodiscard]] QSize sizeHint() const override { return {5000, 700}; }
        };
        FramelessWindow window;
        window.setContent(new Large);
        QCOMPARE(window.size(), QSize(window.screen()->availableSize().width(), 700));
    }

    void isNeverSmallerThanItsContent()
    {
        WindowFixture f;
        f.window.resize(100, 100);
        QTRY_COMPARE(f.window.size(), QSize(720, 620));
        QCOMPARE(f.window.minimumSize(), QSize(720, 620));
    }

    void menusAndButtonsLieInTheStripOppositeEachOther()
    {
        WindowFixture f;
        for (const int width : {720, 1280}) {
            f.window.resize(width, 620);
            const QRect strip(0, 0, width, FramelessWindow::StripHeight);
            const QRect menus = f.window.menuBar().geometry();
            QVERIFY(strip.contains(menus));
            QCOMPARE(menus.left(), 8);
            QCOMPARE(menus.top(), (28 - menus.height()) / 2);
            QCOMPARE(f.button(u"Minimizar"_s)->geometry(), QRect(width - 88, 2, 24, 24));
            QCOMPARE(f.button(u"Ampliar"_s)->geometry(), QRect(width - 60, 2, 24, 24));
            QCOMPARE(f.button(u"Cerrar"_s)->geometry(), QRect(width - 32, 2, 24, 24));
        }
    }

    void menusKeepTheirRoomInAnyFont()
    {
        WindowFixture f;
        const int width = f.window.menuBar().width();
        QFont large = f.window.menuBar().font();
        large.setPixelSize(2 * QFontInfo(large).pixelSize());
        f.window.menuBar().setFont(large);
        QTRY_VERIFY(f.window.menuBar().width() > width + 10);
        QCOMPARE(f.window.menuBar().width(), f.window.menuBar().sizeHint().width());
        QVERIFY(f.window.menuBar().height() <= FramelessWindow::StripHeight);
    }

    void stripShowsThatAnotherWindowIsActive()
    {
        WindowFixture f;
        const QRect strip(0, 0, f.window.width(), FramelessWindow::StripHeight);
        f.window.repaint();
        PaintCount painted(
            {&f.window.menuBar(), f.button(u"Minimizar"_s), f.button(u"Ampliar"_s), f.button(u"Cerrar"_s)});
        const auto inkOf = [&f](
                               const QImage &shown, const QString &button) { // in its middle, over the ground
            const QPoint middle = f.button(button)->geometry().center() + QPoint(0, 1);
            return shown.pixelColor(1, 1).red() - shown.pixelColor(middle).red();
        };
        const QImage active = f.window.grab(strip).toImage();
        painted.count = 0;
        QWidget other;
        other.show();
        other.activateWindow();
        QTRY_VERIFY(!f.window.isActiveWindow());
        QTRY_VERIFY(painted.count >= 4);
        const QImage inactive = f.window.grab(strip).toImage();
        QVERIFY(std::abs(inkOf(active, u"Minimizar"_s) - 2 * inkOf(inactive, u"Minimizar"_s)) <= 2);
        QVERIFY(inkOf(inactive, u"Minimizar"_s) > 50);
    }

    void menusAndButtonsChangeSidesAsSoonAsTheDesktopsDo()
    {
        WindowFixture f;
        const QRect atLeft = f.window.menuBar().geometry();
        f.window.setButtonLayout(ButtonLayout::parse(u"close,minimize,maximize:"_s));
        const QRect strip(0, 0, 720, FramelessWindow::StripHeight);
        int left = 0;
        for (const QString &name : {u"Cerrar"_s, u"Minimizar"_s, u"Ampliar"_s}) {
            const QRect place = f.button(name)->geometry();
            QVERIFY(strip.contains(place));
            QVERIFY(place.left() > left && place.right() < 360);
            left = place.right();
        }
        const QRect atRight(720 - atLeft.right() - 1, atLeft.top(), atLeft.width(), atLeft.height());
        QCOMPARE(f.window.menuBar().geometry(), atRight);
        f.window.setButtonLayout({});
        QCOMPARE(f.window.menuBar().geometry(), atLeft);
        QCOMPARE(f.button(u"Cerrar"_s)->geometry().right(), 720 - atLeft.left() - 1);
    }

    void isAWindowToAssistiveTechnology()
    {
        WindowFixture f;
        QCOMPARE(QAccessible::queryAccessibleInterface(&f.window)->role(), QAccessible::Window);
    }

    void buttonsSayWhatTheyDoAndStayOutOfTheKeyboardsWay()
    {
        const WindowFixture f;
        for (const QString &name : {u"Minimizar"_s, u"Ampliar"_s, u"Cerrar"_s}) {
            QVERIFY(f.button(name));
            QCOMPARE(f.button(name)->toolTip(), name);
            QCOMPARE(f.button(name)->focusPolicy(), Qt::NoFocus);
        }
    }

    void buttonsAnswerThePointer()
    {
        const WindowFixture f;
        WindowButton &button = *f.button(u"Cerrar"_s);
        const QImage idle = button.grab().toImage();
        QVERIFY(WindowButton(WindowButton::Kind::Close).testAttribute(Qt::WA_Hover)); // whatever the style
        QTest::mouseMove(f.window.windowHandle(), button.geometry().center());
        QTRY_VERIFY(button.underMouse());
        const QImage hovered = button.grab().toImage();
        button.setDown(true);
        const QImage pressed = button.grab().toImage();
        QVERIFY(idle != hovered);
        QVERIFY(hovered != pressed);
        const QColor ground = idle.pixelColor(12, 2);
        const QColor text = f.window.palette().color(QPalette::WindowText);
        const double wash = ground.red() + (text.red() - ground.red()) * 0.07;
        QVERIFY(std::abs(hovered.pixelColor(12, 2).red() - wash) <= 1);
    }

    void closeClosesAndMinimizeMinimizes()
    {
        WindowFixture f;
        QTest::mouseClick(
            f.window.windowHandle(), Qt::LeftButton, {}, f.button(u"Minimizar"_s)->geometry().center());
        QTRY_VERIFY(f.window.isMinimized());
        f.window.showNormal();
        QTest::mouseClick(
            f.window.windowHandle(), Qt::LeftButton, {}, f.button(u"Cerrar"_s)->geometry().center());
        QTRY_VERIFY(!f.window.isVisible());
    }

    void zoomButtonFillsTheScreenAndRestores()
    {
        WindowFixture f;
        f.button(u"Ampliar"_s)->click();
        QTRY_VERIFY(f.window.isMaximized());
        QTRY_VERIFY(f.button(u"Restaurar"_s));
        QVERIFY(!f.button(u"Ampliar"_s));
        QCOMPARE(f.button(u"Restaurar"_s)->toolTip(), u"Restaurar"_s);
        f.button(u"Restaurar"_s)->click();
        QTRY_VERIFY(!f.window.isMaximized());
        QTRY_VERIFY(f.button(u"Ampliar"_s));
        QTRY_COMPARE(f.window.size(), QSize(720, 620));
    }

    void doubleClickOnTheStripZoomsAndRestores()
    {
        WindowFixture f;
        f.doubleClick({400, 27});
        QTRY_VERIFY(f.window.isMaximized());
        f.doubleClick(InStrip);
        QTRY_VERIFY(!f.window.isMaximized());
        QCOMPARE(f.moves, 0);
    }

    void otherDoubleClicksDoNot()
    {
        WindowFixture f;
        for (const QPoint place : {InContent, QPoint(400, 28), InControl}) {
            f.doubleClick(place);
            QVERIFY(!f.window.isMaximized());
        }
        f.doubleClick(InStrip, Qt::RightButton);
        f.doubleClick(f.window.menuBar().geometry().center());
        QVERIFY(!f.window.isMaximized());
    }

    void draggingWhatIsEmptyMovesTheWindowOnce()
    {
        WindowFixture f;
        f.drag(InStrip);
        QCOMPARE(f.moves, 1);
        f.drag(InContent);
        QCOMPARE(f.moves, 2);
        f.drag(InContent, 60, Qt::RightButton);
        QCOMPARE(f.moves, 2);
        QVERIFY(f.resizes.isEmpty());
    }

    void clickThatHardlyMovesDoesNotMoveTheWindow()
    {
        WindowFixture f;
        const int least = QApplication::startDragDistance();
        f.drag(InStrip, least - 1);
        // What a control leaves to the window of a press of its own.
        QMouseEvent move(QEvent::MouseMove, InStrip + QPoint(100, 0), InStrip + QPoint(100, 0), Qt::NoButton,
            Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&f.window, &move);
        QCOMPARE(f.moves, 0);
        f.drag(InStrip, least);
        QCOMPARE(f.moves, 1);
    }

    void draggingAControlDoesNot()
    {
        WindowFixture f;
        for (const bool isEnabled : {true, false}) {
            f.control.setEnabled(isEnabled);
            f.drag(InControl);
        }
        f.drag(f.button(u"Cerrar"_s)->geometry().center(), 40);
        QSlider disabled(&f.content); // unlike a button it leaves the mouse alone
        disabled.setEnabled(false);
        disabled.setGeometry(300, 0, 200, 28);
        disabled.show();
        f.drag(InStrip);
        f.doubleClick(InStrip);
        QCOMPARE(f.moves, 0);
        QVERIFY(f.window.isVisible() && !f.window.isMaximized());
    }

    void controlsBelowTheStripGetTheirClicks()
    {
        WindowFixture f;
        const QSignalSpy clicked(&f.control, &QAbstractButton::clicked);
        QTest::mouseClick(f.window.windowHandle(), Qt::LeftButton, {}, QPoint(80, 28));
        QCOMPARE(clicked.size(), 1);
        f.control.move(400, 4); // under the strip, beside the menus
        QTest::mouseClick(f.window.windowHandle(), Qt::LeftButton, {}, QPoint(450, 14));
        QCOMPARE(clicked.size(), 2);
    }

    void pressOnAnEdgeHandsItToTheWindowSystem()
    {
        WindowFixture f;
        QTest::mousePress(f.window.windowHandle(), Qt::LeftButton, {}, QPoint(717, 300));
        QTest::mousePress(f.window.windowHandle(), Qt::LeftButton, {}, QPoint(2, 618));
        QTest::mousePress(f.window.windowHandle(), Qt::RightButton, {}, QPoint(2, 300));
        QCOMPARE(f.resizes, QList<Qt::Edges>({Qt::RightEdge, Qt::LeftEdge | Qt::BottomEdge}));
        QCOMPARE(f.moves, 0);
    }

    void windowThatFillsTheScreenHasNoEdges()
    {
        WindowFixture f;
        for (const auto state : {Qt::WindowMaximized, Qt::WindowFullScreen}) {
            f.window.setWindowState(state);
            QTRY_VERIFY(f.button(u"Restaurar"_s));
            QVERIFY(!f.window.findChild<WindowFrame *>()->isVisible());
            QTest::mousePress(f.window.windowHandle(), Qt::LeftButton, {}, QPoint(2, 300));
            QVERIFY(f.resizes.isEmpty());
            f.window.showNormal();
            QTRY_VERIFY(f.window.findChild<WindowFrame *>()->isVisible());
        }
    }

    void cornerOfTheScreenClosesTheWindowThatFillsIt_data()
    {
        QTest::addColumn<QString>("layout");
        QTest::addColumn<bool>("isLeft");
        QTest::newRow("on the right") << u":minimize,maximize,close"_s << false;
        QTest::newRow("on the left") << u"close,minimize,maximize:"_s << true;
    }

    void cornerOfTheScreenClosesTheWindowThatFillsIt()
    {
        QFETCH(const QString, layout);
        QFETCH(const bool, isLeft);
        WindowFixture f;
        f.window.setButtonLayout(ButtonLayout::parse(layout));
        const WindowButton &close = *f.button(u"Cerrar"_s);
        const auto distance = [&] { // of what is drawn from the corner
            const QRect drawn = close.contentsRect().translated(close.pos());
            return QPoint(isLeft ? drawn.left() : f.window.width() - drawn.right() - 1, drawn.top());
        };
        const QPoint usual = distance();
        QCOMPARE(close.size(), QSize(24, 24));
        f.window.showMaximized();
        QTRY_VERIFY(f.window.isMaximized());
        QCOMPARE(distance(), usual);
        const QPoint corner(isLeft ? 0 : f.window.width() - 1, 0);
        for (const QPoint place : {corner, corner + QPoint(0, 25), QPoint(close.geometry().center().x(), 0)})
            QCOMPARE(f.window.childAt(place), &close);
        QCOMPARE(close.geometry(), QRect(isLeft ? 0 : f.window.width() - 32, 0, 32, 26));
        QCOMPARE(f.button(u"Minimizar"_s)->size(), QSize(24, 24));
        const QPoint below = corner + QPoint(0, 1); // the test library takes (0, 0) for the middle
        QTest::mouseClick(f.window.windowHandle(), Qt::LeftButton, {}, below);
        QTRY_VERIFY(!f.window.isVisible());
    }

    void cornerGripsTheWindowThatDoesNotFillTheScreen()
    {
        WindowFixture f;
        f.window.showMaximized();
        QTRY_VERIFY(f.window.isMaximized());
        f.window.showNormal();
        QTRY_VERIFY(!f.window.isMaximized());
        QTest::mouseClick(f.window.windowHandle(), Qt::LeftButton, {}, QPoint(719, 0));
        QCOMPARE(f.resizes.size(), 1);
        QVERIFY(f.window.isVisible());
        QCOMPARE(f.button(u"Cerrar"_s)->size(), QSize(24, 24));
    }

    void secondaryClickOnTheStripOpensAMenu_data()
    {
        QTest::addColumn<QPoint>("place");
        QTest::addColumn<bool>("isInStrip");
        QTest::newRow("on the strip") << InStrip << true;
        QTest::newRow("on its last line") << QPoint(400, 27) << true;
        QTest::newRow("on the edge above it") << QPoint(400, 1) << true;
        QTest::newRow("under it") << QPoint(400, 28) << false;
        QTest::newRow("on the content") << InContent << false;
    }

    void secondaryClickOnTheStripOpensAMenu()
    {
        QFETCH(const QPoint, place);
        QFETCH(const bool, isInStrip);
        WindowFixture f;
        QCOMPARE(f.openMenu(place) != nullptr, isInStrip);
    }

    void menuOfTheStripDoesWhatTheButtonsDo()
    {
        WindowFixture f;
        QCOMPARE(f.stripMenu(), QStringList({u"Minimizar"_s, u"Maximizar"_s, u"Cerrar"_s}));
        f.chooseInStrip(1);
        QTRY_VERIFY(f.window.isMaximized());
        QCOMPARE(f.stripMenu(), QStringList({u"Minimizar"_s, u"Restaurar"_s, u"Cerrar"_s}));
        f.chooseInStrip(1);
        QTRY_VERIFY(!f.window.isMaximized());
        f.chooseInStrip(0);
        QTRY_VERIFY(f.window.isMinimized());
        f.window.showNormal();
        f.chooseInStrip(2);
        QTRY_VERIFY(!f.window.isVisible());
    }

    void menuOfTheStripThatAKeyOpensBeginsWithItsFirstEntry()
    {
        WindowFixture f;
        QVERIFY(!f.openMenu(InStrip)->activeAction());
        QMenu *menu = f.openMenu(InStrip, QContextMenuEvent::Keyboard);
        QCOMPARE(menu->activeAction(), menu->actions().first());
        QCOMPARE(menu->accessibleName(), u"Ventana"_s);
    }

    void keyOpensTheMenuOfTheStripFromItsMenus()
    {
        WindowFixture f;
        QTest::keyClick(f.window.windowHandle(), Qt::Key_Alt);
        QTRY_VERIFY(f.window.menuBar().hasFocus());
        QTest::keyClick(f.window.windowHandle(), Qt::Key_F10);
        QVERIFY(!f.window.openedMenu());
        QTest::keyClick(f.window.windowHandle(), Qt::Key_F10, Qt::ShiftModifier);
        QVERIFY(f.window.openedMenu());
        QCOMPARE(f.window.openedMenu()->activeAction(), f.window.openedMenu()->actions().first());
    }

    void altLeadsToTheMenus()
    {
        WindowFixture f;
        QTest::keyClick(f.window.windowHandle(), Qt::Key_Alt);
        QTRY_VERIFY(f.window.menuBar().activeAction());
        QTest::keyClick(f.window.windowHandle(), Qt::Key_Down);
        QTRY_VERIFY(f.window.menuBar().actions().first()->menu()->isVisible());
    }

    void titleOfTheMenuToBeOpenedStandsOnTheSameWashAsButtons()
    {
        WindowFixture f;
        QMenuBar &menus = f.window.menuBar();
        QAction *title = menus.actions().first();
        const auto isDrawn = [&](double wash, double opacity) {
            const QImage shown = f.window.grab(menus.geometry()).toImage();
            QImage wanted(shown.size(), shown.format());
            wanted.fill(f.window.palette().color(QPalette::Window));
            QPainter painter(&wanted);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setFont(menus.font());
            painter.setPen(Qt::NoPen);
            painter.setBrush(foreground(f.window.palette(), float(wash)));
            painter.drawRoundedRect(menus.actionGeometry(title), 6, 6);
            painter.setPen(foreground(f.window.palette(), float(opacity)));
            painter.drawText(
                menus.actionGeometry(title), Qt::AlignCenter | Qt::TextHideMnemonic, title->text());
            return shown == wanted;
        };
        QVERIFY(isDrawn(0, 0.8));
        menus.setActiveAction(title);
        QVERIFY(isDrawn(0.07, 0.8));
        title->menu()->close();
        menus.setActiveAction(nullptr);
        QWidget other;
        other.show();
        other.activateWindow();
        QTRY_VERIFY(!f.window.isActiveWindow());
        QVERIFY(isDrawn(0, 0.62));
        menus.setActiveAction(title);
        QVERIFY(!f.window.isActiveWindow());
        QVERIFY(isDrawn(0.07, 0.8));
        title->menu()->close();
    }

    void menusAreDrawnOverTheContent()
    {
        WindowFixture f;
        QPalette green;
        green.setColor(QPalette::Window, Qt::green);
        f.content.setPalette(green);
        f.content.setAutoFillBackground(true);
        const QRect menus = f.window.menuBar().geometry();
        const QImage shown = f.window.grab(menus).toImage();
        QCOMPARE(shown.pixelColor(1, 1), QColor(Qt::green));
        QCOMPARE(shown.pixelColor(shown.width() - 2, shown.height() - 1), QColor(Qt::green));
        const auto isDrawn = [&] {
            for (int x = 0; x < shown.width(); ++x) {
                if (shown.pixelColor(x, shown.height() / 2) != QColor(Qt::green))
                    return true;
            }
            return false;
        };
        QVERIFY(isDrawn());
    }
};

LUMAVERDINE_TEST(FramelessWindowTest)
#include "FramelessWindowTest.moc"
