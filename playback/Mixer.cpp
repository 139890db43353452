#include "playback/Mixer.h"

#include <algorithm>
#include <utility>

namespace {

// Short enough to feel immediate, long enough for no click.
constexpr double ChangeFade = 0.008; // seconds
constexpr double CrossFade = 0.016;

constexpr double LongestQueue = 1; // seconds

} // namespace

bool PositionMap::Piece::continues(const Piece &former) const
{
    return isMoving == former.isMoving && tag == former.tag && value == former.at(start);
}

void PositionMap::append(const Piece &piece)
{
    while (m_end != m_begin && newest().start >= piece.start)
        --m_end;
    if (m_end != m_begin && piece.continues(newest()))
        return;
    if (m_end - m_begin == Capacity)
        ++m_begin;
    m_pieces[m_end++ % Capacity] = piece;
}

PositionMap::Piece PositionMap::pieceAt(std::int64_t frame) const
{
    if (m_end == m_begin)
        return {};
    for (std::size_t index = m_end; index-- != m_begin;) {
        if (m_pieces[index % Capacity].start <= frame)
            return m_pieces[index % Capacity];
    }
    Piece first = m_pieces[m_begin % Capacity];
    first.isMoving = false;
    return first;
}

Mixer::Mixer(AudioFormat format)
    : m_format(format)
    , m_channels(format.channels)
    , m_memory(format.frames(LongestQueue))
    , m_output(std::size_t(m_memory * m_channels))
    , m_history(std::size_t(m_memory * m_channels))
{
}

void Mixer::render(std::int64_t frames)
{
    if (m_mix.isPlaying)
        renderSound(frames);
    else
        renderSilence(frames);
}

void Mixer::skipTo(std::int64_t frame)
{
    if (frame <= m_rendered)
        return;
    m_cursors.append({m_rendered, m_cursor, false, 0});
    m_rendered = frame;
}

void Mixer::follow(std::shared_ptr<RingBuffer> ring)
{
    m_isTakenBack = m_former != nullptr;
    m_next = std::move(ring);
}

void Mixer::settle()
{
    m_former = nullptr;
    m_isTakenBack = false;
    m_joint.reset();
}

bool Mixer::needsChange(const Mix &mix) const
{
    const bool hasMissingFrames = m_isStarved && m_ring && m_ring->available() > 0;
    const bool isSilentBeforeNext = m_next && m_end;
    return mix != m_mix || m_offered || m_isTakenBack || hasMissingFrames || isSilentBeforeNext;
}

void Mixer::change(std::int64_t frame, const Mix &mix)
{
    frame = std::clamp<std::int64_t>(frame, std::max<std::int64_t>(m_rendered - m_memory / 2, 0), m_rendered);
    const bool isNewPlace = m_offered != nullptr;
    const bool isSounding = m_cursors.pieceAt(frame).isMoving;
    const std::int64_t fade = format().frames(isNewPlace && isSounding ? CrossFade : ChangeFade);
    // What stood there before has to reach through the fade.
    const std::int64_t oldEnd = std::max(m_rendered, frame + fade);
    render(oldEnd - m_rendered);

    // A pause is heard until its fade is over, and goes on from there.
    const std::int64_t turn = mix.isPlaying ? frame : frame + fade;
    // Never back to the place before, also if that was still to be heard at the frame.
    m_cursor = std::max(m_cursors.at(turn), m_placeStart);
    if (m_isTakenBack)
        takeBackJoin();
    if (isNewPlace)
        adoptOffered();
    m_cursors.append({turn, m_cursor, false, 0});
    m_fadeStart = frame;
    m_fadeFrames = fade;
    m_mix = mix;
    m_isStarved = false;
    if (frame < m_end || m_next)
        m_end.reset();
    if (frame < m_joint)
        m_joint.reset();
    m_rendered = frame;
    render(oldEnd - frame);
}

std::span<const float> Mixer::samplesFrom(std::int64_t frame) const
{
    const std::int64_t frames = std::min(m_rendered - frame, untilWrap(frame));
    return {m_output.data() + sampleOf(frame), std::size_t(frames * m_channels)};
}

void Mixer::detach()
{
    m_ring = m_offered = m_next = m_former = nullptr;
}

Mixer::Position Mixer::positionAt(std::int64_t frame) const
{
    const std::int64_t cursor = m_cursors.at(frame);
    const auto piece = m_track.pieceAt(cursor);
    return {format().seconds(piece.at(cursor)), piece.tag};
}

void Mixer::renderSound(std::int64_t frames)
{
    while (frames > 0) {
        const std::int64_t run =
            fetch(std::min(frames, std::min(untilWrap(m_rendered), untilWrap(m_cursor))));
        if (run == 0) {
            noteMissing();
            m_cursors.append({m_rendered, m_cursor, false, 0});
            return renderSilence(frames);
        }
        m_cursors.append({m_rendered, m_cursor, true, 0});
        mixInto(m_rendered, m_history.data() + sampleOf(m_cursor), run);
        // What a pause has faded out over the joint is behind it when it goes on.
        if (m_former && !m_joint && m_jointCursor < m_cursor + run)
            m_joint = m_rendered + std::max<std::int64_t>(m_jointCursor - m_cursor, 0);
        m_cursor += run;
        m_rendered += run;
        frames -= run;
    }
}

void Mixer::renderSilence(std::int64_t frames)
{
    while (frames > 0) {
        const std::int64_t run = std::min(frames, untilWrap(m_rendered));
        mixInto(m_rendered, nullptr, run);
        m_rendered += run;
        frames -= run;
    }
}

/// Sees to it that up to `frames` frames from the cursor on are in the history, and answers how many are.
std::int64_t Mixer::fetch(std::int64_t frames)
{
    if (m_cursor < m_taken)
        return std::min(frames, m_taken - m_cursor);
    if (!m_ring)
        return 0;
    RingBuffer::Run run = m_ring->read(m_history.data() + sampleOf(m_cursor), frames);
    if (run.frames == 0 && m_next && !m_end && m_ring->isExhausted()) {
        join();
        run = m_ring->read(m_history.data() + sampleOf(m_cursor), frames);
    }
    if (run.frames > 0)
        m_track.append({m_taken, run.position, true, m_ring->generation()});
    m_taken += run.frames;
    return run.frames;
}

void Mixer::noteMissing()
{
    if (m_ring && m_ring->isExhausted()) {
        if (!m_end)
            m_end = m_rendered;
        return;
    }
    m_isStarved = true;
    if (m_ring)
        m_ring->noteStarved();
}

/// Writes output frames: `source`, or silence if that is null, with the gain, and within a fade mixed with
/// what stood there before.
void Mixer::mixInto(std::int64_t frame, const float *source, std::int64_t frames)
{
    float *target = m_output.data() + sampleOf(frame);
    for (std::int64_t index = 0; index < frames; ++index) {
        const std::int64_t faded = frame + index - m_fadeStart;
        const float share = faded < m_fadeFrames ? float(faded + 1) / float(m_fadeFrames + 1) : 1.0F;
        for (std::int64_t channel = 0; channel < m_channels; ++channel, ++target) {
            const float fresh = source ? source[index * m_channels + channel] * m_mix.gain : 0.0F;
            if (*target != fresh) // what stays equal stays exact
                *target = fresh * share + *target * (1 - share);
        }
    }
}

void Mixer::adoptOffered()
{
    m_ring = std::move(m_offered);
    m_former = nullptr;
    m_end.reset();
    m_joint.reset();
    m_placeStart = m_taken;
    m_cursor = m_taken;
    m_track.append({m_taken, m_ring->start(), true, m_ring->generation()});
}

void Mixer::join()
{
    m_former = std::exchange(m_ring, std::move(m_next));
    m_jointCursor = m_taken;
    m_formerPiece = m_track.pieceAt(m_taken);
}

/// What was taken of the ring that followed is forgotten; what is left to render of the former one is its end.
void Mixer::takeBackJoin()
{
    m_track.append({m_jointCursor, m_formerPiece.at(m_jointCursor), true, m_formerPiece.tag});
    m_cursor = std::min(m_cursor, m_jointCursor);
    m_taken = m_jointCursor;
    m_ring = std::move(m_former);
    m_joint.reset();
    m_isTakenBack = false;
}
