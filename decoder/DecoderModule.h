#pragma once

#include "decoder/Decoder.h"
#include "files/LocalFile.h"
#include "files/Result.h"

#include <QByteArray>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

/// What a container says about itself, as far as it says it: in stored order, first value, first picture. If it does
/// not tell its length, that is counted, for a second at most.
struct ProbedMedia {
    std::optional<double> duration; ///< seconds, finite and not negative
    std::optional<QString> title;
    std::optional<QString> artist;
    std::optional<QString> album;
    std::optional<QByteArray> picture; ///< encoded bytes, as the file holds them
};

/// Set to true by its owner to make those who read a file for it give up at the next chance.
using StopFlag = std::shared_ptr<const std::atomic<bool>>;

/// Answers the format that a decoder is to give out, which differs from the file's `own` if it has to.
using FormatChoice = std::function<AudioFormat(AudioFormat own)>;

/// The one way to the libraries that understand audio containers and codecs. They live in a module of their
/// own, because linking them would slow down every start, also of a player that never opens a file.
///
/// Both operations read from the descriptor that they are given and open nothing else, whatever its bytes
/// say. Any thread; they block while the file is read, until `stop` is set at the latest.
class DecoderModule {
public:
    /// A decoder that has already decoded its first frames; fails with a readable description if the file
    /// holds no sound that is understood. Without a choice, its format is the file's own.
    virtual Result<std::unique_ptr<Decoder>> open(
        FileDescriptor file, StopFlag stop, const FormatChoice &chooseFormat = {}) const = 0;

    /// Reads the container's own account of itself. What cannot be read is missing.
    [[nodiscard]] virtual ProbedMedia probe(FileDescriptor file) const = 0;

    /// The module, loaded by the first call and kept until the process ends; fails with a readable
    /// description if it is not installed. Any thread.
    static Result<const DecoderModule *> load();

protected:
    ~DecoderModule() = default;
};

/// The one symbol that the module exports: a function of this type under this name.
using DecoderModuleEntry = const DecoderModule *();
inline constexpr char decoderModuleEntryName[] = "lumaverdineDecoderModule";
