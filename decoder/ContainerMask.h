#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

/// Hides from FFmpeg's reader of a container what would cost it more than a healthy file ever does. One mask for one
/// container.
class ContainerMask {
public:
    /// Fills `bytes` with those of the container that stand at `position`; answers how many there were.
    using Look = std::function<std::size_t(std::int64_t position, std::span<std::uint8_t> bytes)>;

    /// That for a container, by FFmpeg's name of it; null if it needs none.
    ///
    /// Ogg needs it for the whole file, in which one stream may follow another: what is read again is masked again. The
    /// others need it for the headers, which are read in order.
    [[nodiscard]] static std::unique_ptr<ContainerMask> forDemuxer(std::string_view name);

    virtual ~ContainerMask() = default;
    ContainerMask(const ContainerMask &) = delete;
    ContainerMask &operator=(const ContainerMask &) = delete;

    /// Masks `bytes`, which stand at `position`. Answers how many are ready: the last ones have to be read again
    /// with what follows, which tells what they are, unless they are all there is.
    [[nodiscard]] virtual std::size_t apply(
        std::span<std::uint8_t> bytes, std::int64_t position, const Look &look) = 0;

protected:
    ContainerMask() = default;
};
