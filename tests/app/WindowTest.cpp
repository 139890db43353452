#include "desktop/FilePicker.h"
#include "tests/TestProgram.h"
#include "tests/app/AppFixture.h"
#include "ui/ContentView.h"
#include "ui/ImportAlert.h"
#include "ui/drawing/Colors.h"

#include <QDialog>
#include <QSignalSpy>
#include <QTimer>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// The exit code of the event loop in which `action` runs; -1 if the loop does not end by itself.
int exitCodeAfter(const std::function<void()> &action)
{
    QTimer::singleShot(0, qApp, action);
    QTimer bound;
    bound.callOnTimeout([] { QCoreApplication::exit(-1); });
    bound.start(5000);
    return QApplication::exec();
}

/// Counts the windows that are shown while it lives.
class ShownWindows : public QObject {
public:
    ShownWindows() { QCoreApplication::instance()->installEventFilter(this); }

    [[nodiscard]] int count() const { return m_count; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *widget = qobject_cast<const QWidget *>(watched);
        if (event->type() == QEvent::Show && widget && widget->isWindow())
            ++m_count;
        return false;
    }

private:
    int m_count = 0;
};

} // namespace

class WindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isNamedAfterTheProgram()
    {
        const AppFixture f;
        QCOMPARE(f.window.windowTitle(), u"Lumaverdine"_s);
    }

    void showsNoOtherWindowOnTheWay()
    {
        const ShownWindows shown;
        const AppFixture f;
        QCOMPARE(shown.count(), 1);
    }

    void contentIsNeverSmallerThan720By620()
    {
        const AppFixture f;
        f.window.resize(100, 100);
        QTRY_COMPARE(f.window.size(), QSize(720, 620));
        f.window.resize(1400, 1000);
        QTRY_COMPARE(f.window.size(), QSize(1400, 1000));
        QCOMPARE(f.window.findChild<ContentView *>()->size(), QSize(1400, 1000));
    }

    void buttonsStandWhereTheDesktopHasThem()
    {
        AppFixture f;
        const QRect menus = f.window.menuBar().geometry();
        f.app.follow({ButtonLayout::parse(u"close:"_s), true});
        QVERIFY(f.window.menuBar().geometry().left() > menus.right());
        f.app.follow({});
        QCOMPARE(f.window.menuBar().geometry(), menus);
    }

    void colorsAreThoseThatTheUserWantsOrThePlatforms()
    {
        QApplication::setPalette({});
        const QColor platformAccent = accentColor(QApplication::palette());
        AppFixture f;
        const auto isDark = [&] { return windowBackgroundColor(f.window.palette()).lightness() < 128; };
        f.app.follow({.scheme = DesktopSettings::Scheme::Dark, .accent = Qt::red});
        QTRY_VERIFY(isDark());
        QCOMPARE(accentColor(f.window.palette()), QColor(Qt::red));
        f.app.follow({});
        QTRY_VERIFY(!isDark());
        QCOMPARE(accentColor(f.window.palette()), platformAccent);
    }

    void leastSizeGrowsWithTheTexts()
    {
        AppFixture f;
        f.app.follow({.textScale = 1.1});
        QCOMPARE(f.window.minimumSize(), QSize(792, 682));
        f.app.follow({.textScale = 3});
        QCOMPARE(f.window.minimumSize(), f.window.screen()->availableSize());
        f.app.follow({.textScale = 0.5});
        QCOMPARE(f.window.minimumSize(), QSize(720, 620));
        f.app.follow({});
        QCOMPARE(f.window.minimumSize(), QSize(720, 620));
    }

    void nothingIsLoadedOrAskedForAtTheStart()
    {
        const AppFixture f;
        QVERIFY(f.platform.opened.empty());
        QVERIFY(!f.player.showFileImporter());
    }

    void closingTheWindowEndsTheProgram()
    {
        const AppFixture f;
        QCOMPARE(exitCodeAfter([&f] { f.window.close(); }), 0);
    }

    void quitEndsTheProgramWhilePlaying()
    {
        auto f = std::make_unique<AppFixture>();
        f->add({u"a.mp3"_s});
        f->player.play();
        QCOMPARE(exitCodeAfter([&f] { f->press(Qt::Key_Q, Qt::ControlModifier); }), 0);
        const auto sound = f->platform.opened.front();
        f->platform.opened.clear();
        f.reset();
        QVERIFY(!sound->isAlive());
    }

    void closingEndsTheProgramAlsoUnderTheAlert()
    {
        AppFixture f;
        Q_EMIT f.window.findChild<FilePicker *>()->completed(Error{u"uno"_s});
        QTRY_VERIFY(f.window.findChild<ImportAlert *>());
        QVERIFY(QTest::qWaitForWindowExposed(f.window.findChild<ImportAlert *>()));
        QCOMPARE(exitCodeAfter([&f] { f.window.close(); }), 0);
    }

    void closingEndsTheProgramAlsoWithThePickerOpen()
    {
        AppFixture f;
        f.player.showFileImporter = true;
        QTRY_VERIFY(f.window.findChild<QDialog *>());
        QTRY_VERIFY(f.window.findChild<QDialog *>()->isVisible());
        QCOMPARE(exitCodeAfter([&f] { f.window.close(); }), 0);
    }
};

LUMAVERDINE_TEST(WindowTest)
#include "WindowTest.moc"
