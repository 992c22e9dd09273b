#pragma once

#include <mutex>
#include <shared_mutex>

// Process-wide lazily created instance of T. The two function-level statics
// have vague linkage and default visibility, so every shared library that
// instantiates OrvSingleton<T> shares one object with the host. The lock is
// the standard library's (pthread's), which ThreadSanitizer sees: the first
// instance() often runs on several worker threads at once.
template <class T>
class OrvSingleton
{
public:
    virtual ~OrvSingleton() = default;

    static T* instance()
    {
        std::shared_mutex& lock = instanceLock();
        T*& myInstance = instancePointer();
        {
            std::shared_lock<std::shared_mutex> reader(lock);
            if (myInstance)
                return myInstance;
        }
        std::unique_lock<std::shared_mutex> writer(lock);
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
    static std::shared_mutex& instanceLock()
    {
        static std::shared_mutex lock;
        return lock;
    }
    static T*& instancePointer()
    {
        static T* myInstance = nullptr;
        return myInstance;
    }
};
