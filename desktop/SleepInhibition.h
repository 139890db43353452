#pragma once

#include <QObject>
#include <optional>

/// Keeps the computer from being suspended for as long as this lives; the screen may go dark.
///
/// Asks the desktop portal, else the power manager on the session bus, without ever waiting for them. If there is
/// neither, it does nothing. Main thread only.
class SleepInhibition : public QObject {
    Q_OBJECT

public:
    SleepInhibition();
    ~SleepInhibition() override;

private:
    void askPowerManager();

    std::optional<uint> m_cookie; ///< the power manager's name for this
};
