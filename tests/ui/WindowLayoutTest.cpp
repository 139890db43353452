#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistView.h"
#include "ui/controls/Backdrop.h"
#include "ui/controls/Cover.h"
#include "ui/controls/Divider.h"
#include "ui/controls/Slider.h"

#include <QAbstractButton>

using namespace Qt::StringLiterals;

class WindowLayoutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
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
        Track track = f.track(0);
        track.title = track.artist = track.album = QString(100'000, u'W');
        f.player.currentTrack = track;
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

    void nothingOverlapsInTheLeastWindow()
    {
        ViewFixture f;
        QList<QRect> places;
        for (const Label *label : f.view.findChildren<Label *>()) {
            if (label->isVisible())
                places.append(f.place(*label));
        }
        for (const QAbstractButton *button : f.view.findChildren<QAbstractButton *>())
            places.append(f.place(*button));
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

QTEST_MAIN(WindowLayoutTest)
#include "WindowLayoutTest.moc"
