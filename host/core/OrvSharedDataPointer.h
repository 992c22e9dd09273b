#pragma once

#include <QSharedDataPointer>

// A QSharedDataPointer that reads the reference count with acquire order
// before it hands out data to change. Qt reads it relaxed when it decides
// whether to copy: enough on the processors Qt runs on, but then the last
// other owner's reads (before its release of the data) are not ordered before
// our writes, and ThreadSanitizer rightly reports a race for data that
// crossed threads (pools copied out under one lock and changed under another).
template <class T>
class OrvSharedDataPointer : public QSharedDataPointer<T>
{
public:
    using QSharedDataPointer<T>::QSharedDataPointer;

    T* operator->()
    {
        settle();
        return QSharedDataPointer<T>::operator->();
    }
    const T* operator->() const { return QSharedDataPointer<T>::operator->(); }
    T& operator*()
    {
        settle();
        return QSharedDataPointer<T>::operator*();
    }
    const T& operator*() const { return QSharedDataPointer<T>::operator*(); }

private:
    void settle() const
    {
        if (const T* data = this->constData())
            (void)data->ref.loadAcquire();
    }
};
