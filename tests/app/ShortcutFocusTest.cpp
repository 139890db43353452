#include "tests/TestProgram.h"
#include "tests/app/AppFixture.h"
#include "ui/controls/SelectableLabel.h"
#include "ui/controls/Slider.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Every widget of the window that can hold the keyboard focus at this moment.
QList<QWidget *> focusableWidgets(const FramelessWindow &window)
{
    QList<QWidget *> focusable;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        if (widget->window() == &window && widget->isVisible() && widget->isEnabled()
            && widget->focusPolicy() != Qt::NoFocus)
            focusable.append(widget);
    }
    return focusable;
}

template <typename Kind> bool holdsA(const QList<QWidget *> &widgets)
{
    return std::any_of(
        widgets.begin(), widgets.end(), [](QWidget *widget) { return qobject_cast<Kind *>(widget); });
}

} // namespace

/// The playback shortcuts work wherever the focus is, and nothing else reacts to them.
class ShortcutFocusTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<AppFixture> m_fixture;
    QList<QWidget *> m_focusable;

    void focus(QWidget &widget) const
    {
        widget.setFocus();
        QTRY_VERIFY(widget.hasFocus());
    }

private Q_SLOTS:
    void init()
    {
        m_fixture = std::make_unique<AppFixture>();
        m_fixture->add({u"a.mp3"_s, u"b.mp3"_s, u"c.mp3"_s});
        QTRY_VERIFY(holdsA<QAbstractItemView>(focusableWidgets(m_fixture->window)));
        m_focusable = focusableWidgets(m_fixture->window);
        QVERIFY(holdsA<QAbstractButton>(m_focusable));
        QVERIFY(holdsA<Slider>(m_focusable));
        QVERIFY(holdsA<SelectableLabel>(m_focusable));
    }

    void spaceTogglesOnce()
    {
        PlayerManager &player = m_fixture->player;
        for (QWidget *widget : m_focusable) {
            focus(*widget);
            const bool wasPlaying = player.isPlaying();
            m_fixture->press(Qt::Key_Space);
            QVERIFY2(player.isPlaying() != wasPlaying, widget->metaObject()->className());
            QVERIFY(!player.isShuffling() && !player.isRepeating() && !player.showFileImporter());
            QCOMPARE(player.volume(), 0.75);
            QCOMPARE(player.playlist().size(), 3);
            QCOMPARE(m_fixture->platform.opened.size(), std::size_t(1));
        }
    }

    void spaceThatIsHeldTogglesOnce()
    {
        QWindow *window = m_fixture->window.windowHandle();
        for (QWidget *widget : m_focusable) {
            focus(*widget);
            const bool wasPlaying = m_fixture->player.isPlaying();
            QTest::keyPress(window, Qt::Key_Space);
            for (int repeat = 0; repeat < 2; ++repeat)
                qt_handleKeyEvent(window, QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, u" "_s, true);
            QTest::keyRelease(window, Qt::Key_Space);
            QVERIFY2(m_fixture->player.isPlaying() != wasPlaying, widget->metaObject()->className());
            QVERIFY(!m_fixture->player.isShuffling() && !m_fixture->player.isRepeating());
        }
    }

    void controlArrowsChangeTheTrackAndNothingElse()
    {
        PlayerManager &player = m_fixture->player;
        for (QWidget *widget : m_focusable) {
            focus(*widget);
            m_fixture->press(Qt::Key_Right, Qt::ControlModifier);
            QCOMPARE(player.currentTrack()->title, u"b"_s);
            m_fixture->press(Qt::Key_Left, Qt::ControlModifier);
            QCOMPARE(player.currentTrack()->title, u"a"_s);
            QCOMPARE(player.volume(), 0.75);
            QCOMPARE(player.currentTime(), 0.0);
        }
    }
};

LUMAVERDINE_TEST(ShortcutFocusTest)
#include "ShortcutFocusTest.moc"
