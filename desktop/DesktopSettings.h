#pragma once

#include "desktop/ButtonLayout.h"

#include <functional>

/// What the user has chosen for the windows of all programs.
struct DesktopSettings {
    ButtonLayout buttonLayout;
    bool wantsAnimations = true;

    /// Is called with the settings as soon as they are known, and after each change; never if none are published.
    using Follower = std::function<void(const DesktopSettings &)>;
};
