#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistView.h"
#include "ui/controls/Button.h"
#include "ui/controls/MenuButton.h"

#include <QAccessible>
#include <QMenu>
#include <algorithm>
#include <memory>
#include <qtestspontaneevent.h>

using namespace Qt::StringLiterals;

namespace {

/// Every object below `root` that assistive technology can see, each as "role: name".
void collect(QAccessibleInterface *root, QAccessible::Role role, QStringList &names)
{
    for (int i = 0; i < root->childCount(); ++i) {
        QAccessibleInterface *child = root->child(i);
        if (!child || child->state().invisible)
            continue;
        if (child->role() == role)
            names.append(child->text(QAccessible::Name));
        collect(child, role, names);
    }
}

/// The names of all visible objects with this role.
QStringList named(const ViewFixture &f, QAccessible::Role role)
{
    QStringList names;
    collect(QAccessible::queryAccessibleInterface(const_cast<ContentView *>(&f.view)), role, names);
    return names;
}

QAccessible::State stateOf(const ViewFixture &f, const QString &buttonName)
{
    return QAccessible::queryAccessibleInterface(f.find<QAbstractButton>(buttonName))->state();
}

/// The playlist as it is met from outside.
struct SpokenListFixture : ViewFixture {
    PlaylistView &list = *view.findChild<PlaylistView *>();
    QAccessibleInterface &spoken = *QAccessible::queryAccessibleInterface(&list);

    explicit SpokenListFixture(const char *letters) { add(letters); }

    [[nodiscard]] QAccessible::State stateOfRow(int row) const { return spoken.child(row)->state(); }
    void act(int row, const QString &action) const { spoken.child(row)->actionInterface()->doAction(action); }
};

} // namespace

class AccessibilityTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void controlsAreFoundByWhereTheyAre()
    {
        ViewFixture f;
        f.add("ab");
        QAccessibleInterface *window = QAccessible::queryAccessibleInterface(&f.view);
        for (const QString &name : {u"Reproducir"_s, u"Posición"_s, u"Volumen"_s, u"Playlist"_s}) {
            const QRect place = QAccessible::queryAccessibleInterface(f.find<QWidget>(name))->rect();
            QAccessibleInterface *found = window;
            while (found && found->text(QAccessible::Name) != name)
                found = found->childAt(place.center().x(), place.center().y());
            QVERIFY2(found, qPrintable(name));
        }
    }

    void buttonsAreNamedByTheirTooltips()
    {
        ViewFixture f;
        QCOMPARE(named(f, QAccessible::Button),
            QStringList({u"Canción anterior"_s, u"Reproducir"_s, u"Canción siguiente"_s,
                u"Añadir archivos de audio"_s, u"Más opciones"_s, u"Seleccionar música…"_s}));
        QCOMPARE(named(f, QAccessible::CheckBox),
            QStringList({u"Reproducción aleatoria"_s, u"Repetir canción"_s}));
        QVERIFY(stateOf(f, u"Más opciones"_s).hasPopup);
    }

    void slidersAndCoverAreNamed()
    {
        const ViewFixture f;
        QCOMPARE(named(f, QAccessible::Slider), QStringList({u"Posición"_s, u"Volumen"_s}));
        QCOMPARE(named(f, QAccessible::Graphic), QStringList({u"Portada"_s}));
    }

    void textsAreLabelsWithTheirWholeText()
    {
        ViewFixture f;
        f.add("a");
        Track track = f.track(0);
        track.title = u"Una canción muy larga "_s.repeated(20);
        f.player.currentTrack = track;
        f.render();
        QCOMPARE(named(f, QAccessible::StaticText),
            QStringList({track.title, u"Artista desconocido"_s, u"Álbum desconocido"_s, u"Canción 1 de 1"_s,
                u"0:00"_s, u"1:40"_s, u"75 %"_s, u"Playlist"_s, u"1 canción"_s, u"0:00"_s}));
    }

    void rowsReadTitleArtistLengthAndWhetherTheyAreCurrent()
    {
        ViewFixture f;
        f.add("ab");
        f.player.play();
        f.render();
        QCOMPARE(named(f, QAccessible::List), QStringList({u"Playlist"_s}));
        QCOMPARE(named(f, QAccessible::ListItem),
            QStringList({u"a, Artista desconocido, 0:00, actual, reproduciendo"_s,
                u"b, Artista desconocido, 0:00"_s}));
        f.player.pause();
        f.render();
        QCOMPARE(
            named(f, QAccessible::ListItem).first(), u"a, Artista desconocido, 0:00, actual, en pausa"_s);
    }

    void rowsTellWhichIsCurrentWhetherItSoundsAndWhereTheKeyboardIs()
    {
        SpokenListFixture f("abcdefgh");
        QVERIFY(f.stateOfRow(0).active && !f.stateOfRow(0).animated);
        QVERIFY(!f.stateOfRow(1).active);
        f.player.play();
        f.render();
        QVERIFY(f.stateOfRow(0).animated);
        QVERIFY(f.stateOfRow(1).focusable && !f.stateOfRow(1).focused);
        f.list.setFocus();
        QTest::keyClick(&f.list, Qt::Key_Down);
        QVERIFY(f.stateOfRow(1).focused && f.stateOfRow(1).selected);
        QVERIFY(!f.stateOfRow(0).focused && !f.stateOfRow(0).selected);
        QCOMPARE(f.spoken.focusChild(), f.spoken.child(1));
        f.list.clearFocus();
        QCOMPARE(f.spoken.focusChild(), nullptr);
        QVERIFY(!f.stateOfRow(1).focused);
        QVERIFY(!f.stateOfRow(0).offscreen);
        QVERIFY(f.stateOfRow(7).offscreen);
        QVERIFY(!f.stateOfRow(0).invisible);
        f.list.hide();
        QVERIFY(f.stateOfRow(0).invisible);
    }

    void listIsATableOfOneColumn()
    {
        const SpokenListFixture f("abc");
        QAccessibleTableInterface &table = *f.spoken.tableInterface();
        QCOMPARE(table.rowCount(), 3);
        QCOMPARE(table.cellAt(1, 0), f.spoken.child(1));
        QCOMPARE(table.cellAt(1, 1), nullptr);
        QCOMPARE(table.cellAt(3, 0), nullptr);
        QVERIFY(table.selectedRows().isEmpty());
        QVERIFY(table.selectRow(1));
        QCOMPARE(table.selectedRows(), QList<int>({1}));
        QCOMPARE(table.selectedCells(), QList<QAccessibleInterface *>({f.spoken.child(1)}));
        f.list.selectionModel()->clearSelection();
        QVERIFY(table.selectedRows().isEmpty());
    }

    void nothingElseIsAChild()
    {
        SpokenListFixture f("ab");
        QAccessibleInterface *view = QAccessible::queryAccessibleInterface(&f.view);
        const QAccessibleInterface *row = f.spoken.child(0);
        QCOMPARE(f.spoken.indexOfChild(view), -1);
        QCOMPARE(row->indexOfChild(row->child(0)), 0);
        QCOMPARE(row->indexOfChild(f.spoken.child(1)), -1);
        QCOMPARE(row->child(1), nullptr);
        const QPoint below = row->rect().bottomLeft() + QPoint(20, 3);
        QCOMPARE(f.spoken.childAt(below.x(), below.y()), nullptr);
    }

    void actionsOfARowAreNamed()
    {
        const SpokenListFixture f("a");
        const QAccessibleActionInterface &row = *f.spoken.child(0)->actionInterface();
        QStringList names;
        QStringList descriptions;
        for (const QString &action : row.actionNames()) {
            names.append(row.localizedActionName(action));
            descriptions.append(row.localizedActionDescription(action));
        }
        QCOMPARE(names, QStringList({u"Reproducir"_s, u"Más opciones"_s, u"Ir a la fila"_s}));
        QCOMPARE(descriptions,
            QStringList({u"Reproduce la canción desde el principio"_s, u"Abre el menú de la canción"_s,
                u"Lleva el teclado a la fila"_s}));
    }

    void rowsLieWhereTheyAreSeen()
    {
        const SpokenListFixture f("ab");
        const QAccessibleInterface *row = f.spoken.child(1);
        const QPoint middle = row->rect().center();
        QCOMPARE(row->rect().size(), f.list.visualRect(f.list.model()->index(1, 0)).size());
        QCOMPARE(f.spoken.childAt(middle.x(), middle.y()), row);
        const QRect button = row->child(0)->rect();
        QCOMPARE(button.size(), QSize(26, 26));
        QCOMPARE(row->childAt(button.center().x(), button.center().y()), row->child(0));
        QCOMPARE(row->childAt(middle.x(), middle.y()), nullptr);
    }

    void rowsCanBePlayedAndGoneToFromOutside()
    {
        SpokenListFixture f("abc");
        f.act(1, QAccessibleActionInterface::pressAction());
        QCOMPARE(f.current(), u"b"_s);
        QVERIFY(f.player.isPlaying());
        f.act(1, QAccessibleActionInterface::showMenuAction());
        QCOMPARE(f.list.openedMenu()->actions().size(), 2);
        f.list.openedMenu()->close();
        f.act(2, QAccessibleActionInterface::setFocusAction());
        QVERIFY(f.list.hasFocus());
        QCOMPARE(f.list.currentIndex().row(), 2);
        QCOMPARE(f.current(), u"b"_s);
    }

    void menuOfARowIsOpenedReadAndUsedFromOutside()
    {
        SpokenListFixture f("ab");
        QAccessibleInterface *button = f.spoken.child(1)->child(0);
        QCOMPARE(button->role(), QAccessible::Button);
        QVERIFY(button->state().hasPopup);
        QCOMPARE(button->text(QAccessible::Name), u"Más opciones de b"_s);
        QCOMPARE(button->parent(), f.spoken.child(1));
        QCOMPARE(f.spoken.childCount(), 2);
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(f.spoken.childCount(), 3);
        QAccessibleInterface *menu = f.spoken.child(2);
        QCOMPARE(menu->role(), QAccessible::PopupMenu);
        QCOMPARE(menu->text(QAccessible::Name), u"Más opciones de b"_s);
        QCOMPARE(f.spoken.indexOfChild(menu), 2);
        QAccessibleInterface *remove = menu->child(2);
        QCOMPARE(remove->text(QAccessible::Name), u"Eliminar de la playlist"_s);
        remove->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        f.render();
        QCOMPARE(f.titles(), u"a"_s);
    }

    void rowStaysTheSameObjectWhereverItsTrackGoes()
    {
        SpokenListFixture f("abc");
        QAccessibleInterface *c = f.spoken.child(2);
        const QAccessible::Id a = QAccessible::uniqueId(f.spoken.child(0));
        const QAccessible::Id menuOfA = QAccessible::uniqueId(f.spoken.child(0)->child(0));
        f.player.removeTrack(f.track(0));
        f.render();
        QCOMPARE(f.spoken.child(1), c);
        QCOMPARE(f.spoken.indexOfChild(c), 1);
        // The toolkit tells it if somebody listens.
        QAccessibleTableModelChangeEvent removal(&f.list, QAccessibleTableModelChangeEvent::RowsRemoved);
        f.spoken.tableInterface()->modelChange(&removal);
        QCOMPARE(QAccessible::accessibleInterface(a), nullptr);
        QCOMPARE(QAccessible::accessibleInterface(menuOfA), nullptr);
        f.player.moveTrack({1}, 0);
        f.render();
        QCOMPARE(f.spoken.child(0), c);
        QCOMPARE(c->text(QAccessible::Name), u"c, Artista desconocido, 0:00"_s);
    }

    void rowThatIsPutElsewhereIsAnotherObjectThatIsValid()
    {
        SpokenListFixture f("abc");
        const QAccessible::Id former = QAccessible::uniqueId(f.spoken.child(1));
        f.player.playlist.mutate([](QList<Track> &tracks) { std::reverse(tracks.begin(), tracks.end()); });
        f.render();
        QVERIFY(f.spoken.child(1)->isValid());
        QCOMPARE(QAccessible::accessibleInterface(former), nullptr);
    }

    void rowsGoWithTheirList()
    {
        auto f = std::make_unique<SpokenListFixture>("a");
        const QAccessible::Id row = QAccessible::uniqueId(f->spoken.child(0));
        f.reset();
        QCOMPARE(QAccessible::accessibleInterface(row), nullptr);
    }

    void trackIsANotificationThatNobodySees()
    {
        ViewFixture f;
        QCOMPARE(named(f, QAccessible::Notification), QStringList(u"Sin reproducción"_s));
        for (QWidget *piece : f.view.findChildren<QWidget *>()) {
            if (QAccessible::queryAccessibleInterface(piece)->role() == QAccessible::Notification) {
                QCOMPARE(piece->size(), QSize(1, 1));
                QVERIFY(piece->testAttribute(Qt::WA_TransparentForMouseEvents));
            }
        }
        f.add("ab");
        f.player.next();
        f.render();
        QCOMPARE(named(f, QAccessible::Notification), QStringList(u"b, Artista desconocido"_s));
        f.player.clearPlaylist();
        f.render();
        QCOMPARE(named(f, QAccessible::Notification), QStringList(u"Sin reproducción"_s));
    }

    void playButtonIsNamedForWhatItWillDo()
    {
        ViewFixture f;
        f.add("a");
        f.player.play();
        f.render();
        QVERIFY(named(f, QAccessible::Button).contains(u"Pausar"_s));
        QVERIFY(!named(f, QAccessible::Button).contains(u"Reproducir"_s));
    }

    void disabledAndActiveAreStates()
    {
        ViewFixture f;
        QVERIFY(stateOf(f, u"Repetir canción"_s).disabled);
        f.add("a");
        f.player.isRepeating = true;
        f.render();
        QVERIFY(!stateOf(f, u"Repetir canción"_s).disabled);
        QVERIFY(stateOf(f, u"Repetir canción"_s).checked);
        QVERIFY(!stateOf(f, u"Reproducción aleatoria"_s).checked);
    }

    void buttonsCanBePressedFromOutside()
    {
        ViewFixture f;
        f.add("ab");
        const auto press = [&f](const QString &name) {
            QAccessibleInterface *button =
                QAccessible::queryAccessibleInterface(f.find<QAbstractButton>(name));
            button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        };
        press(u"Canción siguiente"_s);
        QTRY_COMPARE(f.current(), u"b"_s);
        press(u"Más opciones"_s);
        QVERIFY(f.find<MenuButton>(u"Más opciones"_s)->menu().isVisible());
    }

    void entriesOfTheOptionsMenuCanBeReadFromOutside()
    {
        ViewFixture f;
        QAccessibleInterface *options =
            QAccessible::queryAccessibleInterface(f.find<QAbstractButton>(u"Más opciones"_s));
        QCOMPARE(options->childCount(), 1);
        QAccessibleInterface *menu = options->child(0);
        QCOMPARE(menu->role(), QAccessible::PopupMenu);
        QCOMPARE(options->indexOfChild(menu), 0);
        QCOMPARE(options->indexOfChild(options), -1);
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        options->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
        QVERIFY(f.find<MenuButton>(u"Más opciones"_s)->hasFocus());
        QCOMPARE(menu->text(QAccessible::Name), u"Más opciones"_s);
        QAccessibleInterface *clear = menu->child(0);
        QCOMPARE(clear->text(QAccessible::Name), u"Eliminar todas las canciones"_s);
        QVERIFY(clear->state().disabled);
        f.add("a");
        QVERIFY(!clear->state().disabled);
    }

    void shuffleCanBeToggledFromOutside()
    {
        ViewFixture f;
        f.add("ab");
        QAccessibleInterface *shuffle =
            QAccessible::queryAccessibleInterface(f.find<QAbstractButton>(u"Reproducción aleatoria"_s));
        shuffle->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        f.render();
        QVERIFY(f.player.isShuffling());
        QVERIFY(shuffle->state().checked);
    }

    void everythingIsReachableWithTab()
    {
        ViewFixture f;
        f.add("ab");
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        QStringList reached;
        for (int i = 0; i < 11; ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            reached.append(QApplication::focusWidget()->accessibleName());
        }
        QCOMPARE(reached,
            QStringList({u"a"_s, u"Reproducción aleatoria"_s, u"Canción anterior"_s, u"Reproducir"_s,
                u"Canción siguiente"_s, u"Repetir canción"_s, u"Posición"_s, u"Añadir archivos de audio"_s,
                u"Más opciones"_s, u"Volumen"_s, u"Playlist"_s}));
    }

    void noButtonHasTheKeyboardAtTheStart()
    {
        ViewFixture f;
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        QCOMPARE(QApplication::focusWidget(), &f.view);
        QCOMPARE(f.view.accessibleName(), u"Lumaverdine"_s);
    }

    void keyboardIsWhereItWasIfTheWindowIsShownAgain()
    {
        ViewFixture f;
        auto &volume = *f.find<QWidget>(u"Volumen"_s);
        volume.setFocus();
        QShowEvent shownAgain; // by the window system, after it has been minimised
        QSpontaneKeyEvent::setSpontaneous(&shownAgain);
        qApp->notify(&f.view, &shownAgain);
        QCOMPARE(f.view.focusWidget(), &volume);
    }
};

LUMAVERDINE_TEST(AccessibilityTest)
#include "AccessibilityTest.moc"
