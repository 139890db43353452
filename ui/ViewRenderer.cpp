#include "ui/ViewRenderer.h"

#include "player/Published.h"

ViewRenderer::ViewRenderer(ObservableObject &observed)
{
    connect(&observed, &ObservableObject::objectWillChange, this, &ViewRenderer::markOutOfDate);
}

void ViewRenderer::follow(std::function<void()> step)
{
    step();
    m_steps.push_back(std::move(step));
}

void ViewRenderer::markOutOfDate()
{
    if (m_isOutOfDate)
        return;
    m_isOutOfDate = true;
    QMetaObject::invokeMethod(this, &ViewRenderer::render, Qt::QueuedConnection);
}

void ViewRenderer::render()
{
    // Cleared first: what a step changes is shown by the next render.
    m_isOutOfDate = false;
    for (const auto &step : m_steps)
        step();
}
