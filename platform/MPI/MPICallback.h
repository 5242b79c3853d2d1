#pragma once
// A remote method as the message-passing endpoint calls it: given the call's
// argument list, it returns the result list, or a null list for no result.
// MPICallback binds one object and one of its handler members.

#include "platform/MPI/BList.h"

class MPICallbackBase {
public:
    virtual ~MPICallbackBase() {}
    // Runs the method. A handler that cannot take the arguments throws
    // BListC::TypeError (the typed accessors do so).
    virtual BListC operator()(const BListC& arguments) = 0;
};

template <class T>
class MPICallback : public MPICallbackBase {
public:
    using Handler = BListC (T::*)(const BListC& arguments);

    // object must outlive the callback.
    MPICallback(T* object, Handler handler) : m_object(object), m_handler(handler) {}

    BListC operator()(const BListC& arguments) override {
        return (m_object->*m_handler)(arguments);
    }

private:
    T* m_object;
    Handler m_handler;
};
