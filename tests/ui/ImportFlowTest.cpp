#include "platform/files/FilePicker.h"
#include "tests/ui/ViewFixture.h"
#include "ui/ImportAlert.h"

#include <QAbstractButton>
#include <QDialog>
#include <QLabel>
#include <QSignalSpy>

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
        render();
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
        f.player.showFileImporter = true;
        f.render();
        QVERIFY(f.dialog());
        QVERIFY(f.player.showFileImporter());
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
        QCOMPARE(f.alert()->text(), u"No se pudieron importar los archivos"_s);
        QCOMPARE(f.alert()->informativeText(), u"<b>No</b> se puede & basta"_s);
        QCOMPARE(f.alert()->windowModality(), Qt::WindowModal);
        for (const QLabel *label : f.alert()->findChildren<QLabel *>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
        QVERIFY(f.player.playlist().isEmpty());
        QVERIFY(!f.player.showFileImporter());
    }

    void acceptingClosesTheAlertAndTheNextFailureShowsItAgain()
    {
        ImportFixture f;
        f.fail(u"uno"_s);
        const QList<QAbstractButton *> buttons = f.alert()->buttons();
        QCOMPARE(buttons.size(), 1);
        QCOMPARE(buttons.first()->text(), u"Aceptar"_s);
        QTest::mouseClick(buttons.first(), Qt::LeftButton);
        f.render();
        QVERIFY(!f.alert());
        f.fail(u"dos"_s);
        QVERIFY(f.alert());
        QCOMPARE(f.alert()->informativeText(), u"dos"_s);
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
        QCOMPARE(f.alert()->informativeText(), u"dos"_s);
    }

    void alertWithoutATextSaysSo()
    {
        ImportAlert alert(nullptr);
        alert.setError(std::nullopt);
        QCOMPARE(alert.informativeText(), u"Error desconocido"_s);
    }
};

QTEST_MAIN(ImportFlowTest)
#include "ImportFlowTest.moc"
