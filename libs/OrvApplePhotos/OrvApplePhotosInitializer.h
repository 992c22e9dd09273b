#pragma once

#include "OrvInitializer.h"

// Creates and registers the plug-in's photo sources when the host starts.
class OrvApplePhotosInitializer : public OrvInitializerAbstract
{
public:
    OrvApplePhotosInitializer();
    ~OrvApplePhotosInitializer() override;
    void setup(OrvInitializerOption option) override;
    void teardown() override;
};
