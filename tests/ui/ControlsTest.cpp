#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistRowDelegate.h"
#include "ui/PlaylistView.h"
#include "ui/ProgramStyle.h"
#include "ui/controls/Button.h"
#include "ui/controls/Menu.h"
#include "ui/controls/SelectableLabel.h"

#include <QContextMenuEvent>

using namespace Qt::StringLiterals;

namespace {

/// Three tracks, the second one current and paused, 2 seconds in.
struct ControlsFixture : ViewFixture {
    PlaylistView &list = *view.findChild<PlaylistView *>();

    ControlsFixture()
    {
        view.resize(720, 900);
        render();
    }

    void fill()
    {
        add("abc");
        player.load(track(1), false);
        player.currentTime = 2;
        render();
    }

    /// What the player plays, of which list, and how: "b of abc, playing, shuffling".
    [[nodiscard]] QString state() const
    {
        QString state = u"%1 of %2"_s.arg(current(), titles());
        for (const auto &[isSo, word] :
            {std::pair(player.isPlaying(), u", playing"_s), {player.isShuffling(), u", shuffling"_s},
                {player.isRepeating(), u", repeating"_s}, {player.showFileImporter(), u", asking"_s},
                {player.volume() != 0.75, u", louder or quieter"_s},
                {player.currentTime() != 2, u", elsewhere"_s}})
            state += isSo ? word : QString();
        return state;
    }

    [[nodiscard]] QAbstractButton &button(const QString &name) const
    {
        for (auto *button : view.findChildren<QAbstractButton *>()) {
            if (button->isVisible() && (button->accessibleName() == name || button->text() == name))
                return *button;
        }
        qFatal("no button is called %s", qPrintable(name));
    }

    void askForMenu(QWidget &piece, QPoint place) const
    {
        QContextMenuEvent event(QContextMenuEvent::Mouse, place, piece.mapToGlobal(place));
        QCoreApplication::sendEvent(&piece, &event);
    }

    [[nodiscard]] QRect row(int number) const { return list.visualRect(list.model()->index(number, 0)); }

    /// Opens the menu that stands behind one of these names, as the mouse does.
    Menu &open(const QString &menu)
    {
        QTest::mouseMove(&view); // no menu of Qt 6.8 takes the click of a mouse that has never moved
        if (menu == u"Más opciones")
            QTest::mouseClick(&button(menu), Qt::LeftButton);
        else if (menu == u"ellipsis")
            QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, playlistRowMenu(row(2)).center());
        else if (menu == u"row")
            askForMenu(*list.viewport(), row(2).center());
        else
            askForMenu(*view.findChild<SelectableLabel *>(), {5, 5});
        auto *opened = qobject_cast<Menu *>(QApplication::activePopupWidget());
        if (!opened)
            qFatal("no menu has opened");
        return *opened;
    }
};

/// Whether an entry is drawn in red.
bool isEntryRed(Menu &menu, QAction *entry)
{
    const QImage drawn = menu.grab(menu.actionGeometry(entry)).toImage();
    for (int y = 0; y < drawn.height(); ++y) {
        for (int x = 0; x < drawn.width(); ++x) {
            const QColor color = drawn.pixelColor(x, y);
            if (color.red() - std::max(color.green(), color.blue()) > 80)
                return true;
        }
    }
    return false;
}

/// The entries from top to bottom; "-" is a line between them.
QStringList described(Menu &menu)
{
    QStringList entries;
    for (QAction *entry : menu.actions()) {
        entries.append(entry->isSeparator() ? u"-"_s : entry->text());
        if (!entry->isEnabled() && !entry->isSeparator())
            entries.last() += u", disabled"_s;
        if (isEntryRed(menu, entry))
            entries.last() += u", red"_s;
    }
    return entries;
}

} // namespace

/// What every button and menu entry says of itself, and the one thing that it does.
class ControlsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setStyle(new ProgramStyle); }

    void everyButtonDoesOneThing_data()
    {
        QTest::addColumn<QString>("tooltip");
        QTest::addColumn<bool>("worksOnAnEmptyList");
        QTest::addColumn<QString>("state");
        const auto add = [](const char *name, const QString &tooltip, bool worksOnAnEmptyList,
                             const QString &state) {
            QTest::newRow(name) << tooltip << worksOnAnEmptyList << state;
        };
        add("Reproducción aleatoria", u"Reproducción aleatoria"_s, false, u"b of abc, shuffling"_s);
        add("Canción anterior", u"Canción anterior"_s, false, u"a of abc, playing, elsewhere"_s);
        add("Reproducir", u"Reproducir"_s, false, u"b of abc, playing"_s);
        add("Canción siguiente", u"Canción siguiente"_s, false, u"c of abc, playing, elsewhere"_s);
        add("Repetir canción", u"Repetir canción"_s, false, u"b of abc, repeating"_s);
        add("Añadir música", u"Añadir archivos de audio"_s, true, u"b of abc, asking"_s);
        add("Más opciones", u"Más opciones"_s, true, u"b of abc"_s);
    }

    void everyButtonDoesOneThing()
    {
        QFETCH(const bool, worksOnAnEmptyList);
        ControlsFixture f;
        const QString name = QString::fromUtf8(QTest::currentDataTag());
        QCOMPARE(f.button(name).isEnabled(), worksOnAnEmptyList);
        QTEST(f.button(name).toolTip(), "tooltip");
        QTEST(f.button(name).accessibleName(), "tooltip");
        f.fill();
        QVERIFY(f.button(name).isEnabled());
        QCOMPARE(f.state(), u"b of abc"_s);
        QTest::mouseClick(&f.button(name), Qt::LeftButton);
        QTEST(f.state(), "state");
    }

    void everyMenuHasItsEntries_data()
    {
        QTest::addColumn<QString>("menu");
        QTest::addColumn<bool>("isListEmpty");
        QTest::addColumn<QStringList>("entries");
        QTest::newRow("options of an empty list")
            << u"Más opciones"_s << true << QStringList({u"Eliminar todas las canciones, disabled"_s});
        QTest::newRow("options") << u"Más opciones"_s << false
                                 << QStringList({u"Eliminar todas las canciones, red"_s});
        QTest::newRow("ellipsis of a row")
            << u"ellipsis"_s << false
            << QStringList({u"Reproducir"_s, u"-"_s, u"Eliminar de la playlist, red"_s});
        QTest::newRow("secondary click on a row")
            << u"row"_s << false << QStringList({u"Reproducir"_s, u"Eliminar de la playlist, red"_s});
        QTest::newRow("secondary click on the title")
            << u"title"_s << false << QStringList({u"Copiar, disabled"_s, u"Seleccionar todo"_s});
    }

    void everyMenuHasItsEntries()
    {
        QFETCH(const QString, menu);
        QFETCH(const bool, isListEmpty);
        ControlsFixture f;
        if (!isListEmpty)
            f.fill();
        Menu &opened = f.open(menu);
        QTEST(described(opened), "entries");
        opened.close();
    }

    void everyEntryDoesOneThing_data()
    {
        QTest::addColumn<QString>("menu");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("state");
        QTest::newRow("clear") << u"Más opciones"_s << u"Eliminar todas las canciones"_s
                               << u"- of , elsewhere"_s;
        for (const auto &[tag, menu] :
            {std::pair("of the ellipsis", u"ellipsis"_s), {"of the row", u"row"_s}}) {
            QTest::addRow("play, %s", tag) << menu << u"Reproducir"_s << u"c of abc, playing, elsewhere"_s;
            QTest::addRow("remove, %s", tag) << menu << u"Eliminar de la playlist"_s << u"b of ab"_s;
        }
    }

    void everyEntryDoesOneThing()
    {
        QFETCH(const QString, menu);
        QFETCH(const QString, entry);
        ControlsFixture f;
        f.fill();
        Menu &opened = f.open(menu);
        for (QAction *action : opened.actions()) {
            if (action->text() == entry)
                QTest::mouseClick(&opened, Qt::LeftButton, {}, opened.actionGeometry(action).center());
        }
        QTEST(f.state(), "state");
    }

    void inviteAsksForFiles()
    {
        ControlsFixture f;
        QTest::mouseClick(&f.button(u"Seleccionar música…"_s), Qt::LeftButton);
        QVERIFY(f.player.showFileImporter());
    }
};

LUMAVERDINE_TEST(ControlsTest)
#include "ControlsTest.moc"
