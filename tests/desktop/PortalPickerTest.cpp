#include "desktop/AudioFileDialog.h"
#include "desktop/FilePicker.h"
#include "tests/FakeService.h"
#include "tests/TestProgram.h"

#include <QDBusMetaType>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <fnmatch.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

using Rule = std::pair<uint, QString>;
using Rules = std::pair<QString, QList<Rule>>;

/// What a picker's portal was asked.
struct Question {
    explicit Question(const QDBusMessage &asked)
        : call(asked)
        , options(FakePortal::optionsOf(asked))
    {
        for (const Rule &rule : filter().second)
            (rule.first == 0 ? globs : types).append(rule.second);
    }

    QDBusMessage call;
    QVariantMap options;
    QStringList globs;
    QStringList types;

    [[nodiscard]] Rules filter() const { return qdbus_cast<Rules>(options.value(u"current_filter"_s)); }

    [[nodiscard]] bool listsByName(const QString &name) const
    {
        return std::any_of(globs.begin(), globs.end(),
            [&name](const QString &glob) { return fnmatch(qPrintable(glob), qPrintable(name), 0) == 0; });
    }

    [[nodiscard]] bool listsByType(const QMimeType &type) const
    {
        return std::any_of(
            types.begin(), types.end(), [&type](const QString &listed) { return type.inherits(listed); });
    }

    [[nodiscard]] QByteArray folder() const { return options.value(u"current_folder"_s).toByteArray(); }
};

} // namespace

/// The picker where there is a desktop portal.
class PortalPickerTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_home;
    PrivateBus m_bus;
    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<FilePicker> m_picker;
    QList<QList<QUrl>> m_choices;
    QStringList m_errors;
    int m_closed = 0;

    [[nodiscard]] AudioFileDialog *dialog() const { return m_window->findChild<AudioFileDialog *>(); }

    /// Opens the picker; the question that the portal gets.
    Question open()
    {
        const qsizetype before = m_portal->questions().size();
        m_picker->open();
        m_portal->settle();
        if (m_portal->questions().size() != before + 1)
            qFatal("the portal is not asked");
        return Question(m_portal->questions().constLast());
    }

    void respond(uint response, const QStringList &addresses = {})
    {
        m_portal->respond(response, {{u"uris"_s, addresses}});
        m_portal->settle();
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("HOME", m_home.path().toUtf8());
        qputenv("XDG_RUNTIME_DIR", m_home.path().toUtf8() + "/run");
        qunsetenv("XDG_CONFIG_HOME");
        qDBusRegisterMetaType<Rule>();
        qDBusRegisterMetaType<QList<Rule>>();
    }

    void init()
    {
        m_portal = std::make_unique<FakePortal>(m_bus);
        m_window = std::make_unique<QWidget>();
        m_window->show();
        m_picker = std::make_unique<FilePicker>(*m_window);
        m_choices.clear();
        m_errors.clear();
        m_closed = 0;
        connect(m_picker.get(), &FilePicker::completed, this, [this](const Result<QList<QUrl>> &result) {
            QCOMPARE(m_closed, 0);
            if (result.isError())
                m_errors.append(result.error().description);
            else
                m_choices.append(result.value());
        });
        connect(m_picker.get(), &FilePicker::closed, this, [this] { ++m_closed; });
    }

    void cleanup()
    {
        m_picker.reset();
        m_window.reset();
        m_portal.reset();
    }

    void portalIsAskedForMusic()
    {
        const Question question = open();
        QCOMPARE(question.call.interface(), u"org.freedesktop.portal.FileChooser"_s);
        QCOMPARE(question.call.member(), u"OpenFile"_s);
        QCOMPARE(question.call.signature(), u"ssa{sv}"_s);
        QCOMPARE(question.call.arguments().at(0), QVariant(QString())); // there is no X server
        QCOMPARE(question.call.arguments().at(1), QVariant(u"Añadir música"_s));
        QCOMPARE(question.options.value(u"multiple"_s), QVariant(true));
        QCOMPARE(question.options.value(u"modal"_s), QVariant(false));
        QCOMPARE(question.folder(), m_home.path().toUtf8() + "/Music" + '\0');
        QVERIFY(!dialog());
    }

    void choiceIsDeliveredInItsOrder()
    {
        open();
        respond(0, {u"file:///m/b.mp3"_s, u"file:///m/%FF%23.mp3"_s, u"file:///m/a.mp3"_s});
        QCOMPARE(m_choices.size(), 1);
        QStringList addresses;
        for (const QUrl &url : m_choices.first())
            addresses.append(url.toString(QUrl::FullyEncoded));
        QCOMPARE(
            addresses, QStringList({u"file:///m/b.mp3"_s, u"file:///m/%FF%23.mp3"_s, u"file:///m/a.mp3"_s}));
        QCOMPARE(m_closed, 1);
        QVERIFY(m_portal->closedHandles().isEmpty());
    }

    void thousandsOfFilesAreDelivered()
    {
        open();
        QStringList addresses;
        for (int i = 0; i < 3000; ++i)
            addresses.append(u"file:///m/%1.mp3"_s.arg(i));
        respond(0, addresses);
        QCOMPARE(QUrl::toStringList(m_choices.value(0)), addresses);
    }

    void portalOfOldChoosesWhereItAnswers()
    {
        m_portal->ownHandle = u"/org/freedesktop/portal/desktop/request/7"_s;
        m_portal->isSilent = true;
        open();
        m_portal->take();
        respond(0, {u"file:///m/a.mp3"_s});
        QCOMPARE(m_choices.size(), 1);
    }

    void answersToOtherQuestionsAreNone()
    {
        open();
        m_portal->ownHandle = u"/org/freedesktop/portal/desktop/request/7"_s;
        respond(0, {u"file:///m/a.mp3"_s});
        QCOMPARE(m_closed, 0);
    }

    void answerMayComeBeforeThePortalTakesTheQuestion()
    {
        m_portal->isSilent = true;
        open();
        respond(0, {u"file:///m/a.mp3"_s});
        QCOMPARE(m_choices.size(), 1);
        m_portal->take();
        m_portal->settle();
        QVERIFY(m_portal->closedHandles().isEmpty());
        QCOMPARE(m_closed, 1);
    }

    void otherResponsesAreACancel_data()
    {
        QTest::addColumn<uint>("response");
        QTest::newRow("cancel") << 1U;
        QTest::newRow("window closed") << 2U;
    }

    void otherResponsesAreACancel()
    {
        QFETCH(const uint, response);
        open();
        respond(response, {u"file:///m/a.mp3"_s});
        QCOMPARE(m_closed, 1);
        QVERIFY(m_choices.isEmpty() && m_errors.isEmpty());
        open();
        QCOMPARE(m_closed, 1);
    }

    void choiceWithoutOneFileOfThisMachineIsAnError_data()
    {
        QTest::addColumn<QStringList>("addresses");
        QTest::newRow("nothing") << QStringList();
        QTest::newRow("addresses elsewhere") << QStringList{u"smb://server/a.mp3"_s, u"file://host/b.mp3"_s};
        QTest::newRow("no address") << QStringList{u""_s, u"/m/a.mp3"_s};
    }

    void choiceWithoutOneFileOfThisMachineIsAnError()
    {
        QFETCH(const QStringList, addresses);
        open();
        respond(0, addresses);
        QCOMPARE(m_errors,
            QStringList(u"El selector de archivos no ha entregado ningún archivo de este equipo."_s));
        QCOMPARE(m_closed, 1);
        QVERIFY(m_choices.isEmpty() && !dialog());
    }

    void filesOfThisMachineAreDeliveredWithoutTheOthers()
    {
        open();
        respond(0, {u"smb://server/a.mp3"_s, u"file:///m/b.mp3"_s});
        QCOMPARE(m_choices, QList<QList<QUrl>>({{QUrl(u"file:///m/b.mp3"_s)}}));
        QVERIFY(m_errors.isEmpty());
    }

    void portalThatDiesWhileOpenIsAnError()
    {
        open();
        m_portal.reset();
        QTRY_COMPARE(m_closed, 1);
        QCOMPARE(m_errors, QStringList(u"El selector de archivos del escritorio no está disponible."_s));
        QVERIFY(!dialog());
        m_portal = std::make_unique<FakePortal>(m_bus);
        open();
    }

    void ownDialogComesAtOnceIfThePortalRefuses()
    {
        m_portal->error = u"org.freedesktop.portal.Error.Failed"_s;
        open();
        QVERIFY(dialog() && dialog()->isVisible());
        QVERIFY(m_errors.isEmpty());
        QCOMPARE(m_closed, 0);
    }

    void ownDialogComesAtOnceIfThePortalDiesWhileAsked()
    {
        m_portal->isSilent = true;
        open();
        m_portal.reset();
        QTRY_VERIFY(dialog());
        QVERIFY(m_errors.isEmpty());
    }

    void ownDialogComesInPlaceOfAPortalThatHangs()
    {
        m_portal->isSilent = true;
        const Question question = open();
        const QDeadlineTimer early(4500);
        const QDeadlineTimer late(7000);
        QVERIFY(QTest::qWaitFor([this] { return dialog() != nullptr; }, 10'000));
        QVERIFY(early.hasExpired() && !late.hasExpired());
        QVERIFY(dialog() && dialog()->isVisible());
        m_portal->take();
        m_portal->settle();
        QCOMPARE(m_portal->closedHandles(), QStringList(m_portal->handleOf(question.call)));
        respond(0, {u"file:///m/a.mp3"_s});
        QVERIFY(m_choices.isEmpty() && dialog());
    }

    void askingAgainBringsTheWindowToTheFront()
    {
        open();
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        m_window->showMinimized();
        m_picker->open();
        m_portal->settle();
        QCOMPARE(m_portal->questions().size(), 1);
        QVERIFY(!m_window->isMinimized());
        QTRY_VERIFY(m_window->isActiveWindow());
        QCOMPARE(m_closed, 0);
    }

    void closeTakesTheQuestionBack()
    {
        const Question question = open();
        m_picker->close();
        QCOMPARE(m_closed, 1);
        QTRY_COMPARE(m_portal->closedHandles(), QStringList(m_portal->handleOf(question.call)));
        open();
        QCOMPARE(m_closed, 1);
    }

    void questionGoesWithItsPicker_data()
    {
        QTest::addColumn<bool>("isTaken");
        QTest::newRow("open") << true;
        QTest::newRow("not taken yet") << false;
    }

    void questionGoesWithItsPicker()
    {
        QFETCH(const bool, isTaken);
        m_portal->isSilent = !isTaken;
        const Question question = open();
        m_picker.reset();
        m_window.reset();
        m_portal->settle();
        if (!isTaken) {
            QVERIFY(m_portal->closedHandles().isEmpty());
            m_portal->take();
            m_portal->settle();
        }
        QCOMPARE(m_portal->closedHandles(), QStringList(m_portal->handleOf(question.call)));
    }

    void startsWhereTheLastChoiceWasMade_data()
    {
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<QByteArray>("folder");
        const QByteArray music = m_home.path().toUtf8() + "/Music";
        QTest::newRow("folder") << u"file:///m/%C3%B1/a.mp3"_s << QByteArray("/m/ñ");
        QTest::newRow("not UTF-8") << u"file:///m/%FF/a.mp3"_s << QByteArray("/m/\xFF");
        QTest::newRow("document portal") << u"file://%1/run/doc/1a2b/a.mp3"_s.arg(m_home.path()) << music;
        QTest::newRow("document portal of the user")
            << u"file:///run/user/%1/doc/1a2b/a.mp3"_s.arg(getuid()) << music;
        QTest::newRow("document portal in a sandbox") << u"file:///run/flatpak/doc/1a2b/a.mp3"_s << music;
    }

    void startsWhereTheLastChoiceWasMade()
    {
        QFETCH(const QString, chosen);
        QFETCH(const QByteArray, folder);
        open();
        respond(0, {chosen, u"file:///n/b.mp3"_s});
        QCOMPARE(open().folder(), folder + '\0');
    }

    void theOneFilterListsWhatIsPlayedByName()
    {
        const Question question = open();
        const auto filters = qdbus_cast<QList<Rules>>(question.options.value(u"filters"_s));
        QCOMPARE(filters, QList<Rules>({question.filter()}));
        QCOMPARE(question.filter().first, u"Archivos de audio"_s);
        for (const auto &name :
            {u"a.mp3"_s, u"a.MP3"_s, u"a.Mp3"_s, u"a.caf"_s, u"a.CAF"_s, u"a b.mp+"_s, u"a.W64"_s})
            QVERIFY2(question.listsByName(name), qPrintable(name));
        for (const auto &name :
            {u"a.m3u"_s, u"a.MID"_s, u"a.mod"_s, u"a.pls"_s, u"mp3"_s, u"a.mp3.txt"_s, u"a.jpg"_s})
            QVERIFY2(!question.listsByName(name), qPrintable(name));
    }

    void theOneFilterListsWhatIsPlayedByType()
    {
        const Question question = open();
        const QMimeDatabase types;
        for (const auto &name : {u"mpeg"_s, u"mp4"_s, u"flac"_s, u"ogg"_s, u"x-opus+ogg"_s, u"x-wav"_s,
                 u"x-aiff"_s, u"x-ms-wma"_s, u"x-wavpack"_s, u"x-matroska"_s, u"aac"_s})
            QVERIFY2(question.listsByType(types.mimeTypeForName(u"audio/"_s + name)), qPrintable(name));
        static const QRegularExpression others(
            u"url|scpls|asx|pla$|midi|xmf|mod$|s3m|-it$|-x[im]$|stm|mo3|sid|psf|audible|aax|text|image|video"_s);
        for (const QMimeType &type : types.allMimeTypes())
            QVERIFY2(!question.listsByType(type) || !others.match(type.name()).hasMatch(),
                qPrintable(type.name()));
    }

    void plasma5GetsNamesOnly()
    {
        qputenv("KDE_SESSION_VERSION", "5");
        const Question question = open();
        qunsetenv("KDE_SESSION_VERSION");
        QVERIFY(question.types.isEmpty());
        QVERIFY(question.listsByName(u"a.CAF"_s));
    }

    /// A bus that does not answer holds nothing up.
    void doesNotWaitForTheBus()
    {
        m_bus.hang();
        QElapsedTimer clock;
        clock.start();
        m_picker->open();
        m_picker->open();
        m_picker->close();
        const qint64 waited = clock.elapsed();
        m_bus.resume();
        QVERIFY2(waited < 1000, qPrintable(QString::number(waited)));
    }
};

LUMAVERDINE_TEST(PortalPickerTest)
#include "PortalPickerTest.moc"
