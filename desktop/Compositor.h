#pragma once

/// Whether the window system shows what lies behind the translucent parts of a window; without that, they are black.
/// It does on Wayland, and on X11 while a compositor runs. Main thread only.
[[nodiscard]] bool isComposited();
