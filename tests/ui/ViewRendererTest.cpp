#include "ui/ViewRenderer.h"
#include "player/Published.h"
#include "tests/TestProgram.h"

#include <QCoreApplication>

namespace {

struct Lamp : ObservableObject {
    Published<int> brightness{*this, 0};
};

/// Follows a lamp and remembers every brightness it has rendered.
struct LampView {
    explicit LampView(Lamp &lamp)
        : renderer(lamp)
    {
        renderer.follow([this, &lamp] { rendered.append(lamp.brightness()); });
    }

    QList<int> rendered;
    ViewRenderer renderer;
};

} // namespace

class ViewRendererTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void stepRunsAtOnce()
    {
        Lamp lamp;
        const LampView view(lamp);
        QCOMPARE(view.rendered, QList<int>({0}));
    }

    void changeIsRenderedFromTheEventLoop()
    {
        Lamp lamp;
        const LampView view(lamp);
        lamp.brightness = 3;
        QCOMPARE(view.rendered, QList<int>({0}));
        QCoreApplication::processEvents();
        QCOMPARE(view.rendered, QList<int>({0, 3}));
    }

    void tenThousandNotificationsAreOneRender()
    {
        Lamp lamp;
        const LampView view(lamp);
        for (int i = 1; i <= 10'000; ++i)
            lamp.brightness = i;
        QCoreApplication::processEvents();
        QCOMPARE(view.rendered, QList<int>({0, 10'000}));
    }

    void everyTurnHasItsOwnRender()
    {
        Lamp lamp;
        const LampView view(lamp);
        lamp.brightness = 1;
        QCoreApplication::processEvents();
        lamp.brightness = 2;
        QCoreApplication::processEvents();
        QCOMPARE(view.rendered, QList<int>({0, 1, 2}));
    }

    void changeMadeByAStepIsRenderedNext()
    {
        Lamp lamp;
        LampView view(lamp);
        view.renderer.follow([&lamp] {
            if (lamp.brightness() == 1)
                lamp.brightness = 2;
        });
        lamp.brightness = 1;
        QTRY_COMPARE(view.rendered, QList<int>({0, 1, 2}));
    }

    void ownStateIsRenderedOnRequest()
    {
        Lamp lamp;
        LampView view(lamp);
        view.renderer.markOutOfDate();
        view.renderer.markOutOfDate();
        QCoreApplication::processEvents();
        QCOMPARE(view.rendered.size(), 2);
    }
};

LUMAVERDINE_TEST(ViewRendererTest)
#include "ViewRendererTest.moc"
