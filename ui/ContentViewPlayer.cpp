// The upper block of the window: what is playing, the transport buttons, progress and volume.

#include "desktop/AccessibleFactory.h"
#include "player/PayerManager.h"
#include "ui/ContentView.h"
#include "ui/DisplayText.h"
#include "ui/Layout.h"
#include "ui/controls/Button.h"
#include "ui/controls/Cover.h"
#include "ui/controls/MenuButton.h"
#include "ui/controls/SelectableLabel.h"
#include "ui/controls/Slider.h"
#include "ui/controls/SymbolView.h"
#include "ui/drawing/Fonts.h"

#include <QAction>
#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr double ShortestRange = 0.01; // seconds: a range that is valid without a track
constexpr double SeekStep = 5; // seconds
constexpr double SeekPageStep = 30;
constexpr double FullVolume = 100; // percent
constexpr double VolumeStep = 5;
constexpr double VolumePageStep = 20;

/// Tells the users of assistive technology what has happened. Nobody sees it.
///
/// Before Qt 6.8, which has an event for this, it is a notification that shows itself anew.
class Announcer : public QWidget {
public:
    explicit Announcer(QWidget *parent)
        : QWidget(parent)
    {
        installAccessible<Announcer, QAccessibleWidget, QAccessible::Notification>();
        setFixedSize(1, 1); // what has no size does not show, for assistive technology either
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

    void announce(const QString &text)
    {
        setAccessibleName(text);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
        QAccessibleAnnouncementEvent event(this, text);
#else
        QAccessibleEvent event(this, QAccessible::ObjectShow);
#endif
        QAccessible::updateAccessibility(&event);
    }
};

} // namespace

// What is playing

QBoxLayout *ContentView::trackInformation()
{
    return horizontal(25, {artwork(), trackTexts()});
}

void ContentView::attachTrackAnnouncer()
{
    auto *announcer = new Announcer(this);
    announcer->setAccessibleName(tr("Sin reproducción"));
    m_renderer.follow([=, this, announced = std::optional<Track>()]() mutable {
        const std::optional<Track> &track = m_player.currentTrack();
        if (std::exchange(announced, track) != track)
            announcer->announce(
                track ? tr("%1, %2").arg(track->title, track->artist) : tr("Sin reproducción"));
    });
}

QWidget *ContentView::artwork()
{
    auto *cover = new Cover(m_artworks);
    m_renderer.follow([=, this] {
        const std::optional<Track> &track = m_player.currentTrack();
        cover->setPicture(track ? track->id() : QUuid(), track ? track->artwork : std::nullopt);
    });
    connect(&m_player, &PlayerManager::followingTrackFound, cover, [cover](const Track &track) {
        if (track.artwork)
            cover->prepare(*track.artwork);
    });
    return cover;
}

QBoxLayout *ContentView::trackTexts()
{
    auto *title = new SelectableLabel(systemFont(28, QFont::Bold), Label::Tone::Primary, 2);
    auto *artist = new Label(systemFont(18, QFont::Medium), Label::Tone::Secondary);
    auto *album = new Label(systemFont(14), Label::Tone::Tertiary);
    auto *position = new Label(systemFont(13, QFont::Medium), Label::Tone::Secondary);
    m_renderer.follow([=, this] {
        const std::optional<Track> &track = m_player.currentTrack();
        title->setText(track ? track->title : tr("Sin reproducción"));
        artist->setText(track ? track->artist : tr("Añade música para comenzar"));
        album->setText(track ? track->album : tr("La playlist está vacía"));
        position->setText(trackPositionText());
    });
    auto *positionLine = horizontal(9, {new SymbolView(u"music.note"_s, 13), position, Spacer()});
    return vertical(9, {title, artist, album, Spacer(), positionLine});
}

QString ContentView::trackPositionText() const
{
    const std::optional<qsizetype> index = m_player.currentIndex();
    if (!index)
        return tr("Sin canciones");
    return tr("Canción %1 de %2").arg(*index + 1).arg(m_player.playlist().size());
}

// The transport buttons

QBoxLayout *ContentView::transportControls()
{
    const auto isShuffling = [this] { return m_player.isShuffling(); };
    const auto isRepeating = [this] { return m_player.isRepeating(); };
    const auto flipShuffling = [this] { m_player.isShuffling = !m_player.isShuffling(); };
    const auto flipRepeating = [this] { m_player.isRepeating = !m_player.isRepeating(); };
    const auto previous = [this] { m_player.previous(); };
    const auto next = [this] { m_player.next(); };
    return horizontal(18,
        {
            controlButton(u"shuffle"_s, tr("Reproducción aleatoria"), isShuffling, 16, flipShuffling),
            Spacer(),
            controlButton(u"backward.end.fill"_s, tr("Canción anterior"), {}, 23, previous),
            playButton(),
            controlButton(u"forward.end.fill"_s, tr("Canción siguiente"), {}, 23, next),
            Spacer(),
            controlButton(u"repeat"_s, tr("Repetir canción"), isRepeating, 16, flipRepeating),
        });
}

QWidget *ContentView::playButton()
{
    auto *button =
        new Button(Button::Look::Disc, {u"play.fill"_s, 23, QFont::Bold}, tr("Reproducir"), {58, 58});
    connect(button, &QAbstractButton::clicked, &m_player, &PlayerManager::togglePlayback);
    m_renderer.follow([=, this] {
        button->setSymbol(m_player.isPlaying() ? u"pause.fill"_s : u"play.fill"_s);
        button->setHelp(m_player.isPlaying() ? tr("Pausar") : tr("Reproducir"));
        button->setEnabled(!m_player.playlist().isEmpty());
    });
    return button;
}

/// Without `isActive` the button has no active look, and is none that can be on or off.
QWidget *ContentView::controlButton(const QString &symbol, const QString &help,
    const std::function<bool()> &isActive, int size, const std::function<void()> &action)
{
    auto *button = new Button(Button::Look::Plain, {symbol, size, QFont::DemiBold}, help, {36, 36});
    button->setCheckable(static_cast<bool>(isActive));
    connect(button, &QAbstractButton::clicked, this, action);
    m_renderer.follow([=, this] {
        button->setActive(isActive && isActive());
        button->setEnabled(!m_player.playlist().isEmpty());
    });
    return button;
}

// Progress

QBoxLayout *ContentView::progressSection()
{
    return vertical(14, {vertical(5, {seekBar(), times()}), tools()});
}

QWidget *ContentView::seekBar()
{
    auto *bar = new Slider(tr("Posición"));
    bar->setSteps(SeekStep, SeekPageStep);
    bar->setSpokenWords([this](double value) {
        return tr("%1 de %2").arg(spokenTime(value), spokenTime(m_player.duration()));
    });
    connect(bar, &Slider::editingBegan, this, [this] { seekBarEditing(true); });
    connect(bar, &Slider::editingEnded, this, [this] { seekBarEditing(false); });
    connect(bar, &Slider::edited, this, [this](double value) {
        m_temporaryProgress = value;
        m_renderer.markOutOfDate();
    });
    m_renderer.follow([=, this] {
        bar->setEnabled(m_player.currentTrack().has_value());
        bar->setValue(seekValue());
        bar->setMaximum(std::max(m_player.duration(), ShortestRange));
    });
    return bar;
}

double ContentView::seekValue() const
{
    return m_isDraggingSlider ? m_temporaryProgress : m_player.currentTime();
}

void ContentView::seekBarEditing(bool isPressed)
{
    m_isDraggingSlider = isPressed;
    if (isPressed)
        m_temporaryProgress = m_player.currentTime();
    else
        m_player.seek(m_temporaryProgress);
}

QBoxLayout *ContentView::times()
{
    const TextFont font = fixedFont(11, QFont::Medium);
    auto *elapsed = new Label(font, Label::Tone::Secondary);
    auto *total = new Label(font, Label::Tone::Secondary);
    m_renderer.follow([=, this] {
        elapsed->setText(PlayerManager::formattedTime(seekValue()));
        total->setText(PlayerManager::formattedTime(m_player.duration()));
    });
    return horizontal(8, {elapsed, Spacer(), total});
}

// Tools and volume

QBoxLayout *ContentView::tools()
{
    auto *speaker = new SymbolView(u"speaker.wave.3.fill"_s, 13); // the widest
    speaker->setFixedWidth(20);
    auto *percentage = new Label(fixedFont(11), Label::Tone::Secondary);
    percentage->setAlignment(Qt::AlignRight);
    percentage->setTextWidth(38);
    m_renderer.follow([=, this] {
        speaker->setSymbol(volumeSymbol());
        // Cut, not rounded.
        percentage->setText(tr("%1 %").arg(static_cast<int>(m_player.volume() * 100)));
    });
    return horizontal(10, {importButton(), optionsMenu(), Spacer(), speaker, volumeSlider(), percentage});
}

QWidget *ContentView::importButton()
{
    auto *button = new Button(Button::Look::Bordered, tr("Añadir música"), u"plus"_s);
    button->setHelp(tr("Añadir archivos de audio"));
    connect(button, &QAbstractButton::clicked, this, [this] { m_player.showFileImporter = true; });
    return button;
}

QWidget *ContentView::optionsMenu()
{
    auto *button = new MenuButton(u"ellipsis"_s, tr("Más opciones"));
    QAction *clear = button->menu().addDestructive(tr("Eliminar todas las canciones"));
    connect(clear, &QAction::triggered, &m_player, &PlayerManager::clearPlaylist);
    m_renderer.follow([=, this] { clear->setEnabled(!m_player.playlist().isEmpty()); });
    return button;
}

QWidget *ContentView::volumeSlider()
{
    auto *slider = new Slider(tr("Volumen"));
    slider->setToolTip(tr("Volumen"));
    slider->setFixedWidth(145);
    slider->setSteps(VolumeStep, VolumePageStep);
    slider->setMaximum(FullVolume);
    connect(slider, &Slider::edited, this, [this](double value) { m_player.volume = value / FullVolume; });
    m_renderer.follow([=, this] { slider->setValue(m_player.volume() * FullVolume); });
    return slider;
}

QString ContentView::volumeSymbol() const
{
    const double volume = m_player.volume();
    // Nothing is taken for granted: what is below 0, or not a number, shows all waves.
    if (volume == 0)
        return u"speaker.slash.fill"_s;
    if (volume >= 0 && volume < 0.34)
        return u"speaker.wave.1.fill"_s;
    if (volume >= 0.34 && volume < 0.67)
        return u"speaker.wave.2.fill"_s;
    return u"speaker.wave.3.fill"_s;
}
