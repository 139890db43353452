#include "tests/TestProgram.h"
#include "tests/ui/Pieces.h"
#include "tests/ui/ViewFixture.h"
#include "ui/controls/SelectableLabel.h"
#include "ui/drawing/Fonts.h"

#include <QFontMetrics>

using namespace Qt::StringLiterals;

namespace {

/// What of an image stands out from its ground, as the smallest rectangle around it.
QRect textInk(const QImage &image)
{
    const int ground = qGray(image.pixel(0, 0));
    QRect found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (std::abs(qGray(image.pixel(x, y)) - ground) > 60)
                found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

/// What a label of this width shows of a text.
QStringList brokenInto(const QString &text, const TextFont &font, int width, int maximumLines)
{
    Label label(font, Label::Tone::Primary, maximumLines);
    label.resize(width, 100);
    label.setText(text);
    return shownLines(label);
}

} // namespace

class LabelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ellipsisStandsWhereTheTextGoesOn_data()
    {
        QTest::addColumn<bool>("isSelectable");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isOnTheLeft");
        for (const bool isSelectable : {false, true}) {
            const auto row = [=](const char *name, const QString &word, bool isOnTheLeft) {
                QTest::addRow("%s%s", name, isSelectable ? ", selectable" : "")
                    << isSelectable << (word + u' ').repeated(40) << isOnTheLeft;
            };
            row("Spanish", u"RÍO"_s, false);
            row("Hebrew", u"שבת"_s, true);
            row("Arabic", u"الطويلة"_s, true);
            row("Hebrew with a word of Spanish", u"שבת RÍO"_s, true);
        }
    }

    void ellipsisStandsWhereTheTextGoesOn()
    {
        QFETCH(const bool, isSelectable);
        QFETCH(const QString, text);
        QFETCH(const bool, isOnTheLeft);
        const TextFont font = systemFont(28);
        const std::unique_ptr<Label> label = isSelectable
            ? std::make_unique<SelectableLabel>(font, Label::Tone::Primary, 1)
            : std::make_unique<Label>(font, Label::Tone::Primary, 1);
        label->resize(300, label->sizeHint().height());
        label->setText(text);
        const QImage image = label->grab().toImage();
        const QRect ink = textInk(image);
        // Dots lie at the foot of the line only, letters do not.
        const int dots = QFontMetrics(font).horizontalAdvance(u'…') / 2;
        const QRect left(ink.left(), 0, dots, image.height());
        const QRect right(ink.right() - dots, 0, dots, image.height());
        const auto isLow = [&](const QRect &end) {
            return textInk(image.copy(end)).height() < ink.height() / 2;
        };
        QCOMPARE(isLow(left), isOnTheLeft);
        QCOMPARE(isLow(right), !isOnTheLeft);
    }

    void textWithinTheLinesIsWhole()
    {
        QCOMPARE(brokenInto(u"Una canción"_s, systemFont(14), 400, 2), QStringList(u"Una canción"_s));
    }

    void emptyTextIsOneEmptyLine() { QCOMPARE(brokenInto({}, systemFont(14), 100, 2).size(), 1); }

    void lastLineEndsInAnEllipsis()
    {
        for (const int maximum : {1, 2, 3}) {
            const QStringList lines = brokenInto(u"palabra "_s.repeated(40), systemFont(14), 200, maximum);
            QCOMPARE(lines.size(), maximum);
            QVERIFY(lines.last().endsWith(u'…'));
        }
    }

    void noLineIsWiderThanTheLabel()
    {
        const TextFont font = systemFont(28, QFont::Bold);
        const QString text = u"Abecedario "_s.repeated(9) + u"W"_s.repeated(90);
        for (const int maximum : {0, 2}) {
            for (const QString &line : brokenInto(text, font, 250, maximum))
                QVERIFY(QFontMetricsF(font).horizontalAdvance(line) <= 251);
        }
    }

    void linesWithoutALimitHoldTheWholeText()
    {
        const QString text = u"uno dos tres cuatro cinco seis siete"_s;
        const QStringList lines = brokenInto(text, systemFont(14), 60, 0);
        QVERIFY(lines.size() > 1);
        QCOMPARE(lines.join(u' '), text);
    }

    void leastSizeIsOneLineOfNoWidth()
    {
        Label label(systemFont(14), Label::Tone::Primary, 2);
        label.setText(u"palabra "_s.repeated(40));
        QCOMPARE(label.minimumSizeHint(), QSize(0, lineHeight(systemFont(14))));
    }

    void nameIsTheTextAsItIs()
    {
        Label label(systemFont(13), Label::Tone::Primary);
        label.setText(u"Alba\nRío\t"_s);
        QCOMPARE(label.accessibleName(), u"Alba\nRío\t"_s);
    }

    void everyLineBeginsAtTheLeftEdge()
    {
        for (const QString &word : {u"HIJO"_s, u"שבת"_s}) {
            Label label(systemFont(28), Label::Tone::Primary, 0);
            label.resize(200, 300);
            label.setText((word + u' ').repeated(8));
            QVERIFY(shownLines(label).size() > 2);
            const QImage image = label.grab().toImage();
            const int lineHeight = label.minimumSizeHint().height();
            for (int line = 0; line < shownLines(label).size() - 1; ++line) {
                const QRect ink = textInk(image.copy(0, line * lineHeight, image.width(), lineHeight));
                QVERIFY2(ink.left() <= 5, qPrintable(word + QString::number(ink.left())));
            }
        }
    }
};

LUMAVERDINE_TEST(LabelTest)
#include "LabelTest.moc"
