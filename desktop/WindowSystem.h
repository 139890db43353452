#pragma once

#include <QWindow>
#include <functional>

/// What a window without a title bar asks of the window system, which then follows the pointer by itself; fakes
/// in tests. False where the window system cannot do it.
struct WindowSystem {
    std::function<bool(QWindow &)> startMove = [](QWindow &window) { return window.startSystemMove(); };
    std::function<bool(QWindow &, Qt::Edges)> startResize = [](QWindow &window, Qt::Edges edges) {
        return window.startSystemResize(edges);
    };
};
