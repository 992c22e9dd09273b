#pragma once

#include "OrvMediaLibrary.h"

// A framework binary loaded with dlopen (lazy binding) and unloaded with
// dlclose when destroyed. Its Objective-C classes stay registered after that,
// as the runtime never unloads them.
class OrvMacFrameworkImage : public OrvMediaLibrary::FrameworkImage
{
public:
    // Null when there is no such binary.
    static std::unique_ptr<OrvMacFrameworkImage> open(const QString& path);
    ~OrvMacFrameworkImage() override;

    std::optional<QString> stringConstant(const char* name) const override;

private:
    explicit OrvMacFrameworkImage(void* handle) : myHandle(handle) {}
    void* myHandle;
};
