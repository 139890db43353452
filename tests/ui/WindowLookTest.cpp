#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistRowDelegate.h"
#include "ui/PlaylistView.h"
#include "ui/ProgramStyle.h"
#include "ui/controls/Cover.h"
#include "ui/controls/Divider.h"
#include "ui/drawing/Fonts.h"

#include <QAbstractButton>
#include <QMenu>

using namespace Qt::StringLiterals;

namespace {

const QColor Accent(0, 0, 255);

QPalette blackOnWhite()
{
    QPalette palette(Qt::black, Qt::white);
    palette.setColor(QPalette::Window, Qt::white);
    palette.setColor(QPalette::WindowText, Qt::black);
    palette.setColor(QPalette::Highlight, Accent);
    return palette;
}

/// A view in black on white, 720 points wide and high.
struct LookFixture : ViewFixture {
    LookFixture()
    {
        QApplication::setPalette(blackOnWhite());
        view.resize(720, 720);
        render();
    }

    [[nodiscard]] QColor at(QPoint point) { return view.grab().toImage().pixelColor(point); }

    [[nodiscard]] QRect row(int number) const
    {
        const auto &list = *view.findChild<PlaylistView *>();
        const QRect inList = list.visualRect(list.model()->index(number, 0));
        return {list.viewport()->mapTo(&view, inList.topLeft()), inList.size()};
    }

    [[nodiscard]] const Label *label(const QString &text) const
    {
        for (const Label *label : view.findChildren<Label *>()) {
            if (label->isVisible() && label->text() == text)
                return label;
        }
        return nullptr;
    }
};

/// The grey that black at the given opacities, one over the other, makes of white.
int greyOf(std::initializer_list<double> opacities)
{
    double grey = 255;
    for (const double opacity : opacities)
        grey *= 1 - opacity;
    return qRound(grey);
}

bool isNear(const QColor &color, int grey)
{
    return std::abs(color.red() - grey) <= 2 && std::abs(color.blue() - grey) <= 2;
}

} // namespace

#define VERIFY_GREY(color, grey) QVERIFY2(isNear(color, grey), qPrintable((color).name()))

/// The fonts, opacities and colours of the window.
class WindowLookTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setStyle(new ProgramStyle); }

    void everyTextHasItsFontAndTone_data()
    {
        using Tone = Label::Tone;
        QTest::addColumn<QString>("text");
        QTest::addColumn<QFont>("font");
        QTest::addColumn<Tone>("tone");
        const auto row = [](const QString &text, const QFont &font, Tone tone) {
            QTest::newRow(qPrintable(text)) << text << font << tone;
        };
        row(u"Sin reproducción"_s, systemFont(28, QFont::Bold), Tone::Primary);
        row(u"Añade música para comenzar"_s, systemFont(18, QFont::Medium), Tone::Secondary);
        row(u"La playlist está vacía"_s, systemFont(14), Tone::Tertiary);
        row(u"Sin canciones"_s, systemFont(13, QFont::Medium), Tone::Secondary);
        row(u"0:00"_s, fixedFont(11, QFont::Medium), Tone::Secondary);
        row(u"75 %"_s, fixedFont(11), Tone::Secondary);
        row(u"Playlist"_s, systemFont(20, QFont::Bold), Tone::Primary);
        row(u"Añade archivos MP3, M4A, AAC, WAV u otros formatos compatibles."_s, systemFont(13),
            Tone::Secondary);
        row(u"2 canciones"_s, systemFont(12), Tone::Secondary);
        row(u"3:20"_s, fixedFont(12), Tone::Secondary);
    }

    void everyTextHasItsFontAndTone()
    {
        QFETCH(const QString, text);
        LookFixture f;
        if (!f.label(text)) {
            f.add("ab");
            f.changeTrack(0, [](Track &track) { track.duration = 200; });
            f.render();
        }
        const Label *label = f.label(text);
        QVERIFY(label);
        QTEST(label->font(), "font");
        QTEST(label->tone(), "tone");
    }

    void fontsAreOfTheSizeAndWeightAskedFor()
    {
        for (const auto &make : {systemFont, fixedFont}) {
            QCOMPARE(make(28, QFont::Bold).pixelSize(), 28);
            QCOMPARE(make(28, QFont::Bold).weight(), QFont::Bold);
            QCOMPARE(make(11, QFont::Normal).pixelSize(), 11);
            QCOMPARE(make(11, QFont::Normal).weight(), QFont::Normal);
        }
        QVERIFY(QFontInfo(fixedFont(11)).fixedPitch());
    }

    void backdropIsTintedFromCornerToCorner()
    {
        LookFixture f;
        VERIFY_GREY(f.at({1, 1}), greyOf({0.04}));
        VERIFY_GREY(f.at({700, 20}), 255);
        VERIFY_GREY(f.at({718, 718}), greyOf({0.025, 0.018}));
    }

    void dividersAndThePlaylistsGroundAreFaint()
    {
        LookFixture f;
        const auto dividers = f.view.findChildren<Divider *>();
        QCOMPARE(dividers.size(), 2);
        for (const auto &[divider, opacity] : {std::pair(dividers[0], 0.55), std::pair(dividers[1], 0.45)}) {
            const QPoint middle = f.place(*divider).center();
            const int ground = f.at(middle + QPoint(0, 1)).red();
            // A hairline at full opacity is a fifth of the text's colour.
            QVERIFY(std::abs(f.at(middle).red() - ground * (1 - 0.2 * opacity)) <= 6);
        }
        const QPoint upper = f.place(*dividers[0]).center();
        const int step = f.at(upper - QPoint(0, 1)).red() - f.at(upper + QPoint(0, 1)).red();
        QVERIFY2(std::abs(step - 0.018 * 255) <= 1.5, qPrintable(QString::number(step)));
    }

    void placeholderOfTheCoverIsTintedFromCornerToCorner()
    {
        LookFixture f;
        const QRect cover = f.place(*f.view.findChild<Cover *>());
        const int start = f.at(cover.topLeft() + QPoint(12, 12)).red();
        const int end = f.at(cover.bottomRight() - QPoint(12, 12)).red();
        QVERIFY2(std::abs(start - greyOf({0.15, 0.037})) <= 4, qPrintable(QString::number(start)));
        QVERIFY2(std::abs(end - greyOf({0.05, 0.02})) <= 4, qPrintable(QString::number(end)));
    }

    void symbolsStandByTheirInk()
    {
        LookFixture f;
        f.add("ab");
        const auto inkIn = [&f](const QRect &area) {
            const QImage image = f.view.grab(area).toImage();
            QRect ink;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (image.pixelColor(x, y).red() < image.pixelColor(0, 0).red() - 12)
                        ink |= QRect(area.left() + x, area.top() + y, 1, 1);
                }
            }
            return ink;
        };
        const QRect position = f.place(*f.label(u"Canción 1 de 2"_s));
        const QRect note =
            inkIn(QRect(235, position.top() - 2, position.left() - 235, position.height() + 4));
        QCOMPARE(note.left(), 245);
        QCOMPARE(position.left() - (note.left() + note.width()), 9);
        const QRect button = f.place(*f.find<QAbstractButton>(u"Añadir archivos de audio"_s));
        const QRect plus = inkIn(QRect(button.left() + 4, button.top() + 4, 22, button.height() - 8));
        QCOMPARE(plus.left() - button.left(), 12);
    }

    void rowsLieInTheirPadding()
    {
        LookFixture f;
        f.add("ab");
        const QRect first = f.row(0);
        QCOMPARE(first.width(), 720 - 2 * 10);
        QCOMPARE(f.row(1).top() - first.top() - first.height(), 4);
        const PlaylistRowGeometry at(QRect(0, 0, 700, 58), 40, 20, 16);
        QCOMPARE(at.marker, QRect(12, 0, 28, 58));
        QCOMPARE(at.cover, QRect(12 + 28 + 12, 8, 42, 42));
        QCOMPARE(at.title, QRect(106, 9, at.length.left() - 2 * 12 - 106, 20));
        QCOMPARE(at.artist.topLeft(), QPoint(106, 9 + 20 + 3));
        QCOMPARE(at.menu, QRect(700 - 12 - 26, 16, 26, 26));
        QCOMPARE(at.length, QRect(at.menu.left() - 12 - 40, 0, 40, 58));
    }

    void currentRowStandsOnTheAccentAtATenth()
    {
        LookFixture f;
        f.add("ab");
        const QPoint inRow(6, 29);
        const QColor other = f.at(f.row(1).topLeft() + inRow);
        const QColor current = f.at(f.row(0).topLeft() + inRow);
        QVERIFY(std::abs(current.red() - other.red() * 0.9) <= 3);
        QVERIFY(std::abs(current.blue() - (other.blue() * 0.9 + 25.5)) <= 3);
        // Its corners are round.
        QVERIFY(isNear(f.at(f.row(0).topLeft() + QPoint(1, 1)), other.red()));
    }

    void rowWithoutACoverShowsAFaintSquareWithRoundCorners()
    {
        LookFixture f;
        f.add("ab");
        const QRect cover = PlaylistRowGeometry(f.row(1), 0, 0, 0).cover;
        const int ground = f.at(cover.topLeft() - QPoint(3, 0)).red();
        VERIFY_GREY(f.at(cover.topLeft() + QPoint(21, 3)), qRound(ground * 0.92));
        VERIFY_GREY(f.at(cover.topLeft()), ground);
    }

    void onlyTheCurrentTitleIsInTheAccentsColour()
    {
        LookFixture f;
        f.add("ab");
        f.changeTrack(0, [](Track &track) { track.title = u"MMMM"_s; });
        f.changeTrack(1, [](Track &track) { track.title = u"MMMM"_s; });
        f.render();
        const auto strongest = [&f](int number) {
            const QRect row = f.row(number);
            const QImage text = f.view.grab(QRect(row.left() + 106, row.top() + 8, 60, 20)).toImage();
            QColor found = Qt::white;
            int ink = 0;
            for (int y = 0; y < text.height(); ++y) {
                for (int x = 0; x < text.width(); ++x) {
                    ink += text.pixelColor(x, y).red() < 128;
                    if (text.pixelColor(x, y).red() < found.red())
                        found = text.pixelColor(x, y);
                }
            }
            return std::pair(found, ink);
        };
        const auto [current, currentInk] = strongest(0);
        const auto [other, otherInk] = strongest(1);
        QVERIFY2(current.blue() > 230, qPrintable(current.name()));
        QVERIFY2(other.blue() < 60, qPrintable(other.name()));
        QVERIFY(currentInk >= otherInk); // semibold and medium
    }

    void menusTellWhatDestroys()
    {
        LookFixture f;
        f.add("a");
        auto &list = *f.view.findChild<PlaylistView *>();
        list.openRowMenu(list.model()->index(0, 0));
        QMenu &menu = *list.openedMenu();
        const auto redness = [&menu](const QAction *entry) {
            const QImage shown = menu.grab(menu.actionGeometry(const_cast<QAction *>(entry))).toImage();
            int most = 0;
            for (int y = 0; y < shown.height(); ++y) {
                for (int x = 0; x < shown.width(); ++x)
                    most = std::max(most, shown.pixelColor(x, y).red() - shown.pixelColor(x, y).green());
            }
            return most;
        };
        QCOMPARE(menu.actions().first()->text(), u"Reproducir"_s);
        QCOMPARE(menu.actions().last()->text(), u"Eliminar de la playlist"_s);
        QVERIFY(redness(menu.actions().last()) > 100);
        QVERIFY(redness(menu.actions().first()) < 20);
        menu.close();
    }
};

LUMAVERDINE_TEST(WindowLookTest)
#include "WindowLookTest.moc"
