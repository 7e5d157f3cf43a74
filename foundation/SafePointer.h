// Reference-counted owning pointer whose count lives in a platform record.
#pragma once

#include "foundation/KVRuntimeError.h"
#include "platform/RefCountManager.h"

#include <atomic>
#include <cstdio>
#include <string>
#include <typeinfo>

// Non-template base so that safe pointers of any type can be held alike.
class BaseSafePointer {
public:
    virtual ~BaseSafePointer();
};

// Shares one object between owners. The count record comes from the
// process-wide RefCountManager; the pointer that drops the last reference
// destroys the object. A SafePointer is never built from a null raw pointer:
// building or copying from null, copying from a destroyed or empty pointer and
// dereferencing null each print a "SafePointer Report:" line and throw
// KVRuntimeError. One SafePointer
// variable must not be assigned on one thread while another thread reads it;
// copies on different threads are safe. The two fields are atomics so that a
// copy racing the last release of its source is well defined: it either takes
// its reference first or is refused.
template <class T>
class SafePointer : public BaseSafePointer {
public:
    // An empty pointer, for members that are given their object later by
    // assignment (a manager before init, a controller before setOperator).
    // Using or copying it reports like a destroyed pointer.
    SafePointer() : m_pObject(nullptr), m_pRefCount(nullptr) {}

    explicit SafePointer(T* object) : m_pObject(object), m_pRefCount(nullptr) {
        if (object == nullptr)
            ThrowNullPointerException("Construct from NULL original pointer");
        m_pRefCount.store(RefCountManager::getInstance()->retrieveRefCount(object, typeName()));
    }

    SafePointer(SafePointer const& other) : m_pObject(nullptr), m_pRefCount(nullptr) {
        takeReference(other);
    }

    SafePointer& operator=(SafePointer const& other) {
        if (this == &other)
            return *this;
        if (other.m_pObject.load() == nullptr)
            ThrowNullPointerException("Assigned NULL <T>pointer");
        dec_reference();
        // Our reference is gone; should taking the new one fail, this pointer
        // must not release anything again.
        m_pObject.store(nullptr);
        takeReference(other);
        return *this;
    }

    ~SafePointer() override { dec_reference(); }

    T* operator->() {
        T* object = m_pObject.load();
        if (object == nullptr)
            ThrowNullPointerException("Use NULL pointer ->");
        return object;
    }
    T* operator->() const {
        T* object = m_pObject.load();
        if (object == nullptr)
            ThrowNullPointerException("Use NULL pointer ->");
        return object;
    }
    T& operator*() const { return *operator->(); }

    // The raw pointer; null only once this pointer has destroyed the object.
    T* get() const { return m_pObject.load(); }

    // Releases this pointer's reference; the last one destroys the object.
    void dec_reference() {
        T* object = m_pObject.load();
        if (object == nullptr)
            return;
        ref_count* record = m_pRefCount.load();
        record->lock();
        if (record->getPointer() != static_cast<void*>(object))
            throw KVRuntimeError(std::string("not valid pointer in dec_reference"));
        if (record->dec_reference() == 0) {
            delete object;
            m_pObject.store(nullptr);
            RefCountManager::getInstance()->returnbackRefCount(record, typeName());
        }
        record->unLock();
    }

    [[noreturn]] void ThrowNullPointerException(char const* text) {
        static_cast<SafePointer const*>(this)->ThrowNullPointerException(text);
    }
    [[noreturn]] void ThrowNullPointerException(char const* text) const {
        const std::string report = std::string("SafePointer Report:") + typeName() + " " + text;
        std::printf("%s\n", report.c_str());
        std::fflush(stdout);
        throw KVRuntimeError(report);
    }

    // Type name of T as the runtime reports it, without a leading '*'.
    static char const* typeName() {
        char const* name = typeid(T).name();
        return *name == '*' ? name + 1 : name;
    }

private:
    // Takes one more reference on the source's object and copies its fields.
    // A null source object is reported as a copy from null; assignment has
    // already reported it as "Assigned NULL <T>pointer" before releasing.
    void takeReference(SafePointer const& other) {
        T* const object = other.m_pObject.load();
        ref_count* const record = other.m_pRefCount.load();
        if (object == nullptr)
            ThrowNullPointerException("Construct from NULL <T>pointer");
        if (record == nullptr)
            ThrowNullPointerException("Already destructed 1");
        if (record->lock() != 0)
            ThrowNullPointerException("Already destructed 2");
        if (record->getPointer() != static_cast<void*>(object))
            throw KVRuntimeError(std::string("not valid pointer in inc_reference "));
        if (record->inc_reference() == 0) {
            record->unLock();
            ThrowNullPointerException("Already destructed 3");
        }
        record->unLock();
        m_pObject.store(object);
        m_pRefCount.store(record);
    }

    std::atomic<T*> m_pObject;
    std::atomic<ref_count*> m_pRefCount;
};
