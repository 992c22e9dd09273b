#pragma once

// The base of the plug-in's pasteboard converters: Qt's own on macOS from Qt
// 6.5 on, the host's with the same virtual operations everywhere else.
#include <QtGlobal>

#if defined(Q_OS_MACOS) && QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
#include <QUtiMimeConverter>
using OrvPasteboardMimeConverterBase = QUtiMimeConverter;
#else
#include "OrvMimeConverter.h"
using OrvPasteboardMimeConverterBase = OrvMimeConverter;
#endif
