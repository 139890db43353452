#include "ui/drawing/Fonts.h"
#include "desktop/DesktopSettings.h"
#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistView.h"

#include <QMenu>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(DesktopSettings)

namespace {

/// A view with two tracks, or an empty one.
struct FontsFixture : ViewFixture {
    explicit FontsFixture(bool hasTracks)
    {
        view.resize(900, 800);
        if (hasTracks)
            add("ab");
        render();
    }

    [[nodiscard]] QImage shown() { return view.grab().toImage(); }

    [[nodiscard]] int rowHeight() const
    {
        const auto &list = *view.findChild<PlaylistView *>();
        return list.visualRect(list.model()->index(0, 0)).height();
    }
};

} // namespace

class FontsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { useFonts({}); }

    void changeWhileRunningShowsEverywhere_data()
    {
        QTest::addColumn<bool>("hasTracks");
        QTest::addColumn<DesktopSettings>("desktop");
        for (const bool hasTracks : {true, false}) {
            const char *content = hasTracks ? "with tracks" : "empty";
            QTest::addRow("texts, %s", content) << hasTracks << DesktopSettings{.font = {u"Serif"_s, 9}};
            QTest::addRow("numbers, %s", content)
                << hasTracks << DesktopSettings{.fixedFont = {u"Serif"_s, 9}};
            QTest::addRow("larger, %s", content) << hasTracks << DesktopSettings{.textScale = 1.5};
            QTest::addRow("smaller, %s", content) << hasTracks << DesktopSettings{.textScale = 0.8};
        }
    }

    void changeWhileRunningShowsEverywhere()
    {
        QFETCH(const bool, hasTracks);
        QFETCH(const DesktopSettings, desktop);
        FontsFixture f(hasTracks);
        const QImage before = f.shown();
        useFonts(desktop);
        f.render();
        QCOMPARE(f.shown(), FontsFixture(hasTracks).shown());
        QVERIFY(f.shown() != before);
        useFonts({});
        f.render();
        QCOMPARE(f.shown(), before);
    }

    void textsAndRowsGrow()
    {
        FontsFixture f(true);
        const auto &title = *f.view.findChild<Label *>();
        QCOMPARE(title.font().pixelSize(), 28);
        QCOMPARE(f.rowHeight(), 58);
        useFonts({.textScale = 1.5});
        f.render();
        QCOMPARE(title.font().pixelSize(), 42);
        QVERIFY(f.rowHeight() > 58);
    }

    void noTextIsCutInAnyFont()
    {
        for (const QString &family : {u"Serif"_s, u"Sans Serif"_s, u"Monospace"_s}) {
            for (const double scale : {0.5, 0.9, 1.0, 1.3, 1.5}) {
                useFonts({.font = {family, 9}, .textScale = scale});
                FontsFixture f(true);
                f.player.volume = 1;
                f.render();
                for (const Label *label : f.view.findChildren<Label *>()) {
                    if (label->isVisible())
                        QCOMPARE(shownLines(*label), QStringList(label->text()));
                }
            }
        }
    }

    void menusHaveTheFontInItsOwnSize()
    {
        useFonts({.font = {u"Serif"_s, 12}, .textScale = 1.5});
        const QMenu menu;
        QCOMPARE(menu.font().family(), u"Serif"_s);
        QCOMPARE(menu.font().pointSizeF(), 18.0);
        QCOMPARE(systemFont(14).family(), u"Serif"_s);
        QVERIFY(fixedFont(14).family() != u"Serif"_s);
    }
};

LUMAVERDINE_TEST(FontsTest)
#include "FontsTest.moc"
