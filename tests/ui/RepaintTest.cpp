#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistView.h"
#include "ui/controls/Button.h"
#include "ui/controls/Cover.h"
#include "ui/controls/Slider.h"
#include "ui/controls/SymbolView.h"

#include <QEvent>
#include <QSet>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Notes which of the pieces below a view are painted.
class PieceWatch : public QObject {
public:
    explicit PieceWatch(QWidget &view)
    {
        for (QWidget *piece : view.findChildren<QWidget *>())
            piece->installEventFilter(this);
    }

    bool eventFilter(QObject *piece, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            m_painted.insert(piece);
        return false;
    }

    void forget() { m_painted.clear(); }
    [[nodiscard]] bool sawPainting(const QObject *piece) const { return m_painted.contains(piece); }

private:
    QSet<const QObject *> m_painted;
};

struct RepaintFixture : ViewFixture {
    Slider &seekBar = *find<Slider>(u"Posición"_s);
    Label &elapsed = *view.findChildren<Label *>().at(4);
    PlaylistView &list = *view.findChild<PlaylistView *>();
    PieceWatch watch{view};

    RepaintFixture()
    {
        add("abc");
        player.play();
        settle();
    }

    /// Lets everything be painted that is due, and forgets it.
    void settle()
    {
        render();
        if (!QTest::qWaitFor([this] { return !view.findChild<Cover *>()->isFading(); }))
            qFatal("the cover never stops fading");
        render();
        watch.forget();
    }

    /// What must not be painted for a tick.
    [[nodiscard]] QList<QWidget *> bystanders() const
    {
        QList<QWidget *> pieces{list.viewport(), view.findChild<Cover *>(), find<Slider>(u"Volumen"_s)};
        for (Button *button : view.findChildren<Button *>())
            pieces.append(button);
        for (Label *label : view.findChildren<Label *>()) {
            if (label != &elapsed)
                pieces.append(label);
        }
        return pieces;
    }
};

} // namespace

class RepaintTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tickPaintsTheBarAndTheElapsedTimeOnly()
    {
        RepaintFixture f;
        f.player.currentTime = 20;
        QTRY_VERIFY(f.watch.sawPainting(&f.seekBar));
        QVERIFY(f.watch.sawPainting(&f.elapsed));
        for (QWidget *piece : f.bystanders())
            QVERIFY2(!f.watch.sawPainting(piece), piece->metaObject()->className());
    }

    void tickWithinASecondLeavesTheTimeAlone()
    {
        RepaintFixture f;
        f.player.currentTime = 20;
        f.settle();
        f.player.currentTime = 20.25;
        QTRY_VERIFY(f.watch.sawPainting(&f.seekBar));
        QVERIFY(!f.watch.sawPainting(&f.elapsed));
    }

    void changeIsPaintedWithoutBeingAskedFor()
    {
        RepaintFixture f;
        const auto isPaintedAfter = [&f](const QWidget *piece, const auto &change) {
            f.settle();
            change();
            return QTest::qWaitFor([&] { return f.watch.sawPainting(piece); });
        };
        const auto symbols = f.view.findChildren<SymbolView *>();
        const auto speaker = std::find_if(symbols.begin(), symbols.end(),
            [](const SymbolView *view) { return view->symbol().startsWith(u"speaker"); });
        QVERIFY(isPaintedAfter(*speaker, [&f] { f.player.volume = 0; }));
        QVERIFY(isPaintedAfter(f.find<Slider>(u"Volumen"_s), [&f] { f.player.volume = 0.5; }));
        QVERIFY(isPaintedAfter(f.find<Button>(u"Pausar"_s), [&f] { f.player.pause(); }));
        QVERIFY(isPaintedAfter(
            f.find<Button>(u"Reproducción aleatoria"_s), [&f] { f.player.isShuffling = true; }));
        QVERIFY(isPaintedAfter(f.list.viewport(), [&f] { f.player.load(f.track(1), false); }));
    }

    void pieceUnderTheMouseIsPaintedAsItComesAndGoes()
    {
        RepaintFixture f;
        QList<std::pair<QWidget *, QPoint>> places;
        for (Button *button : f.view.findChildren<Button *>()) {
            if (button->isVisible())
                places.append({button, f.place(*button).center()});
        }
        auto &volume = *f.find<Slider>(u"Volumen"_s);
        const int thumb = qRound(7 + volume.value() / 100 * (volume.width() - 14));
        places.append({&volume, f.place(volume).topLeft() + QPoint(thumb, 10)});
        for (const auto &[piece, over] : places) {
            for (const QPoint to : {over, QPoint(1, 1)}) {
                f.settle();
                QTest::mouseMove(f.view.windowHandle(), to);
                QVERIFY2(QTest::qWaitFor([&, piece = piece] { return f.watch.sawPainting(piece); }),
                    qPrintable(piece->accessibleName()));
            }
        }
    }

    void notificationWithoutAChangePaintsNothing()
    {
        RepaintFixture f;
        f.player.isPlaying = true;
        f.player.volume = f.player.volume();
        f.player.currentTime = f.player.currentTime();
        f.render();
        f.render();
        for (QWidget *piece : f.bystanders() + QList<QWidget *>({&f.seekBar, &f.elapsed}))
            QVERIFY2(!f.watch.sawPainting(piece), piece->metaObject()->className());
    }
};

LUMAVERDINE_TEST(RepaintTest)
#include "RepaintTest.moc"
