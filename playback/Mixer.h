#pragma once

#include "playback/RingBuffer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

/// What is to be heard.
struct Mix {
    bool isPlaying = false;
    float gain = 1; ///< linear, 0…1

    bool operator==(const Mix &) const = default;
};

/// Maps one count of frames to another, in pieces that either advance together or hold still: what an output
/// has played to what the listener heard of the track. Keeps the newest pieces only; never allocates.
class PositionMap {
public:
    struct Piece {
        std::int64_t start = 0; ///< from here on, up to the next piece,
        std::int64_t value = 0; ///< this and what follows it, or this alone
        bool isMoving = false;
        std::uint32_t tag = 0;

        [[nodiscard]] std::int64_t at(std::int64_t frame) const
        {
            return isMoving ? value + (frame - start) : value;
        }
        [[nodiscard]] bool continues(const Piece &former) const;
    };

    /// From `piece.start` on the map follows `piece`; what it said of that range before is forgotten.
    void append(const Piece &piece);

    /// The piece that `frame` lies in; before all of them, the first one, held still; a zero piece if
    /// there is none.
    [[nodiscard]] Piece pieceAt(std::int64_t frame) const;

    [[nodiscard]] std::int64_t at(std::int64_t frame) const { return pieceAt(frame).at(frame); }

private:
    static constexpr std::size_t Capacity = 32;

    [[nodiscard]] const Piece &newest() const { return m_pieces[(m_end - 1) % Capacity]; }

    std::array<Piece, Capacity> m_pieces;
    std::size_t m_begin = 0; ///< counts up for ever, as m_end does
    std::size_t m_end = 0;
};

/// Turns the frames of the rings that it is offered into the endless frames of an output: sound with its gain,
/// silence if there is none, and a fade wherever one gives way to the other.
///
/// Output frames are counted from 0, when the mixer is made. Life of an output frame:
/// 1. render() makes it from the next frame of the track and appends it.
/// 2. As long as it has not been heard, change() may make it anew, for another mix or another place in the
///    track: the output then overwrites what it has queued.
/// 3. positionAt() tells what of the track it is.
///
/// A change fades from what was rendered before to what is rendered now, whatever the two are. A pause keeps
/// the frame that follows its fade for the resume: none is lost, none comes twice.
///
/// One thread at a time, which the output sees to. Only the constructor allocates; nothing blocks.
class Mixer {
public:
    /// What was heard at an output frame.
    struct Position {
        double seconds = 0; ///< in the track
        std::uint32_t generation = 0; ///< of the request that the frame answers; 0 before the first
    };

    explicit Mixer(AudioFormat format);

    [[nodiscard]] AudioFormat format() const { return m_format; }

    /// Count of the frames that have been rendered; the next one has this number.
    [[nodiscard]] std::int64_t rendered() const { return m_rendered; }

    /// Appends `frames` frames; none if that is negative.
    void render(std::int64_t frames);

    /// Counts on to `frame` without sound: it was never rendered, and the output has played silence there.
    void skipTo(std::int64_t frame);

    /// From the next change() on, frames come from `ring`; the one that they come from already changes nothing. Null
    /// takes back what was offered since the last change().
    void offer(std::shared_ptr<RingBuffer> ring) { m_offered = ring == m_ring ? nullptr : std::move(ring); }

    /// Behind the last frame of the present ring come those of `ring`, with none in between. Null takes that
    /// back with the next change(), also if frames of it have been rendered.
    void follow(std::shared_ptr<RingBuffer> ring);

    /// The ring that follows is the present one from now on: nothing takes it back, another may follow it.
    void settle();

    /// Whether change() would alter anything.
    [[nodiscard]] bool needsChange(const Mix &mix) const;

    /// Makes the frames from `frame` on anew: with this mix, from the ring that was offered, with the frames
    /// that were missing before. Renders more if the fade needs it. Reaches back for half a second at most.
    void change(std::int64_t frame, const Mix &mix);

    /// First output frame after the last fade; from there on a paused output is silent.
    [[nodiscard]] std::int64_t fadeEnd() const { return m_fadeStart + m_fadeFrames; }

    /// Rendered samples from output frame `frame` on, up to the last one or to where their memory wraps.
    [[nodiscard]] std::span<const float> samplesFrom(std::int64_t frame) const;

    /// Gives back its rings: what is left to render is the fade out.
    void detach();

    [[nodiscard]] Position positionAt(std::int64_t frame) const;

    /// The output frame after the last one of the present ring, once that has been rendered.
    [[nodiscard]] std::optional<std::int64_t> end() const { return m_joint ? m_joint : m_end; }
    [[nodiscard]] bool isEndedAt(std::int64_t frame) const { return end() && frame >= *end(); }

private:
    void renderSound(std::int64_t frames);
    void renderSilence(std::int64_t frames);
    std::int64_t fetch(std::int64_t frames);
    void noteMissing();
    void mixInto(std::int64_t frame, const float *source, std::int64_t frames);
    void adoptOffered();
    void join();
    void takeBackJoin();
    [[nodiscard]] std::int64_t sampleOf(std::int64_t frame) const { return frame % m_memory * m_channels; }
    [[nodiscard]] std::int64_t untilWrap(std::int64_t frame) const { return m_memory - frame % m_memory; }

    const AudioFormat m_format;
    const std::int64_t m_channels;
    const std::int64_t m_memory;
    std::shared_ptr<RingBuffer> m_ring; ///< where frames come from; none before the first is adopted
    std::shared_ptr<RingBuffer> m_offered; ///< where they come from after the next change; null if that stays
    std::shared_ptr<RingBuffer> m_next; ///< where they come from once m_ring is exhausted
    std::shared_ptr<RingBuffer> m_former; ///< the one before m_ring, until they are settled
    bool m_isTakenBack = false; ///< m_former is to be the present one again

    Mix m_mix;
    std::int64_t m_rendered = 0;
    std::int64_t m_fadeStart = 0;
    std::int64_t m_fadeFrames = 0;
    std::optional<std::int64_t> m_end; ///< output frame after the last one of m_ring
    std::optional<std::int64_t> m_joint; ///< output frame after the last one of m_former
    bool m_isStarved = false; ///< silence stands where frames were missing

    // Frames taken from the ring are numbered on through all rings; the cursor is the next one to be heard.
    std::int64_t m_cursor = 0;
    std::int64_t m_taken = 0;
    std::int64_t m_placeStart = 0; ///< cursor of the first frame from the ring that was adopted last
    std::int64_t m_jointCursor = 0; ///< of the first frame after those of m_former
    PositionMap::Piece m_formerPiece; ///< what m_track said there of m_former
    PositionMap m_cursors; ///< output frame to cursor
    PositionMap m_track; ///< cursor to track frame, tagged with the generation

    std::vector<float> m_output; ///< the last m_memory output frames
    std::vector<float> m_history; ///< the last m_memory frames taken, before gain
};
