#include "tests/player/Journal.h"

#include "tests/StandardOutput.h"

using namespace Qt::StringLiterals;

Journal::Journal(FakePlatform &platform, PlayerManager &player)
    : m_platform(platform)
    , m_player(&player)
    , m_timer(player.findChild<QTimer *>())
{
    platform.observer = [this](const QString &call) {
        settle();
        m_entries.append(call);
    };
    QObject::connect(&player, &PlayerManager::objectWillChange, this, [this] {
        settle();
        m_isAnnounced = true;
    });
}

Journal::~Journal()
{
    m_platform.observer = [](const QString &) {};
}

QString Journal::record(const std::function<void()> &operation)
{
    settle();
    m_entries.clear();
    m_output = std::tmpfile();
    m_outputRead = 0;
    withStandardOutput(fileno(m_output), operation);
    settle();
    std::fclose(std::exchange(m_output, nullptr));
    return m_entries.join(u", "_s);
}

QStringList Journal::properties() const
{
    if (!m_player)
        return m_properties;
    const auto truth = [](bool value) { return value ? u"true"_s : u"false"_s; };
    const auto number = [](double value) { return QString::number(value, 'g', 10); };
    const PlayerManager &player = *m_player;
    QString titles;
    for (const Track &track : player.playlist())
        titles += track.title;
    const QString current = player.currentTrack() ? player.currentTrack()->title : u"-"_s;
    return {u"playlist "_s + titles, u"currentTrack "_s + current,
        u"isPlaying "_s + truth(player.isPlaying()), u"currentTime "_s + number(player.currentTime()),
        u"duration "_s + number(player.duration()), u"volume "_s + number(player.volume()),
        u"isRepeating "_s + truth(player.isRepeating()), u"isShuffling "_s + truth(player.isShuffling()),
        u"showFileImporter "_s + truth(player.showFileImporter())};
}

/// Notes what has happened since the last event.
void Journal::settle()
{
    settleProperties();
    settleTimer();
    settleOutput();
}

void Journal::settleProperties()
{
    const QStringList now = properties();
    QStringList changed = now;
    changed.removeIf([this](const QString &property) { return m_properties.contains(property); });
    if (std::exchange(m_isAnnounced, false))
        m_entries.append(changed.isEmpty() ? u"same"_s : changed.takeFirst());
    for (const QString &property : std::as_const(changed))
        m_entries.append(u"unannounced "_s + property);
    m_properties = now;
}

void Journal::settleTimer()
{
    const bool isOn = m_timer && m_timer->isActive();
    if (isOn != std::exchange(m_isTimerOn, isOn))
        m_entries.append(isOn ? u"timer on"_s : u"timer off"_s);
}

void Journal::settleOutput()
{
    if (!m_output)
        return;
    QByteArray printed(4096, '\0');
    printed.truncate(pread(fileno(m_output), printed.data(), std::size_t(printed.size()), m_outputRead));
    m_outputRead += printed.size();
    if (!printed.isEmpty())
        m_entries.append(u"prints "_s + QString::fromUtf8(printed));
}
