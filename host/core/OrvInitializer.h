#pragma once

#include "OrvSingleton.h"

#include <QList>
#include <QMutex>

enum class OrvInitializerOption { Default = 0, Gui = 1, CommandLine = 2 };

class OrvCommandLineParserAbstract;

// One start-up participant; a plug-in makes a static instance that registers itself.
class OrvInitializerAbstract
{
public:
    virtual ~OrvInitializerAbstract() = default;
    virtual void addCommandLineOptionHandlers(OrvCommandLineParserAbstract* parser);
    virtual void setup(OrvInitializerOption option) = 0;
    virtual void teardown() = 0;
};

class OrvInitializer : public OrvSingleton<OrvInitializer>
{
public:
    void registerInitializer(OrvInitializerAbstract* initializer);
    void unregisterInitializer(OrvInitializerAbstract* initializer);
    QList<OrvInitializerAbstract*> initializers() const;

    // Runs setup of every initializer registered so far, each at most once, in
    // registration order; initializers registered later run on the next call.
    int setupAll(OrvInitializerOption option = OrvInitializerOption::Default);
    // Tears down in reverse order of setup.
    void teardownAll();

private:
    friend class OrvSingleton<OrvInitializer>;
    OrvInitializer() = default;

    mutable QMutex myMutex;
    QList<OrvInitializerAbstract*> myInitializers;
    QList<OrvInitializerAbstract*> mySetUp;
};
