#pragma once

#include <QObject>
#include <functional>
#include <vector>

class ObservableObject;

/// Keeps a view up to date with an observed object.
///
/// Every notification marks the view as out of date; the first one posts a render to the event loop, and the
/// render reads the state as it is by then. Ten thousand notifications in one turn are one render. Main
/// thread only.
class ViewRenderer : public QObject {
    Q_OBJECT

public:
    explicit ViewRenderer(ObservableObject &observed);

    /// Runs `step` now and at every render. A step reads the state and hands it to a widget whose setter
    /// leaves an equal value alone.
    void follow(std::function<void()> step);

    /// Posts a render, unless one is on its way.
    void markOutOfDate();

private:
    void render();

    std::vector<std::function<void()>> m_steps;
    bool m_isOutOfDate = false;
};
