#include "tests/TestProgram.h"
#include "tests/ui/Pieces.h"
#include "tests/ui/ViewFixture.h"
#include "ui/controls/Slider.h"
#include "ui/drawing/Symbol.h"

#include <QFontDatabase>
#include <functional>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

const Scheme OnWhite{0xffffffU, 0x000000U, 0x0000c0U};
const Scheme OnBlack{0x101014U, 0xffffffU, 0x78beffU};

constexpr QSize WindowSize(860, 940);

QFont sized(QFontDatabase::SystemFont kind, int pixels, QFont::Weight weight)
{
    QFont font = QFontDatabase::systemFont(kind);
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

QFont system(int pixels, QFont::Weight weight = QFont::Normal)
{
    return sized(QFontDatabase::GeneralFont, pixels, weight);
}

QFont monospaced(int pixels, QFont::Weight weight = QFont::Normal)
{
    return sized(QFontDatabase::FixedFont, pixels, weight);
}

// What the window has to show

struct ShownRow {
    QString title;
    QString artist;
    QString length;
    QString marker = {}; ///< the current track's symbol; the others have their number
};

struct Shown {
    std::optional<QColor> cover = {};
    QString title = u"Sin reproducción"_s;
    QString artist = u"Añade música para comenzar"_s;
    QString album = u"La playlist está vacía"_s;
    QString position = u"Sin canciones"_s;
    bool isPlaying = false;
    bool isShuffling = false;
    bool isRepeating = false;
    QString elapsed = u"0:00"_s;
    QString total = u"0:00"_s;
    QString speaker = u"speaker.wave.3.fill"_s;
    QString percentage = u"75 %"_s;
    QString count = u"Sin canciones"_s;
    QString length = {};
    QList<ShownRow> rows = {};
};

/// Cuts pieces off an area, from its top or its left, each with the gap behind it.
class Stack {
public:
    explicit Stack(const QRect &area)
        : m_area(area)
    {
    }

    QRect down(int height, int gap = 0)
    {
        const QRect piece(m_area.left(), m_area.top(), m_area.width(), height);
        m_area.setTop(m_area.top() + height + gap);
        return piece;
    }
    QRect up(int height, int gap = 0)
    {
        const QRect piece(m_area.left(), m_area.bottom() + 1 - height, m_area.width(), height);
        m_area.setBottom(m_area.bottom() - height - gap);
        return piece;
    }
    QRect right(int width, int gap = 0)
    {
        const QRect piece(m_area.left(), m_area.top(), width, m_area.height());
        m_area.setLeft(m_area.left() + width + gap);
        return piece;
    }
    QRect left(int width, int gap = 0)
    {
        const QRect piece(m_area.right() + 1 - width, m_area.top(), width, m_area.height());
        m_area.setRight(m_area.right() - width - gap);
        return piece;
    }
    [[nodiscard]] const QRect &rest() const { return m_area; }

private:
    QRect m_area;
};

QRect centred(const QRect &area, int width, int height)
{
    return {
        area.left() + (area.width() - width) / 2, area.top() + (area.height() - height) / 2, width, height};
}

int widthOf(const QString &text, const QFont &font)
{
    return qCeil(QFontMetricsF(font).horizontalAdvance(text));
}

/// The text as one line if it fits, or as much of it as fits between words, and the rest.
QStringList inTwoLines(const QString &text, const QFont &font, int width)
{
    const QFontMetricsF metrics(font);
    qsizetype end = text.size();
    while (metrics.horizontalAdvance(text.first(end)) > width)
        end = text.lastIndexOf(u' ', end - 1);
    return end == text.size() ? QStringList(text) : QStringList({text.first(end), text.sliced(end + 1)});
}

/// The law of the look: every piece of the window, where it stands and what is drawn there.
class Table {
public:
    Table(const Scheme &scheme, const Shown &shown)
        : m_scheme(scheme)
        , m_shown(shown)
    {
        Stack window(QRect(QPoint(), WindowSize));
        add("backdrop", window.rest(),
            all({fill(scheme.window),
                gradient({scheme.primary(0.04), scheme.primary(0), scheme.primary(0.025)})}));
        const int transport = 28 + 190 + 22;
        const int progress = transport + 58 + 22;
        const int tools = progress + 20 + 5 + lineHeight(monospaced(11, QFont::Medium)) + 14;
        nowPlaying(QRect(30, 28, WindowSize.width() - 60, 190));
        transportControls(QRect(30, transport, WindowSize.width() - 60, 58));
        seekBlock(QRect(30, progress, WindowSize.width() - 60, tools - 14 - progress));
        toolRow(QRect(30, tools, WindowSize.width() - 60, buttonHeight()));
        window.down(tools + buttonHeight() + 24);
        playlist(window.rest());
    }

    [[nodiscard]] const QList<Piece> &pieces() const { return m_pieces; }

private:
    [[nodiscard]] QColor primary(double opacity = 1) const { return m_scheme.primary(opacity); }
    [[nodiscard]] QColor accent(double opacity = 1) const { return m_scheme.accent(opacity); }
    [[nodiscard]] QColor secondary() const { return m_scheme.primary(0.62); }
    /// 0.5, or what a contrast of 4.5 to the tinted window takes.
    [[nodiscard]] QColor tertiary() const
    {
        return m_scheme.primary(m_scheme.window.lightness() > 128 ? 0.55 : 0.5);
    }
    [[nodiscard]] bool isEmpty() const { return m_shown.rows.isEmpty(); }
    [[nodiscard]] static int buttonHeight() { return QFontMetrics(system(13)).height() + 2 * 6; }

    void add(const QString &name, const QRectF &place, const Drawing &drawing)
    {
        m_pieces.append({name, place, drawing});
    }
    void add(const char *name, const QRectF &place, const Drawing &drawing)
    {
        add(QString::fromLatin1(name), place, drawing);
    }

    void nowPlaying(const QRect &area)
    {
        Stack row(area);
        const QRect cover = row.right(190, 25);
        static const Drawing coverShadow = shadow(cover, 18, 0.2, 18, 8);
        add("cover's shadow", cover.adjusted(-30, -22, 30, 38), coverShadow);
        m_pieces.last().tolerance = 2; // of its own and of the ground, which is dithered
        const QColor picture = m_shown.cover.value_or(Qt::transparent);
        add("cover", cover,
            all({corners(18, {primary(0.15), primary(0.045)}), corners(18, picture),
                hairline(18, primary(0.1))}));
        m_pieces.last().tolerance = 2; // its edge lies on the shadow
        if (!m_shown.cover)
            placeholder(cover);
        Stack column(row.rest());
        for (const QString &line : inTwoLines(m_shown.title, system(28, QFont::Bold), column.rest().width()))
            add("title", column.down(lineHeight(system(28))), text(line, system(28, QFont::Bold), primary()));
        column.down(0, 9);
        add("artist", column.down(lineHeight(system(18, QFont::Medium)), 9),
            text(m_shown.artist, system(18, QFont::Medium), secondary()));
        add("album", column.down(lineHeight(system(14))), text(m_shown.album, system(14), tertiary()));
        Stack position(column.up(std::max(17, lineHeight(system(13, QFont::Medium)))));
        const QRect note = position.right(symbolInk(u"music.note"_s, 13).width(), 9);
        add("note of the position", squareByInk(note, u"music.note"_s, 13),
            symbol(u"music.note"_s, 13, secondary()));
        add("position", position.rest(), text(m_shown.position, system(13, QFont::Medium), secondary()));
    }

    void placeholder(const QRect &cover)
    {
        const int lower = QFontMetrics(system(13, QFont::DemiBold)).height();
        Stack column(centred(cover, cover.width() - 2, 72 + 12 + lower));
        add("placeholder's note", column.down(72, 12),
            symbol(u"music.note"_s, 55, secondary(), QFont::Light));
        add("placeholder's name", column.down(lower),
            text(u"Lumaverdine"_s, system(13, QFont::DemiBold), secondary(), Qt::AlignHCenter));
    }

    void transportControls(const QRect &area)
    {
        Stack row(area);
        control("shuffle", row.right(36), 16, m_shown.isShuffling);
        control("repeat", row.left(36), 16, m_shown.isRepeating);
        Stack group(centred(area, 36 + 18 + 58 + 18 + 36, 58));
        control("backward.end.fill", group.right(36, 18), 23, false);
        const QRect middle = group.right(58, 18);
        const Drawing glyph = [=, this](QPainter &painter, const QRectF &place) {
            const QString name = m_shown.isPlaying ? u"pause.fill"_s : u"play.fill"_s;
            const double right = m_shown.isPlaying ? 0 : 1.5;
            symbol(name, 23, m_scheme.window, QFont::Bold)(painter, place.translated(right, 0));
        };
        add("play button", middle, dimmedIfEmpty(all({circle(primary()), glyph})));
        control("forward.end.fill", group.right(36), 23, false);
    }

    void control(const char *name, const QRect &column, int size, bool isActive)
    {
        const QColor color = isActive ? accent() : primary(0.82);
        const QColor ground = isActive ? accent(0.13) : Qt::transparent;
        add(name, centred(column, 36, 36),
            dimmedIfEmpty(
                all({circle(ground), symbol(QString::fromLatin1(name), size, color, QFont::DemiBold)})));
    }

    [[nodiscard]] Drawing dimmedIfEmpty(const Drawing &drawing) const
    {
        return isEmpty() ? faded(0.4, drawing) : drawing;
    }

    void seekBlock(const QRect &area)
    {
        Stack rows(area);
        add("seek bar", rows.down(20, 5), {});
        const QFont font = monospaced(11, QFont::Medium);
        Stack times(rows.rest());
        add("elapsed", times.right(widthOf(m_shown.elapsed, font)), text(m_shown.elapsed, font, secondary()));
        add("total", times.left(widthOf(m_shown.total, font)), text(m_shown.total, font, secondary()));
    }

    void toolRow(const QRect &area)
    {
        Stack row(area);
        const int plus = symbolInk(u"plus"_s, 13).width();
        const int title = QFontMetrics(system(13)).horizontalAdvance(u"Añadir música"_s);
        const QRect button = row.right(12 + plus + 6 + title + 12, 10);
        add("import button", button, all({corners(6, primary(0.07)), hairline(6, primary(0.14))}));
        Stack label(button.adjusted(12, 0, -12, 0));
        add("plus", squareByInk(label.right(plus, 6), u"plus"_s, 13), symbol(u"plus"_s, 13, primary()));
        add("import button's title", label.rest(), text(u"Añadir música"_s, system(13), primary()));
        add("options", row.right(20), symbol(u"ellipsis"_s, 13, primary(0.82)));

        add("percentage", row.left(38, 10),
            text(m_shown.percentage, monospaced(11), secondary(), Qt::AlignRight));
        add("volume", row.left(145, 10), {});
        add("speaker", squareByInk(row.left(20), u"speaker.wave.3.fill"_s, 13),
            symbol(m_shown.speaker, 13, secondary()));
    }

    void playlist(const QRect &area)
    {
        Stack section(area);
        add("upper divider", section.down(1), fill(primary(0.2 * 0.55)));
        add("playlist's tint", section.rest(), fill(primary(0.018)));
        section.down(0, 17);
        const int heading = lineHeight(system(20, QFont::Bold));
        const int subtitle = lineHeight(system(12));
        const QRect header = section.down(heading + 3 + subtitle, 17).adjusted(24, 0, -24, 0);
        Stack texts(header);
        add("heading", texts.down(heading, 3), text(u"Playlist"_s, system(20, QFont::Bold), primary()));
        add("count", texts.down(subtitle), text(m_shown.count, system(12), secondary()));
        if (!isEmpty())
            add("length", Stack(header).left(widthOf(m_shown.length, monospaced(12))),
                text(m_shown.length, monospaced(12), secondary()));
        add("lower divider", section.down(1), fill(primary(0.2 * 0.45)));
        isEmpty() ? emptyPlaylist(section.rest()) : rows(section.rest());
    }

    void emptyPlaylist(const QRect &area)
    {
        const int headline = lineHeight(system(13, QFont::Bold));
        const int line = lineHeight(system(13));
        const QString name = u"music.note.list"_s;
        const QSize ink = symbolInk(name, 42, QFont::Light).size();
        const int height = ink.height() + 14 + headline + 14 + line + 14 + buttonHeight();
        const QRect room = area.adjusted(30, 30, -30, -30);
        Stack column(centred(room, room.width(), height));
        const QRect inked = centred(column.down(ink.height(), 14), ink.width(), ink.height());
        add("empty symbol", squareByInk(inked, name, 42, QFont::Light),
            symbol(name, 42, secondary(), QFont::Light));
        add("headline", column.down(headline, 14),
            text(u"La playlist está vacía"_s, system(13, QFont::Bold), primary(), Qt::AlignHCenter));
        add("formats", column.down(line, 14),
            text(u"Añade archivos MP3, M4A, AAC, WAV u otros formatos compatibles."_s, system(13),
                secondary(), Qt::AlignHCenter));
        const QString title = u"Seleccionar música…"_s;
        const int width = QFontMetrics(system(13)).horizontalAdvance(title);
        const QRect button = centred(column.rest(), 12 + width + 12, column.rest().height());
        const QColor onAccent = m_scheme.window.lightness() > 128 ? Qt::white : Qt::black;
        add("select button", button, corners(6, accent()));
        add("select button's title", button.adjusted(12, 0, -12, 0), text(title, system(13), onAccent));
    }

    void rows(const QRect &area)
    {
        const int texts = lineHeight(system(14, QFont::DemiBold)) + 3 + lineHeight(system(12));
        Stack list(area.adjusted(10, 10, -10, 0));
        for (int i = 0; i < m_shown.rows.size(); ++i)
            row(m_shown.rows[i], i + 1, list.down(8 + std::max(42, texts) + 8, 4));
    }

    void row(const ShownRow &row, int number, const QRect &area)
    {
        const bool isCurrent = !row.marker.isEmpty();
        const auto named = [=](const char *piece) {
            return u"row %1's %2"_s.arg(number).arg(QLatin1StringView(piece));
        };
        if (isCurrent)
            add(named("highlight"), area, corners(9, accent(0.1)));
        Stack pieces(area.adjusted(12, 0, -12, 0));
        add(named("marker"), pieces.right(28, 12),
            isCurrent ? symbol(row.marker, 13, accent())
                      : text(QString::number(number), monospaced(12), secondary(), Qt::AlignHCenter));
        const QRect cover = centred(pieces.right(42, 12), 42, 42);
        const Drawing note = symbol(u"music.note"_s, 13, secondary());
        const Drawing picture = m_shown.cover ? corners(6, *m_shown.cover) : note;
        add(named("cover"), cover, all({corners(6, primary(0.08)), picture}));
        m_pieces.last().tolerance = 2; // its edge lies on a ground that is dithered
        add(named("ellipsis"), pieces.left(26, 12), symbol(u"ellipsis"_s, 13, primary(0.82)));
        add(named("length"), pieces.left(QFontMetrics(monospaced(12)).horizontalAdvance(row.length), 12),
            text(row.length, monospaced(12), secondary(), Qt::AlignRight));
        pieces.left(0, 12); // of the flexible space
        const QFont title = system(14, isCurrent ? QFont::DemiBold : QFont::Medium);
        const int upper = QFontMetrics(title).height();
        const int lower = QFontMetrics(system(12)).height();
        Stack lines(centred(pieces.rest(), pieces.rest().width(), upper + 3 + lower));
        add(named("title"), lines.down(upper, 3), text(row.title, title, isCurrent ? accent() : primary()));
        add(named("artist"), lines.down(lower), text(row.artist, system(12), secondary()));
    }

    const Scheme &m_scheme;
    const Shown &m_shown;
    QList<Piece> m_pieces;
};

/// The view in one of the schemes, and three tracks to fill its list with.
struct DrawingFixture : ViewFixture {
    explicit DrawingFixture(const Scheme &scheme)
    {
        QApplication::setPalette(scheme.palette());
        view.resize(WindowSize);
        render();
    }

    void fill()
    {
        QList<Track> tracks;
        const auto append = [&](const char *file, const char *title, const char *artist, double duration) {
            tracks.append(Track(url(QString::fromLatin1(file))));
            tracks.last().title = QString::fromUtf8(title);
            tracks.last().artist = QString::fromUtf8(artist);
            tracks.last().album = u"Álbum del río"_s;
            tracks.last().duration = duration;
        };
        append("a.mp3", "Alba en el río", "Los Gómez", 185);
        append("b.mp3", "Marea baja", "Agua", 62.9);
        append("c.mp3", "Gijón", "Ñandú", 3600);
        load(tracks, 0);
    }

    void load(const QList<Track> &tracks, qsizetype current)
    {
        platform.nextDuration = 186.5;
        player.playlist = tracks;
        player.load(tracks[current], false);
    }

    /// One track, current, in a file with a picture in plain green.
    void fillWithPicture()
    {
        Track track(QUrl::fromLocalFile(QStringLiteral(TEST_MEDIA "/two-pictures.mp3")));
        track.title = u"Verde"_s;
        track.duration = 1;
        load({track}, 0);
    }

    /// Drags the thumb of the seek bar to `fraction` of its range, and holds it there.
    void drag(double fraction)
    {
        render();
        auto &bar = *find<Slider>(u"Posición"_s);
        const int middle = bar.height() / 2;
        QTest::mousePress(&bar, Qt::LeftButton, {}, {bar.width() / 5, middle});
        render();
        QTest::mouseMove(&bar, {qRound(7 + fraction * (bar.width() - 14)), middle});
    }

    [[nodiscard]] QImage picture()
    {
        QImage picture(WindowSize, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::transparent);
        view.render(&picture);
        return picture;
    }
};

/// The window with the three tracks, the one at `current` loaded and marked with this symbol.
Shown filled(int current = 0, const QString &marker = u"pause.fill"_s)
{
    Shown shown{.title = u"Alba en el río"_s,
        .artist = u"Los Gómez"_s,
        .album = u"Álbum del río"_s,
        .position = u"Canción %1 de 3"_s.arg(current + 1),
        .total = u"3:06"_s,
        .count = u"3 canciones"_s,
        .length = u"64:07"_s,
        .rows = {{u"Alba en el río"_s, u"Los Gómez"_s, u"3:05"_s}, {u"Marea baja"_s, u"Agua"_s, u"1:02"_s},
            {u"Gijón"_s, u"Ñandú"_s, u"60:00"_s}}};
    shown.title = shown.rows[current].title;
    shown.artist = shown.rows[current].artist;
    shown.rows[current].marker = marker;
    return shown;
}

template <typename Adjust> Shown with(Shown shown, Adjust adjust)
{
    adjust(shown);
    return shown;
}

using Change = std::function<void(DrawingFixture &)>;

} // namespace

Q_DECLARE_METATYPE(Scheme)
Q_DECLARE_METATYPE(Shown)
Q_DECLARE_METATYPE(Change)

class DrawingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyPieceIsDrawnAtItsPlace_data()
    {
        QTest::addColumn<Scheme>("scheme");
        QTest::addColumn<Change>("change");
        QTest::addColumn<Shown>("shown");
        const auto add = [](const char *state, const Change &change, const Shown &shown) {
            QTest::addRow("%s, light", state) << OnWhite << change << shown;
            QTest::addRow("%s, dark", state) << OnBlack << change << shown;
        };
        add("nothing loaded", [](DrawingFixture &) {}, {});
        add(
            "paused", [](DrawingFixture &f) { f.fill(); }, filled());
        add(
            "playing, shuffling",
            [](DrawingFixture &f) {
                f.fill();
                f.player.play();
                f.player.isShuffling = true;
                f.player.currentTime = 62.9;
            },
            with(filled(0, u"speaker.wave.2.fill"_s), [](Shown &shown) {
                shown.isPlaying = shown.isShuffling = true;
                shown.elapsed = u"1:02"_s;
            }));
        add(
            "second one, repeating",
            [](DrawingFixture &f) {
                f.fill();
                f.player.load(f.track(1), false);
                f.player.isRepeating = true;
            },
            with(filled(1), [](Shown &shown) { shown.isRepeating = true; }));
        add(
            "seek bar held",
            [](DrawingFixture &f) {
                f.fill();
                f.drag(0.5);
            },
            with(filled(), [](Shown &shown) { shown.elapsed = u"1:33"_s; }));
        add(
            "current one not listed",
            [](DrawingFixture &f) {
                f.fill();
                f.player.playlist.mutate([](QList<Track> &tracks) { tracks.removeFirst(); });
            },
            with(filled(), [](Shown &shown) {
                shown.rows.removeFirst();
                shown.position = u"Sin canciones"_s;
                shown.count = u"2 canciones"_s;
                shown.length = u"61:02"_s;
            }));
        const QString longText = u"Una canción muy larga "_s.repeated(20);
        add(
            "long texts",
            [=](DrawingFixture &f) {
                f.fill();
                QList<Track> tracks = f.player.playlist();
                for (Track &track : tracks)
                    track.title = track.artist = track.album = longText;
                f.load(tracks, 0);
            },
            with(filled(), [=](Shown &shown) {
                shown.title = shown.artist = shown.album = longText;
                for (ShownRow &row : shown.rows)
                    row.title = row.artist = longText;
            }));
        add("with a picture", [](DrawingFixture &f) { f.fillWithPicture(); },
            {.cover = QColor(0, 128, 0),
                .title = u"Verde"_s,
                .artist = u"Artista desconocido"_s,
                .album = u"Álbum desconocido"_s,
                .position = u"Canción 1 de 1"_s,
                .total = u"3:06"_s,
                .count = u"1 canción"_s,
                .length = u"0:01"_s,
                .rows = {{u"Verde"_s, u"Artista desconocido"_s, u"0:01"_s, u"pause.fill"_s}}});
        for (const auto &[volume, speaker, percentage] :
            {std::tuple(0.0, u"speaker.slash.fill"_s, u"0 %"_s), {0.3, u"speaker.wave.1.fill"_s, u"30 %"_s},
                {0.5, u"speaker.wave.2.fill"_s, u"50 %"_s}, {1.0, u"speaker.wave.3.fill"_s, u"100 %"_s}})
            add(qPrintable(u"volume "_s + percentage),
                [volume = volume](DrawingFixture &f) { f.player.volume = volume; },
                {.speaker = speaker, .percentage = percentage});
    }

    void everyPieceIsDrawnAtItsPlace()
    {
        QFETCH(const Scheme, scheme);
        QFETCH(const Change, change);
        QFETCH(const Shown, shown);
        DrawingFixture f(scheme);
        change(f);
        f.render();
        const Table table(scheme, shown);
        const QImage expected = pictureOf(table.pieces(), WindowSize);
        const auto found = [&] { return differences(f.picture(), expected, table.pieces()); };
        // A picture is decoded, and fades in.
        const bool isAsExpected =
            shown.cover ? QTest::qWaitFor([&] { return found().isEmpty(); }) : found().isEmpty();
        QVERIFY2(isAsExpected, qPrintable(u"these pieces differ:\n"_s + found()));
        QCOMPARE(textsIn([&](QPaintDevice &device) { f.view.render(&device); }),
            textsIn([&](QPaintDevice &device) { draw(table.pieces(), device); }));
    }
};

LUMAVERDINE_TEST(DrawingTest)
#include "DrawingTest.moc"
