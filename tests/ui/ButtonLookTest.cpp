#include "tests/TestProgram.h"
#include "tests/ui/TestColors.h"
#include "tests/ui/ViewFixture.h"
#include "ui/controls/Button.h"
#include "ui/controls/Cover.h"
#include "ui/controls/Divider.h"
#include "ui/controls/Slider.h"
#include "ui/drawing/Colors.h"

#include <QEnterEvent>

using namespace Qt::StringLiterals;

namespace {

void addButtonScales()
{
    QTest::addColumn<double>("scale");
    for (const double scale : {1.0, 1.25, 1.5, 2.0})
        QTest::addRow("%g", scale) << scale;
}

struct ButtonFixture : ViewFixture {
    [[nodiscard]] Button &button(const QString &name) const { return *find<Button>(name); }

    /// The colour shown at a point of a piece.
    [[nodiscard]] QColor at(const QWidget &piece, QPoint point)
    {
        return view.grab().toImage().pixelColor(place(piece).topLeft() + point);
    }

    /// How a piece looks, with what lies behind it.
    [[nodiscard]] QImage look(const QWidget &piece, double scale = 1)
    {
        QImage screen((QSizeF(view.size()) * scale).toSize(), QImage::Format_RGB32);
        screen.setDevicePixelRatio(scale);
        view.render(&screen);
        const QRectF area(place(piece));
        return screen.copy(QRectF(area.topLeft() * scale, area.size() * scale).toRect());
    }

    static void hover(QWidget &piece, bool isOver)
    {
        piece.setAttribute(Qt::WA_UnderMouse, isOver);
        QEnterEvent enter({5, 5}, {5, 5}, {5, 5});
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(&piece, isOver ? static_cast<QEvent *>(&enter) : &leave);
    }

    [[nodiscard]] Button &prominentButton() const
    {
        for (Button *button : view.findChildren<Button *>()) {
            if (button->text() == u"Seleccionar música…")
                return *button;
        }
        qFatal("there is no prominent button");
    }

    /// Whether the ring of the focus runs along the piece's left edge.
    [[nodiscard]] bool hasRing(const QWidget &piece)
    {
        return distance(at(piece, {1, piece.height() / 2}), accentMarkColor(view.palette())) < 60;
    }
};

} // namespace

class ButtonLookTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void activeOneIsAccentOnAFaintCircleOfAccent()
    {
        ButtonFixture f;
        f.add("a");
        const Button &shuffle = f.button(u"Reproducción aleatoria"_s);
        const QPoint inCircle(18, 3);
        const QColor ground = f.at(shuffle, inCircle);
        f.player.isShuffling = true;
        f.render();
        const QColor accent = accentColor(f.view.palette());
        QVERIFY(distance(f.at(shuffle, inCircle), mixed(accent, 0.13, ground)) <= 2);
        QVERIFY(distance(f.at(shuffle, {1, 1}), ground) <= 2);
        int nearest = 255;
        for (int x = 8; x < 28; ++x)
            nearest = std::min(nearest, distance(f.at(shuffle, {x, 18}), accent));
        QVERIFY(nearest < 40);
    }

    void disabledOneIsDimmedAsAWhole()
    {
        ButtonFixture f;
        const Button &play = f.button(u"Reproducir"_s);
        const QPoint glyph(30, 29);
        const QColor ground = f.at(play, {0, 0});
        // The glyph is the window's own colour, cut out of the circle; the circle does not shine through.
        QVERIFY(
            distance(f.at(play, glyph), mixed(windowBackgroundColor(f.view.palette()), 0.4, ground)) <= 3);
        QVERIFY(distance(f.at(play, {29, 5}), mixed(primaryColor(f.view.palette()), 0.4, ground)) <= 3);
        QVERIFY(distance(f.at(play, {29, 5}), f.at(play, glyph)) > 60);
    }

    void hoverAndPressAnswer_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString &name : {u"Reproducir"_s, u"Reproducción aleatoria"_s, u"Canción anterior"_s,
                 u"Más opciones"_s, u"Añadir archivos de audio"_s})
            QTest::newRow(qPrintable(name)) << name;
    }

    void hoverAndPressAnswer()
    {
        QFETCH(const QString, name);
        ButtonFixture f;
        f.add("a");
        Button &button = f.button(name);
        const QImage still = f.look(button);
        f.hover(button, true);
        const QImage hovered = f.look(button);
        QVERIFY(hovered != still);
        button.setDown(true);
        QVERIFY(f.look(button) != hovered && f.look(button) != still);
        button.setDown(false);
        f.hover(button, false);
        QCOMPARE(f.look(button), still);
    }

    void hoverIsTheSameFaintWashOnAllOfThem_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QPoint>("place"); // on the ground, beside what is drawn there
        QTest::newRow("plain") << u"Canción anterior"_s << QPoint(18, 3);
        QTest::newRow("active") << u"Repetir canción"_s << QPoint(18, 3);
        QTest::newRow("menu") << u"Más opciones"_s << QPoint(10, 3);
        QTest::newRow("text") << u"Añadir archivos de audio"_s << QPoint(20, 3);
    }

    void hoverIsTheSameFaintWashOnAllOfThem()
    {
        QFETCH(const QString, name);
        QFETCH(const QPoint, place);
        ButtonFixture f;
        f.add("a");
        f.player.isRepeating = true;
        f.render();
        Button &button = f.button(name);
        const QColor still = f.at(button, place);
        f.hover(button, true);
        QVERIFY(distance(f.at(button, place), mixed(primaryColor(f.view.palette()), 0.07, still)) <= 1);
    }

    void textStaysWhereItIsWhenPressed()
    {
        ButtonFixture f;
        Button &button = f.button(u"Añadir archivos de audio"_s);
        // The columns that the text and its symbol reach, in a look without the frame.
        const auto inked = [&] {
            const QImage inner = f.look(button).copy(button.rect().adjusted(4, 4, -4, -4));
            const QColor ground = inner.pixelColor(0, 0);
            QRect reached;
            for (int y = 0; y < inner.height(); ++y) {
                for (int x = 0; x < inner.width(); ++x) {
                    if (distance(inner.pixelColor(x, y), ground) > 60)
                        reached |= QRect(x, y, 1, 1);
                }
            }
            return reached;
        };
        const QFont former = QApplication::font();
        QFont large = former;
        large.setPixelSize(30);
        QApplication::setFont(large);
        const QRect still = inked();
        QVERIFY(still.width() > 60);
        button.setDown(true);
        QCOMPARE(inked(), still);
        QApplication::setFont(former);
    }

    void disabledOneDoesNotAnswerToHover()
    {
        ButtonFixture f;
        Button &next = f.button(u"Canción siguiente"_s);
        const QImage still = f.look(next);
        f.hover(next, true);
        QCOMPARE(f.look(next), still);
    }

    void prominentOneIsFilledWithTheAccent()
    {
        ButtonFixture f;
        const Button &prominent = f.prominentButton();
        QCOMPARE(f.at(prominent, {6, prominent.height() / 2}), accentColor(f.view.palette()));
        QVERIFY(contrastRatio(onAccentColor(f.view.palette()), accentColor(f.view.palette())) >= 4.5);
    }

    void focusIsShownWhereTheKeyboardBroughtIt()
    {
        ButtonFixture f;
        f.add("a");
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        Button &next = f.button(u"Canción siguiente"_s);
        QTest::mouseClick(&next, Qt::LeftButton);
        QVERIFY(!next.hasFocus());
        next.setFocus(Qt::TabFocusReason);
        QVERIFY(f.hasRing(next));
        f.view.setFocus();
        QVERIFY(!f.hasRing(next));
    }

    void focusIsSetOffFromWhatIsFilled()
    {
        ButtonFixture f;
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        Button &button = f.prominentButton();
        const int middle = button.height() / 2;
        button.setFocus(Qt::TabFocusReason);
        QVERIFY(distance(f.at(button, {2, middle}), f.at(button, {-2, middle})) <= 1);
        f.view.setFocus();
        QCOMPARE(f.at(button, {2, middle}), accentColor(f.view.palette()));
    }

    void ringOfTheFocusIsAsRoundAsTheButton()
    {
        ButtonFixture f;
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        Button &button = f.prominentButton();
        const QColor ground = f.at(button, {0, 0});
        button.setFocus(Qt::TabFocusReason);
        const QColor ring = accentMarkColor(f.view.palette());
        QVERIFY(distance(f.at(button, {2, 2}), ring) < 30);
        QVERIFY(distance(f.at(button, {1, 1}), ground) < distance(f.at(button, {1, 1}), ring));
        QVERIFY(distance(f.at(button, {3, 3}), ground) < distance(f.at(button, {3, 3}), ring));
        f.view.setFocus();
    }

    void ringOfTheFocusHasNoFringe_data() { addButtonScales(); }

    void ringOfTheFocusHasNoFringe()
    {
        QFETCH(const double, scale);
        ButtonFixture f;
        f.add("a");
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        Button &play = f.button(u"Reproducir"_s);
        play.setFocus(Qt::TabFocusReason);
        const QImage shown = f.look(play, scale);
        const QColor ring = accentMarkColor(f.view.palette());
        const QColor ground = shown.pixelColor(0, 0);
        const QPointF middle(shown.width() / 2.0, shown.height() / 2.0);
        for (int y = 0; y < shown.height(); ++y) {
            for (int x = 0; x < shown.width(); ++x) {
                // From the middle of the ring outwards, there is only the ring and the ground.
                const double away = std::hypot(x + 0.5 - middle.x(), y + 0.5 - middle.y()) / scale;
                if (away < 28.2)
                    continue;
                const QColor color = shown.pixelColor(x, y);
                const double share = (ground.redF() - color.redF()) / (ground.redF() - ring.redF());
                QVERIFY2(distance(color, mixed(ring, share, ground)) <= 4, qPrintable(color.name()));
            }
        }
    }

    void symbolKeepsItsSizeAndPlaceWhenPressedOrDisabled_data() { addButtonScales(); }

    void symbolKeepsItsSizeAndPlaceWhenPressedOrDisabled()
    {
        QFETCH(const double, scale);
        ButtonFixture f;
        f.add("a");
        for (const QString &name : {u"Reproducción aleatoria"_s, u"Canción anterior"_s, u"Reproducir"_s,
                 u"Canción siguiente"_s, u"Repetir canción"_s, u"Más opciones"_s}) {
            Button &button = f.button(name);
            const QImage still = f.look(button, scale);
            const auto isSameShape = [&still](const QImage &other, double opacity) {
                const QColor ground = still.pixelColor(0, 0);
                int most = 0;
                for (int y = 0; y < still.height(); ++y) {
                    for (int x = 0; x < still.width(); ++x) {
                        const QColor expected = mixed(still.pixelColor(x, y), opacity, ground);
                        most = std::max(most, distance(other.pixelColor(x, y), expected));
                    }
                }
                return most <= 6; // the ground is not the same at every pixel
            };
            button.setDown(true);
            QVERIFY2(isSameShape(f.look(button, scale), 0.7), qPrintable(name));
            button.setDown(false);
            button.setEnabled(false);
            QVERIFY2(isSameShape(f.look(button, scale), 0.4), qPrintable(name));
        }
    }

    void linesAreCrisp_data() { addButtonScales(); }

    void linesAreCrisp()
    {
        QFETCH(const double, scale);
        ButtonFixture f;
        const QImage shown = f.look(f.view, scale);
        // Whether a line begins at `first` of these colours and is as thick as whole pixels fit in a point.
        const auto isLine = [&](const auto &at, int first, int inwards) {
            const int last = first + inwards * (qFloor(scale) - 1);
            return distance(at(first - 2 * inwards), at(first - inwards)) <= 4
                && distance(at(first - inwards), at(first)) > 8 && distance(at(first), at(last)) <= 2
                && distance(at(last), at(last + inwards)) > 8
                && distance(at(last + inwards), at(last + 2 * inwards)) <= 2;
        };
        for (const QWidget *piece : {static_cast<QWidget *>(f.view.findChild<Cover *>()),
                 static_cast<QWidget *>(&f.button(u"Añadir archivos de audio"_s))}) {
            const QRectF area = f.place(*piece);
            const auto at = [&](int x) { return shown.pixelColor(x, qFloor(area.center().y() * scale)); };
            QVERIFY(isLine(at, qCeil(area.left() * scale), 1));
            QVERIFY(isLine(at, qFloor(area.right() * scale) - 1, -1));
        }
        for (const Divider *divider : f.view.findChildren<Divider *>()) {
            const auto at = [&](int y) { return shown.pixelColor(200, y); };
            QVERIFY(isLine(at, qCeil(f.place(*divider).top() * scale), 1));
        }
    }

    void filledOneAnswersToHoverFaintly_data()
    {
        QTest::addColumn<QColor>("accent");
        QTest::addColumn<QColor>("wash");
        QTest::newRow("white text") << QColor(Qt::darkBlue) << QColor(0, 0, 0, 24);
        QTest::newRow("black text") << QColor(Qt::yellow) << QColor(255, 255, 255, 48);
    }

    void filledOneAnswersToHoverFaintly()
    {
        QFETCH(const QColor, accent);
        QFETCH(const QColor, wash);
        ButtonFixture f;
        QPalette palette = f.view.palette();
        palette.setColor(QPalette::Highlight, accent);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
        palette.setColor(QPalette::Accent, accent);
#endif
        f.view.setPalette(palette);
        Button &prominent = f.prominentButton();
        const QPoint side(6, prominent.height() / 2);
        f.hover(prominent, true);
        QVERIFY(distance(f.at(prominent, side), mixed(wash, wash.alphaF(), accent)) <= 1);
        f.add("a");
        Button &play = f.button(u"Reproducir"_s);
        const QColor ground = f.at(play, {0, 0});
        f.hover(play, true);
        QVERIFY(distance(f.at(play, {29, 5}), mixed(primaryColor(palette), 0.86, ground)) <= 2);
    }

    void sliderShowsTheFocusOfKeysOnly()
    {
        ButtonFixture f;
        f.add("a");
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        Slider &volume = *f.find<Slider>(u"Volumen"_s);
        const QColor accent = accentMarkColor(f.view.palette());
        const auto hasRing = [&] {
            const QPoint top(qRound(7 + volume.value() / 100 * (volume.width() - 14)), 4);
            return distance(f.at(volume, top), accent) < 60;
        };
        volume.setFocus(Qt::MouseFocusReason);
        QVERIFY(!hasRing());
        QTest::mouseClick(&volume, Qt::LeftButton, {}, {70, 10});
        QVERIFY(!hasRing());
        QTest::keyClick(&volume, Qt::Key_Right);
        QVERIFY(hasRing());
        QTest::mouseClick(&volume, Qt::LeftButton, {}, {70, 10});
        QVERIFY(!hasRing());
        f.view.setFocus();
        for (const Qt::FocusReason reason : {Qt::TabFocusReason, Qt::BacktabFocusReason}) {
            f.view.setFocus(Qt::MouseFocusReason);
            QTest::mouseClick(&volume, Qt::LeftButton, {}, {70, 10});
            f.view.setFocus();
            volume.setFocus(reason);
            QVERIFY(hasRing());
        }
    }
};

LUMAVERDINE_TEST(ButtonLookTest)
#include "ButtonLookTest.moc"
