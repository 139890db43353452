#pragma once

#include <QByteArray>
#include <atomic>

/// Makes one file of a test look as if it lay on a medium that fails or never answers. A program that links
/// this has its calls of open() and pread() looked at on their way to the system; all other files are read as
/// ever.
class FaultyMedium {
public:
    enum class Fault {
        None,
        Error, ///< EIO
        Interruption, ///< EINTR, unless the same place is read again
        Portions, ///< no more than 117 bytes at once, so that a block of 4,096 ends with a single one
        Slowness, ///< 50 milliseconds for each answer
        Silence, ///< no answer until the fault is gone
        Absence, ///< the same, from the opening of the file on
    };

    /// From now on the file at `path` is the one; one at a time.
    explicit FaultyMedium(const QByteArray &path);
    ~FaultyMedium();
    FaultyMedium(const FaultyMedium &) = delete;
    FaultyMedium &operator=(const FaultyMedium &) = delete;

    /// Of all reads from now on that begin behind `offset`; a read that waits goes on where it can.
    void set(Fault fault, long offset = 0);

    /// Calls that met with a fault so far.
    [[nodiscard]] int faults() const;
};
