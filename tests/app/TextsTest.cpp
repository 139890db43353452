#include "desktop/AudioFileDialog.h"
#include "tests/FakeService.h"
#include "tests/TestProgram.h"
#include "tests/app/AppFixture.h"
#include "ui/ImportAlert.h"
#include "ui/PlaylistView.h"
#include "ui/controls/SelectableLabel.h"
#include "ui/controls/Slider.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QContextMenuEvent>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// A context and a text in it, as the sources have it.
using SourceText = std::pair<QByteArray, QByteArray>;

/// What translators are given: all texts that the toolkit's tool finds in the sources.
QSet<SourceText> textsForTranslators()
{
    const QTemporaryDir folder;
    QProcess tool;
    tool.setWorkingDirectory(QStringLiteral(SOURCES));
    tool.start(QStringLiteral(LUPDATE),
        {u"-silent"_s, u"-I"_s, u"."_s, u"app"_s, u"desktop"_s, u"player"_s, u"ui"_s, u"-ts"_s,
            folder.filePath(u"texts.ts"_s)});
    QSet<SourceText> texts;
    QFile list(folder.filePath(u"texts.ts"_s));
    if (!tool.waitForFinished() || tool.exitCode() != 0 || !list.open(QIODevice::ReadOnly))
        return texts;
    QXmlStreamReader xml(&list);
    QByteArray context;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == "name"_L1)
            context = xml.readElementText().toUtf8();
        else if (xml.name() == "source"_L1)
            texts.insert({context, xml.readElementText().toUtf8()});
    }
    return texts;
}

/// Another language, in which every text stands in ‹marks›; knows which ones have been asked for.
class Marks : public QTranslator {
public:
    explicit Marks(const QSet<SourceText> &texts)
        : m_unused(texts)
        , m_texts(texts)
    {
        QCoreApplication::installTranslator(this);
    }

    [[nodiscard]] const QSet<SourceText> &unused() const { return m_unused; }
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char *context, const char *source, const char *, int) const override
    {
        m_unused.remove({context, source});
        return m_texts.contains(SourceText(context, source)) ? u"‹%1›"_s.arg(QString::fromUtf8(source))
                                                             : QString();
    }

private:
    mutable QSet<SourceText> m_unused;
    QSet<SourceText> m_texts;
};

/// What of a text is not in marks, but for the name of the program.
QString unmarked(QString text)
{
    static const QRegularExpression marked(u"‹[^‹›]*›"_s);
    while (text.contains(marked))
        text.remove(marked);
    return text.remove(u"Lumaverdine"_s);
}

/// All that a widget shows or says.
QStringList textsOf(const QWidget &widget)
{
    QStringList texts{
        widget.windowTitle(), widget.toolTip(), widget.accessibleName(), widget.accessibleDescription()};
    if (const auto *label = qobject_cast<const Label *>(&widget))
        texts.append(label->text());
    if (const auto *button = qobject_cast<const QAbstractButton *>(&widget))
        texts.append(button->text());
    if (const auto *slider = qobject_cast<const Slider *>(&widget))
        texts.append(slider->spokenWords());
    for (const QAction *action : widget.actions())
        texts.append(action->text());
    return texts;
}

QStringList textsOf(QAccessibleInterface &row)
{
    QStringList texts{row.text(QAccessible::Name), row.child(0)->text(QAccessible::Name)};
    const QAccessibleActionInterface &actions = *row.actionInterface();
    for (const QString &action : actions.actionNames())
        texts << actions.localizedActionName(action) << actions.localizedActionDescription(action);
    return texts;
}

/// All that is shown or said at this moment, but for what the toolkit's dialog says itself.
QStringList allTexts()
{
    QStringList texts;
    for (const QWidget *widget : QApplication::allWidgets()) {
        const auto *dialog = qobject_cast<const QFileDialog *>(widget);
        if (dialog)
            texts << dialog->windowTitle() << dialog->nameFilters().first().section(u'(', 0, 0);
        else if (!qobject_cast<const QFileDialog *>(widget->window()))
            texts += textsOf(*widget);
        if (const auto *list = qobject_cast<const PlaylistView *>(widget)) {
            for (int row = 0; row < list->model()->rowCount(); ++row)
                texts += textsOf(
                    *QAccessible::queryAccessibleInterface(const_cast<PlaylistView *>(list))->child(row));
        }
    }
    return texts;
}

} // namespace

/// Another language is one file.
class TextsTest : public QObject {
    Q_OBJECT

private:
    QSet<SourceText> m_texts = textsForTranslators();
    PrivateBus m_bus;

    static void verifyAllAreMarked()
    {
        QCoreApplication::processEvents();
        for (const QString &text : allTexts()) {
            for (const QChar letter : unmarked(text))
                QVERIFY2(!letter.isLetter(), qPrintable(text));
        }
    }

private Q_SLOTS:
    void everyTextIsTranslated()
    {
        QVERIFY(!m_texts.isEmpty());
        const Marks marks(m_texts);
        FakePlatform platform;
        LumaverdineApp app(platform.services());
        PlayerManager &player = app.player();
        app.show();
        QVERIFY(QTest::qWaitForWindowExposed(&app.window()));
        verifyAllAreMarked();

        player.addFiles({QUrl(u"file:///1.mp3"_s), QUrl(u"file:///2.mp3"_s)});
        verifyAllAreMarked();
        player.play();
        const auto openMenuOfTheStrip = [&window = app.window()] {
            QContextMenuEvent event(QContextMenuEvent::Mouse, {300, 14}, window.mapToGlobal(QPoint(300, 14)));
            QCoreApplication::sendEvent(&window, &event);
        };
        openMenuOfTheStrip();
        verifyAllAreMarked();
        app.window().openedMenu()->close();
        app.window().toggleZoom();
        openMenuOfTheStrip();
        verifyAllAreMarked();
        app.window().openedMenu()->close();

        auto &list = *app.window().findChild<PlaylistView *>();
        list.openRowMenu(list.model()->index(0, 0));
        verifyAllAreMarked();
        list.openedMenu()->close();
        QWidget &title = *app.window().findChild<SelectableLabel *>();
        QContextMenuEvent menu(QContextMenuEvent::Mouse, {5, 5}, title.mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(&title, &menu);
        verifyAllAreMarked();
        QApplication::activePopupWidget()->close();

        player.showFileImporter = true;
        QTRY_VERIFY(app.window().findChild<AudioFileDialog *>());
        verifyAllAreMarked();
        auto &dialog = *app.window().findChild<AudioFileDialog *>();
        dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(u"smb://a/b"_s);
        dialog.accept();
        QTRY_VERIFY(app.window().findChild<ImportAlert *>());
        verifyAllAreMarked();
        auto portal = std::make_unique<FakePortal>(m_bus);
        for (const bool isAnswered : {true, false}) {
            player.showFileImporter = true;
            portal->settle();
            if (isAnswered)
                portal->respond(0);
            else
                portal.reset();
            QTRY_VERIFY(!player.showFileImporter());
            verifyAllAreMarked();
        }
        ImportAlert alert(nullptr);
        alert.setError(std::nullopt);
        verifyAllAreMarked();

        const NameOnlyIconProvider icons;
        QCOMPARE(icons.type(QFileInfo(u"/"_s)), u"‹Carpeta›"_s);
        QCOMPARE(icons.type(QFileInfo(u"1.mp3"_s)), u"‹Archivo MP3›"_s);
        for (const SourceText &text : marks.unused())
            QFAIL("nobody has seen " + text.first + ": " + text.second);
    }

    void languageWithoutACatalogueIsSpanish()
    {
        for (const auto language : {QLocale::French, QLocale::Spanish, QLocale::C}) {
            const Translation translation{QLocale(language)};
            QCOMPARE(QLocale().language(), QLocale::Spanish);
            QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), u"Cancelar"_s);
            QCOMPARE(QCoreApplication::translate("ContentView", "%n canciones", nullptr, 1), u"1 canción"_s);
            QCOMPARE(QCoreApplication::translate("ContentView", "Volumen"), u"Volumen"_s);
            QCOMPARE(QCoreApplication::translate("QFileDialog", "File &name:"), u"&Nombre de archivo:"_s);
            QCOMPARE(QCoreApplication::translate("QFileDialog", "Files of type:"), u"Archivos de tipo:"_s);
        }
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), u"Cancel"_s);
    }
};

LUMAVERDINE_TEST(TextsTest)
#include "TextsTest.moc"
