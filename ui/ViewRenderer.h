#pragma once

#include "player/Published.h"

#include <functional>
#include <vector>

/// Keeps a view up to date with an observed object.
///
/// Every notification marks the view as out of date; the first one posts a render to the event loop, and the
/// render reads the state as it is by then. Ten thousand notifications in one turn are one render. Main
/// thread only.
class ViewRenderer : public QObject {
public:
    explicit ViewRenderer(ObservableObject &observed)
    {
        connect(&observed, &ObservableObject::objectWillChange, this, &ViewRenderer::markOutOfDate);
    }

    /// Runs `step` now and at every render. A step reads the state and hands it to a widget whose setter
    /// leaves an equal value alone.
    void follow(std::function<void()> step)
    {
        step();
        m_steps.push_back(std::move(step));
    }

    /// Posts a render, unless one is on its way.
    void markOutOfDate()
    {
        if (!std::exchange(m_isOutOfDate, true))
            QMetaObject::invokeMethod(this, &ViewRenderer::render, Qt::QueuedConnection);
    }

private:
    void render()
    {
        // Cleared first: what a step changes is shown by the next render.
        m_isOutOfDate = false;
        for (const auto &step : m_steps)
            step();
    }

    std::vector<std::function<void()>> m_steps;
    bool m_isOutOfDate = false;
};
