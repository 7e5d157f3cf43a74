// Type-erased thread bodies: function objects shared through SafePointer.
#pragma once

#include "foundation/SafePointer.h"

// Abstract function object returning R and taking nothing.
template <class R>
class function_obj_base {
public:
    virtual ~function_obj_base() {}
    virtual R operator()() = 0;
};

// Binds a member function without arguments to an object. A virtual member
// dispatches on the object's dynamic type.
template <class R, class C>
struct bind_funcobj0 {
    R (C::*m_pFunc)();
    C* m_pObject;

    R operator()() const { return (m_pObject->*m_pFunc)(); }
};

template <class R, class F>
class function_obj;

// Holds a plain function pointer (used for the platform's empty hook).
template <class R>
class function_obj<R, R (*)()> : public function_obj_base<R> {
public:
    explicit function_obj(R (*func)()) : m_pFunc(func) {}
    R operator()() override { return m_pFunc(); }

private:
    R (*m_pFunc)();
};

// Holds a bound member function by value.
template <class R, class C>
class function_obj<R, bind_funcobj0<R, C>> : public function_obj_base<R> {
public:
    explicit function_obj(bind_funcobj0<R, C> const& binder) : m_binder(binder) {}
    R operator()() override { return m_binder(); }

private:
    bind_funcobj0<R, C> m_binder;
};

// A callable that shares its function object: copies hold one more reference,
// and the object is deleted with the last copy.
template <class R>
class function {
public:
    explicit function(function_obj_base<R>* object) : m_pObject(object) {}
    explicit function(SafePointer<function_obj_base<R>> const& object) : m_pObject(object) {}
    virtual ~function() {}

    R operator()() const { return (*m_pObject)(); }

private:
    SafePointer<function_obj_base<R>> m_pObject;
};

// function<R> calling a member function of an object.
template <class R, class C>
function<R> bind_member(C* object, R (C::*member)()) {
    return function<R>(
        new function_obj<R, bind_funcobj0<R, C>>(bind_funcobj0<R, C>{member, object}));
}

// function<R> calling a plain function.
template <class R>
function<R> bind_function(R (*func)()) {
    return function<R>(new function_obj<R, R (*)()>(func));
}
