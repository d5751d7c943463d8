#pragma once

#include "SharedObject.h"

#include <QObject>
#include <QPointer>

#include <algorithm>
#include <functional>
#include <vector>

namespace KeelCore {

namespace detail {
// Liveness of an observer: a SharedObjectInternal token or a QPointer.
struct ObserverLife {
    std::weak_ptr<SharedObjectInternal> token;
    QPointer<QObject> qobject;
    bool tracked = false;

    template <class P>
    static ObserverLife of(P* observer)
    {
        ObserverLife life;
        if (auto* shared = dynamic_cast<SharedObjectInternal*>(observer)) {
            life.token = shared->liveness();
            life.tracked = true;
        } else if (auto* object = dynamic_cast<QObject*>(observer)) {
            life.qobject = object;
            life.tracked = true;
        }
        return life;
    }

    bool alive() const
    {
        if (!tracked)
            return true;
        return !token.expired() || !qobject.isNull();
    }
};
} // namespace detail

// Holds observers of a protocol weakly: an observer that has been destroyed
// is skipped and forgotten, never called. Observers must be SharedObjects or
// QObjects to be tracked; anything else must remove itself before it dies.
// Use from one thread (the GUI thread).
template <class Protocol>
class Broadcaster {
public:
    virtual ~Broadcaster() = default;

    void addObserver(Protocol* observer)
    {
        if (!observer || hasObserver(observer))
            return;
        m_observers.push_back({observer, detail::ObserverLife::of(observer)});
    }

    void removeObserver(Protocol* observer)
    {
        m_observers.erase(std::remove_if(m_observers.begin(), m_observers.end(),
                                         [observer](const Entry& e) { return e.observer == observer; }),
                          m_observers.end());
    }

    bool hasObserver(Protocol* observer) const
    {
        return std::any_of(m_observers.begin(), m_observers.end(),
                           [observer](const Entry& e) { return e.observer == observer && e.life.alive(); });
    }

    int observerCount() const
    {
        return int(std::count_if(m_observers.begin(), m_observers.end(),
                                 [](const Entry& e) { return e.life.alive(); }));
    }

    // Calls fn for every living observer, in the order they were added.
    // Observers added while broadcasting are not called this time.
    void broadcast(const std::function<void(Protocol*)>& fn)
    {
        prune();
        const auto snapshot = m_observers;
        for (const Entry& e : snapshot) {
            if (e.life.alive())
                fn(e.observer);
        }
    }

private:
    struct Entry {
        Protocol* observer;
        detail::ObserverLife life;
    };

    void prune()
    {
        m_observers.erase(std::remove_if(m_observers.begin(), m_observers.end(),
                                         [](const Entry& e) { return !e.life.alive(); }),
                          m_observers.end());
    }

    std::vector<Entry> m_observers;
};

// Holds one delegate weakly, as Broadcaster holds observers.
template <class Protocol>
class Delegator {
public:
    virtual ~Delegator() = default;

    void setDelegate(Protocol* delegate)
    {
        m_delegate = delegate;
        m_life = detail::ObserverLife::of(delegate);
    }

    Protocol* getDelegate() const { return (m_delegate && m_life.alive()) ? m_delegate : nullptr; }

    // Calls fn with the delegate if there is a living one; answers whether it did.
    bool callDelegate(const std::function<void(Protocol*)>& fn) const
    {
        if (Protocol* d = getDelegate()) {
            fn(d);
            return true;
        }
        return false;
    }

private:
    Protocol* m_delegate = nullptr;
    detail::ObserverLife m_life;
};

} // namespace KeelCore
