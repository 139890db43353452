// The lower block of the window: the playlist with its header, or the invitation to fill it.

#include "player/PayerManager.h"
#include "ui/ContentView.h"
#include "ui/Invitation.h"
#include "ui/Layout.h"
#include "ui/PlaylistView.h"
#include "ui/controls/Button.h"
#include "ui/controls/Divider.h"
#include "ui/controls/Label.h"
#include "ui/controls/SymbolView.h"
#include "ui/drawing/Colors.h"
#include "ui/drawing/Fonts.h"

#include <QPainter>
#include <numeric>

using namespace Qt::StringLiterals;

namespace {

/// A faint even wash of the primary colour behind an area.
class Tint : public QWidget {
public:
    explicit Tint(double opacity)
        : m_opacity(opacity)
    {
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(rect(), primaryColor(palette(), m_opacity));
    }

private:
    double m_opacity;
};

double totalDuration(const QList<Track> &tracks)
{
    const auto add = [](double sum, const Track &track) { return sum + track.duration; };
    return std::accumulate(tracks.begin(), tracks.end(), 0.0, add);
}

Label *centeredText(const QString &text, const TextFont &font, Label::Tone tone)
{
    auto *label = new Label(font, tone, 0);
    label->setText(text);
    label->setAlignment(Qt::AlignHCenter);
    return label;
}

/// Shows one of two pieces that stand in the same place; it takes over the keyboard from the other.
void showInstead(QWidget *former, QWidget *shown)
{
    const QWidget *keyboard = former->window()->focusWidget();
    const bool hadKeyboard = keyboard && former->isAncestorOf(keyboard);
    former->setVisible(false);
    shown->setVisible(true);
    if (hadKeyboard)
        shown->setFocus(Qt::TabFocusReason); // which is shown
}

} // namespace

QWidget *ContentView::playlistSection()
{
    QWidget *empty = emptyPlaylist();
    QWidget *rows = playlistRows();
    auto *section = new Tint(0.018);
    section->setLayout(vertical(0, {playlistHeader(), new Divider(0.45), empty, rows}));
    // Only now: without a parent, what is made visible would be a window of its own.
    m_renderer.follow([=, this] {
        const bool isEmpty = m_player.playlist().isEmpty();
        showInstead(isEmpty ? rows : empty, isEmpty ? empty : rows);
    });
    QSizePolicy takesWhatIsLeft(QSizePolicy::Expanding, QSizePolicy::Expanding);
    takesWhatIsLeft.setVerticalStretch(1);
    section->setSizePolicy(takesWhatIsLeft);
    return section;
}

QBoxLayout *ContentView::playlistHeader()
{
    auto *heading = new Label(systemFont(20, QFont::Bold), Label::Tone::Primary);
    heading->setText(tr("Playlist"));
    auto *subtitle = new Label(systemFont(12), Label::Tone::Secondary);
    auto *total = new Label(fixedFont(12), Label::Tone::Secondary);
    m_renderer.follow([=, this, summed = std::optional<QList<Track>>()]() mutable {
        const QList<Track> &playlist = m_player.playlist();
        // A copy shares its storage with the list that it was made from until that one is written.
        if (summed && summed->isSharedWith(playlist))
            return;
        summed = playlist;
        subtitle->setText(playlistSubtitle());
        total->setText(PlayerManager::formattedTime(totalDuration(playlist)));
        total->setVisible(!playlist.isEmpty());
    });
    return padded(horizontal(8, {vertical(3, {heading, subtitle}), Spacer(), total}), {24, 17, 24, 17});
}

QString ContentView::playlistSubtitle() const
{
    const auto count = static_cast<int>(m_player.playlist().size());
    return count == 0 ? tr("Sin canciones") : tr("%n canciones", nullptr, count);
}

QWidget *ContentView::playlistRows()
{
    auto *view = new PlaylistView(m_playlistModel, m_artworks);
    connect(view, &PlaylistView::playRequested, this, [this](const Track &track) { m_player.load(track); });
    connect(view, &PlaylistView::removalRequested, &m_player, &PlayerManager::removeTrack);
    m_renderer.follow([this] {
        m_playlistModel.setTracks(m_player.playlist());
        m_playlistModel.setCurrent(m_player.currentTrack(), m_player.isPlaying());
    });
    return view;
}

QWidget *ContentView::emptyPlaylist()
{
    const TextFont headline = systemFont(13, QFont::Bold);
    const QString empty = tr("La playlist está vacía");
    const QString formats = tr("Añade archivos MP3, M4A, AAC, WAV u otros formatos compatibles.");
    auto *button = new Button(Button::Look::Prominent, tr("Seleccionar música…"));
    button->setAccessibleDescription(empty); // who comes here by keys has not seen it
    connect(button, &QAbstractButton::clicked, this, [this] { m_player.showFileImporter = true; });

    auto *view = new Invitation(new SymbolView(u"music.note.list"_s, 42, QFont::Light),
        centeredText(empty, headline, Label::Tone::Primary),
        centeredText(formats, systemFont(13), Label::Tone::Secondary), button);
    view->setFocusProxy(button);
    return view;
}
