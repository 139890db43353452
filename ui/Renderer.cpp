#include "ui/Renderer.h"

#include "player/ObservableObject.h"

Renderer::Renderer(ObservableObject &observed)
{
    connect(&observed, &ObservableObject::objectWillChange, this, &Renderer::markOutOfDate);
}

void Renderer::follow(std::function<void()> step)
{
    step();
    m_steps.push_back(std::move(step));
}

void Renderer::markOutOfDate()
{
    if (m_isOutOfDate)
        return;
    m_isOutOfDate = true;
    QMetaObject::invokeMethod(this, &Renderer::render, Qt::QueuedConnection);
}

void Renderer::render()
{
    // Cleared first: what a step changes is shown by the next render.
    m_isOutOfDate = false;
    for (const auto &step : m_steps)
        step();
}
