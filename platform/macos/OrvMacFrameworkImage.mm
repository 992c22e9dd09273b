#include "OrvMacFrameworkImage.h"

#include "OrvMacFoundation.h"

#include <QFile>

#include <dlfcn.h>

std::unique_ptr<OrvMacFrameworkImage> OrvMacFrameworkImage::open(const QString& path)
{
    void* handle = dlopen(QFile::encodeName(path).constData(), RTLD_LAZY);
    if (!handle)
        return nullptr;
    return std::unique_ptr<OrvMacFrameworkImage>(new OrvMacFrameworkImage(handle));
}

OrvMacFrameworkImage::~OrvMacFrameworkImage()
{
    dlclose(myHandle);
}

std::optional<QString> OrvMacFrameworkImage::stringConstant(const char* name) const
{
    // The symbol of an NSString constant is the place that holds the string.
    void* symbol = name ? dlsym(myHandle, name) : nullptr;
    if (!symbol)
        return std::nullopt;
    NSString* __unsafe_unretained value = *static_cast<NSString* __unsafe_unretained*>(symbol);
    if (!value)
        return std::nullopt;
    return OrvMacFoundation::string(value);
}
