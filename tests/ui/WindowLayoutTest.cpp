#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistView.h"
#include "ui/controls/Backdrop.h"
#include "ui/controls/Cover.h"
#include "ui/controls/Divider.h"
#include "ui/controls/Slider.h"

#include <QAbstractButton>
#include <QLayout>
#include <cmath>

using namespace Qt::StringLiterals;

class WindowLayoutTest : public QObject {
    Q_OBJECT

private:
    static QRect buttonPlace(const ViewFixture &f, const QString &name)
    {
        return f.place(*f.find<QAbstractButton>(name));
    }

    static QRect sliderPlace(const ViewFixture &f, const QString &name)
    {
        return f.place(*f.find<Slider>(name));
    }

    /// The first label that reads `text`.
    static QRect labelPlace(const ViewFixture &f, const QString &text)
    {
        for (const Label *label : f.view.findChildren<Label *>()) {
            if (label->isVisible() && label->text() == text)
                return f.place(*label);
        }
        return {};
    }

    static void addSizes()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("least window") << QSize(720, 620);
        QTest::newRow("large window") << QSize(1280, 800);
        QTest::newRow("tall window") << QSize(800, 1600);
    }

    /// A player with two tracks, the first one current, in a window of the size of the data row.
    static void show(ViewFixture &f)
    {
        QFETCH(QSize, size);
        f.add("ab");
        f.view.resize(size);
        f.render();
        QCOMPARE(f.view.size(), size);
    }

private Q_SLOTS:
    void nowPlayingLiesWhereTheLayoutPutsIt_data() { addSizes(); }
    void nowPlayingLiesWhereTheLayoutPutsIt()
    {
        ViewFixture f;
        show(f);
        QCOMPARE(f.place(*f.view.findChild<Cover *>()), QRect(30, 28, 190, 190));
        const QRect title = labelPlace(f, u"a"_s);
        const QRect artist = labelPlace(f, u"Artista desconocido"_s);
        const QRect album = labelPlace(f, u"Álbum desconocido"_s);
        const QRect position = labelPlace(f, u"Canción 1 de 2"_s);
        QCOMPARE(title.topLeft(), QPoint(245, 28));
        QCOMPARE(title.width(), f.view.width() - 245 - 30);
        QCOMPARE(artist.topLeft(), QPoint(245, title.top() + title.height() + 9));
        QCOMPARE(album.topLeft(), QPoint(245, artist.top() + artist.height() + 9));
        QCOMPARE(position.top() + position.height(), 28 + 190);
    }

    void transportLiesWhereTheLayoutPutsIt_data() { addSizes(); }
    void transportLiesWhereTheLayoutPutsIt()
    {
        ViewFixture f;
        show(f);
        const int top = 28 + 190 + 22;
        const int middle = f.view.width() / 2;
        const QSize small(36, 36);
        QCOMPARE(buttonPlace(f, u"Reproducir"_s), QRect(middle - 29, top, 58, 58));
        QCOMPARE(
            buttonPlace(f, u"Canción anterior"_s), QRect(QPoint(middle - 29 - 18 - 36, top + 11), small));
        QCOMPARE(buttonPlace(f, u"Canción siguiente"_s), QRect(QPoint(middle + 29 + 18, top + 11), small));
        QCOMPARE(buttonPlace(f, u"Reproducción aleatoria"_s), QRect(QPoint(30, top + 11), small));
        QCOMPARE(
            buttonPlace(f, u"Repetir canción"_s), QRect(QPoint(f.view.width() - 30 - 36, top + 11), small));
    }

    void progressAndVolumeLieWhereTheLayoutPutsThem_data() { addSizes(); }
    void progressAndVolumeLieWhereTheLayoutPutsThem()
    {
        ViewFixture f;
        show(f);
        const int right = f.view.width() - 30;
        const QRect bar = sliderPlace(f, u"Posición"_s);
        const QRect elapsed = labelPlace(f, u"0:00"_s);
        const QRect total = labelPlace(f, u"1:40"_s);
        QCOMPARE(bar.topLeft(), QPoint(30, 28 + 190 + 22 + 58 + 22));
        QCOMPARE(bar.width(), right - 30);
        QCOMPARE(elapsed.topLeft(), QPoint(30, bar.top() + bar.height() + 5));
        QCOMPARE(total.left() + total.width(), right);

        const QRect percentage = labelPlace(f, u"75 %"_s);
        const QRect volume = sliderPlace(f, u"Volumen"_s);
        QCOMPARE(percentage.width(), 38);
        QCOMPARE(percentage.left() + percentage.width(), right);
        QCOMPARE(volume.width(), 145);
        QCOMPARE(volume.left() + volume.width(), percentage.left() - 10);
        const QRect importButton = buttonPlace(f, u"Añadir archivos de audio"_s);
        const QRect options = buttonPlace(f, u"Más opciones"_s);
        QCOMPARE(importButton.left(), 30);
        QCOMPARE(options.left(), importButton.left() + importButton.width() + 10);
        const int tools = elapsed.top() + elapsed.height() + 14;
        QCOMPARE(importButton.united(volume).united(percentage).top(), tools);
        // Of an even and an odd height one lies half a point off.
        QVERIFY(std::abs(importButton.center().y() - volume.center().y()) <= 1);
    }

    void playlistLiesWhereTheLayoutPutsIt_data() { addSizes(); }
    void playlistLiesWhereTheLayoutPutsIt()
    {
        ViewFixture f;
        show(f);
        const QRect tools = buttonPlace(f, u"Añadir archivos de audio"_s)
                                .united(sliderPlace(f, u"Volumen"_s))
                                .united(buttonPlace(f, u"Más opciones"_s));
        const auto dividers = f.view.findChildren<Divider *>();
        QCOMPARE(dividers.size(), 2);
        const QRect upper = f.place(*dividers[0]);
        const QRect lower = f.place(*dividers[1]);
        QCOMPARE(upper.top(), tools.top() + tools.height() + 24);

        const QRect heading = labelPlace(f, u"Playlist"_s);
        const QRect subtitle = labelPlace(f, u"2 canciones"_s);
        QCOMPARE(heading.topLeft(), QPoint(24, upper.top() + upper.height() + 17));
        QCOMPARE(subtitle.topLeft(), QPoint(24, heading.top() + heading.height() + 3));
        QCOMPARE(lower.top(), subtitle.top() + subtitle.height() + 17);
        const QRect list = f.place(*f.view.findChild<PlaylistView *>());
        QCOMPARE(list.topLeft(), QPoint(0, lower.top() + lower.height()));
        QCOMPARE(list.bottomRight(), f.view.rect().bottomRight());
    }

    void opensHighEnoughForTheWholeInvitation()
    {
        const ViewFixture f;
        QCOMPARE(f.view.sizeHint().width(), 720);
        QVERIFY(f.view.sizeHint().height() >= 720);
        QVERIFY(f.view.sizeHint().height() >= f.view.layout()->sizeHint().height());
    }

    void fitsTheLeastWindow()
    {
        ViewFixture f;
        QVERIFY(f.view.minimumSizeHint().width() <= 720);
        QVERIFY2(f.view.minimumSizeHint().height() <= 620, "empty");
        f.add("a");
        QVERIFY2(f.view.minimumSizeHint().height() <= 620, "with a track");
    }

    void noTextKeepsTheWindowFromShrinking()
    {
        ViewFixture f;
        f.add("ab");
        const QSize least = f.view.minimumSizeHint();
        f.showTrackCalled(QString(100'000, u'W'));
        f.changeTrack(0, [](Track &listed) { listed.title = QString(100'000, u'W'); });
        f.render();
        QCOMPARE(f.view.minimumSizeHint(), least);
    }

    void layoutIsTheSameWithAndWithoutTracks()
    {
        ViewFixture f;
        const auto places = [&f] {
            QList<QRect> found{f.place(*f.view.findChild<Cover *>())};
            for (const Slider *slider : f.view.findChildren<Slider *>())
                found.append(f.place(*slider));
            for (const Divider *divider : f.view.findChildren<Divider *>())
                found.append(f.place(*divider));
            return found;
        };
        const QList<QRect> empty = places();
        f.add("abc");
        QCOMPARE(places(), empty);
        QCOMPARE(empty.first(), QRect(30, 28, 190, 190));
    }

    void nothingOverlapsInTheLeastWindow_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing loaded") << QString();
        QTest::newRow("long") << u"Una canción muy larga "_s.repeated(20);
        QTest::newRow("one long word") << QString(500, u'M');
        QTest::newRow("Arabic") << u"أغنية طويلة جدا عن النهر والجبل "_s.repeated(10);
        QTest::newRow("Japanese") << u"川と山についてのとても長い歌"_s.repeated(10);
        QTest::newRow("emoji") << u"🎵👩‍👩‍👧🏽🇪🇸"_s.repeated(40);
    }
    void nothingOverlapsInTheLeastWindow()
    {
        QFETCH(QString, text);
        ViewFixture f;
        if (!text.isEmpty())
            f.showTrackCalled(text);
        QCOMPARE(f.view.size(), QSize(720, 620));
        QList<QRect> places;
        for (const Label *label : f.view.findChildren<Label *>()) {
            if (label->isVisible())
                places.append(f.place(*label));
        }
        for (const QAbstractButton *button : f.view.findChildren<QAbstractButton *>()) {
            if (button->isVisible())
                places.append(f.place(*button));
        }
        QVERIFY(places.size() >= 15);
        for (qsizetype i = 0; i < places.size(); ++i) {
            QVERIFY(f.view.rect().contains(places[i]));
            for (qsizetype j = i + 1; j < places.size(); ++j)
                QVERIFY(!places[i].intersects(places[j]));
        }
    }

    void backdropAndDividerRunFromEdgeToEdge()
    {
        ViewFixture f;
        for (const QSize size : {QSize(720, 620), QSize(1280, 800)}) {
            f.view.resize(size);
            f.render();
            QCOMPARE(f.place(*f.view.findChild<Backdrop *>()), QRect(QPoint(), size));
            const QRect divider = f.place(*f.view.findChild<Divider *>());
            QCOMPARE(divider.width(), size.width());
            QCOMPARE(divider.height(), 1);
        }
    }

    void roomThatIsLeftGoesToThePlaylist()
    {
        ViewFixture f;
        f.add("a");
        const auto &list = *f.view.findChild<PlaylistView *>();
        const int height = list.height();
        f.view.resize(720, 820);
        f.render();
        QCOMPARE(list.height(), height + 200);
    }
};

LUMAVERDINE_TEST(WindowLayoutTest)
#include "WindowLayoutTest.moc"
