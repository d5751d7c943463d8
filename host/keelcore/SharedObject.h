#pragma once

#include <memory>

namespace KeelCore {

// Base that gives an object a liveness token. The object itself is owned
// elsewhere (usually by a Qt parent); the token expires when the object is
// destroyed, so weak references can be checked before use.
class SharedObjectInternal : public std::enable_shared_from_this<SharedObjectInternal> {
public:
    SharedObjectInternal();
    virtual ~SharedObjectInternal();

    SharedObjectInternal(const SharedObjectInternal&) = delete;
    SharedObjectInternal& operator=(const SharedObjectInternal&) = delete;

    std::weak_ptr<SharedObjectInternal> liveness() const { return m_self; }

private:
    // Non-owning: its deleter does nothing; it exists to hand out weak_ptrs.
    std::shared_ptr<SharedObjectInternal> m_self;
};

// A weak reference to T. lock() answers the object while it lives.
// Lock and use it on the thread that destroys the object (the GUI thread
// for views); elsewhere the answer is only a hint.
template <class T>
class WeakRef {
public:
    WeakRef() = default;
    WeakRef(std::weak_ptr<SharedObjectInternal> token, T* object)
        : m_token(std::move(token)), m_object(object) {}

    T* lock() const { return m_token.expired() ? nullptr : m_object; }
    bool expired() const { return m_token.expired(); }
    explicit operator bool() const { return !expired(); }

private:
    std::weak_ptr<SharedObjectInternal> m_token;
    T* m_object = nullptr;
};

template <class T>
class SharedObject : public SharedObjectInternal {
public:
    WeakRef<T> weakRef() { return WeakRef<T>(liveness(), static_cast<T*>(this)); }
};

namespace detail {
// A token that never expires, for objects whose lifetime is not tracked.
std::weak_ptr<SharedObjectInternal> untrackedToken();
} // namespace detail

// A weak reference to any object; objects that are SharedObjectInternal
// are tracked, others are taken as living as long as the reference.
template <class T>
WeakRef<T> makeWeak(T* object)
{
    if (!object)
        return WeakRef<T>();
    if (auto* shared = dynamic_cast<SharedObjectInternal*>(object))
        return WeakRef<T>(shared->liveness(), object);
    return WeakRef<T>(detail::untrackedToken(), object);
}

} // namespace KeelCore
