#include "desktop/FilePicker.h"
#include "tests/TestProgram.h"
#include "tests/ui/Listener.h"
#include "tests/ui/ViewFixture.h"
#include "ui/ImportAlert.h"
#include "ui/controls/Button.h"

#include <QAccessible>
#include <QDialog>
#include <QScreen>
#include <algorithm>
#include <qtestspontaneevent.h>

using namespace Qt::StringLiterals;

namespace {

struct ImportFixture : ViewFixture {
    FilePicker &picker = *view.findChild<FilePicker *>();

    /// What the picker reports when its user has chosen.
    void choose(const QStringList &names)
    {
        QList<QUrl> urls;
        for (const QString &name : names)
            urls.append(url(name));
        Q_EMIT picker.completed(urls);
        picker.close();
        render();
    }

    void fail(const QString &description)
    {
        Q_EMIT picker.completed(Error{description});
        picker.close();
        render();
    }

    [[nodiscard]] ImportAlert *alert() const
    {
        for (auto *alert : view.findChildren<ImportAlert *>()) {
            if (alert->isVisible())
                return alert;
        }
        return nullptr;
    }

    /// What the alert says below its headline.
    [[nodiscard]] QString message() const { return alert()->findChildren<Label *>().at(1)->text(); }

    /// Clicks the button that assistive technology calls `name`.
    void press(const QString &name) const
    {
        for (auto *button : view.findChildren<Button *>()) {
            if (QAccessible::queryAccessibleInterface(button)->text(QAccessible::Name) == name)
                button->click();
        }
    }

    /// The picker's dialog, or null while it is not showing.
    [[nodiscard]] static QDialog *dialog()
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            auto *dialog = qobject_cast<QDialog *>(widget);
            if (dialog && dialog->isVisible() && !qobject_cast<ImportAlert *>(dialog))
                return dialog;
        }
        return nullptr;
    }

    void requestImport()
    {
        player.showFileImporter = true;
        QTRY_VERIFY(dialog());
    }
};

} // namespace

class ImportFlowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void requestOpensThePicker()
    {
        ImportFixture f;
        QVERIFY(!f.dialog());
        f.requestImport();
        QVERIFY(f.dialog());
    }

    void cancellingChangesNothing()
    {
        ImportFixture f;
        f.add("a");
        f.requestImport();
        f.dialog()->reject();
        f.render();
        QVERIFY(!f.player.showFileImporter());
        QVERIFY(!f.alert());
        QCOMPARE(f.titles(), u"a"_s);
    }

    void withdrawnRequestClosesThePicker()
    {
        ImportFixture f;
        f.requestImport();
        f.player.showFileImporter = false;
        f.render();
        QTRY_VERIFY(!f.dialog());
    }

    void pickerCanBeAskedForAgainAtOnce()
    {
        ImportFixture f;
        f.requestImport();
        f.dialog()->reject();
        f.requestImport();
        QVERIFY(f.player.showFileImporter());
    }

    void askingAgainBringsThePickerToTheFront_data()
    {
        QTest::addColumn<QString>("button"); // empty for the command
        QTest::newRow("command") << QString();
        QTest::newRow("tools") << u"Añadir archivos de audio"_s;
        QTest::newRow("empty playlist") << u"Seleccionar música…"_s;
    }

    void askingAgainBringsThePickerToTheFront()
    {
        QFETCH(const QString, button);
        ImportFixture f;
        f.requestImport();
        QDialog *dialog = f.dialog();
        for (const bool isMinimized : {false, true}) {
            f.view.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&f.view));
            if (isMinimized)
                dialog->showMinimized();
            if (button.isEmpty())
                f.player.showFileImporter = true;
            else
                f.press(button);
            QTRY_COMPARE(QApplication::activeWindow(), dialog);
            QVERIFY(!dialog->isMinimized());
        }
        QVERIFY(f.player.showFileImporter());
    }

    void pickerComesToTheFrontOnceOnly()
    {
        ImportFixture f;
        f.requestImport();
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        f.player.volume = 0.5;
        f.render();
        f.render();
        QCOMPARE(QApplication::activeWindow(), &f.view);
    }

    void chosenFilesReachThePlayerInOneCall()
    {
        ImportFixture f;
        f.requestImport();
        f.choose({u"b2.mp3"_s, u"b10.mp3"_s, u"a.mp3"_s});
        // Sorted among themselves: they came together.
        QCOMPARE(f.titles(), u"ab2b10"_s);
        QVERIFY(!f.player.showFileImporter());
        QVERIFY(!f.alert());
    }

    void failureShowsTheAlert()
    {
        ImportFixture f;
        f.requestImport();
        f.fail(u"<b>No</b> se puede & basta"_s);
        QVERIFY(f.alert());
        const QList<Label *> labels = f.alert()->findChildren<Label *>();
        QCOMPARE(labels.size(), 2);
        QCOMPARE(labels.at(0)->text(), u"No se pudieron importar los archivos"_s);
        QCOMPARE(labels.at(0)->font().weight(), QFont::Bold);
        QCOMPARE(f.message(), u"<b>No</b> se puede & basta"_s);
        QCOMPARE(labels.at(1)->font().weight(), QFont::Normal);
        QVERIFY(labels.at(1)->geometry().top() >= labels.at(0)->geometry().bottom());
        QCOMPARE(f.alert()->windowTitle(), u"Lumaverdine"_s);
        QCOMPARE(f.alert()->accessibleName(), u"No se pudieron importar los archivos"_s);
        QVERIFY(f.player.playlist().isEmpty());
        QVERIFY(!f.player.showFileImporter());
    }

    void acceptingClosesTheAlertAndTheNextFailureShowsItAgain()
    {
        ImportFixture f;
        f.fail(u"uno"_s);
        const QList<QAbstractButton *> buttons = f.alert()->findChildren<QAbstractButton *>();
        QCOMPARE(buttons.size(), 1);
        QCOMPARE(buttons.first()->text(), u"Aceptar"_s);
        QVERIFY(buttons.first()->hasFocus());
        QTest::mouseClick(buttons.first(), Qt::LeftButton);
        f.render();
        QVERIFY(!f.alert());
        QTRY_VERIFY(!f.view.findChild<ImportAlert *>());
        f.fail(u"dos"_s);
        QVERIFY(f.alert());
        QCOMPARE(f.message(), u"dos"_s);
    }

    void escapeClosesTheAlert()
    {
        ImportFixture f;
        f.fail(u"uno"_s);
        QTest::keyClick(f.alert(), Qt::Key_Escape);
        f.render();
        QVERIFY(!f.alert());
        f.player.volume = 0.5;
        f.render();
        QVERIFY(!f.alert());
    }

    void importCanBeRequestedWhileTheAlertIsUp()
    {
        ImportFixture f;
        f.add("a");
        f.player.play();
        f.fail(u"uno"_s);
        f.requestImport();
        QVERIFY(f.dialog());
        QVERIFY(f.alert());
        QVERIFY(f.player.isPlaying());
        f.fail(u"dos"_s);
        QCOMPARE(f.message(), u"dos"_s);
    }

    void alertAndPickerBlockNeitherEachOtherNorTheWindow()
    {
        ImportFixture f;
        f.fail(u"uno"_s);
        f.requestImport();
        QCOMPARE(QApplication::activeModalWidget(), nullptr);
        QCOMPARE(f.alert()->windowModality(), Qt::NonModal);
        f.alert()->reject();
        f.render();
        QVERIFY(!f.alert());
        QVERIFY(f.dialog());
        QVERIFY(f.player.showFileImporter());
        f.fail(u"dos"_s);
        QVERIFY(!f.dialog());
        f.requestImport();
        f.dialog()->reject();
        f.render();
        QVERIFY(!f.player.showFileImporter());
        QCOMPARE(f.message(), u"dos"_s);
    }

    void alertOpensOverTheMiddleOfItsWindow()
    {
        ImportFixture f;
        f.view.move(30, 20);
        f.fail(u"Una razón que dice todo lo que hay que decir, y algo más. "_s.repeated(4));
        const QRect withTitleBar(f.alert()->pos(), f.alert()->size() + QSize(0, 32));
        const QPoint off = withTitleBar.center() - f.view.geometry().center();
        QVERIFY2(std::abs(off.x()) <= 3 && std::abs(off.y()) <= 3, qPrintable(QDebug::toString(off)));
    }

    void alertOpensOnTheScreenWithItsTitleBar_data()
    {
        QTest::addColumn<QRect>("window"); // on a screen of 1280 × 800 below a bar of 30
        QTest::addColumn<QPoint>("place"); // of 400 × 168, 200 with the title bar
        QTest::newRow("over the window") << QRect(100, 130, 720, 620) << QPoint(260, 340);
        QTest::newRow("left") << QRect(-600, 130, 720, 620) << QPoint(0, 340);
        QTest::newRow("right") << QRect(1200, 130, 720, 620) << QPoint(880, 340);
        QTest::newRow("above") << QRect(100, -400, 720, 620) << QPoint(260, 30);
        QTest::newRow("below") << QRect(100, 700, 720, 620) << QPoint(260, 630);
    }

    void alertOpensOnTheScreenWithItsTitleBar()
    {
        QFETCH(const QRect, window);
        QTEST(ImportAlert::placeOver(window, {400, 168}, {0, 30, 1280, 800}), "place");
    }

    void alertIsAsHighAsItsTextFromTheFirstShowing()
    {
        ImportFixture f;
        f.fail(u"corto"_s);
        const int low = f.alert()->height();
        f.alert()->reject();
        f.render();
        f.fail(u"/una/carpeta-muy-larga/que-no-tiene-espacios"_s.repeated(12));
        const QSize size = f.alert()->size();
        QVERIFY(size.height() > low + 60);
        QCOMPARE(size.width(), 400);
        f.render();
        QCOMPARE(f.alert()->size(), size);
        for (const Label *label : f.alert()->findChildren<Label *>())
            QVERIFY(f.alert()->rect().contains(label->geometry()));
        f.alert()->reject();
        f.render();
        f.fail(u"sin fin "_s.repeated(10'000));
        QVERIFY(f.alert()->height() < 400);
        QCOMPARE(shownLines(*f.alert()->findChildren<Label *>().at(1)).size(), 12);
    }

    void alertIsLaidOutEvenly()
    {
        ImportFixture f;
        f.fail(u"uno"_s);
        const QList<Label *> labels = f.alert()->findChildren<Label *>();
        const auto &accept = *f.alert()->findChild<Button *>();
        const auto below = [](const QWidget &piece) { return piece.y() + piece.height(); };
        QCOMPARE(labels[0]->pos(), QPoint(20, 20));
        QCOMPARE(labels[1]->y() - below(*labels[0]), 8);
        QCOMPARE(accept.y() - below(*labels[1]), 18);
        QCOMPARE(f.alert()->height() - below(accept), 20);
        QCOMPARE(f.alert()->width() - accept.x() - accept.width(), 20);
        QCOMPARE(labels[0]->font().pixelSize(), 14);
        QCOMPARE(labels[1]->font().pixelSize(), 13);
        Button prominent(Button::Look::Prominent, u"Aceptar"_s);
        prominent.resize(accept.size());
        const auto fill = [](const QWidget &button) {
            return const_cast<QWidget &>(button).grab().toImage().pixelColor(6, button.height() / 2);
        };
        QCOMPARE(fill(accept), fill(prominent));
    }

    void alertStaysWhereItHasBeenMoved()
    {
        ImportFixture f;
        f.fail(u"uno"_s);
        const QPoint place = f.alert()->pos() + QPoint(40, 30);
        f.alert()->move(place);
        QShowEvent shownAgain; // by the window system, after it has been minimised
        QSpontaneKeyEvent::setSpontaneous(&shownAgain);
        qApp->notify(f.alert(), &shownAgain);
        QCOMPARE(f.alert()->pos(), place);
    }

    void alertIsAnnounced()
    {
        ImportFixture f;
        const Listener listener;
        f.fail(u"uno"_s);
        QCOMPARE(listener.news(), QStringList(u"alert"_s));
    }

    void alertWithoutATextSaysSo()
    {
        ImportAlert alert(nullptr);
        alert.setError(std::nullopt);
        QCOMPARE(alert.findChildren<Label *>().at(1)->text(), u"Error desconocido"_s);
    }
};

LUMAVERDINE_TEST(ImportFlowTest)
#include "ImportFlowTest.moc"
