#pragma once

#include <QObject>
#include <functional>
#include <utility>

/// An object whose state is made of Published properties and whose observers hear of every change before it
/// is stored. Main thread only.
class ObservableObject : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    /// One of the properties is about to be written.
    void objectWillChange();
};

/// A property of an ObservableObject: read with a call, written with an assignment.
///
/// Every write sends one objectWillChange, then stores, then runs the property's own hook. A write of an
/// equal value is a write like any other. The initial value announces nothing and runs no hook.
template <typename T> class Published {
public:
    using Hook = std::function<void(const T &)>;

    Published(ObservableObject &owner, T initial, Hook didSet = {})
        : m_owner(owner)
        , m_value(std::move(initial))
        , m_didSet(std::move(didSet))
    {
    }
    Published(const Published &) = delete;
    Published &operator=(const Published &) = delete;

    [[nodiscard]] const T &operator()() const { return m_value; }

    Published &operator=(T value)
    {
        mutate([&value](T &stored) { stored = std::move(value); });
        return *this;
    }

    /// One write that changes the value in place, without a copy.
    template <typename Change> void mutate(Change change)
    {
        Q_EMIT m_owner.objectWillChange();
        change(m_value);
        if (m_didSet)
            m_didSet(m_value);
    }

private:
    ObservableObject &m_owner;
    T m_value;
    Hook m_didSet;
};
