#pragma once

#include <QReadWriteLock>

// Process-wide lazily created instance of T. The two function-level statics
// have vague linkage and default visibility, so every shared library that
// instantiates OrvSingleton<T> shares one object with the host.
template <class T>
class OrvSingleton
{
public:
    virtual ~OrvSingleton() = default;

    static T* instance()
    {
        QReadWriteLock& lock = instanceLock();
        T*& myInstance = instancePointer();
        {
            QReadLocker reader(&lock);
            if (myInstance)
                return myInstance;
        }
        QWriteLocker writer(&lock);
        if (!myInstance) {
            T* created = new T();
            myInstance = created;
            static_cast<OrvSingleton<T>*>(created)->setupInstance();
        }
        return myInstance;
    }

protected:
    OrvSingleton() = default;
    // Runs once under the write lock right after construction; must not call instance().
    virtual void setupInstance() {}

private:
    static QReadWriteLock& instanceLock()
    {
        static QReadWriteLock lock;
        return lock;
    }
    static T*& instancePointer()
    {
        static T* myInstance = nullptr;
        return myInstance;
    }
};
