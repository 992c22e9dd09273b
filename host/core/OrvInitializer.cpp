#include "OrvInitializer.h"

void OrvInitializerAbstract::addCommandLineOptionHandlers(OrvCommandLineParserAbstract*) {}

void OrvInitializer::registerInitializer(OrvInitializerAbstract* initializer)
{
    QMutexLocker locker(&myMutex);
    if (initializer && !myInitializers.contains(initializer))
        myInitializers.append(initializer);
}

void OrvInitializer::unregisterInitializer(OrvInitializerAbstract* initializer)
{
    QMutexLocker locker(&myMutex);
    myInitializers.removeAll(initializer);
    mySetUp.removeAll(initializer);
}

QList<OrvInitializerAbstract*> OrvInitializer::initializers() const
{
    QMutexLocker locker(&myMutex);
    return myInitializers;
}

int OrvInitializer::setupAll(OrvInitializerOption option)
{
    int count = 0;
    for (;;) {
        OrvInitializerAbstract* next = nullptr;
        {
            QMutexLocker locker(&myMutex);
            for (OrvInitializerAbstract* candidate : std::as_const(myInitializers)) {
                if (!mySetUp.contains(candidate)) {
                    next = candidate;
                    mySetUp.append(candidate);
                    break;
                }
            }
        }
        if (!next)
            return count;
        // Outside the lock: a setup may load code that registers further initializers.
        next->setup(option);
        ++count;
    }
}

void OrvInitializer::teardownAll()
{
    QList<OrvInitializerAbstract*> done;
    {
        QMutexLocker locker(&myMutex);
        done.swap(mySetUp);
    }
    for (auto it = done.crbegin(); it != done.crend(); ++it)
        (*it)->teardown();
}
